// Skinned and morphing glTF files through the real program. With
// --vertex-animation every vertex list of the KVL file holds the positions
// that Assimp's own reading of the file gives at the list's tick, worked out
// here from the bones' keys, offsets and weights and from the morph
// weights' keys; without it the one list holds the rest pose, and one note
// names the mesh. The files and their generator are the case
// tests/data/cases/anim-vertex-gltf.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <assimp/Importer.hpp>
#include <assimp/anim.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "output/read/kvl_reader.h"
#include "working_folder.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;

const fs::path kScenes = fs::path(KVL_TEST_DIR) / "data" / "cases" / "anim-vertex-gltf";

// One sample every 15 frames of 160 ticks over the files' one second: the
// lists are the poses at 0 and 0.5 s, which the files' animations key at 0
// and 1 s, so the second lies between keys.
constexpr double kListTimes[] = {0.0, 0.5};

struct Export {
  int status = -1;
  std::string errors;  // standard error
  KvlDocument document;
};

Export RunExport(const std::string& scene, bool vertexAnimation) {
  const std::string command = std::string(KVLEXP_PROGRAM) + " export " + (kScenes / scene).string() +
                              " out.kvl --drive-c c --set displaylog=0 --set samplerate=15" +
                              (vertexAnimation ? " --vertex-animation" : "") + " >/dev/null 2>errors.txt";
  Export result;
  const int status = std::system(command.c_str());
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  std::ifstream errors("errors.txt");
  result.errors.assign(std::istreambuf_iterator<char>(errors), std::istreambuf_iterator<char>());
  std::vector<uint8_t> bytes;
  std::string error;
  if (!ReadFileBytes("out.kvl", bytes, error)) ADD_FAILURE() << error;
  result.document = ReadKvl(bytes);
  return result;
}

template <class T>
const T& OnlyNode(const KvlDocument& document, uint32_t type) {
  const T* found = nullptr;
  for (const auto& [id, node] : document.table) {
    if (node->type != type) continue;
    EXPECT_EQ(found, nullptr) << "more than one node of type " << type;
    found = &As<T>(*node);
  }
  if (!found) throw std::runtime_error("no node of type " + std::to_string(type));
  return *found;
}

int NoteLines(const std::string& errors, const std::string& mesh) {
  int count = 0;
  std::istringstream lines(errors);
  for (std::string line; std::getline(lines, line);) {
    if (line.find("note: mesh \"" + mesh + "\" deforms over the animation; it is exported in its rest pose") !=
        std::string::npos) {
      ++count;
    }
  }
  return count;
}

// ---- Assimp's data at a time, worked out from the file as Assimp reads it.

template <class Key>
std::pair<const Key*, float> Bracket(const Key* keys, unsigned count, double time) {
  if (time <= keys[0].mTime) return {&keys[0], 0.0f};
  for (unsigned k = 1; k < count; ++k) {
    if (time <= keys[k].mTime) {
      return {&keys[k - 1], static_cast<float>((time - keys[k - 1].mTime) / (keys[k].mTime - keys[k - 1].mTime))};
    }
  }
  return {&keys[count - 1], 0.0f};
}

aiVector3D Lerp(const aiVectorKey* keys, unsigned count, double time) {
  const auto [key, u] = Bracket(keys, count, time);
  return u == 0.0f ? key->mValue : key->mValue + (key[1].mValue - key->mValue) * u;
}

aiMatrix4x4 LocalAt(const aiScene& scene, const aiNode& node, double ticks) {
  const aiAnimation& animation = *scene.mAnimations[0];
  for (unsigned c = 0; c < animation.mNumChannels; ++c) {
    const aiNodeAnim& channel = *animation.mChannels[c];
    if (channel.mNodeName != node.mName) continue;
    aiQuaternion rotation = channel.mRotationKeys[0].mValue;
    const auto [key, u] = Bracket(channel.mRotationKeys, channel.mNumRotationKeys, ticks);
    aiQuaternion::Interpolate(rotation, key->mValue, u == 0.0f ? key->mValue : key[1].mValue, u);
    return aiMatrix4x4(Lerp(channel.mScalingKeys, channel.mNumScalingKeys, ticks), rotation.Normalize(),
                       Lerp(channel.mPositionKeys, channel.mNumPositionKeys, ticks));
  }
  return node.mTransformation;
}

aiMatrix4x4 GlobalAt(const aiScene& scene, const aiNode* node, double ticks) {
  aiMatrix4x4 global;
  for (; node; node = node->mParent) global = LocalAt(scene, *node, ticks) * global;
  return global;
}

// Linear blend skinning in the space of the mesh's node.
std::vector<aiVector3D> SkinnedAt(const aiScene& scene, const aiMesh& mesh, const aiNode& meshNode, double seconds) {
  const double ticks = seconds * scene.mAnimations[0]->mTicksPerSecond;
  std::vector<aiVector3D> moved(mesh.mNumVertices, aiVector3D(0, 0, 0));
  for (unsigned b = 0; b < mesh.mNumBones; ++b) {
    const aiBone& bone = *mesh.mBones[b];
    const aiMatrix4x4 m = GlobalAt(scene, scene.mRootNode->FindNode(bone.mName), ticks) * bone.mOffsetMatrix;
    for (unsigned w = 0; w < bone.mNumWeights; ++w) {
      moved[bone.mWeights[w].mVertexId] += (m * mesh.mVertices[bone.mWeights[w].mVertexId]) * bone.mWeights[w].mWeight;
    }
  }
  const aiMatrix4x4 toMesh = GlobalAt(scene, &meshNode, ticks).Inverse();
  for (aiVector3D& p : moved) p = toMesh * p;
  return moved;
}

// The base plus each target's difference from it, at the target's weight.
std::vector<aiVector3D> MorphedAt(const aiScene& scene, const aiMesh& mesh, double seconds) {
  const aiAnimation& animation = *scene.mAnimations[0];
  EXPECT_EQ(animation.mNumMorphMeshChannels, 1u);
  const aiMeshMorphAnim& channel = *animation.mMorphMeshChannels[0];
  const double ticks = seconds * animation.mTicksPerSecond;
  std::vector<aiVector3D> moved(mesh.mVertices, mesh.mVertices + mesh.mNumVertices);
  for (unsigned t = 0; t < mesh.mNumAnimMeshes; ++t) {
    auto weightAt = [&](const aiMeshMorphKey& key) {
      for (unsigned i = 0; i < key.mNumValuesAndWeights; ++i) {
        if (key.mValues[i] == t) return key.mWeights[i];
      }
      return 0.0;
    };
    const auto [key, u] = Bracket(channel.mKeys, channel.mNumKeys, ticks);
    const double weight = u == 0.0f ? weightAt(*key) : weightAt(*key) + (weightAt(key[1]) - weightAt(*key)) * u;
    for (unsigned v = 0; v < mesh.mNumVertices; ++v) {
      moved[v] += (mesh.mAnimMeshes[t]->mVertices[v] - mesh.mVertices[v]) * static_cast<float>(weight);
    }
  }
  return moved;
}

// Every corner of every face of the file's mesh against the KVL list: the
// face list keeps Assimp's faces and corners in order, and the file's Y and
// Z are the host's Z and Y.
void ExpectCornersAt(const aiMesh& mesh, const std::vector<aiVector3D>& expected, const FaceListNode& faces,
                     const VertexList& list, const std::string& what) {
  ASSERT_EQ(faces.indices.size(), 3u * mesh.mNumFaces) << what;
  for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
    for (unsigned c = 0; c < 3; ++c) {
      const uint32_t index = faces.indices[3 * f + c];
      ASSERT_LT(index, list.vertices.size()) << what;
      const float* got = list.vertices[index].position;
      const aiVector3D& want = expected[mesh.mFaces[f].mIndices[c]];
      EXPECT_NEAR(got[0], want.x, 1e-5) << what << ", face " << f << " corner " << c;
      EXPECT_NEAR(got[1], want.z, 1e-5) << what << ", face " << f << " corner " << c;
      EXPECT_NEAR(got[2], want.y, 1e-5) << what << ", face " << f << " corner " << c;
    }
  }
}

class DeformingGltf : public ::testing::Test {
 protected:
  const aiScene& Load(const std::string& name) {
    const aiScene* scene = importer_.ReadFile((kScenes / name).string(), aiProcess_Triangulate);
    if (!scene) throw std::runtime_error(importer_.GetErrorString());
    return *scene;
  }

  testing::WorkingFolder folder_{"deforming_gltf"};
  Assimp::Importer importer_;
};

TEST_F(DeformingGltf, SkinnedMeshFramesFollowTheBonesAndItsRestPoseComesWithANote) {
  const aiScene& scene = Load("skinned.gltf");
  const aiMesh& mesh = *scene.mMeshes[0];
  const aiNode& body = *scene.mRootNode->FindNode("Body");
  ASSERT_EQ(mesh.mNumBones, 2u);

  const Export animated = RunExport("skinned.gltf", true);
  ASSERT_EQ(animated.status, 0) << animated.errors;
  EXPECT_EQ(NoteLines(animated.errors, "Body"), 0) << animated.errors;
  const auto& buffer = OnlyNode<VertexBufferNode>(animated.document, NODE_VERTEX_BUFFER);
  const auto& faces = OnlyNode<FaceListNode>(animated.document, NODE_FACE_LIST);
  ASSERT_EQ(buffer.lists.size(), 2u);
  for (size_t k = 0; k < 2; ++k) {
    ExpectCornersAt(mesh, SkinnedAt(scene, mesh, body, kListTimes[k]), faces, buffer.lists[k],
                    "list " + std::to_string(k));
  }
  // The two poses differ from each other and from the rest pose, so no
  // frame can pass for another.
  const std::vector<aiVector3D> rest(mesh.mVertices, mesh.mVertices + mesh.mNumVertices);
  EXPECT_NE(SkinnedAt(scene, mesh, body, 0.0)[8], rest[8]);
  EXPECT_NE(SkinnedAt(scene, mesh, body, 0.5)[8], SkinnedAt(scene, mesh, body, 0.0)[8]);

  const Export still = RunExport("skinned.gltf", false);
  ASSERT_EQ(still.status, 0) << still.errors;
  EXPECT_EQ(NoteLines(still.errors, "Body"), 1) << still.errors;
  const auto& restBuffer = OnlyNode<VertexBufferNode>(still.document, NODE_VERTEX_BUFFER);
  ASSERT_EQ(restBuffer.lists.size(), 1u);
  ExpectCornersAt(mesh, rest, OnlyNode<FaceListNode>(still.document, NODE_FACE_LIST), restBuffer.lists[0],
                  "rest pose");
}

TEST_F(DeformingGltf, MorphFramesFollowTheKeyedWeightsAndLipsThatTouchStayApart) {
  const aiScene& scene = Load("morph.gltf");
  const aiMesh& mesh = *scene.mMeshes[0];
  ASSERT_EQ(mesh.mNumAnimMeshes, 2u);

  const Export animated = RunExport("morph.gltf", true);
  ASSERT_EQ(animated.status, 0) << animated.errors;
  const auto& buffer = OnlyNode<VertexBufferNode>(animated.document, NODE_VERTEX_BUFFER);
  const auto& faces = OnlyNode<FaceListNode>(animated.document, NODE_FACE_LIST);
  ASSERT_EQ(buffer.lists.size(), 2u);
  for (size_t k = 0; k < 2; ++k) {
    ExpectCornersAt(mesh, MorphedAt(scene, mesh, kListTimes[k]), faces, buffer.lists[k],
                    "list " + std::to_string(k));
  }

  const Export still = RunExport("morph.gltf", false);
  ASSERT_EQ(still.status, 0) << still.errors;
  EXPECT_EQ(NoteLines(still.errors, "Face"), 1) << still.errors;
  const auto& restBuffer = OnlyNode<VertexBufferNode>(still.document, NODE_VERTEX_BUFFER);
  ASSERT_EQ(restBuffer.lists.size(), 1u);
  ExpectCornersAt(mesh, std::vector<aiVector3D>(mesh.mVertices, mesh.mVertices + mesh.mNumVertices),
                  OnlyNode<FaceListNode>(still.document, NODE_FACE_LIST), restBuffer.lists[0], "rest pose");
}

}  // namespace
}  // namespace kvl
