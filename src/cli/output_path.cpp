#include "cli/output_path.h"

#include <cctype>
#include <filesystem>
#include <system_error>

namespace kvl::cli {

namespace fs = std::filesystem;

namespace {

// The type a name gives a file, as the exporter reads it: the last three
// characters in upper case, no dot looked for; empty for a shorter name.
std::string TypeOfName(const std::string& path) {
  if (path.size() < 3) return "";
  std::string ending = path.substr(path.size() - 3);
  for (char& c : ending) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return ending;
}

}  // namespace

bool EndsInKvl(const std::string& path) { return TypeOfName(path) == "KVL"; }

bool ExporterTakes(host::SceneExport& exporter, const std::string& path) {
  const std::string ending = TypeOfName(path);
  if (ending.empty()) return false;
  for (int i = 0; i < exporter.ExtCount(); ++i) {
    if (ending == exporter.Ext(i)) return true;
  }
  return false;
}

std::string OutputFolderProblem(const std::string& path) {
  const fs::path folder = fs::path(path).parent_path();
  if (folder.empty()) return "";
  std::error_code ec;
  const fs::file_status status = fs::status(folder, ec);
  if (!fs::exists(status)) return "the folder " + folder.string() + " does not exist";
  if (!fs::is_directory(status)) return folder.string() + " is not a folder";
  return "";
}

std::string WhyNotWritable(const std::string& path) {
  std::error_code ec;
  const fs::path target(path);
  const fs::path dir = target.has_parent_path() ? target.parent_path() : fs::path(".");
  if (fs::is_directory(target, ec)) return "it is a directory";
  if (!fs::exists(dir, ec)) return "the folder " + dir.string() + " does not exist";
  if (!fs::is_directory(dir, ec)) return dir.string() + " is not a folder";
  return "";
}

}  // namespace kvl::cli
