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

// The one class descriptor of the library.
KVLExpClassDesc& TheClassDesc();

}  // namespace kvl
