#include "sources/assimp/assimp_validation.h"

#include <algorithm>
#include <cmath>

namespace kvl::sources {
namespace {

bool Finite(const aiVector3D& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

bool Finite(const aiMatrix4x4& m) {
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      if (!std::isfinite(m[r][c])) return false;
    }
  }
  return true;
}

std::string MeshName(const aiScene& scene, unsigned index) {
  const std::string name = Text(scene.mMeshes[index]->mName);
  return "mesh " + std::to_string(index) + (name.empty() ? "" : " " + Quote(name));
}

// The first corner that names a vertex the mesh does not have, as text.
std::string FaceIndexProblem(const aiMesh& mesh) {
  for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
    const aiFace& face = mesh.mFaces[f];
    if (!face.mIndices) continue;
    // Corners are distinct vertices of the mesh; Assimp's PLY text reader
    // takes any number as a corner count (a misplaced coordinate gave one of
    // 39 million), and its triangulation of such a face never ends.
    if (face.mNumIndices > mesh.mNumVertices) {
      return "face " + std::to_string(f) + " has " + std::to_string(face.mNumIndices) + " corners, more than the " +
             std::to_string(mesh.mNumVertices) + " vertices of its mesh";
    }
    for (unsigned k = 0; k < face.mNumIndices; ++k) {
      if (face.mIndices[k] >= mesh.mNumVertices) {
        return "face " + std::to_string(f) + " corner " + std::to_string(k) + ": index " +
               std::to_string(face.mIndices[k]) + " out of range (" + std::to_string(mesh.mNumVertices) +
               " vertices)";
      }
    }
  }
  return "";
}

void CheckMesh(AssimpBuild& build, unsigned index) {
  const aiMesh& mesh = *build.ai.mMeshes[index];
  const std::string what = MeshName(build.ai, index);
  if (mesh.mNumVertices != 0 && !mesh.mVertices) Refuse(what + ": has no vertex positions");
  for (unsigned v = 0; v < mesh.mNumVertices; ++v) {
    if (!Finite(mesh.mVertices[v])) Refuse(what + ": vertex " + std::to_string(v) + " has a position that is not a finite number");
  }
  if (mesh.mMaterialIndex >= build.ai.mNumMaterials) {
    Refuse(what + ": material index " + std::to_string(mesh.mMaterialIndex) + " out of range (" +
           std::to_string(build.ai.mNumMaterials) + " materials)");
  }
  const std::string badIndex = FaceIndexProblem(mesh);
  if (!badIndex.empty()) Refuse(what + ": " + badIndex);
  unsigned empty = 0;
  for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
    if (mesh.mFaces[f].mNumIndices == 0 || !mesh.mFaces[f].mIndices) ++empty;
  }
  if (empty != 0) {
    // A face without corners holds nothing: the mesh's builder passes over
    // it (it has not three corners), and the user is told.
    build.notes.push_back(what + ": " + std::to_string(empty) + " empty faces left out");
  }
}

void CheckNode(const AssimpBuild& build, const aiNode& node, int depth) {
  const std::string what = "node " + Quote(Text(node.mName));
  if (depth > 10000) Refuse(what + ": the tree is nested too deeply");
  if (!Finite(node.mTransformation)) Refuse(what + ": its transform holds a number that is not finite");
  for (unsigned i = 0; i < node.mNumMeshes; ++i) {
    if (node.mMeshes[i] >= build.ai.mNumMeshes) {
      Refuse(what + ": mesh index " + std::to_string(node.mMeshes[i]) + " out of range (" +
             std::to_string(build.ai.mNumMeshes) + " meshes)");
    }
  }
  for (unsigned i = 0; i < node.mNumChildren; ++i) {
    if (!node.mChildren[i]) Refuse(what + ": child " + std::to_string(i) + " is missing");
    CheckNode(build, *node.mChildren[i], depth + 1);
  }
}

void CheckAnimations(const AssimpBuild& build) {
  for (unsigned a = 0; a < build.ai.mNumAnimations; ++a) {
    const aiAnimation& animation = *build.ai.mAnimations[a];
    for (unsigned c = 0; c < animation.mNumChannels; ++c) {
      const aiNodeAnim& channel = *animation.mChannels[c];
      const std::string what = "animation " + Quote(Text(animation.mName)) + ", channel of node " +
                               Quote(Text(channel.mNodeName));
      for (unsigned k = 0; k < channel.mNumPositionKeys; ++k) {
        if (!std::isfinite(channel.mPositionKeys[k].mTime) || !Finite(channel.mPositionKeys[k].mValue)) {
          Refuse(what + ": position key " + std::to_string(k) + " is not finite");
        }
      }
      for (unsigned k = 0; k < channel.mNumScalingKeys; ++k) {
        if (!std::isfinite(channel.mScalingKeys[k].mTime) || !Finite(channel.mScalingKeys[k].mValue)) {
          Refuse(what + ": scale key " + std::to_string(k) + " is not finite");
        }
      }
      for (unsigned k = 0; k < channel.mNumRotationKeys; ++k) {
        const aiQuatKey& key = channel.mRotationKeys[k];
        const aiQuaternion& q = key.mValue;
        if (!std::isfinite(key.mTime) || !std::isfinite(q.x) || !std::isfinite(q.y) || !std::isfinite(q.z) ||
            !std::isfinite(q.w)) {
          Refuse(what + ": rotation key " + std::to_string(k) + " is not finite");
        }
      }
    }
  }
}

}  // namespace

std::string CheckFacesBeforePostProcessing(const aiScene& scene) {
  for (unsigned i = 0; i < scene.mNumMeshes; ++i) {
    if (!scene.mMeshes || !scene.mMeshes[i]) return "mesh " + std::to_string(i) + " is missing";
    if (!scene.mMeshes[i]->mFaces && scene.mMeshes[i]->mNumFaces != 0) return MeshName(scene, i) + ": has no faces";
    const aiMesh& mesh = *scene.mMeshes[i];
    const std::string problem = FaceIndexProblem(mesh);
    if (!problem.empty()) return MeshName(scene, i) + ": " + problem;
    // The triangulation stops the program when a mesh said to hold
    // polygons has none.
    const bool polygons = std::any_of(mesh.mFaces, mesh.mFaces + mesh.mNumFaces,
                                      [](const aiFace& face) { return face.mNumIndices > 3; });
    if ((mesh.mPrimitiveTypes & aiPrimitiveType_POLYGON) && !polygons) {
      return MeshName(scene, i) + ": its reader says it has polygons, yet every face has three corners or fewer";
    }
  }
  return "";
}

void ValidateAssimpScene(AssimpBuild& build) {
  if (!build.ai.mRootNode) Refuse("the file holds no node tree");
  for (unsigned i = 0; i < build.ai.mNumMeshes; ++i) {
    if (!build.ai.mMeshes[i]) Refuse("mesh " + std::to_string(i) + " is missing");
    CheckMesh(build, i);
  }
  CheckNode(build, *build.ai.mRootNode, 0);
  CheckAnimations(build);
  for (unsigned i = 0; i < build.ai.mNumCameras; ++i) {
    const aiCamera& camera = *build.ai.mCameras[i];
    if (!Finite(camera.mPosition) || !Finite(camera.mLookAt) || !Finite(camera.mUp) ||
        !std::isfinite(camera.mHorizontalFOV) || !std::isfinite(camera.mClipPlaneNear) ||
        !std::isfinite(camera.mClipPlaneFar)) {
      Refuse("camera " + Quote(Text(camera.mName)) + ": holds a value that is not finite");
    }
  }
}

}  // namespace kvl::sources
