#include "output/write/scene_writer.h"

#include <cctype>

#include "output/write/ascii_dump_writer.h"
#include "output/write/binary_writer.h"
#include "platform/replacing_file.h"

namespace kvl {

bool SceneWriter::WriteThrough(const std::string& path, const char* mode,
                               const std::function<bool(std::FILE*)>& write) {
  failure_.clear();
  std::unique_ptr<ReplacingFile> file = ReplacingFile::Open(path, mode, &failure_);
  if (!file) return false;
  if (write(file->get())) {
    file->Commit(&failure_, check_);
  } else {
    // Never left standing: the temporary file goes with `file`.
    failure_ = "the writer could not complete the file";
  }
  return true;
}

OutputKind OutputKindForPath(const std::string& path) {
  if (path.size() < 3) return OutputKind::NONE;
  std::string ext = path.substr(path.size() - 3);
  for (char& ch : ext) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  if (ext == "KVL") return OutputKind::BINARY;
  if (ext == "TXT") return OutputKind::TEXT;
  return OutputKind::NONE;
}

std::unique_ptr<SceneWriter> MakeWriter(OutputKind kind) {
  switch (kind) {
    case OutputKind::BINARY: return std::make_unique<BinaryWriter>();
    case OutputKind::TEXT: return std::make_unique<AsciiDumpWriter>();
    case OutputKind::NONE: return nullptr;
  }
  return nullptr;
}

}  // namespace kvl
