// kvlexp: the command line that plays the host application for the exporter.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "cli/exit_codes.h"
#include "cli/export_command.h"

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
  CLI::App* exportCmd = app.add_subcommand("export", "Export SCENE (a JSON scene description) to OUTPUT");
  exportCmd->add_option("SCENE", request.scenePath, "the scene to export (.json)")->required();
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

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e);
    return code == 0 ? kvl::cli::EXIT_OK : kvl::cli::EXIT_USAGE;
  }
  if (!*exportCmd) return kvl::cli::EXIT_USAGE;

  for (const std::string& text : sets) {
    kvl::ui::ControlEdit edit;
    if (!kvl::cli::ParseControlEdit(text, edit)) {
      std::cerr << "kvlexp: --set " << text << ": expected KEY=VALUE\n";
      return kvl::cli::EXIT_USAGE;
    }
    request.edits.push_back(edit);
  }
  if (!request.driveFolder.empty()) {
    std::error_code ec;
    std::filesystem::create_directories(request.driveFolder, ec);
  }
  request.showProgress = ::isatty(STDERR_FILENO) != 0;
  return kvl::cli::RunExport(request, std::cout, std::cerr);
}
