// kvlexp: the command line that plays the host application for the exporter.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "cli/exit_codes.h"
#include "cli/export_command.h"
#include "cli/info_command.h"
#include "cli/inspect_command.h"
#include "cli/preview_command.h"
#include "cli/validate_command.h"
#include "ui/fltk_display.h"
#include "ui/fltk_toolkit.h"

#ifndef KVL_VERSION
#define KVL_VERSION "unknown"
#endif

namespace {

// The folder that stands for drive C, where the exporter's fixed Windows
// paths ("c:\kvlexp.log", "c:\3dsmax5\kvlexp.ini") end up. It is created so
// that those files can be written, as they could on a real drive.
std::string DefaultDriveFolder() {
  const char* home = std::getenv("HOME");
  if (!home || !*home) return "";
  return (std::filesystem::path(home) / ".kvlexp" / "c").string();
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"kvlexp: exports a 3D scene to a Kelvane KVL file or a readable TXT dump"};
  app.set_version_flag("--version", std::string("kvlexp ") + KVL_VERSION);
  app.require_subcommand(1);

  kvl::cli::ExportRequest request;
  std::vector<std::string> sets;
  request.driveFolder = DefaultDriveFolder();
  CLI::App* exportCmd =
      app.add_subcommand("export", "Export SCENE (a JSON scene description, or any file Assimp reads) to OUTPUT");
  exportCmd->add_option("SCENE", request.scenePath,
                        "the scene to export (.json, or .gltf, .glb, .fbx, .dae, .obj, .3ds, .ase, .ply, .stl, .x, ...)")
      ->required();
  exportCmd->add_option("OUTPUT", request.outputPath,
                        "the file to write; a name ending in KVL gives the binary scene file, TXT the text dump")
      ->required();
  exportCmd->add_option("--set", sets,
                        "KEY=VALUE: type VALUE into the options dialog's control for setting KEY before OK "
                        "(repeatable; check boxes take 1/0)");
  exportCmd->add_flag("--cancel", request.cancel, "press Cancel in the options dialog");
  exportCmd->add_option("--plugin", request.pluginPath,
                        "the exporter plug-in to load (default: Quillstone_MAX5.dle beside kvlexp)");
  exportCmd->add_option("--drive-c", request.driveFolder,
                        "the folder that stands for drive C: (default ~/.kvlexp/c)");
  exportCmd->add_option("--animation", request.animation,
                        "NAME|INDEX: the animation of a glTF, FBX, Collada... file to export (default: the first)");
  exportCmd->add_option("--depfile", request.depfilePath,
                        "FILE: also write the files the export read (scene, companions, settings) as a Makefile "
                        "rule, for Ninja and Make");
  exportCmd->add_flag("--allow-outside-references", request.allowOutsideReferences,
                      "let the scene read files outside its own folder (buffers, images, material libraries)");
  exportCmd->add_flag("--vertex-animation", request.vertexAnimation,
                      "export meshes that deform over the animation (skins, morph targets, keyed vertices) as "
                      "one vertex list per sample; without it they are exported in their rest pose");
  exportCmd->add_flag("--verify", request.verify,
                      "read the written KVL file back and validate it; errors give a non-zero exit");
  bool gui = false;
  bool noIsolate = false;
  kvl::cli::IsolationLimits limits;
  std::string memoryLimit = "8G";
  exportCmd->add_option("--timeout", limits.timeoutSeconds,
                        "SECONDS: stop an export that takes longer (default 600; 0: no limit)")
      ->check(CLI::NonNegativeNumber);
  exportCmd->add_option("--memory-limit", memoryLimit, "SIZE: memory for the load and export (default 8G; 0: none)");
  exportCmd->add_flag("--no-isolate", noIsolate, "run the load and export in this process (for debugging)");
  exportCmd->add_flag("--no-split", request.noSplit,
                      "keep meshes beyond the file's 16-bit fields whole (fields cut, with a warning)");
  exportCmd->add_flag("--stats", request.stats, "print the time of each phase and what was exported");
  exportCmd->add_flag("--preview", request.preview, "also write OUTPUT.html, a page that shows the KVL file");
  exportCmd->add_flag("--gui", gui, "show the options and log dialogs on a window (needs a display)");

  kvl::cli::InfoRequest info;
  CLI::App* infoCmd = app.add_subcommand("info", "Show what the host holds of SCENE: node tree, cameras, lights, "
                                                 "animation, totals; to check an import before exporting");
  infoCmd->add_option("SCENE", info.scenePath, "the scene to read (as for export)")->required();
  infoCmd->add_option("--animation", info.animation, "NAME|INDEX: the animation to key the nodes with");
  infoCmd->add_flag("--allow-outside-references", info.allowOutsideReferences,
                    "let the scene read files outside its own folder (buffers, images, material libraries)");

  kvl::cli::InspectRequest inspect;
  CLI::App* inspectCmd = app.add_subcommand("inspect", "Summarise a KVL file: hierarchy, meshes, materials, "
                                                       "textures, animations, totals");
  inspectCmd->add_option("FILE", inspect.path, "the KVL file to read")->required();
  inspectCmd->add_flag("--chunks", inspect.chunks, "list every chunk (offset, type, version, id, size) instead");
  inspectCmd->add_flag("--json", inspect.json, "print one JSON document instead of text");

  kvl::cli::ValidateRequest validate;
  CLI::App* validateCmd = app.add_subcommand(
      "validate", "Check a KVL file and list every problem; exit 0 valid, 1 errors, 2 unreadable");
  validateCmd->add_option("FILE", validate.path, "the KVL file to check")->required();
  validateCmd->add_flag("--json", validate.json, "print the report as one JSON document");

  kvl::cli::PreviewRequest preview;
  CLI::App* previewCmd = app.add_subcommand(
      "preview", "Write one self-contained HTML page that shows a KVL file in the browser (three.js inside)");
  previewCmd->add_option("FILE", preview.path, "the KVL file to show")->required();
  previewCmd->add_option("-o,--output", preview.outputPath, "PAGE.html: the page to write (default FILE.html)");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e);
    return code == 0 ? kvl::cli::EXIT_OK : kvl::cli::EXIT_USAGE;
  }
  if (*infoCmd) return kvl::cli::RunInfo(info, std::cout, std::cerr);
  if (*inspectCmd) return kvl::cli::RunInspect(inspect, std::cout, std::cerr);
  if (*validateCmd) return kvl::cli::RunValidate(validate, std::cout, std::cerr);
  if (*previewCmd) return kvl::cli::RunPreview(preview, std::cout, std::cerr);
  if (!*exportCmd) return kvl::cli::EXIT_USAGE;

  kvl::ui::FltkToolkit windowDialogs;
  if (gui) {
    if (!sets.empty() || request.cancel) {
      std::cerr << "kvlexp: --gui cannot be combined with --set or --cancel: make the changes in the dialog\n";
      return kvl::cli::EXIT_USAGE;
    }
    const std::string why = kvl::ui::OpenDisplay();
    if (!why.empty()) {
      std::cerr << "kvlexp: --gui needs a display: " << why << " (without --gui the dialogs need none)\n";
      return kvl::cli::EXIT_FAILED;
    }
    request.dialogs = &windowDialogs;
  }

  for (const std::string& text : sets) {
    kvl::ui::ControlEdit edit;
    if (!kvl::cli::ParseControlEdit(text, edit)) {
      std::cerr << "kvlexp: --set " << text << ": expected KEY=VALUE\n";
      return kvl::cli::EXIT_USAGE;
    }
    request.edits.push_back(edit);
  }
  if (!request.driveFolder.empty()) {
    // Made when missing; something else at that path is the user's mistake.
    std::error_code ec;
    std::filesystem::create_directories(request.driveFolder, ec);
    if (!std::filesystem::is_directory(request.driveFolder, ec)) {
      std::cerr << "kvlexp: --drive-c " << request.driveFolder << ": not a folder"
                << (std::filesystem::exists(request.driveFolder, ec) ? "" : " and cannot be made") << "\n";
      return kvl::cli::EXIT_USAGE;
    }
  }
  const std::optional<uint64_t> memory = kvl::cli::ParseSize(memoryLimit);
  if (!memory) {
    std::cerr << "kvlexp: --memory-limit " << memoryLimit << ": expected a size such as 512M or 8G (0: none)\n";
    return kvl::cli::EXIT_USAGE;
  }
  limits.memoryBytes = *memory;
  request.showProgress = ::isatty(STDERR_FILENO) != 0;
  if (noIsolate) return kvl::cli::RunExport(request, std::cout, std::cerr);
  // A crash, a hang or a runaway allocation in the importer or the exporter
  // ends the child, not the command: it still reports and exits cleanly.
  return kvl::cli::RunIsolated(
      [&](const kvl::cli::PhaseSignal& phase) {
        request.phase = phase;
        return kvl::cli::RunExport(request, std::cout, std::cerr);
      },
      limits, request.scenePath, request.outputPath, std::cerr);
}
