#include "sources/assimp/assimp_deformers.h"

#include <assimp/anim.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>

#include "sources/assimp/assimp_animation.h"

namespace kvl::sources {
namespace {

// The host's ticks for a time of the animation, as its node keys are read.
host::TimeValue ToHostTick(double time, const aiAnimation& animation) {
  // Assimp's own assumption for files that give no rate.
  const double perSecond = animation.mTicksPerSecond > 0 ? animation.mTicksPerSecond : 25.0;
  return static_cast<host::TimeValue>(std::llround(time / perSecond * host::TICKS_PER_SECOND));
}

// The node's bone of that name and bind matrix; a bone that two meshes of
// the node bind alike is one bone.
uint32_t BoneIndex(NodeDeformers& deformers, const aiBone& bone) {
  const std::string name = Text(bone.mName);
  const host::Matrix3 offset = ToMatrix3(bone.mOffsetMatrix);
  for (size_t b = 0; b < deformers.bones.size(); ++b) {
    if (deformers.bones[b].nodeName == name && deformers.bones[b].offset == offset) return static_cast<uint32_t>(b);
  }
  deformers.bones.push_back(host::SkinBone{name, offset});
  return static_cast<uint32_t>(deformers.bones.size() - 1);
}

void ReadBones(AssimpBuild& build, const aiMesh& mesh, uint32_t base, const std::string& nodeName,
               NodeDeformers& deformers) {
  size_t strayWeights = 0;
  for (unsigned i = 0; i < mesh.mNumBones; ++i) {
    const aiBone& bone = *mesh.mBones[i];
    if (!build.ai.mRootNode->FindNode(bone.mName)) {
      build.notes.push_back("node " + Quote(nodeName) + ": bone " + Quote(Text(bone.mName)) +
                            " names no node of the file; its weights are left out");
      continue;
    }
    const uint32_t index = BoneIndex(deformers, bone);
    for (unsigned w = 0; w < bone.mNumWeights; ++w) {
      const aiVertexWeight& weight = bone.mWeights[w];
      if (weight.mVertexId >= mesh.mNumVertices || !std::isfinite(weight.mWeight)) {
        ++strayWeights;
        continue;
      }
      if (weight.mWeight == 0.0f) continue;
      deformers.influences[base + weight.mVertexId].push_back(SourceInfluence{index, weight.mWeight});
    }
  }
  if (strayWeights != 0) {
    build.notes.push_back("node " + Quote(nodeName) + ": " + std::to_string(strayWeights) +
                          " bone weights of vertices that the mesh does not have, or that are not numbers, are "
                          "left out");
  }
}

// The animation's channel of morph weights for the mesh: the one named
// after the mesh, else the one named after its node (as glTF files have it).
const aiMeshMorphAnim* MorphChannel(const aiAnimation* animation, const aiMesh& mesh, const aiNode& node) {
  if (!animation) return nullptr;
  const aiMeshMorphAnim* byNode = nullptr;
  for (unsigned c = 0; c < animation->mNumMorphMeshChannels; ++c) {
    const aiMeshMorphAnim* channel = animation->mMorphMeshChannels[c];
    if (channel->mName == mesh.mName) return channel;
    if (!byNode && channel->mName == node.mName) byNode = channel;
  }
  return byNode;
}

std::vector<host::MorphWeightKey> WeightKeys(const aiAnimation& animation, const aiMeshMorphAnim& channel,
                                             unsigned target) {
  std::vector<host::MorphWeightKey> keys;
  for (unsigned k = 0; k < channel.mNumKeys; ++k) {
    const aiMeshMorphKey& key = channel.mKeys[k];
    // A target that a key does not list has no weight at that key.
    float weight = 0.0f;
    for (unsigned v = 0; v < key.mNumValuesAndWeights; ++v) {
      if (key.mValues[v] == target) weight = static_cast<float>(key.mWeights[v]);
    }
    const host::TimeValue tick = ToHostTick(key.mTime, animation);
    // Keys closer than a tick land on the same tick: the later one wins.
    if (!keys.empty() && keys.back().tick >= tick) {
      if (keys.back().tick > tick) continue;  // out of order: the file's mistake, left out
      keys.pop_back();
    }
    keys.push_back(host::MorphWeightKey{tick, weight});
  }
  return keys;
}

// Assimp gives targets as whole positions; every importer that reads them
// (glTF, FBX, Collada) means them relative to the base mesh, weighted.
void ReadMorphTargets(AssimpBuild& build, const aiMesh& mesh, const aiNode& node, uint32_t base,
                      const std::string& nodeName, const aiAnimation* animation, NodeDeformers& deformers) {
  const aiMeshMorphAnim* channel = MorphChannel(animation, mesh, node);
  for (unsigned k = 0; k < mesh.mNumAnimMeshes; ++k) {
    const aiAnimMesh& shape = *mesh.mAnimMeshes[k];
    const std::string name = shape.mName.length ? Text(shape.mName) : "target " + std::to_string(k);
    if (!shape.mVertices || shape.mNumVertices != mesh.mNumVertices) {
      build.notes.push_back("node " + Quote(nodeName) + ": morph target " + Quote(name) + " has " +
                            std::to_string(shape.mVertices ? shape.mNumVertices : 0) + " positions for " +
                            std::to_string(mesh.mNumVertices) + " vertices; it is left out");
      continue;
    }
    SourceMorphTarget target;
    target.target.name = name;
    target.target.weight = shape.mWeight;
    if (channel) target.target.keys = WeightKeys(*animation, *channel, k);
    for (unsigned v = 0; v < mesh.mNumVertices; ++v) {
      const aiVector3D offset = shape.mVertices[v] - mesh.mVertices[v];
      if (offset == aiVector3D(0, 0, 0)) continue;
      target.sources.push_back(base + v);
      target.target.offsets.emplace_back(offset.x, offset.y, offset.z);
    }
    deformers.targets.push_back(std::move(target));
  }
}

uint32_t Bits(float f) {
  uint32_t bits;
  std::memcpy(&bits, &f, sizeof bits);
  return bits;
}

// Numbers the different ways source vertices move: the bones and weights
// that hold them and their offsets in every target.
std::vector<uint32_t> WeldClasses(NodeDeformers& deformers, size_t sourceCount) {
  std::vector<std::vector<uint32_t>> signatures(sourceCount);
  for (size_t s = 0; s < deformers.influences.size(); ++s) {
    std::vector<SourceInfluence>& influences = deformers.influences[s];
    std::sort(influences.begin(), influences.end(),
              [](const SourceInfluence& a, const SourceInfluence& b) { return a.bone < b.bone; });
    for (const SourceInfluence& influence : influences) {
      signatures[s].insert(signatures[s].end(), {influence.bone, Bits(influence.weight)});
    }
  }
  for (size_t t = 0; t < deformers.targets.size(); ++t) {
    const SourceMorphTarget& target = deformers.targets[t];
    for (size_t i = 0; i < target.sources.size(); ++i) {
      const host::Point3& d = target.target.offsets[i];
      // Bone entries come in pairs, target entries in fours: the top bit
      // keeps the two apart.
      signatures[target.sources[i]].insert(signatures[target.sources[i]].end(),
                                           {0x80000000u | static_cast<uint32_t>(t), Bits(d.x), Bits(d.y), Bits(d.z)});
    }
  }
  std::map<std::vector<uint32_t>, uint32_t> classes{{{}, 0}};
  std::vector<uint32_t> weldClass(sourceCount);
  for (size_t s = 0; s < sourceCount; ++s) {
    weldClass[s] = classes.emplace(std::move(signatures[s]), static_cast<uint32_t>(classes.size())).first->second;
  }
  return weldClass;
}

}  // namespace

NodeDeformers ReadNodeDeformers(AssimpBuild& build, const aiNode& node, const std::string& nodeName,
                                size_t sourceCount) {
  NodeDeformers deformers;
  bool anyBones = false, anyTargets = false;
  for (unsigned i = 0; i < node.mNumMeshes; ++i) {
    const aiMesh& mesh = *build.ai.mMeshes[node.mMeshes[i]];
    anyBones = anyBones || mesh.mNumBones != 0;
    anyTargets = anyTargets || mesh.mNumAnimMeshes != 0;
  }
  if (!anyBones && !anyTargets) return deformers;

  if (anyBones) deformers.influences.resize(sourceCount);
  const aiAnimation* animation = anyTargets ? ChooseAnimation(build.ai, build.options.animation) : nullptr;
  uint32_t base = 0;
  for (unsigned i = 0; i < node.mNumMeshes; ++i) {
    const aiMesh& mesh = *build.ai.mMeshes[node.mMeshes[i]];
    ReadBones(build, mesh, base, nodeName, deformers);
    ReadMorphTargets(build, mesh, node, base, nodeName, animation, deformers);
    base += mesh.mNumVertices;
  }
  if (deformers.bones.empty()) deformers.influences.clear();
  if (!deformers.bones.empty() || !deformers.targets.empty()) deformers.weldClass = WeldClasses(deformers, sourceCount);
  return deformers;
}

void AttachDeformers(AssimpBuild& build, NodeDeformers deformers, const std::vector<uint32_t>& hostOf,
                     host::MemoryMeshObject& object) {
  const size_t hostCount = object.mesh.verts.size();
  // Welded source vertices move alike, so any one of them speaks for its
  // host vertex: the first.
  constexpr uint32_t kNone = 0xFFFFFFFFu;
  std::vector<uint32_t> firstSource(hostCount, kNone);
  for (size_t s = 0; s < hostOf.size(); ++s) {
    if (firstSource[hostOf[s]] == kNone) firstSource[hostOf[s]] = static_cast<uint32_t>(s);
  }

  if (!deformers.bones.empty()) {
    host::MeshSkin& skin = object.skin;
    skin.bones = std::move(deformers.bones);
    skin.sceneRoot = &build.scene.root;
    skin.first.reserve(hostCount + 1);
    for (size_t v = 0; v < hostCount; ++v) {
      skin.first.push_back(static_cast<uint32_t>(skin.influences.size()));
      for (const SourceInfluence& influence : deformers.influences[firstSource[v]]) {
        skin.influences.push_back(host::SkinInfluence{influence.bone, influence.weight});
      }
    }
    skin.first.push_back(static_cast<uint32_t>(skin.influences.size()));
  }

  for (SourceMorphTarget& source : deformers.targets) {
    host::MorphTarget target = std::move(source.target);
    std::vector<host::Point3> offsets = std::move(target.offsets);
    target.offsets.clear();
    for (size_t i = 0; i < source.sources.size(); ++i) {
      const uint32_t s = source.sources[i];
      if (firstSource[hostOf[s]] != s) continue;
      target.vertices.push_back(hostOf[s]);
      target.offsets.push_back(offsets[i]);
    }
    object.morphTargets.push_back(std::move(target));
  }
}

}  // namespace kvl::sources
