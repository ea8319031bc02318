// The memory host's matrices, meshes and materials where no export looks:
// flags and products of matrices no scene builds, normals the exporter works
// out for itself, and lookups out of range. And the world transforms a
// scene held still keeps, which no output can tell from ones worked out
// afresh. And the meshes a scene loaded for one export hands over.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include "host/matrix3.h"
#include "host/memory_materials.h"
#include "host/memory_objects.h"
#include "host/memory_scene.h"

namespace kvl::host {
namespace {

void ExpectRowsNear(const Matrix3& m, const Point3 (&rows)[4]) {
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(m[r][c], rows[r][c], 1e-6f) << "row " << r << " column " << c;
  }
}

// Scale (2, 3, 4), then 90 degrees about Z, then a move by (5, 6, 7).
const Matrix3 kGeneral({0, 2, 0}, {-3, 0, 0}, {0, 0, 4}, {5, 6, 7});

TEST(Matrix3, InverseUndoesTheProductFromBothSides) {
  const Matrix3 inv = Inverse(kGeneral);
  ExpectRowsNear(inv, {{0, -1.0f / 3, 0}, {0.5f, 0, 0}, {0, 0, 0.25f}, {-3, 5.0f / 3, -1.75f}});
  ExpectRowsNear(kGeneral * inv, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}});
  ExpectRowsNear(inv * kGeneral, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}});
}

TEST(Matrix3, FlagsAndParityFromTheElements) {
  const struct {
    Matrix3 m;
    uint32_t flags;
    bool parity;
  } cases[] = {
      {Matrix3({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}), MAT_IDENT, false},
      {Matrix3({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 2, 3}), ROT_IDENT | SCL_IDENT, false},
      {Matrix3({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {0, 0, 0}), POS_IDENT | SCL_IDENT, false},
      {Matrix3({2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {0, 0, 0}), POS_IDENT | ROT_IDENT, false},
      {Matrix3({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}), POS_IDENT | SCL_IDENT, true},
      {Matrix3({-1, 0, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, 0}), POS_IDENT | SCL_IDENT, false},
      {Matrix3({0, 1, 0}, {1, 0, 0}, {0, 0, 1}, {0, 0, 0}), POS_IDENT | SCL_IDENT, true},
  };
  for (const auto& c : cases) {
    Matrix3 m = c.m;
    m.SetIdentFlags(0);
    m.ValidateFlags();
    EXPECT_EQ(m.GetIdentFlags(), c.flags) << m.GetRow(0).x << " " << m.GetRow(0).y;
    EXPECT_EQ(m.Parity(), c.parity) << m.GetRow(0).x << " " << m.GetRow(0).y;
  }
  // Scaling the rows alone by a mirror undoes a mirror and keeps the move.
  Matrix3 unmirrored({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 2, 3});
  unmirrored.Scale({-1, -1, -1}, false);
  ExpectRowsNear(unmirrored, {{1, 0, 0}, {0, -1, 0}, {0, 0, -1}, {1, 2, 3}});
  EXPECT_FALSE(unmirrored.Parity());
}

TEST(Mesh, BuildNormalsSumsUnitFaceNormalsAtEachVertex) {
  Mesh mesh;
  mesh.verts = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 1}};
  mesh.faces.resize(2);
  mesh.faces[0].v[0] = 0, mesh.faces[0].v[1] = 1, mesh.faces[0].v[2] = 2;
  mesh.faces[1].v[0] = 0, mesh.faces[1].v[1] = 2, mesh.faces[1].v[2] = 3;
  mesh.buildNormals();
  EXPECT_EQ(mesh.getFaceNormal(0), Point3(0, 0, 1));
  // Face 1: (1,1,0) x (0,1,1) = (1, -1, 1), unit length; vertex 0 has both.
  const float k = 1.0f / std::sqrt(3.0f), len = std::sqrt(2 * k * k + (1 + k) * (1 + k));
  EXPECT_NEAR(mesh.getFaceNormal(1).y, -k, 1e-6f);
  EXPECT_EQ(mesh.getNormal(1), Point3(0, 0, 1));
  EXPECT_NEAR(mesh.getNormal(0).x, k / len, 1e-6f);
  EXPECT_NEAR(mesh.getNormal(0).z, (1 + k) / len, 1e-6f);
}

TEST(Mesh, ChannelsThatShareFacesPartWhenOneIsFilledAgain) {
  Mesh mesh;
  auto shared = std::make_shared<std::vector<TVFace>>(1);
  shared->front().t[1] = 7;
  mesh.Map(MAP_TEXCOORD).ShareFaces(shared);
  mesh.Map(MAP_COLOR).ShareFaces(shared);
  EXPECT_EQ(mesh.mapFaces(MAP_TEXCOORD), mesh.mapFaces(MAP_COLOR));
  mesh.Map(MAP_COLOR).Faces().front().t[1] = 9;
  EXPECT_EQ(mesh.mapFaces(MAP_TEXCOORD)[0].t[1], 7u);
  EXPECT_EQ(mesh.mapFaces(MAP_COLOR)[0].t[1], 9u);
  EXPECT_EQ(mesh.mapFaces(MAP_ALPHA), nullptr);
}

TEST(Materials, LookupsOutOfRangeGiveNothing) {
  MemoryStdMtl wood;
  wood.maps[ID_RL].state = 1;
  for (int slot : {-1, STD_NUM_MAPS}) {
    EXPECT_EQ(wood.GetMapState(slot), 0);
    EXPECT_EQ(wood.GetSubTexmap(slot), nullptr);
  }
  MemoryMultiMtl multi;
  multi.subMaterials = {&wood, nullptr};
  EXPECT_EQ(multi.GetSubMtl(0), &wood);
  for (int i : {-1, 1, 2}) EXPECT_EQ(multi.GetSubMtl(i), nullptr) << i;
}

bool SameBits(const Matrix3& a, const Matrix3& b) { return std::memcmp(&a, &b, sizeof(Matrix3)) == 0; }

MemoryNode& AddNode(MemoryNode& parent, std::vector<TransformKey> keys, const Matrix3& fixed = Matrix3(true)) {
  auto node = std::make_unique<MemoryNode>();
  node->keys = std::move(keys);
  node->transform = fixed;
  return parent.AddChild(std::move(node));
}

TransformKey Key(TimeValue tick, Point3 position, Quat rotation, Point3 scale = {1, 1, 1}) {
  return {tick, position, rotation.Normalized(), scale};
}

// A keyed chain a-b-c-d under the root, with a fixed b that has a second,
// fixed child e; c scales unevenly and mirrors. Asked deepest first at
// ticks out of order, before, between and after the keys, and twice over.
TEST(HeldStill, KeepsTheWorldTransformsWorkedOutAfresh) {
  MemoryScene scene;
  MemoryNode& a = AddNode(scene.root, {Key(0, {1, 2, 3}, {0, 0, 0.3f, 1}), Key(1600, {2, 0, 3}, {0.2f, 0, 0, 1})});
  MemoryNode& b = AddNode(a, {}, Matrix3({0, 1.5f, 0}, {-1.5f, 0, 0}, {0, 0, 1.5f}, {0, 0, 4}));
  MemoryNode& c = AddNode(b, {Key(400, {0, 1, 0}, {0, 0.4f, 0, 1}, {1, -2, 0.5f}),
                              Key(2000, {0, 3, 0}, {0.1f, 0.1f, 0.7f, 1}, {2, -1, 0.5f})});
  MemoryNode& d = AddNode(c, {Key(0, {0, 0, 1}, {0.3f, 0, 0, 1}), Key(800, {0, 0, 2}, {0, 0.3f, 0, 1}),
                              Key(3200, {1, 0, 2}, {0, 0, 0.9f, 1})});
  MemoryNode& e = AddNode(b, {}, Matrix3({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {5, 0, 0}));
  MemoryNode* const nodes[] = {&d, &e, &c, &b, &a};
  const TimeValue ticks[] = {800, -160, 0, 3200, 800, 1600, 400, 1201, 0, 3200, 1599};

  std::vector<Matrix3> afresh;
  for (MemoryNode* node : nodes) {
    for (TimeValue t : ticks) afresh.push_back(node->GetNodeTM(t));
  }
  HeldStill still(scene);
  for (int round = 0; round < 2; ++round) {
    size_t i = 0;
    for (MemoryNode* node : nodes) {
      for (TimeValue t : ticks) {
        EXPECT_TRUE(SameBits(node->GetNodeTM(t), afresh[i])) << node->name << " at " << t << ", round " << round;
        ++i;
      }
    }
  }
}

// Held still, a tick once worked out is not worked out again; afterwards,
// and in a later hold, it is. A change the hold forbids shows which one an
// answer came from.
TEST(HeldStill, WorksOutEachTickOnceWhileItStands) {
  MemoryScene scene;
  MemoryNode& top = AddNode(scene.root, {Key(0, {0, 0, 0}, {0, 0, 0, 1}), Key(1000, {0, 0, 0}, {0, 0, 1, 1})});
  MemoryNode& middle = AddNode(top, {}, Matrix3({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 2, 0}));
  MemoryNode& leaf = AddNode(middle, {}, Matrix3({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 0}));
  const TimeValue asked[] = {750, 250, 500};
  std::vector<Matrix3> before;
  std::optional<HeldStill> still(std::in_place, scene);
  for (TimeValue t : asked) before.push_back(leaf.GetNodeTM(t));

  top.keys.back().rotation = Quat(0, 0, -1, 1).Normalized();
  for (size_t i = 0; i < before.size(); ++i) {
    EXPECT_TRUE(SameBits(leaf.GetNodeTM(asked[i]), before[i])) << "held, at " << asked[i];
  }
  const Matrix3 unasked = leaf.GetNodeTM(600);
  still.reset();
  EXPECT_TRUE(SameBits(leaf.GetNodeTM(600), unasked)) << "a tick first asked for after the change";
  std::vector<Matrix3> after;
  for (size_t i = 0; i < before.size(); ++i) {
    after.push_back(leaf.GetNodeTM(asked[i]));
    EXPECT_FALSE(SameBits(after.back(), before[i])) << "let go, at " << asked[i];
  }
  // Held again, nothing kept from the first hold comes back.
  still.emplace(scene);
  for (size_t i = 0; i < after.size(); ++i) {
    EXPECT_TRUE(SameBits(leaf.GetNodeTM(asked[i]), after[i])) << "held again, at " << asked[i];
  }
}

struct NoView : View {
  Point2 ViewToScreen(Point3) override { return {0, 0}; }
};

// Handed over, a mesh nothing animates goes to the first caller whole, to be
// deleted there, and the object has none left; a keyed mesh is asked for at
// every sample and stays. A scene not handed over gives its meshes out as
// often as asked.
TEST(HandOverMeshes, GivesAStillMeshAwayOnceAndKeepsAnimatedOnes) {
  MemoryScene scene;
  auto still = std::make_unique<MemoryMeshObject>();
  still->mesh.verts = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  auto keyed = std::make_unique<MemoryMeshObject>();
  keyed->mesh.verts = {{0, 0, 0}, {2, 0, 0}, {0, 2, 0}};
  keyed->frames.push_back({800, {{0, 0, 1}, {2, 0, 1}, {0, 2, 1}}});
  MemoryMeshObject& stillObject = *still;
  MemoryMeshObject& keyedObject = *keyed;
  AddNode(scene.root, {}).object = std::move(still);
  AddNode(scene.root, {}).object = std::move(keyed);
  NoView view;
  bool needDelete = true;

  EXPECT_EQ(stillObject.GetRenderMesh(0, nullptr, view, needDelete), &stillObject.mesh) << "not handed over yet";
  EXPECT_FALSE(needDelete);

  HandOverMeshes(scene);
  std::unique_ptr<Mesh> given(stillObject.GetRenderMesh(0, nullptr, view, needDelete));
  ASSERT_TRUE(given && needDelete);
  EXPECT_EQ(given->verts.size(), 3u);
  EXPECT_EQ(given->verts[1].x, 1.0f);
  EXPECT_TRUE(stillObject.mesh.verts.empty()) << "the object keeps no copy";
  EXPECT_EQ(stillObject.GetRenderMesh(0, nullptr, view, needDelete), nullptr) << "given once";

  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(keyedObject.GetRenderMesh(0, nullptr, view, needDelete), &keyedObject.mesh) << "round " << round;
    EXPECT_FALSE(needDelete);
    std::unique_ptr<Mesh> framed(keyedObject.GetRenderMesh(800, nullptr, view, needDelete));
    ASSERT_TRUE(framed && needDelete);
    EXPECT_EQ(framed->verts[1].z, 1.0f) << "round " << round;
  }
}

}  // namespace
}  // namespace kvl::host
