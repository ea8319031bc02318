// kvlexp: the command line that plays the host application for the exporter.
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "cli/each_command.h"
#include "cli/exit_codes.h"
#include "cli/export_command.h"
#include "cli/heap_tuning.h"
#include "cli/info_command.h"
#include "cli/inspect_command.h"
#include "cli/preview_command.h"
#include "cli/validate_command.h"
#include "host/host_files.h"
#include "platform/replacing_file.h"
#include "settings/export_settings.h"
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

// The bounds of a command that reads a scene, as typed.
struct LimitOptions {
  std::string timeout = "600";
  std::string memory = "8G";
  bool noIsolate = false;
};

void AddLimitOptions(CLI::App* command, LimitOptions& options, const std::string& work) {
  command->add_option("--timeout", options.timeout,
                      "SECONDS: stop " + work + " when it takes longer (default 600; 0: no limit)");
  command->add_option("--memory-limit", options.memory,
                      "SIZE: memory for " + work + ", in bytes or with K, M, G or T (default 8G; 0: none)");
  command->add_flag("--no-isolate", options.noIsolate,
                    "run " + work + " in this process (for debugging); the limits still apply");
}

// The limits, or one line naming the value that is none.
std::optional<kvl::cli::IsolationLimits> ParseLimits(const LimitOptions& options, std::ostream& err) {
  const std::optional<double> seconds = kvl::cli::ParseSeconds(options.timeout);
  if (!seconds) {
    err << "kvlexp: --timeout " << options.timeout << ": expected a number of seconds, 0 or more (0: no limit)\n";
    return std::nullopt;
  }
  const std::optional<uint64_t> memory = kvl::cli::ParseSize(options.memory);
  if (!memory) {
    err << "kvlexp: --memory-limit " << options.memory << ": expected a size such as 512M or 8G (0: none)\n";
    return std::nullopt;
  }
  return kvl::cli::IsolationLimits{*seconds, *memory};
}

// Every scene of --each through a run of this program of its own, with the
// options of this command line.
int RunEachExport(kvl::cli::EachRequest& each, const kvl::cli::ExportRequest& request,
                  const std::vector<std::string>& sets, const LimitOptions& limits) {
  std::vector<std::string>& options = each.exportOptions;
  for (const std::string& set : sets) options.insert(options.end(), {"--set", set});
  if (!request.driveFolder.empty()) options.insert(options.end(), {"--drive-c", request.driveFolder});
  if (!request.pluginPath.empty()) options.insert(options.end(), {"--plugin", request.pluginPath});
  if (!request.animation.empty()) options.insert(options.end(), {"--animation", request.animation});
  options.insert(options.end(), {"--timeout", limits.timeout, "--memory-limit", limits.memory});
  if (limits.noIsolate) options.push_back("--no-isolate");
  const std::pair<bool, const char*> flags[] = {{request.cancel, "--cancel"},
                                                {request.verify, "--verify"},
                                                {request.vertexAnimation, "--vertex-animation"},
                                                {request.allowOutsideReferences, "--allow-outside-references"},
                                                {request.noSplit, "--no-split"},
                                                {request.preview, "--preview"}};
  for (const auto& [on, flag] : flags) {
    if (on) options.push_back(flag);
  }
  if (each.jobs == 0) each.jobs = std::max(1u, std::thread::hardware_concurrency());
  each.showProgress = ::isatty(STDERR_FILENO) != 0;
  std::error_code ec;
  const std::string self = std::filesystem::read_symlink("/proc/self/exe", ec).string();
  return kvl::cli::RunEach(each, ec ? std::string("kvlexp") : self, std::cerr);
}

int Supervise(const kvl::cli::SupervisedWork& work, const kvl::cli::IsolationLimits& limits, bool noIsolate,
              const kvl::cli::SupervisedRun& run) {
  if (noIsolate) return kvl::cli::RunInProcess(work, limits, run, std::cerr);
  return kvl::cli::RunIsolated(work, limits, run, std::cerr);
}

// Why `path` is no file to read whole: a pipe or a terminal could keep the
// command waiting for ever, a device feed it without end. Empty for a
// regular file, and for a path that is not there (the command says so).
std::string NotAFile(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode)) return "";
  const char* kind = S_ISDIR(status.st_mode)    ? "a folder"
                     : S_ISFIFO(status.st_mode) ? "a named pipe"
                     : S_ISSOCK(status.st_mode) ? "a socket"
                                                : "a device";
  return std::string("cannot be read: it is ") + kind + ", not a file";
}

// inspect, validate and preview: a regular file only, read in a child
// under the default limits, as a scene is.
int RunOnKvlFile(const std::string& path, const std::vector<std::string>& outputs,
                 const std::function<int()>& command) {
  if (const std::string why = NotAFile(path); !why.empty()) {
    std::cerr << "kvlexp: " << path << ": " << why << "\n";
    return kvl::cli::EXIT_UNREADABLE;
  }
  return kvl::cli::RunIsolated(
      [&](const kvl::cli::PhaseSignal& phase) {
        phase(kvl::cli::PHASE_READING_FILE);
        return command();
      },
      kvl::cli::IsolationLimits{}, kvl::cli::SupervisedRun{path, outputs, {}}, std::cerr);
}

// What an export writes: the output, its preview page and depfile, and in
// the drive's folder the exporter's log and settings file.
kvl::cli::SupervisedRun ExportRun(const kvl::cli::ExportRequest& request) {
  kvl::cli::SupervisedRun run;
  run.subject = request.scenePath;
  const std::string outputFile = kvl::host::DrivePath(request.outputPath, 'c', request.driveFolder);
  run.outputs.push_back(outputFile);
  if (request.preview) run.outputs.push_back(kvl::cli::DefaultPreviewPath(outputFile));
  if (!request.depfilePath.empty()) run.outputs.push_back(request.depfilePath);
  if (!request.driveFolder.empty()) {
    run.folders.push_back(request.driveFolder);
    for (const char* settings : kvl::SETTINGS_FIXED_PATHS) {
      const std::string file = kvl::host::DrivePath(settings, 'c', request.driveFolder);
      run.folders.push_back(std::filesystem::path(file).parent_path().string());
    }
  }
  return run;
}

// `kvlexp settings`: the settings file as an export would save it after OK,
// so that a build can put one beside its outputs that no export rewrites.
int WriteSettingsFile(const std::string& path, const std::string& from) {
  const std::string source = from.empty() ? path : from;
  std::string why = NotAFile(source);
  std::ifstream in(source, std::ios::binary);
  if (!from.empty() && why.empty() && !in) why = std::string("cannot read the settings file: ") + std::strerror(errno);
  if (!why.empty()) {
    std::cerr << "kvlexp: " << source << ": " << why << "\n";
    return kvl::cli::EXIT_FAILED;
  }
  kvl::ConfigStore store("=", false);
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  store.Parse(text.c_str());  // no file at FILE itself: the defaults
  kvl::ExportSettings settings;
  settings.TakeValues(store);
  if (!kvl::ReplaceFileText(path, settings.FileText(), &why)) {
    std::cerr << "kvlexp: " << path << ": cannot write the settings file: " << why << "\n";
    return kvl::cli::EXIT_FAILED;
  }
  return kvl::cli::EXIT_OK;
}

}  // namespace

int main(int argc, char** argv) {
  kvl::cli::RestoreEnvironmentAfterRestart();
  CLI::App app{"kvlexp: exports a 3D scene to a Kelvane KVL file or a readable TXT dump"};
  app.set_version_flag("--version", std::string("kvlexp ") + KVL_VERSION);
  app.require_subcommand(1);

  kvl::cli::ExportRequest request;
  std::vector<std::string> sets;
  request.driveFolder = DefaultDriveFolder();
  CLI::App* exportCmd =
      app.add_subcommand("export", "Export SCENE (a JSON scene description, or any file Assimp reads) to OUTPUT");
  exportCmd->add_option("SCENE", request.scenePath,
                        "the scene to export (.json, or .gltf, .glb, .fbx, .dae, .obj, .3ds, .ase, .ply, .stl, .x, ...)");
  exportCmd->add_option("OUTPUT", request.outputPath,
                        "the file to write; a name ending in KVL gives the binary scene file, TXT the text dump");
  kvl::cli::EachRequest each;
  exportCmd->add_option("--each", each.scenes,
                        "SCENES...: export each scene to --out-dir/STEM.kvl instead of SCENE to OUTPUT");
  exportCmd->add_option("--out-dir", each.outputFolder, "DIR: where --each writes its outputs");
  exportCmd->add_option("--jobs", each.jobs, "N: how many --each exports run at once (default: the cores)");
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
  LimitOptions exportLimits;
  AddLimitOptions(exportCmd, exportLimits, "the load and export");
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
  LimitOptions infoLimits;
  AddLimitOptions(infoCmd, infoLimits, "the load");

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

  std::string settingsPath, settingsFrom;
  CLI::App* settingsCmd = app.add_subcommand(
      "settings", "Write FILE as an export saves its settings file: the values of --from, of FILE itself or the "
                  "defaults; a file that already says so is left untouched (for builds that copy one beside "
                  "their outputs)");
  settingsCmd->add_option("FILE", settingsPath, "the settings file to write (kvlexp.ini)")->required();
  settingsCmd->add_option("--from", settingsFrom, "SOURCE: the settings file to take the values from");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e);
    return code == 0 ? kvl::cli::EXIT_OK : kvl::cli::EXIT_USAGE;
  }
  // Before anything is read or written: a big scene's run may start again.
  if (*exportCmd && each.scenes.empty()) kvl::cli::TuneHeapForBigScene(argv, request.scenePath);
  if (*infoCmd) {
    kvl::cli::TuneHeapForBigScene(argv, info.scenePath);
    const std::optional<kvl::cli::IsolationLimits> limits = ParseLimits(infoLimits, std::cerr);
    if (!limits) return kvl::cli::EXIT_USAGE;
    // An importer can crash, hang or run away on a malformed file (or a
    // pipe) here just as in an export.
    return Supervise(
        [&](const kvl::cli::PhaseSignal& phase) {
          phase(kvl::cli::PHASE_READING);
          return kvl::cli::RunInfo(info, std::cout, std::cerr);
        },
        *limits, infoLimits.noIsolate, kvl::cli::SupervisedRun{info.scenePath, {}, {}});
  }
  if (*settingsCmd) return WriteSettingsFile(settingsPath, settingsFrom);
  if (*inspectCmd) {
    return RunOnKvlFile(inspect.path, {}, [&] { return kvl::cli::RunInspect(inspect, std::cout, std::cerr); });
  }
  if (*validateCmd) {
    // --json answers with a document even then, as for a file it cannot open.
    if (const std::string why = NotAFile(validate.path); !why.empty() && validate.json) {
      std::cout << nlohmann::json{{"file", validate.path}, {"readable", false}, {"error", why}}.dump(2) << "\n";
    }
    return RunOnKvlFile(validate.path, {}, [&] { return kvl::cli::RunValidate(validate, std::cout, std::cerr); });
  }
  if (*previewCmd) {
    const std::string page = preview.outputPath.empty() ? kvl::cli::DefaultPreviewPath(preview.path) : preview.outputPath;
    return RunOnKvlFile(preview.path, {page}, [&] { return kvl::cli::RunPreview(preview, std::cout, std::cerr); });
  }
  if (!*exportCmd) return kvl::cli::EXIT_USAGE;
  const std::optional<kvl::cli::IsolationLimits> limits = ParseLimits(exportLimits, std::cerr);
  if (!limits) return kvl::cli::EXIT_USAGE;
  if (!each.scenes.empty()) {
    if (!request.scenePath.empty() || each.outputFolder.empty() || gui || !request.depfilePath.empty()) {
      std::cerr << "kvlexp: --each takes the scenes and --out-dir DIR, no SCENE OUTPUT, --gui or --depfile\n";
      return kvl::cli::EXIT_USAGE;
    }
    return RunEachExport(each, request, sets, exportLimits);
  }
  if (request.scenePath.empty() || request.outputPath.empty()) {
    std::cerr << "kvlexp: export needs SCENE and OUTPUT (or --each SCENES... --out-dir DIR)\n";
    return kvl::cli::EXIT_USAGE;
  }

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
  request.showProgress = ::isatty(STDERR_FILENO) != 0;
  // A crash, a hang or a runaway allocation in the importer or the exporter
  // ends the child, not the command: it still reports and exits cleanly.
  return Supervise(
      [&](const kvl::cli::PhaseSignal& phase) {
        request.phase = phase;
        return kvl::cli::RunExport(request, std::cout, std::cerr);
      },
      *limits, exportLimits.noIsolate, ExportRun(request));
}
