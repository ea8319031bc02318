// The library's exported functions: the only symbols the plug-in shows.
#include "export/class_desc.h"
#include "host/plugin_api.h"

#define KVL_EXPORT extern "C" __attribute__((visibility("default")))

KVL_EXPORT const char* LibDescription() { return "Kelvane MAX Exporter"; }

// One class in the library, and its exporter may be loaded on demand: the
// same constant answers both.
KVL_EXPORT int LibNumberClasses() { return 1; }
KVL_EXPORT int CanAutoDefer() { return 1; }

KVL_EXPORT kvl::host::ClassDesc2* LibClassDesc(int i) { return i == 0 ? &kvl::TheClassDesc() : nullptr; }

KVL_EXPORT unsigned long LibVersion() { return HOST_SDK_VERSION; }
