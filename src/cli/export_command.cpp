#include "cli/export_command.h"
#include "cli/preview_command.h"

#include <cctype>
#include <chrono>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <system_error>
#include <vector>

#include "cli/exit_codes.h"
#include "cli/export_stats.h"
#include "cli/progress_bar.h"
#include "cli/validate_command.h"
#include "cli/plugin_library.h"
#include "host/host_files.h"
#include "platform/replacing_file.h"
#include "platform/text_escapes.h"
#include "host/memory_scene.h"
#include "host/message_box.h"
#include "settings/dialog_template.h"
#include "sources/scene_source.h"

namespace kvl::cli {
namespace {

namespace fs = std::filesystem;

// The exporter reports nothing to its host, so the host tells whether a file
// was written by looking at it: it must exist and be newer than the start.
struct OutputProbe {
  bool existed = false;
  fs::file_time_type before{};
};

OutputProbe ProbeOutput(const std::string& path) {
  OutputProbe probe;
  std::error_code ec;
  if (fs::is_regular_file(path, ec)) {
    probe.existed = true;
    probe.before = fs::last_write_time(path, ec);
  }
  return probe;
}

bool WasWritten(const std::string& path, const OutputProbe& probe) {
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) return false;
  if (!probe.existed) return true;
  const fs::file_time_type after = fs::last_write_time(path, ec);
  return !ec && after != probe.before;
}

// Why a path cannot take an output file, as best the host can tell.
std::string WhyNotWritable(const std::string& path) {
  std::error_code ec;
  const fs::path target(path);
  const fs::path dir = target.has_parent_path() ? target.parent_path() : fs::path(".");
  if (fs::is_directory(target, ec)) return "it is a directory";
  if (!fs::exists(dir, ec)) return "the folder " + dir.string() + " does not exist";
  if (!fs::is_directory(dir, ec)) return dir.string() + " is not a folder";
  return "";
}

// The host offers an exporter for the file types it names; like the
// exporter, it looks at the last three characters of the name only.
bool ExporterTakes(host::SceneExport& exporter, const std::string& path) {
  if (path.size() < 3) return false;
  std::string ending = path.substr(path.size() - 3);
  for (char& c : ending) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  for (int i = 0; i < exporter.ExtCount(); ++i) {
    if (ending == exporter.Ext(i)) return true;
  }
  return false;
}

// Writes the scene's embedded files into `folder`, each through its own
// replacing file, and names each on `out`. False, with the reason on `err`,
// at the first that cannot be written.
bool WriteEmbeddedFiles(const std::vector<sources::SceneLoadResult::EmbeddedFile>& files, const fs::path& folder,
                        std::ostream& out, std::ostream& err) {
  for (const auto& file : files) {
    const std::string path = (folder / file.name).string();
    std::string why;
    std::unique_ptr<ReplacingFile> replacing = ReplacingFile::Open(path, "wb", &why);
    if (replacing) {
      std::fwrite(file.bytes.data(), 1, file.bytes.size(), replacing->get());
      if (replacing->Commit(&why)) {
        out << "Wrote texture " << path << "\n";
        continue;
      }
    }
    err << "kvlexp: " << path << ": cannot write the texture the scene carries: " << why << "\n";
    return false;
  }
  return true;
}

// What the export read: the scene and what its importer opened, then the
// files the host opened for the exporter (the settings file).
std::vector<std::string> DependenciesOf(const std::vector<std::string>& sceneFiles) {
  std::vector<std::string> files = sceneFiles;
  for (const std::string& path : host::HostFilesRead()) {
    if (std::find(files.begin(), files.end(), path) == files.end()) files.push_back(path);
  }
  return files;
}

// A path in a Makefile rule: spaces, '#' and '$' would end or change it.
std::string MakeEscaped(const std::string& path) {
  std::string out;
  for (char c : path) {
    if (c == ' ' || c == '#' || c == '\\') out += '\\';
    if (c == '$') out += '$';
    out += c;
  }
  return out;
}

// A depfile's paths are absolute: a build tool reads them relative to its
// own folder, which need not be the one the export ran in (CMake runs the
// command in the output folder, Ninja reads the file from the build's top).
std::string AbsolutePath(const std::string& path) {
  std::error_code ec;
  const std::filesystem::path absolute = std::filesystem::absolute(path, ec);
  return ec ? path : absolute.lexically_normal().string();
}

// "OUTPUT: DEPENDENCY..." as Make and Ninja read a depfile, through a
// replacing file so that a build tool never reads half of one.
bool WriteDepfile(const std::string& path, const std::string& output, const std::vector<std::string>& files,
                  std::ostream& err) {
  std::string rule = MakeEscaped(AbsolutePath(output)) + ":";
  for (const std::string& file : files) rule += " \\\n  " + MakeEscaped(AbsolutePath(file));
  rule += "\n";
  std::string why;
  std::unique_ptr<ReplacingFile> out = ReplacingFile::Open(path, "w", &why);
  if (out) {
    std::fwrite(rule.data(), 1, rule.size(), out->get());
    if (out->Commit(&why)) return true;
  }
  err << "kvlexp: " << path << ": cannot write the depfile: " << why << "\n";
  return false;
}

// Why no file can be made at `path` because of its folder; empty if the
// folder is there.
std::string OutputFolderProblem(const std::string& path) {
  const fs::path folder = fs::path(path).parent_path();
  if (folder.empty()) return "";
  std::error_code ec;
  const fs::file_status status = fs::status(folder, ec);
  if (!fs::exists(status)) return "the folder " + folder.string() + " does not exist";
  if (!fs::is_directory(status)) return folder.string() + " is not a folder";
  return "";
}

bool EndsInKvl(const std::string& path) {
  if (path.size() < 3) return false;
  std::string ending = path.substr(path.size() - 3);
  for (char& c : ending) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return ending == "KVL";
}

// Hands the dialogs on to the toolkit that shows them, and notes how the
// options dialog ended: Cancel leaves no output file, and that is no failure.
class EndCodeRecorder : public DialogToolkit {
 public:
  explicit EndCodeRecorder(DialogToolkit& shown) : shown_(shown) {}
  void Enter() override { shown_.Enter(); }
  void Leave() override { shown_.Leave(); }
  int RunOptions(OptionsDialog& dialog) override { return optionsEnd_ = shown_.RunOptions(dialog); }
  int RunLog(LogDialog& dialog) override { return shown_.RunLog(dialog); }
  bool OptionsCancelled() const { return optionsEnd_ == IDCANCEL; }

 private:
  DialogToolkit& shown_;
  int optionsEnd_ = 0;
};

// Everything the host installs around one call into the plug-in, and takes
// away again afterwards.
class HostSession {
 public:
  HostSession(const ExportRequest& request, host::MemoryScene& scene, std::ostream& out, std::ostream& err)
      : progress_(err),
        core_(scene, request.showProgress ? &progress_ : nullptr),
        toolkit_(request.edits, request.cancel, out, err),
        recorder_(request.dialogs ? *request.dialogs : static_cast<DialogToolkit&>(toolkit_)),
        heldStill_(scene) {
    host::SetCOREInterface(&core_);
    host::SetDriveFolder('c', request.driveFolder);
    host::ForgetHostFilesRead();
    host::SetMessageBoxHandler([&err](const std::string& text, const std::string& caption) {
      err << "kvlexp: " << text::EscapedForTerminal(caption) << ": " << text::EscapedForTerminal(text) << "\n";
    });
    SetDialogToolkit(&recorder_);
  }
  ~HostSession() {
    SetDialogToolkit(nullptr);
    host::SetMessageBoxHandler(nullptr);
    host::SetDriveFolder('c', "");
    host::SetCOREInterface(nullptr);
  }
  host::Interface& Core() { return core_; }
  const ui::HeadlessToolkit& Toolkit() const { return toolkit_; }
  bool OptionsCancelled() const { return recorder_.OptionsCancelled(); }

 private:
  TerminalProgress progress_;
  host::MemoryInterface core_;
  ui::HeadlessToolkit toolkit_;
  EndCodeRecorder recorder_;
  host::HeldStill heldStill_;
};

// The meshes that deform over the animation and so go out in their rest
// pose without --vertex-animation, in the order of the scene's tree. Only
// meshes with a material: the exporter makes nothing of the others.
void NoteDeformingMeshes(host::MemoryNode& node, host::Interval range, std::vector<std::string>& names) {
  if (!node.isRoot && node.object && node.material &&
      node.object->SuperClassID() == host::GEOMOBJECT_CLASS_ID && host::ChangesWithin(*node.object, range)) {
    names.push_back(node.name);
  }
  for (auto& child : node.children) NoteDeformingMeshes(*child, range, names);
}

}  // namespace

bool ParseControlEdit(const std::string& text, ui::ControlEdit& edit) {
  const size_t eq = text.find('=');
  if (eq == std::string::npos) return false;
  edit.key = text.substr(0, eq);
  edit.value = text.substr(eq + 1);
  return true;
}

int RunExport(const ExportRequest& request, std::ostream& out, std::ostream& err) {
  // Edits the dialog cannot take are refused before anything happens.
  for (const ui::ControlEdit& edit : request.edits) {
    const std::string problem = ui::CheckControlEdit(edit);
    if (!problem.empty()) {
      err << "kvlexp: --set " << edit.key << "=" << edit.value << ": " << problem << "\n";
      return EXIT_USAGE;
    }
  }

  if (request.preview && !EndsInKvl(request.outputPath)) {
    err << "kvlexp: --preview: " << request.outputPath << ": only a KVL file can be previewed; the text dump cannot\n";
    return EXIT_USAGE;
  }
  // Only the binary file can be read back; refused before anything happens.
  if (request.verify && !EndsInKvl(request.outputPath)) {
    err << "kvlexp: --verify: " << request.outputPath
        << ": only a KVL file can be read back and checked; the text dump cannot\n";
    return EXIT_USAGE;
  }

  // The file the output name stands for: a name on drive C is a file in
  // the folder that stands for the drive.
  const std::string outputFile = host::DrivePath(request.outputPath, 'c', request.driveFolder);

  // The host offers a file to the exporter that takes its type only, and
  // into a folder that is there: both are known before anything is read.
  const std::string pluginPath = request.pluginPath.empty() ? DefaultPluginPath() : request.pluginPath;
  std::string pluginError;
  std::unique_ptr<PluginLibrary> plugin = PluginLibrary::Load(pluginPath, pluginError);
  if (!plugin) {
    err << "kvlexp: exporter plug-in " << pluginPath << ": " << pluginError << "\n";
    return EXIT_FAILED;
  }
  std::unique_ptr<host::SceneExport> exporter = plugin->CreateExporter();
  if (!exporter) {
    err << "kvlexp: exporter plug-in " << pluginPath << ": it could not create the exporter\n";
    return EXIT_FAILED;
  }
  if (!ExporterTakes(*exporter, request.outputPath)) {
    err << "kvlexp: " << request.outputPath
        << ": unknown output type: the file name must end in KVL (binary scene) or TXT (text dump); nothing was "
           "written\n";
    return EXIT_FAILED;
  }
  const std::string folderProblem = OutputFolderProblem(outputFile);
  if (!folderProblem.empty()) {
    err << "kvlexp: " << request.outputPath << ": cannot write the output file: " << folderProblem
        << "; nothing was written\n";
    return EXIT_FAILED;
  }

  sources::SourceOptions sourceOptions;
  sourceOptions.animation = request.animation;
  sourceOptions.allowOutsideReferences = request.allowOutsideReferences;
  if (request.phase) request.phase(PHASE_READING);
  const auto loadStart = std::chrono::steady_clock::now();
  sources::SceneLoadResult loaded = sources::LoadSceneFile(request.scenePath, sourceOptions);
  const double loadSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - loadStart).count();
  if (!loaded.scene) {
    err << "kvlexp: " << text::EscapedForTerminal(request.scenePath) << ": " << text::EscapedForTerminal(loaded.error)
        << "\n";
    return EXIT_FAILED;
  }
  for (const std::string& note : loaded.notes) {
    err << "kvlexp: " << text::EscapedForTerminal(request.scenePath) << ": note: " << text::EscapedForTerminal(note)
        << "\n";
  }
  if (!request.vertexAnimation) {
    std::vector<std::string> deforming;
    NoteDeformingMeshes(loaded.scene->root, loaded.scene->animationRange, deforming);
    for (const std::string& name : deforming) {
      err << "kvlexp: " << text::EscapedForTerminal(request.scenePath) << ": note: mesh \""
          << text::EscapedForTerminal(name)
          << "\" deforms over the animation; it is exported in its rest pose (--vertex-animation exports its "
             "frames)\n";
    }
  }

  const OutputProbe probe = ProbeOutput(outputFile);
  bool dialogEndedWithCancel = false;
  bool dialogRefused = false;
  ExportRun run(!request.noSplit);
  // Checked while it is still under its temporary name: a file that fails
  // never replaces the good one from before.
  if (request.verify) {
    run.check = [&request, &err](const std::string& temporary) {
      return VerifyWrittenFile(temporary, request.outputPath, err) ? std::string() : std::string("not valid");
    };
  }
  {
    HostSession session(request, *loaded.scene, out, err);
    if (request.phase) request.phase(PHASE_EXPORTING);
    const uint32_t options = request.vertexAnimation ? host::SCENE_EXPORT_VERTEX_ANIMATION : 0;
    exporter->DoExport(request.outputPath.c_str(), &run, &session.Core(), false, options);
    dialogEndedWithCancel = session.OptionsCancelled();
    dialogRefused = session.Toolkit().Refused();
  }
  exporter.reset();  // the plug-in's code, so before the library goes

  if (dialogEndedWithCancel) {
    if (!dialogRefused) err << "kvlexp: export cancelled in the options dialog; nothing was written\n";
    return EXIT_CANCELLED;
  }
  // The exporter says whether its writer finished the file; an older
  // plug-in does not, and then the file itself has to tell.
  const bool written = run.outputReported ? run.outputFailure.empty() : WasWritten(outputFile, probe);
  if (!written && !run.checkProblem.empty()) {
    err << "kvlexp: " << request.outputPath << ": --verify: the written file is " << run.outputFailure << "\n";
    return EXIT_FAILED;
  }
  if (!written) {
    // The host's own explanation where it has one, else the system's.
    std::string why = WhyNotWritable(outputFile);
    if (why.empty()) why = !run.outputFailure.empty() ? run.outputFailure : "it could not be opened for writing";
    err << "kvlexp: " << request.outputPath << ": cannot write the output file: " << why << "\n";
    return EXIT_FAILED;
  }
  if (request.stats) {
    std::error_code ec;
    const uint64_t bytes = fs::file_size(outputFile, ec);
    PrintStats(err, loadSeconds, run, ec ? 0 : bytes);
  }
  // The broken file is left in place so that inspect and validate can show
  // what went wrong; the exit status says it is not to be used.
  // A file written in place (a device) could not be checked before.
  if (request.verify && !run.checked && !VerifyWrittenFile(outputFile, err)) {
    err << "kvlexp: " << request.outputPath
        << ": --verify: the written file is not valid; it was left in place for inspection\n";
    return EXIT_FAILED;
  }
  // Textures that the scene carries inside it go beside the output, now
  // that it is written, and each replaces an older one only when complete.
  if (!WriteEmbeddedFiles(loaded.files, fs::path(outputFile).parent_path(), out, err)) return EXIT_FAILED;
  if (!request.depfilePath.empty() &&
      !WriteDepfile(request.depfilePath, host::HostPath(request.outputPath), DependenciesOf(loaded.filesRead), err)) {
    return EXIT_FAILED;
  }
  if (request.preview) {
    const PreviewRequest page{outputFile, DefaultPreviewPath(outputFile)};
    const int status = RunPreview(page, out, err);
    if (status != EXIT_OK) return EXIT_FAILED;
  }
  return EXIT_OK;
}

}  // namespace kvl::cli
