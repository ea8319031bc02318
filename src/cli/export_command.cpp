// `kvlexp export`: the host's side of one export, step by step in
// RunExport; each step that is more than a few lines lives in a file of its
// own (output_path, scene_notes, host_session, embedded_files, depfile).
#include "cli/export_command.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <system_error>

#include "cli/depfile.h"
#include "cli/embedded_files.h"
#include "cli/exit_codes.h"
#include "cli/export_stats.h"
#include "cli/host_session.h"
#include "cli/output_path.h"
#include "cli/plugin_library.h"
#include "cli/preview_command.h"
#include "cli/scene_notes.h"
#include "cli/validate_command.h"
#include "host/host_files.h"
#include "platform/text_escapes.h"
#include "sources/scene_source.h"

namespace kvl::cli {
namespace {

namespace fs = std::filesystem;

// What the request asks that cannot be done whatever the scene: refused
// before anything is read. EXIT_OK, or the status after one line on `err`.
int CheckRequest(const ExportRequest& request, std::ostream& err) {
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
  // Only the binary file can be read back.
  if (request.verify && !EndsInKvl(request.outputPath)) {
    err << "kvlexp: --verify: " << request.outputPath
        << ": only a KVL file can be read back and checked; the text dump cannot\n";
    return EXIT_USAGE;
  }
  return EXIT_OK;
}

// The host offers a file to the exporter that takes its type only, and into
// a folder that is there: both are known before anything is read.
bool OutputAccepted(host::SceneExport& exporter, const ExportRequest& request, const std::string& outputFile,
                    std::ostream& err) {
  if (!ExporterTakes(exporter, request.outputPath)) {
    err << "kvlexp: " << request.outputPath
        << ": unknown output type: the file name must end in KVL (binary scene) or TXT (text dump); nothing was "
           "written\n";
    return false;
  }
  const std::string folderProblem = OutputFolderProblem(outputFile);
  if (!folderProblem.empty()) {
    err << "kvlexp: " << request.outputPath << ": cannot write the output file: " << folderProblem
        << "; nothing was written\n";
    return false;
  }
  return true;
}

// How the exporter's run ended, as the host saw it.
struct ExportEnd {
  bool cancelled = false;  // the options dialog ended with Cancel
  bool refused = false;    // ... because it refused a value, which it said
};

ExportEnd RunExporter(host::SceneExport& exporter, const ExportRequest& request, host::MemoryScene& scene,
                      ExportRun& run, std::ostream& out, std::ostream& err) {
  HostSession session(request, scene, out, err);
  if (request.phase) request.phase(PHASE_EXPORTING);
  const uint32_t options = request.vertexAnimation ? host::SCENE_EXPORT_VERTEX_ANIMATION : 0;
  exporter.DoExport(request.outputPath.c_str(), &run, &session.Core(), false, options);
  return {session.OptionsCancelled(), session.Toolkit().Refused()};
}

// The exporter reports whether its writer finished the file; one line if
// it did not.
bool OutputWritten(const ExportRequest& request, const ExportRun& run, const std::string& outputFile,
                   std::ostream& err) {
  if (run.outputReported && run.outputFailure.empty()) return true;
  if (!run.checkProblem.empty()) {
    err << "kvlexp: " << request.outputPath << ": --verify: the written file is " << run.outputFailure << "\n";
    return false;
  }
  // The host's own explanation where it has one, else the writer's.
  std::string why = WhyNotWritable(outputFile);
  if (why.empty()) why = !run.outputFailure.empty() ? run.outputFailure : "it could not be opened for writing";
  err << "kvlexp: " << request.outputPath << ": cannot write the output file: " << why << "\n";
  return false;
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
  if (const int status = CheckRequest(request, err); status != EXIT_OK) return status;
  // A name on drive C is a file in the folder that stands for the drive.
  const std::string outputFile = host::DrivePath(request.outputPath, 'c', request.driveFolder);

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
  if (!OutputAccepted(*exporter, request, outputFile, err)) return EXIT_FAILED;

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
  PrintSceneNotes(request.scenePath, *loaded.scene, loaded.notes, request.vertexAnimation, err);

  ExportRun run(!request.noSplit);
  // Checked while it is still under its temporary name: a file that fails
  // never replaces the good one from before.
  if (request.verify) {
    run.check = [&request, &err](const std::string& temporary) {
      return VerifyWrittenFile(temporary, request.outputPath, err) ? std::string() : std::string("not valid");
    };
  }
  const ExportEnd end = RunExporter(*exporter, request, *loaded.scene, run, out, err);
  exporter.reset();  // the plug-in's code, so before the library goes
  if (end.cancelled) {
    if (!end.refused) err << "kvlexp: export cancelled in the options dialog; nothing was written\n";
    return EXIT_CANCELLED;
  }
  if (!OutputWritten(request, run, outputFile, err)) return EXIT_FAILED;

  if (request.stats) {
    std::error_code ec;
    const uint64_t bytes = fs::file_size(outputFile, ec);
    PrintStats(err, loadSeconds, run, ec ? 0 : bytes);
  }
  // A file written in place (a device) could not be checked before; it is
  // left there so that inspect and validate can show what went wrong, and
  // the exit status says it is not to be used.
  if (request.verify && !run.checked && !VerifyWrittenFile(outputFile, err)) {
    err << "kvlexp: " << request.outputPath
        << ": --verify: the written file is not valid; it was left in place for inspection\n";
    return EXIT_FAILED;
  }
  // Textures that the scene carries inside it go beside the output, now
  // that it is written, and each replaces an older one only when complete.
  if (!WriteEmbeddedFiles(loaded.files, fs::path(outputFile).parent_path(), out, err)) return EXIT_FAILED;
  if (!request.depfilePath.empty() &&
      !WriteDepfile(request.depfilePath, host::HostPath(request.outputPath), loaded.filesRead, err)) {
    return EXIT_FAILED;
  }
  if (request.preview) {
    const PreviewRequest page{outputFile, DefaultPreviewPath(outputFile)};
    if (RunPreview(page, out, err) != EXIT_OK) return EXIT_FAILED;
  }
  return EXIT_OK;
}

}  // namespace kvl::cli
