#include "sources/assimp/assimp_import.h"

#include <assimp/Importer.hpp>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <filesystem>
#include <new>

#include "sources/assimp/assimp_animation.h"
#include "sources/assimp/assimp_build.h"
#include "sources/assimp/assimp_confined_io.h"
#include "sources/assimp/assimp_materials.h"
#include "sources/assimp/assimp_nodes.h"
#include "sources/assimp/assimp_objects.h"
#include "sources/assimp/assimp_ply_guard.h"
#include "sources/assimp/assimp_validation.h"

namespace kvl::sources {
namespace {

void Configure(Assimp::Importer& importer) {
  // FBX pivots as Assimp's helper nodes, one per factor of the pivot
  // chain: the node builder folds them into their node, and the animation
  // builder puts each helper's channel in its place in the chain. Collapsed
  // by Assimp instead, the chain's animated factors would be lost (its
  // channels still name the helpers).
  importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, true);
  // Collada nodes by the names the user gave them, not their ids.
  importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_USE_COLLADA_NAMES, true);
  // A file of bones without meshes stays without meshes.
  importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);
}

}  // namespace

unsigned AssimpPostProcessSteps() {
  return aiProcess_Triangulate | aiProcess_GenUVCoords | aiProcess_TransformUVCoords;
}

SceneLoadResult ConvertAssimpScene(const aiScene& ai, const std::string& path, const SourceOptions& options) {
  SceneLoadResult result;
  const bool anyNode = ai.mRootNode && ai.mRootNode->mNumChildren != 0;
  if (ai.mNumMeshes == 0 && ai.mNumCameras == 0 && ai.mNumLights == 0 && ai.mNumAnimations == 0 && !anyNode) {
    result.error = "cannot import: the file holds nothing a scene is made of (no meshes, cameras, lights or animations)";
    return result;
  }
  auto scene = std::make_unique<host::MemoryScene>();
  AssimpBuild build(ai, *scene, options, path);
  try {
    ValidateAssimpScene(build);
    ChooseAnimation(ai, options.animation);  // a wrong choice is refused before anything is written
    BuildMaterials(build);
    std::vector<std::pair<host::MemoryNode*, NodeOrigin>> origins;
    BuildNodes(build, origins);
    BuildCamerasAndLights(build, origins);
    BuildAnimation(build, origins);
    ApplyFrames(origins);
    AssignHandles(scene->root);
  } catch (const AssimpRefusal& refusal) {
    result.error = refusal.message;
  } catch (const std::bad_alloc&) {
    result.error = "too large to load (out of memory)";
  }
  if (result.error.empty()) result.scene = std::move(scene);
  build.NoteLeftBehind();
  result.notes = std::move(build.notes);
  if (result.scene) result.files = std::move(build.files);
  return result;
}

SceneLoadResult LoadAssimpSceneFile(const std::string& path, const SourceOptions& options) {
  SceneLoadResult result;
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec)) {
    result.error = "cannot import: it is a folder, not a file";
    return result;
  }
  result.error = CheckPlyFile(path);
  if (!result.error.empty()) return result;
  Assimp::Importer importer;
  Configure(importer);
  auto* files = new ConfinedIOSystem(path, options.allowOutsideReferences);
  importer.SetIOHandler(files);  // the importer owns it from here
  const aiScene* ai = nullptr;
  try {
    // Read first, check, and only then post-process: see
    // CheckFacesBeforePostProcessing.
    ai = importer.ReadFile(path, 0);
    // Refused even where the importer went on without the file: the user
    // should know the scene asked for it.
    if (!files->refused().empty()) {
      result.error = "cannot import: the scene refers to " + Quote(files->refused()) +
                     ", which is not a path inside its folder (--allow-outside-references reads it)";
      return result;
    }
    if (ai) {
      const std::string problem = CheckFacesBeforePostProcessing(*ai);
      if (!problem.empty()) {
        result.error = "cannot import: " + problem;
        return result;
      }
      ai = importer.ApplyPostProcessing(AssimpPostProcessSteps());
    }
  } catch (const std::bad_alloc&) {
    result.error = "cannot import: too large to load (out of memory)";
    return result;
  }
  if (!ai) {
    std::string reason = importer.GetErrorString();
    while (!reason.empty() && (reason.back() == '\n' || reason.back() == '\r')) reason.pop_back();
    result.error = "cannot import: " + (reason.empty() ? std::string("Assimp gave no reason") : reason);
    return result;
  }
  // Assimp marks every scene without a mesh incomplete; a file of cameras,
  // lights or animated nulls is a scene all the same. Only a scene without
  // a tree is nothing to export.
  if (!ai->mRootNode) {
    result.error = "cannot import: the file holds no node tree";
    return result;
  }
  SceneLoadResult converted = ConvertAssimpScene(*ai, path, options);
  // The scene as the user named it, then what the importer opened besides.
  converted.filesRead = {path};
  const std::string scene = std::filesystem::path(path).lexically_normal().string();
  for (const std::string& opened : files->opened()) {
    if (opened != scene) converted.filesRead.push_back(opened);
  }
  return converted;
}

}  // namespace kvl::sources
