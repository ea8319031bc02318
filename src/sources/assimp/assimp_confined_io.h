// The file system as Assimp sees it during an import: the scene's folder
// and below. A scene from a stranger can name any path as a buffer, an
// image or a material library; a converter that follows it would copy the
// machine's files into its output.
#pragma once

#include <assimp/DefaultIOSystem.h>

#include <filesystem>
#include <string>
#include <vector>

namespace kvl::sources {

class ConfinedIOSystem : public Assimp::DefaultIOSystem {
 public:
  // Opens are allowed at `scenePath` itself and below its folder, or
  // anywhere when `allowOutside` is set.
  ConfinedIOSystem(const std::string& scenePath, bool allowOutside);

  bool Exists(const char* file) const override;
  Assimp::IOStream* Open(const char* file, const char* mode = "rb") override;

  // The first reference that left the folder, as the importer asked for it
  // (relative to the scene's folder where it can be); empty if none did.
  const std::string& refused() const { return refused_; }
  // Every file opened, in order, each once.
  const std::vector<std::string>& opened() const { return opened_; }

 private:
  bool Allowed(const char* file) const;
  std::string AbsoluteReference(const std::string& asked) const;

  std::filesystem::path folder_;  // canonical
  std::filesystem::path scene_;   // canonical
  std::string givenFolder_;       // the scene's folder as the user wrote it, with its separator
  bool allowOutside_;
  mutable std::string refused_;
  std::vector<std::string> opened_;
};

}  // namespace kvl::sources
