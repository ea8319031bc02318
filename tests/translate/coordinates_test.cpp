#include <gtest/gtest.h>

#include <cmath>

#include "sources/json_scene.h"
#include "translate/coordinates.h"

namespace kvl {
namespace {

// Loads a scene of the given nodes; fails the test if it does not load.
std::unique_ptr<host::MemoryScene> Load(const std::string& nodes) {
  sources::SceneLoadResult loaded =
      sources::LoadJsonScene(R"({"format": "kvl-scene", "version": 1, "nodes": )" + nodes + "}");
  EXPECT_EQ(loaded.error, "");
  return std::move(loaded.scene);
}

host::INode* Child(host::INode* node, int index) { return node->GetChildNode(index); }

void ExpectVec3(const float v[3], float x, float y, float z, float tolerance = 0.0f) {
  EXPECT_NEAR(v[0], x, tolerance);
  EXPECT_NEAR(v[1], y, tolerance);
  EXPECT_NEAR(v[2], z, tolerance);
}

TEST(Coordinates, TranslationSwapsYAndZAndTakesTheExportScale) {
  auto scene = Load(R"([{"transform": {"position": [5, 5, 5]},
                         "children": [{"transform": {"position": [1, 2, 3]}}]}])");
  ExportSettings settings;
  settings.scale = 10.0f;
  PRSTransform t;
  LocalTransform(Child(Child(&scene->root, 0), 0), 0, t, settings);
  ExpectVec3(t.position, 10.0f, 30.0f, 20.0f, 1e-5f);
  ExpectVec3(t.scale, 1.0f, 1.0f, 1.0f);  // scale values never take the export scale
}

TEST(Coordinates, ScaleIsSwappedOrRemoved) {
  auto scene = Load(R"([{"transform": {"scale": [2, 3, 4]}}])");
  host::INode* node = Child(&scene->root, 0);
  ExportSettings settings;
  PRSTransform t;
  settings.removescaling = false;
  LocalTransform(node, 0, t, settings);
  ExpectVec3(t.scale, 2.0f, 4.0f, 3.0f);
  settings.removescaling = true;
  LocalTransform(node, 0, t, settings);
  ExpectVec3(t.scale, 1.0f, 1.0f, 1.0f, 1e-6f);
}

TEST(Coordinates, QuaternionFromRowsBranches) {
  float q[4];
  const host::Point3 identity[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  QuaternionFromRows(identity, q);
  EXPECT_EQ(q[0], 0.0f);
  EXPECT_EQ(q[1], 0.0f);
  EXPECT_EQ(q[2], 0.0f);
  EXPECT_EQ(q[3], 1.0f);
  // 180 degrees about X: trace -1, the second branch with i = 0.
  const host::Point3 halfTurnX[3] = {{1, 0, 0}, {0, -1, 0}, {0, 0, -1}};
  QuaternionFromRows(halfTurnX, q);
  EXPECT_EQ(q[0], 1.0f);
  EXPECT_EQ(q[1], 0.0f);
  EXPECT_EQ(q[2], 0.0f);
  EXPECT_EQ(q[3], 0.0f);
  // A trace of exactly 0 takes the second branch too: 120 degrees about
  // (1,1,1) has the rows (0,1,0), (0,0,1), (1,0,0) and the quaternion
  // (0.5, 0.5, 0.5, 0.5); a tie on the diagonal goes to index 0.
  const host::Point3 turn120[3] = {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}};
  QuaternionFromRows(turn120, q);
  EXPECT_EQ(q[0], 0.5f);
  EXPECT_EQ(q[1], 0.5f);
  EXPECT_EQ(q[2], 0.5f);
  EXPECT_EQ(q[3], 0.5f);
}

TEST(Coordinates, RotationOfANodeInOutputAxes) {
  // 180 degrees about the host's X axis stays a turn about X after the swap.
  auto turned = Load(R"([{"transform": {"rotation": [1, 0, 0, 0]}}])");
  PRSTransform t;
  LocalTransform(Child(&turned->root, 0), 0, t, ExportSettings{});
  EXPECT_NEAR(t.rotation[0], 1.0f, 1e-6f);
  EXPECT_NEAR(t.rotation[1], 0.0f, 1e-6f);
  EXPECT_NEAR(t.rotation[2], 0.0f, 1e-6f);
  EXPECT_NEAR(t.rotation[3], 0.0f, 1e-6f);
}

TEST(Coordinates, ChildAtItsParentsPlaceIsExactlyIdentity) {
  auto scene = Load(R"([{"transform": {"position": [1.1, 2.2, 3.3], "rotation": [0.1, 0.2, 0.3, 0.9],
                                       "scale": [1.5, 0.5, 2]},
                         "children": [{}]}])");
  PRSTransform t;
  LocalTransform(Child(Child(&scene->root, 0), 0), 0, t, ExportSettings{});
  ExpectVec3(t.position, 0.0f, 0.0f, 0.0f);
  EXPECT_EQ(t.rotation[0], 0.0f);
  EXPECT_EQ(t.rotation[1], 0.0f);
  EXPECT_EQ(t.rotation[2], 0.0f);
  EXPECT_EQ(t.rotation[3], 1.0f);
  ExpectVec3(t.scale, 1.0f, 1.0f, 1.0f);
}

TEST(Coordinates, MirrorGoesIntoTheVerticesNotTheTransform) {
  auto scene = Load(R"([{"transform": {"scale": [-1, 1, 1]}, "children": [{"transform": {"position": [1, 0, 0]}}]},
                        {"transform": {"scale": [-1, 1, 1]}, "children": [{"transform": {"scale": [1, -1, 1]}}]}])");
  host::INode* mirrored = Child(&scene->root, 0);
  ExportSettings settings;
  settings.removescaling = false;
  PRSTransform t;
  LocalTransform(mirrored, 0, t, settings);
  // Positive scale values and a proper rotation (a half turn, since the
  // mirror's sign flip is taken out of all three axes).
  ExpectVec3(t.scale, 1.0f, 1.0f, 1.0f);
  const float length = std::sqrt(t.rotation[0] * t.rotation[0] + t.rotation[1] * t.rotation[1] +
                                 t.rotation[2] * t.rotation[2] + t.rotation[3] * t.rotation[3]);
  EXPECT_NEAR(length, 1.0f, 1e-6f);
  EXPECT_TRUE(MeshBakeMatrix(mirrored, settings).mirrored);
  // A child of a mirrored parent: its own local matrix has no mirror, but
  // its mesh still counts as mirrored.
  EXPECT_TRUE(MeshBakeMatrix(Child(mirrored, 0), settings).mirrored);
  // Mirrored twice over is no mirror.
  EXPECT_FALSE(MeshBakeMatrix(Child(Child(&scene->root, 1), 0), settings).mirrored);
}

TEST(Coordinates, ConvertVertexSwapsAndScales) {
  host::Mesh mesh;
  mesh.verts = {{1, 2, 3}};
  float out[3];
  ConvertVertex(mesh, 0, host::Matrix3(true), 10.0f, out);
  ExpectVec3(out, 10.0f, 30.0f, 20.0f);
}

}  // namespace
}  // namespace kvl
