#include "sources/assimp/assimp_nodes.h"

#include <assimp/matrix4x4.h>

#include <cmath>
#include <filesystem>
#include <string>

#include "host/memory_objects.h"
#include "host/object.h"
#include "sources/assimp/assimp_axes.h"
#include "sources/assimp/assimp_mesh.h"
#include "sources/assimp/assimp_metadata.h"
#include "sources/assimp/assimp_transforms.h"

namespace kvl::sources {
namespace {

bool IsPivotHelper(const aiNode& node) { return Text(node.mName).find(kPivotMarker) != std::string::npos; }

// Follows a pivot helper chain down to the node it belongs to. A helper
// with other than one child ends the chain (it is not one that Assimp made
// for a pivot), and stands as a node of its own.
std::vector<const aiNode*> PivotChain(const aiNode& start) {
  std::vector<const aiNode*> chain{&start};
  const aiNode* node = &start;
  while (IsPivotHelper(*node) && node->mNumChildren == 1 && node->mNumMeshes == 0) {
    node = node->mChildren[0];
    chain.push_back(node);
  }
  return chain;
}

std::string ChainName(const std::vector<const aiNode*>& chain) {
  std::string name = Text(chain.back()->mName);
  if (IsPivotHelper(*chain.back())) name = name.substr(0, name.find(kPivotMarker));
  return name;
}

bool HasCameraOrLight(const aiScene& scene, const std::string& name) {
  for (unsigned i = 0; i < scene.mNumCameras; ++i) {
    if (Text(scene.mCameras[i]->mName) == name) return true;
  }
  for (unsigned i = 0; i < scene.mNumLights; ++i) {
    if (Text(scene.mLights[i]->mName) == name) return true;
  }
  return false;
}

bool IsAnimated(const aiScene& scene, const std::string& name) {
  for (unsigned a = 0; a < scene.mNumAnimations; ++a) {
    const aiAnimation& animation = *scene.mAnimations[a];
    for (unsigned c = 0; c < animation.mNumChannels; ++c) {
      if (Text(animation.mChannels[c]->mNodeName) == name) return true;
    }
  }
  return false;
}

// Assimp puts a root above the file's own nodes. Where that root is the
// importer's container, not a node of the user's (it holds no mesh, camera,
// light or animation and its name is made up), it is left out and its
// transform goes to its children.
bool IsImportersRoot(const AssimpBuild& build, const aiNode& root) {
  const std::string name = Text(root.mName);
  if (root.mNumMeshes != 0 || HasCameraOrLight(build.ai, name) || IsAnimated(build.ai, name)) return false;
  if (root.mNumChildren == 0) return false;
  const std::string fileName = std::filesystem::path(build.path).filename().string();
  const bool madeUp = name == "RootNode" || name == "ROOT" || name.empty() || name == fileName ||
                      (name.front() == '<' && name.back() == '>') || build.format == "dae";
  if (!madeUp) return false;
  // Only a turn, a uniform scale and a shift can be handed down to keyed
  // children unchanged.
  aiVector3D scaling, position;
  aiQuaternion rotation;
  root.mTransformation.Decompose(scaling, rotation, position);
  return std::fabs(scaling.x - scaling.y) <= 1e-6f * std::fabs(scaling.x) &&
         std::fabs(scaling.x - scaling.z) <= 1e-6f * std::fabs(scaling.x);
}

void BuildNode(AssimpBuild& build, const aiNode& start, host::MemoryNode& parent, const host::Matrix3& after,
               std::vector<std::pair<host::MemoryNode*, NodeOrigin>>& origins) {
  const std::vector<const aiNode*> chain = PivotChain(start);
  const aiNode& self = *chain.back();

  auto node = std::make_unique<host::MemoryNode>();
  node->name = ChainName(chain);
  // The chain's transforms, the helpers' first (column vectors: outermost
  // on the left).
  aiMatrix4x4 local;
  for (const aiNode* link : chain) local = local * link->mTransformation;
  node->transform = ToMatrix3(local);

  for (const aiNode* link : chain) ApplyNodeMetadata(build, *link, *node);

  std::unique_ptr<host::MemoryMeshObject> mesh;
  host::Mtl* material = nullptr;
  if (self.mNumMeshes != 0) mesh = BuildNodeMesh(build, self, node->name, material);
  if (mesh) {
    node->object = std::move(mesh);
    node->material = material;
  } else {
    // Cameras and lights take their nodes' place later; the rest are helpers.
    node->object = std::make_unique<host::MemoryPlainObject>(host::HELPER_CLASS_ID);
  }

  host::MemoryNode& made = parent.AddChild(std::move(node));
  for (const aiNode* link : chain) build.nodesByName.emplace(Text(link->mName), &made);
  NodeOrigin origin;
  origin.chain = chain;
  origin.after = after;
  origins.emplace_back(&made, origin);

  for (unsigned i = 0; i < self.mNumChildren; ++i) {
    BuildNode(build, *self.mChildren[i], made, host::Matrix3(true), origins);
  }
}

}  // namespace

void BuildNodes(AssimpBuild& build, std::vector<std::pair<host::MemoryNode*, NodeOrigin>>& origins) {
  const aiNode* root = build.ai.mRootNode;
  const host::Matrix3 axes = SourceToHostAxes(build);
  if (IsImportersRoot(build, *root)) {
    const host::Matrix3 after = ToMatrix3(root->mTransformation) * axes;
    for (unsigned i = 0; i < root->mNumChildren; ++i) {
      BuildNode(build, *root->mChildren[i], build.scene.root, after, origins);
    }
  } else {
    BuildNode(build, *root, build.scene.root, axes, origins);
  }
}

void ApplyFrames(const std::vector<std::pair<host::MemoryNode*, NodeOrigin>>& origins) {
  for (const auto& [node, origin] : origins) {
    if (origin.before.IsIdentity() && origin.after.IsIdentity()) continue;
    host::Matrix3 transform = origin.before * node->transform * origin.after;
    transform.ValidateFlags();
    node->transform = transform;
    for (host::TransformKey& key : node->keys) {
      key = KeyFromMatrix(key.tick, origin.before * host::TrsMatrix(key.position, key.rotation, key.scale) *
                                        origin.after);
    }
  }
}

void AssignHandles(host::MemoryNode& root) {
  uint32_t next = 1;
  std::vector<host::MemoryNode*> stack;
  for (auto it = root.children.rbegin(); it != root.children.rend(); ++it) stack.push_back(it->get());
  while (!stack.empty()) {
    host::MemoryNode* node = stack.back();
    stack.pop_back();
    node->handle = next++;
    for (auto it = node->children.rbegin(); it != node->children.rend(); ++it) stack.push_back(it->get());
  }
}

}  // namespace kvl::sources
