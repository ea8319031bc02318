#include "cli/embedded_files.h"

#include <string>

#include "platform/replacing_file.h"

namespace kvl::cli {

bool WriteEmbeddedFiles(const std::vector<sources::SceneLoadResult::EmbeddedFile>& files, const std::filesystem::path& folder,
                        std::ostream& out, std::ostream& err) {
  for (const auto& file : files) {
    const std::string path = (folder / file.name).string();
    std::string why;
    if (ReplaceFileText(path, file.bytes, &why)) {
      out << "Wrote texture " << path << "\n";
      continue;
    }
    err << "kvlexp: " << path << ": cannot write the texture the scene carries: " << why << "\n";
    return false;
  }
  return true;
}

}  // namespace kvl::cli
