// `kvlexp export`: plays the host for one export.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "cli/isolation.h"
#include "ui/headless_toolkit.h"

namespace kvl::cli {

struct ExportRequest {
  std::string scenePath;
  std::string outputPath;
  std::vector<ui::ControlEdit> edits;  // typed into the options dialog before OK
  bool cancel = false;                 // press Cancel instead of OK
  bool showProgress = false;           // draw the progress display on `err`
  std::string driveFolder;             // where the host keeps drive C; empty: none
  std::string pluginPath;              // the exporter plug-in; empty: beside the program
  bool verify = false;                 // read a written KVL file back and validate it
  bool noSplit = false;                // keep oversized meshes whole, fields cut to 16 bits
  bool stats = false;                  // print phase times and counts after the export
  bool preview = false;                // write OUTPUT.html beside a KVL output (kvlexp preview)
  std::string animation;               // the file's animation to export, by name or index; empty: the first
  bool vertexAnimation = false;        // deforming meshes as vertex animation frames, not in their rest pose
  bool allowOutsideReferences = false;  // the scene may read files outside its own folder
  std::string depfilePath;              // where to write the files the export read, as a Makefile rule; empty: none
  PhaseSignal phase;                   // told when the load and the export start; may be empty
  DialogToolkit* dialogs = nullptr;    // shows the dialogs on a window, ignoring edits and cancel; null: none
};

// Loads the scene, runs the exporter as the host would, and reports what
// happened: the log dialog on `out`, progress and problems on `err`.
// Returns the process's exit status.
int RunExport(const ExportRequest& request, std::ostream& out, std::ostream& err);

// "KEY=VALUE" as an edit; false if there is no "=".
bool ParseControlEdit(const std::string& text, ui::ControlEdit& edit);

}  // namespace kvl::cli
