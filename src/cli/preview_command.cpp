#include "cli/preview_command.h"

#include <filesystem>
#include <ostream>
#include <vector>

#include "cli/exit_codes.h"
#include "cli/preview_page.h"
#include "output/read/kvl_reader.h"
#include "output/read/kvl_validator.h"
#include "platform/replacing_file.h"

namespace kvl::cli {
namespace fs = std::filesystem;

namespace {

// The images of the file's textures that lie beside the page and that a
// browser can show, as data URLs; the page draws a checker for the others.
std::map<std::string, std::string> ImagesBeside(const std::vector<uint8_t>& kvl, const fs::path& folder) {
  std::map<std::string, std::string> images;
  const KvlDocument doc = ReadKvl(kvl);
  for (const auto& [id, node] : doc.table) {
    if (node->type != NODE_TEXTURE) continue;
    const std::string& name = As<TextureNode>(*node).fileName;
    const std::string mime = ImageMimeType(name);
    if (mime.empty() || images.count(name) || name.find('/') != std::string::npos) continue;
    std::vector<uint8_t> bytes;
    std::string error;
    if (!ReadFileBytes((folder / name).string(), bytes, error)) continue;
    images[name] = "data:" + mime + ";base64," + Base64(bytes);
  }
  return images;
}

}  // namespace

std::string DefaultPreviewPath(const std::string& kvlPath) { return kvlPath + ".html"; }

int RunPreview(const PreviewRequest& request, std::ostream& out, std::ostream& err) {
  std::vector<uint8_t> bytes;
  std::string error;
  if (!ReadFileBytes(request.path, bytes, error)) {
    err << "kvlexp: " << request.path << ": " << error << "\n";
    return EXIT_UNREADABLE;
  }
  if (const std::string wrongKind = NotKvlReason(bytes); !wrongKind.empty()) {
    err << "kvlexp: " << request.path << ": " << wrongKind << "\n";
    return EXIT_FAILED;
  }
  const std::string pagePath = request.outputPath.empty() ? DefaultPreviewPath(request.path) : request.outputPath;
  fs::path folder = fs::path(pagePath).parent_path();
  if (folder.empty()) folder = ".";

  PreviewInput input;
  input.fileName = fs::path(request.path).filename().string();
  input.kvl = bytes;
  input.images = ImagesBeside(bytes, folder);
  const std::string page = BuildPreviewPage(input);

  // Through the same replacing file as every output: a failed write leaves
  // no half page and keeps an earlier one, a device is written in place,
  // and two previews at once do not share a temporary name.
  std::string why;
  if (!ReplaceFileText(pagePath, page, &why)) {
    err << "kvlexp: " << pagePath << ": cannot write the preview page: " << why << "\n";
    return EXIT_FAILED;
  }
  out << "kvlexp: preview of " << request.path << " written to " << pagePath << " (" << page.size() << " bytes)\n";
  return EXIT_OK;
}

}  // namespace kvl::cli
