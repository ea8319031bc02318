// The class descriptor through which the host learns about and creates the
// exporter, and the functions every plug-in library exports.
#pragma once

#include "host/plugin_bases.h"

namespace kvl {

class KVLExpClassDesc : public host::ClassDesc2 {
 public:
  int IsPublic() override { return 1; }
  void* Create(bool loading = false) override;
  int BeginCreate() override { return 0; }
  int EndCreate() override { return 0; }
  const char* ClassName() override { return "IQuillstoneMAX"; }
  host::SClass_ID SuperClassID() override { return host::SCENE_EXPORT_CLASS_ID; }
  host::Class_ID ClassID() override { return host::Class_ID(0x7A005920, 0x09C14A0B); }
  const char* Category() override { return "Kelvane"; }
  bool OkToCreate() override { return true; }
  bool HasClassParams() override { return false; }
  void EditClassParams(host::HWND) override {}
  const char* InternalName() override { return "IQuillstoneMAX"; }
  host::HINSTANCE HInstance() override { return nullptr; }
};

}  // namespace kvl

// Release 5100, API 8, SDK revision 0: the host refuses libraries built for
// another SDK.
inline constexpr unsigned long KVL_LIB_VERSION = (5100ul << 16) | (8ul << 8) | 0ul;

extern "C" {
const char* LibDescription();
int LibNumberClasses();
kvl::host::ClassDesc2* LibClassDesc(int i);
unsigned long LibVersion();
int CanAutoDefer();
}
