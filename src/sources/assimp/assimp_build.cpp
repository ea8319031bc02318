#include "sources/assimp/assimp_build.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace kvl::sources {

AssimpBuild::AssimpBuild(const aiScene& source, host::MemoryScene& target, const SourceOptions& sourceOptions,
                         std::string sourcePath)
    : ai(source), scene(target), options(sourceOptions), path(std::move(sourcePath)), format(FormatOf(path)) {}

std::string FormatOf(const std::string& path) {
  std::string format = std::filesystem::path(path).extension().string();
  if (!format.empty() && format[0] == '.') format.erase(0, 1);
  std::transform(format.begin(), format.end(), format.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return format;
}

host::Matrix3 ToMatrix3(const aiMatrix4x4& m) {
  host::Matrix3 result(host::Point3(m.a1, m.b1, m.c1), host::Point3(m.a2, m.b2, m.c2),
                       host::Point3(m.a3, m.b3, m.c3), host::Point3(m.a4, m.b4, m.c4));
  result.ValidateFlags();
  return result;
}

aiMatrix4x4 ToAiMatrix(const host::Matrix3& m) {
  return aiMatrix4x4(m[0].x, m[1].x, m[2].x, m[3].x,  //
                     m[0].y, m[1].y, m[2].y, m[3].y,  //
                     m[0].z, m[1].z, m[2].z, m[3].z,  //
                     0.0f, 0.0f, 0.0f, 1.0f);
}

std::string Quote(const std::string& text) { return "\"" + text + "\""; }

void AssimpBuild::LeaveBehind(const std::string& what, const std::string& name) {
  for (auto& [kind, names] : leftBehind) {
    if (kind == what) {
      names.push_back(name);
      return;
    }
  }
  leftBehind.push_back({what, {name}});
}

void AssimpBuild::NoteLeftBehind() {
  // A few names tell the user where to look; a thousand would bury the rest.
  constexpr size_t kNamesShown = 5;
  for (const auto& [what, names] : leftBehind) {
    std::string note = what + ":";
    for (size_t i = 0; i < names.size() && i < kNamesShown; ++i) note += (i ? ", " : " ") + Quote(names[i]);
    if (names.size() > kNamesShown) note += " and " + std::to_string(names.size() - kNamesShown) + " more";
    notes.push_back(note);
  }
  leftBehind.clear();
}

}  // namespace kvl::sources
