#include "sources/assimp/assimp_materials.h"

#include <assimp/material.h>

#include "host/memory_materials.h"
#include "sources/assimp/assimp_textures.h"

namespace kvl::sources {
namespace {

// Assimp's name for the material it makes up when a file has none.
constexpr const char* kAssimpDefaultMaterial = "DefaultMaterial";

void ReadColor(const aiMaterial& m, const char* key, unsigned type, unsigned index, host::Color& into) {
  aiColor3D c;
  if (m.Get(key, type, index, c) == aiReturn_SUCCESS) into = host::Color(c.r, c.g, c.b);
}

void ReadMap(AssimpBuild& build, const aiMaterial& m, aiTextureType type, int slot, host::MemoryStdMtl& into) {
  if (m.GetTextureCount(type) == 0) return;
  aiString path;
  if (m.GetTexture(type, 0, &path) != aiReturn_SUCCESS) return;
  std::string file = Text(path);
  const std::string embedded = KeepEmbeddedTexture(build, file);
  if (!embedded.empty()) file = embedded;
  into.maps[static_cast<size_t>(slot)].state = 2;
  into.maps[static_cast<size_t>(slot)].map = std::make_unique<host::MemoryBitmapTex>(HostMapName(file));
}

std::unique_ptr<host::MemoryStdMtl> StandardMaterial(AssimpBuild& build, const aiMaterial& m) {
  auto material = std::make_unique<host::MemoryStdMtl>();
  aiString name;
  if (m.Get(AI_MATKEY_NAME, name) == aiReturn_SUCCESS) material->name = Text(name);
  ReadColor(m, AI_MATKEY_COLOR_AMBIENT, material->ambient);
  ReadColor(m, AI_MATKEY_COLOR_DIFFUSE, material->diffuse);
  ReadColor(m, AI_MATKEY_COLOR_SPECULAR, material->specular);
  ReadColor(m, AI_MATKEY_COLOR_EMISSIVE, material->selfIllumColor);
  float value = 0.0f;
  if (m.Get(AI_MATKEY_OPACITY, value) == aiReturn_SUCCESS) material->opacity = value;
  if (m.Get(AI_MATKEY_SHININESS_STRENGTH, value) == aiReturn_SUCCESS) material->shinStr = value;
  int flag = 0;
  if (m.Get(AI_MATKEY_TWOSIDED, flag) == aiReturn_SUCCESS) material->twoSided = flag != 0;
  if (m.Get(AI_MATKEY_ENABLE_WIREFRAME, flag) == aiReturn_SUCCESS) material->wire = flag != 0;
  ReadMap(build, m, aiTextureType_DIFFUSE, host::ID_DI, *material);
  ReadMap(build, m, aiTextureType_REFLECTION, host::ID_RL, *material);
  return material;
}

}  // namespace

std::string HostMapName(const std::string& path) {
  std::string name = path;
  for (char& c : name) {
    if (c == '/') c = '\\';
  }
  return name;
}

void BuildMaterials(AssimpBuild& build) {
  build.materials.assign(build.ai.mNumMaterials, nullptr);
  for (unsigned i = 0; i < build.ai.mNumMaterials; ++i) {
    const aiMaterial& m = *build.ai.mMaterials[i];
    // Assimp's stand-in for "no material" (its default, or a nameless one
    // as the PLY importer makes) is left null: such meshes get the host's
    // default, named after their node.
    aiString name;
    const bool named = m.Get(AI_MATKEY_NAME, name) == aiReturn_SUCCESS;
    if ((!named || Text(name) == kAssimpDefaultMaterial) && m.GetTextureCount(aiTextureType_DIFFUSE) == 0) continue;
    auto material = StandardMaterial(build, m);
    build.materials[i] = material.get();
    build.scene.materials.push_back(std::move(material));
  }
}

}  // namespace kvl::sources
