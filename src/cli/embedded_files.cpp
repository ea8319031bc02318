#include "cli/embedded_files.h"

#include <cstdio>
#include <memory>
#include <string>

#include "platform/replacing_file.h"

namespace kvl::cli {

bool WriteEmbeddedFiles(const std::vector<sources::SceneLoadResult::EmbeddedFile>& files, const std::filesystem::path& folder,
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

}  // namespace kvl::cli
