#include "sources/assimp/assimp_textures.h"

#include <assimp/texture.h>

#include <cctype>
#include <cstring>
#include <filesystem>

namespace kvl::sources {
namespace {

namespace fs = std::filesystem;

// An uncompressed texture as a 32-bit TGA, which every paint program reads.
std::string TgaBytes(const aiTexture& texture) {
  std::string bytes(18, '\0');
  bytes[2] = 2;  // uncompressed true colour
  bytes[12] = static_cast<char>(texture.mWidth & 0xFF);
  bytes[13] = static_cast<char>((texture.mWidth >> 8) & 0xFF);
  bytes[14] = static_cast<char>(texture.mHeight & 0xFF);
  bytes[15] = static_cast<char>((texture.mHeight >> 8) & 0xFF);
  bytes[16] = 32;
  bytes[17] = 0x28;  // top-left origin, 8 alpha bits
  const size_t count = static_cast<size_t>(texture.mWidth) * texture.mHeight;
  bytes.reserve(18 + 4 * count);
  for (size_t i = 0; i < count; ++i) {
    const aiTexel& t = texture.pcData[i];
    bytes.push_back(static_cast<char>(t.b));
    bytes.push_back(static_cast<char>(t.g));
    bytes.push_back(static_cast<char>(t.r));
    bytes.push_back(static_cast<char>(t.a));
  }
  return bytes;
}

std::string Extension(const aiTexture& texture) {
  if (texture.mHeight != 0) return "tga";
  std::string hint(texture.achFormatHint, strnlen(texture.achFormatHint, sizeof texture.achFormatHint));
  for (char c : hint) {
    if (!std::isalnum(static_cast<unsigned char>(c))) return "bin";
  }
  return hint.empty() ? "bin" : hint;
}

}  // namespace

std::string KeepEmbeddedTexture(AssimpBuild& build, const std::string& reference) {
  const aiTexture* texture = build.ai.GetEmbeddedTexture(reference.c_str());
  if (!texture) return "";
  // The index in the scene's list keeps names apart and stable.
  unsigned index = 0;
  while (index < build.ai.mNumTextures && build.ai.mTextures[index] != texture) ++index;

  const fs::path scenePath(build.path);
  const std::string stem = build.options.textureStem.empty() ? scenePath.stem().string() : build.options.textureStem;
  const std::string name = stem + "_texture" + std::to_string(index) + "." + Extension(*texture);
  for (const auto& file : build.files) {
    if (file.name == name) return name;
  }
  build.files.push_back({name, texture->mHeight == 0
                                   ? std::string(reinterpret_cast<const char*>(texture->pcData), texture->mWidth)
                                   : TgaBytes(*texture)});
  return name;
}

}  // namespace kvl::sources
