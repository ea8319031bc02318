// Whole files against Assimp's own reading of them, and one camera against
// the same camera in other formats: where a camera stands and what it aims
// at, the keys of a node whose channels sit on FBX pivot helpers, and a
// keyed scale under a turn. The files are the inputs of the cases
// assimp-cameras and assimp-keys (their make_files.py wrote them).
#include <gtest/gtest.h>

#include <assimp/Importer.hpp>
#include <assimp/config.h>
#include <assimp/scene.h>

#include <cmath>
#include <string>

#include "host/memory_objects.h"
#include "host/memory_scene.h"
#include "sources/scene_source.h"

namespace kvl::sources {
namespace {

using host::Matrix3;
using host::Point3;

std::string CaseFile(const std::string& folder, const std::string& name) {
  return std::string(KVL_TEST_DIR) + "/data/cases/" + folder + "/" + name;
}

host::MemoryNode* FindNode(host::MemoryNode& node, const std::string& name) {
  if (node.name == name) return &node;
  for (auto& child : node.children) {
    if (host::MemoryNode* found = FindNode(*child, name)) return found;
  }
  return nullptr;
}

Point3 Unit(const Point3& p) { return p * (1.0f / p.Length()); }

void ExpectNear(const Point3& expected, const Point3& found, float tolerance, const std::string& what) {
  EXPECT_NEAR(found.x, expected.x, tolerance) << what;
  EXPECT_NEAR(found.y, expected.y, tolerance) << what;
  EXPECT_NEAR(found.z, expected.z, tolerance) << what;
}

// A point of Assimp's world in the host's axes: Y-up files turn to Z up.
Point3 HostPoint(const aiVector3D& p, bool yUp) { return yUp ? Point3(p.x, -p.z, p.y) : Point3(p.x, p.y, p.z); }

// Both matrices carry the corners of a box in the node to the same places
// (the turn to the host's axes is above the file's nodes, so a node's own
// axes are the file's).
void ExpectSamePlacement(const aiMatrix4x4& assimpWorld, bool yUp, const Matrix3& hostWorld, const std::string& what) {
  for (int corner = 0; corner < 8; ++corner) {
    const aiVector3D local(corner & 1 ? 1.0f : -1.0f, corner & 2 ? 2.0f : -2.0f, corner & 4 ? 3.0f : -3.0f);
    ExpectNear(HostPoint(assimpWorld * local, yUp), Point3(local.x, local.y, local.z) * hostWorld, 1e-4f,
               what + ", corner " + std::to_string(corner));
  }
}

aiMatrix4x4 Trs(const aiVector3D& position, const aiQuaternion& rotation, const aiVector3D& scale) {
  aiMatrix4x4 translation, scaling;
  aiMatrix4x4::Translation(position, translation);
  aiMatrix4x4::Scaling(scale, scaling);
  return translation * aiMatrix4x4(rotation.GetMatrix()) * scaling;
}

const aiNodeAnim* ChannelOf(const aiScene& scene, const aiString& node) {
  for (unsigned a = 0; a < scene.mNumAnimations; ++a) {
    for (unsigned c = 0; c < scene.mAnimations[a]->mNumChannels; ++c) {
      if (scene.mAnimations[a]->mChannels[c]->mNodeName == node) return scene.mAnimations[a]->mChannels[c];
    }
  }
  return nullptr;
}

// A node's transform at key `k` of its channel (the node's own where it has
// none): every track here has its keys at the same times.
aiMatrix4x4 LocalAtKey(const aiScene& scene, const aiNode& node, unsigned k) {
  const aiNodeAnim* channel = ChannelOf(scene, node.mName);
  if (!channel) return node.mTransformation;
  auto at = [k](const auto* keys, unsigned count) { return keys[std::min(k, count - 1)].mValue; };
  return Trs(at(channel->mPositionKeys, channel->mNumPositionKeys),
             at(channel->mRotationKeys, channel->mNumRotationKeys),
             at(channel->mScalingKeys, channel->mNumScalingKeys));
}

// Assimp's world matrix of a node at key k of the animation.
aiMatrix4x4 WorldAtKey(const aiScene& scene, const aiNode* node, unsigned k) {
  aiMatrix4x4 world;
  for (; node; node = node->mParent) world = LocalAtKey(scene, *node, k) * world;
  return world;
}

host::TimeValue KeyTick(const aiScene& scene, unsigned k) {
  const aiAnimation& animation = *scene.mAnimations[0];
  const double time = animation.mChannels[0]->mPositionKeys[k].mTime;
  return static_cast<host::TimeValue>(std::llround(time / animation.mTicksPerSecond * 4800.0));
}

struct AssimpReading {
  Assimp::Importer importer;
  const aiScene* scene = nullptr;
  explicit AssimpReading(const std::string& path) {
    // The pivots as helper nodes, so that each channel finds its node.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, true);
    scene = importer.ReadFile(path, 0);
  }
};

// One camera in four formats, at (10, -20, 5) aiming at the origin, Z up,
// 45 degrees wide: the host camera stands there, looks down its own -Z at
// the origin with its Y up, whatever the format said it in.
TEST(AssimpReading, OneCameraInFourFormatsStandsAndAimsAlike) {
  const Point3 position(10, -20, 5);
  const Point3 aim = Unit(Point3(0, 0, 0) - position);
  const Point3 side = Unit(host::CrossProd(aim, Point3(0, 0, 1)));
  const Point3 up = host::CrossProd(side, aim);
  for (const char* file : {"camera.3ds", "camera.ase", "camera.gltf", "camera.dae"}) {
    SCOPED_TRACE(file);
    SceneLoadResult loaded = LoadSceneFile(CaseFile("assimp-cameras", file));
    ASSERT_TRUE(loaded.error.empty()) << loaded.error;
    host::MemoryNode* node = FindNode(loaded.scene->root, "Camera01");
    ASSERT_NE(node, nullptr);
    auto* camera = dynamic_cast<host::MemoryCameraObject*>(node->object.get());
    ASSERT_NE(camera, nullptr);
    EXPECT_NEAR(camera->fov, 45.0 * M_PI / 180.0, 1e-5);
    const Matrix3 world = node->GetObjectTM(0);
    ExpectNear(position, world.GetRow(3), 1e-4f, "position");
    ExpectNear(aim, Unit(world.GetRow(2) * -1.0f), 1e-5f, "-Z");
    ExpectNear(up, Unit(world.GetRow(1)), 1e-5f, "Y");
  }
}

// A camera that looks straight down has no up vector square to its line of
// sight: it still aims down, with axes square to each other.
TEST(AssimpReading, APlanViewCameraAimsDownWithSquareAxes) {
  SceneLoadResult loaded = LoadSceneFile(CaseFile("assimp-cameras", "top.3ds"));
  ASSERT_TRUE(loaded.error.empty()) << loaded.error;
  host::MemoryNode* node = FindNode(loaded.scene->root, "Camera01");
  ASSERT_NE(node, nullptr);
  const Matrix3 world = node->GetObjectTM(0);
  ExpectNear(Point3(0, 0, 10), world.GetRow(3), 1e-4f, "position");
  ExpectNear(Point3(0, 0, -1), Unit(world.GetRow(2) * -1.0f), 1e-5f, "-Z");
  for (int r = 0; r < 3; ++r) EXPECT_NEAR(world.GetRow(r).Length(), 1.0f, 1e-5f) << r;
  EXPECT_NEAR(host::DotProd(world.GetRow(0), world.GetRow(1)), 0.0f, 1e-5f);
  EXPECT_NEAR(host::DotProd(world.GetRow(1), world.GetRow(2)), 0.0f, 1e-5f);
}

// Assimp marks a scene without a mesh incomplete; it is a scene all the
// same, with every camera and every animated null of the file.
TEST(AssimpReading, ScenesWithoutAMeshKeepTheirCamerasAndNulls) {
  const std::string cameras = CaseFile("assimp-cameras", "three-cameras.dae");
  AssimpReading reading(cameras);
  ASSERT_NE(reading.scene, nullptr);
  SceneLoadResult loaded = LoadSceneFile(cameras);
  ASSERT_TRUE(loaded.error.empty()) << loaded.error;
  for (unsigned i = 0; i < reading.scene->mNumCameras; ++i) {
    const aiCamera& camera = *reading.scene->mCameras[i];
    host::MemoryNode* node = FindNode(loaded.scene->root, camera.mName.C_Str());
    ASSERT_NE(node, nullptr) << camera.mName.C_Str();
    EXPECT_NE(dynamic_cast<host::MemoryCameraObject*>(node->object.get()), nullptr);
    // Where it stands and where it looks (Collada cameras look down -Z);
    // its Y, which Assimp leaves as the <lookat>'s up, is made square to
    // the line of sight.
    const aiMatrix4x4& placed = reading.scene->mRootNode->FindNode(camera.mName)->mTransformation;
    const Matrix3 world = node->GetNodeTM(0);
    ExpectNear(Point3(placed.a4, placed.b4, placed.c4), world.GetRow(3), 1e-4f, camera.mName.C_Str());
    ExpectNear(Unit(Point3(placed.a3, placed.b3, placed.c3)), Unit(world.GetRow(2)), 1e-5f, camera.mName.C_Str());
    EXPECT_NEAR(host::DotProd(world.GetRow(1), world.GetRow(2)), 0.0f, 1e-5f) << camera.mName.C_Str();
  }
  EXPECT_EQ(reading.scene->mNumCameras, 3u);

  const std::string chain = CaseFile("assimp-keys", "null-chain.fbx");
  AssimpReading chainReading(chain);
  ASSERT_NE(chainReading.scene, nullptr);
  SceneLoadResult chainLoaded = LoadSceneFile(chain);
  ASSERT_TRUE(chainLoaded.error.empty()) << chainLoaded.error;
  for (const char* name : {"Bone0", "Bone1", "Bone2"}) {
    host::MemoryNode* node = FindNode(chainLoaded.scene->root, name);
    ASSERT_NE(node, nullptr) << name;
    const aiNode* assimpNode = chainReading.scene->mRootNode->FindNode(name);
    for (unsigned k = 0; k < 2; ++k) {
      ExpectSamePlacement(WorldAtKey(*chainReading.scene, assimpNode, k), false,
                          node->GetNodeTM(KeyTick(*chainReading.scene, k)), std::string(name) + " key " + std::to_string(k));
    }
  }
}

// The translation and rotation channels of an FBX node with pivots sit on
// Assimp's helper nodes; the node's own keys place it as the helper chain
// does at each key.
TEST(AssimpReading, PivotHelperChannelsBecomeTheNodesKeys) {
  const std::string path = CaseFile("assimp-keys", "pivot-keys.fbx");
  AssimpReading reading(path);
  ASSERT_NE(reading.scene, nullptr);
  SceneLoadResult loaded = LoadSceneFile(path);
  ASSERT_TRUE(loaded.error.empty()) << loaded.error;
  for (const std::string& note : loaded.notes) EXPECT_EQ(note.find("is left out"), std::string::npos) << note;
  host::MemoryNode* node = FindNode(loaded.scene->root, "Marker");
  ASSERT_NE(node, nullptr);
  ASSERT_FALSE(node->keys.empty());
  const aiNode* marker = reading.scene->mRootNode->FindNode("Marker");
  for (unsigned k = 0; k < 2; ++k) {
    ExpectSamePlacement(WorldAtKey(*reading.scene, marker, k), false, node->GetNodeTM(KeyTick(*reading.scene, k)),
                        "key " + std::to_string(k));
  }
}

// A keyed scale that is not uniform, under a turn: at the first key the
// node stands as Assimp's own node matrix has it, at the second as the key's
// scale, turn and shift make it, in that order.
TEST(AssimpReading, KeyedScaleUnderATurnScalesTheNodesOwnAxes) {
  const std::string path = CaseFile("assimp-keys", "scaled-turn.gltf");
  AssimpReading reading(path);
  ASSERT_NE(reading.scene, nullptr);
  SceneLoadResult loaded = LoadSceneFile(path);
  ASSERT_TRUE(loaded.error.empty()) << loaded.error;
  host::MemoryNode* node = FindNode(loaded.scene->root, "Box");
  ASSERT_NE(node, nullptr);
  const aiNode* box = reading.scene->mRootNode->FindNode("Box");
  aiMatrix4x4 fixed;
  for (const aiNode* n = box; n; n = n->mParent) fixed = n->mTransformation * fixed;
  ExpectSamePlacement(fixed, true, node->GetNodeTM(0), "the node's own matrix");
  for (unsigned k = 0; k < 2; ++k) {
    ExpectSamePlacement(WorldAtKey(*reading.scene, box, k), true, node->GetNodeTM(KeyTick(*reading.scene, k)),
                        "key " + std::to_string(k));
  }
}

}  // namespace
}  // namespace kvl::sources
