// The host's base classes for a plug-in: the class descriptor through which
// the host creates plug-in objects, and the scene exporter it calls.
#pragma once

#include <cstdint>

#include "host/class_id.h"
#include "host/interface.h"

namespace kvl::host {

using HWND = void*;
using HINSTANCE = void*;

// The host's super class of scene exporters.
inline constexpr SClass_ID SCENE_EXPORT_CLASS_ID = 0xA20;

// Flags of DoExport's options: export only the selected nodes; export
// meshes that deform over the animation as vertex animation (one vertex
// list per sample) rather than in their rest pose.
inline constexpr uint32_t SCENE_EXPORT_SELECTED = 1;
inline constexpr uint32_t SCENE_EXPORT_VERTEX_ANIMATION = 2;

// What the host hands to an exporter besides the Interface. The original
// host gave nothing an exporter of this kind used; this host also carries
// its preferences for the run and takes the exporter's figures.
class ExpInterface {
 public:
  virtual ~ExpInterface() = default;
  // Whether meshes beyond the file's 16-bit fields are split into pieces
  // (otherwise the fields keep their low 16 bits, with a warning).
  virtual bool SplitOversizedMeshes() { return true; }
  // How long a phase of the export took, and what it counted.
  virtual void ReportPhase(const char* /*name*/, double /*seconds*/) {}
  virtual void ReportCount(const char* /*name*/, uint64_t /*value*/) {}
  // Whether the output file is complete at `path`: `failure` is null if it
  // is, else why not (the file could not be opened, a write failed, ...).
  virtual void ReportOutput(const char* /*path*/, const char* /*failure*/) {}
  // Asked about the complete output, still under its temporary name,
  // before it replaces the old file: null to let it, else what is wrong
  // with it (valid until the next call).
  virtual const char* CheckOutput(const char* /*temporaryPath*/) { return nullptr; }
};

class SceneExport {
 public:
  virtual ~SceneExport() = default;
  virtual int ExtCount() = 0;
  virtual const char* Ext(int n) = 0;
  virtual const char* LongDesc() = 0;
  virtual const char* ShortDesc() = 0;
  virtual const char* AuthorName() = 0;
  virtual const char* CopyrightMessage() = 0;
  virtual const char* OtherMessage1() = 0;
  virtual const char* OtherMessage2() = 0;
  virtual unsigned int Version() = 0;
  virtual void ShowAbout(HWND hWnd) = 0;
  virtual int DoExport(const char* name, ExpInterface* ei, Interface* i, bool suppressPrompts = false,
                       uint32_t options = 0) = 0;
  virtual bool SupportsOptions(int /*ext*/, uint32_t /*options*/) { return false; }
};

class ClassDesc2 {
 public:
  virtual ~ClassDesc2() = default;
  virtual int IsPublic() = 0;
  virtual void* Create(bool loading = false) = 0;
  virtual int BeginCreate() { return 0; }
  virtual int EndCreate() { return 0; }
  virtual const char* ClassName() = 0;
  virtual SClass_ID SuperClassID() = 0;
  virtual Class_ID ClassID() = 0;
  virtual const char* Category() = 0;
  virtual bool OkToCreate() { return true; }
  virtual bool HasClassParams() { return false; }
  virtual void EditClassParams(HWND) {}
  virtual const char* InternalName() { return nullptr; }
  virtual HINSTANCE HInstance() { return nullptr; }
};

}  // namespace kvl::host
