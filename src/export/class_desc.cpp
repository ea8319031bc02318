#include "export/class_desc.h"

#include <new>

#include "export/kvl_exp.h"

namespace kvl {

void* KVLExpClassDesc::Create(bool /*loading*/) {
  // The host owns the object from here on; as a host object it is handed over
  // through the exporter interface.
  return static_cast<host::SceneExport*>(new (std::nothrow) KVLExp());
}

namespace {
KVLExpClassDesc g_classDesc;
}

}  // namespace kvl

extern "C" {

const char* LibDescription() { return "Kelvane MAX Exporter"; }

// The library holds one class, and its exporter may be loaded on demand: both
// answers are the same constant.
int LibNumberClasses() { return 1; }
int CanAutoDefer() { return 1; }

kvl::host::ClassDesc2* LibClassDesc(int i) { return i == 0 ? &kvl::g_classDesc : nullptr; }

unsigned long LibVersion() { return KVL_LIB_VERSION; }

}
