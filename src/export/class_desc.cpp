#include "export/class_desc.h"

#include <new>

#include "export/kvl_exp.h"

namespace kvl {

void* KVLExpClassDesc::Create(bool /*loading*/) {
  // The host owns the object from here on and reaches it as an exporter.
  return static_cast<host::SceneExport*>(new (std::nothrow) KVLExp());
}

KVLExpClassDesc& TheClassDesc() {
  static KVLExpClassDesc desc;
  return desc;
}

}  // namespace kvl
