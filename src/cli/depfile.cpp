#include "cli/depfile.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "host/host_files.h"
#include "platform/replacing_file.h"

namespace kvl::cli {
namespace {

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
}  // namespace

bool WriteDepfile(const std::string& path, const std::string& output, const std::vector<std::string>& sceneFiles,
                  std::ostream& err) {
  const std::vector<std::string> files = DependenciesOf(sceneFiles);
  std::string rule = MakeEscaped(AbsolutePath(output)) + ":";
  for (const std::string& file : files) rule += " \\\n  " + MakeEscaped(AbsolutePath(file));
  rule += "\n";
  std::string why;
  if (ReplaceFileText(path, rule, &why)) return true;
  err << "kvlexp: " << path << ": cannot write the depfile: " << why << "\n";
  return false;
}

}  // namespace kvl::cli
