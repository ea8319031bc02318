// What the parts of the Assimp conversion share while one scene is built:
// the Assimp scene, the memory scene being filled, the notes for the user,
// and the conversions between Assimp's values and the host's.
#pragma once

#include <assimp/matrix4x4.h>
#include <assimp/scene.h>

#include <map>
#include <string>
#include <vector>

#include "host/matrix3.h"
#include "host/memory_scene.h"
#include "sources/scene_load/scene_load.h"

namespace kvl::sources {

// A scene that breaks what the host holds; the whole load is refused with
// this message.
struct AssimpRefusal {
  std::string message;
};

[[noreturn]] inline void Refuse(const std::string& message) { throw AssimpRefusal{message}; }

struct AssimpBuild {
  AssimpBuild(const aiScene& source, host::MemoryScene& target, const SourceOptions& sourceOptions,
              std::string sourcePath);

  const aiScene& ai;
  host::MemoryScene& scene;
  const SourceOptions& options;
  std::string path;       // the file the scene came from
  std::string format;     // its extension in small letters, without the dot
  std::vector<std::string> notes;
  // The embedded textures the materials name, each once.
  std::vector<SceneLoadResult::EmbeddedFile> files;
  // What the scene leaves behind, said once per scene rather than once per
  // node: per kind (in the order first met), the names it applies to.
  std::vector<std::pair<std::string, std::vector<std::string>>> leftBehind;
  void LeaveBehind(const std::string& what, const std::string& name);
  // One note per kind of leftBehind, appended to notes.
  void NoteLeftBehind();

  // Per Assimp material, the host material; null where the file had none
  // and Assimp made up its default.
  std::vector<host::Mtl*> materials;
  // One multi-material per distinct list of sub-materials.
  std::map<std::vector<host::Mtl*>, host::Mtl*> multiMaterials;
  // Host nodes by the name of the Assimp node they came from (a folded pivot
  // chain enters every name of the chain).
  std::multimap<std::string, host::MemoryNode*> nodesByName;
};

// A file's extension in small letters, without the dot: what tells the
// format's conventions.
std::string FormatOf(const std::string& path);

inline std::string Text(const aiString& s) { return std::string(s.data, s.length); }

// Assimp's matrices act on column vectors; the host's on row vectors, so the
// host's rows are Assimp's columns.
host::Matrix3 ToMatrix3(const aiMatrix4x4& m);
aiMatrix4x4 ToAiMatrix(const host::Matrix3& m);

// "node \"Name\"" and the like, for messages.
std::string Quote(const std::string& text);

}  // namespace kvl::sources
