// The self-contained HTML page that shows a KVL file with three.js: the
// file's bytes, its validation report, the images of its textures that lie
// beside the page, the decoder and three.js all go inside it.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>

namespace kvl::cli {

// Standard base64, with padding.
std::string Base64(std::span<const uint8_t> bytes);

// The image types a browser shows by itself, by file name; empty if none.
std::string ImageMimeType(const std::string& fileName);

struct PreviewInput {
  std::string fileName;                       // shown in the header
  std::span<const uint8_t> kvl;               // the file's bytes
  std::map<std::string, std::string> images;  // texture file name -> data URL
};

// The page. The file is validated here, so that its errors show in the
// header as `kvlexp validate` would list them.
std::string BuildPreviewPage(const PreviewInput& input);

}  // namespace kvl::cli
