#include "scene/vertex_list.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

namespace kvl {
namespace {

Vertex MakeVertex(uint32_t source, float x, float y = 0, float z = 0) {
  Vertex v;
  v.sourceVertex = source;
  v.position[0] = x;
  v.position[1] = y;
  v.position[2] = z;
  return v;
}

bool BitEqual(const Vertex& a, const Vertex& b) { return std::memcmp(&a, &b, sizeof(Vertex)) == 0; }

TEST(SameVertex, ComparesSourcePositionAndTheAttributesOfTheFlags) {
  Vertex a = MakeVertex(3, 1, 2, 3);
  Vertex b = a;
  EXPECT_TRUE(SameVertex(a, b));
  b.sourceVertex = 4;  // same place, other host vertex
  EXPECT_FALSE(SameVertex(a, b));

  // u closer than 1e-6 matches, 2e-6 apart does not.
  a.flags = VERTEX_UV;
  a.u = 0.5f;
  b = a;
  b.u = 0.5f + 0.0000005f;
  EXPECT_TRUE(SameVertex(a, b));
  b.u = 0.5f + 0.000002f;
  EXPECT_FALSE(SameVertex(a, b));
  b = a;
  b.v = 0.000002f;
  EXPECT_FALSE(SameVertex(a, b));

  // Colour only counts when the existing vertex carries it.
  a.flags = 0;
  b = a;
  b.color = 0xFF00FF00u;
  EXPECT_TRUE(SameVertex(a, b));
  a.flags = VERTEX_COLOR;
  EXPECT_FALSE(SameVertex(a, b));

  // Smoothing groups 1 and 3 share a bit, yet are different words.
  a.flags = VERTEX_NORMAL;
  b = a;
  a.smoothingGroup = 1;
  b.smoothingGroup = 3;
  EXPECT_FALSE(SameVertex(a, b));
  a.flags = 0;
  EXPECT_TRUE(SameVertex(a, b));

  // The bound is the double 1e-6: the float nearest 1e-6 lies just below it.
  EXPECT_TRUE(SameVertex(MakeVertex(0, 0), MakeVertex(0, 1e-6f)));
  EXPECT_FALSE(SameVertex(MakeVertex(0, 0), MakeVertex(0, 0, 0, 2e-6f)));
  EXPECT_FALSE(SameVertex(MakeVertex(0, 0), MakeVertex(0, 0, -2e-6f)));
}

TEST(PlaceVertex, SharesAddsNormalsAndNormalizes) {
  VertexList list;
  list.flags = VERTEX_NORMAL;
  Vertex v = MakeVertex(7, 1, 1, 1);
  v.flags = VERTEX_NORMAL;
  v.normal[0] = 0.6f;
  v.normal[2] = 0.8f;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(PlaceVertex(list, v), 0u);
  ASSERT_EQ(list.vertices.size(), 1u);
  EXPECT_FLOAT_EQ(list.vertices[0].normal[0], 1.8f);
  EXPECT_FLOAT_EQ(list.vertices[0].normal[2], 2.4f);
  NormalizeNormals(list);
  EXPECT_FLOAT_EQ(list.vertices[0].normal[0], 0.6f);
  EXPECT_FLOAT_EQ(list.vertices[0].normal[1], 0.0f);
  EXPECT_FLOAT_EQ(list.vertices[0].normal[2], 0.8f);

  // Other host vertex: appended. The first placed vertex keeps its fields.
  EXPECT_EQ(PlaceVertex(list, MakeVertex(8, 1, 1, 1)), 1u);
  Vertex later = v;
  later.u = 9;
  EXPECT_EQ(PlaceVertex(list, later), 0u);
  EXPECT_EQ(list.vertices[0].u, 0.0f);

  // Without VERTEX_NORMAL nothing adds up and nothing is normalised.
  VertexList plain;
  EXPECT_EQ(PlaceVertex(plain, v), 0u);
  EXPECT_EQ(PlaceVertex(plain, v), 0u);
  EXPECT_EQ(plain.vertices[0].normal[0], 0.6f);
  plain.vertices[0].normal[0] = 3;
  NormalizeNormals(plain);
  EXPECT_EQ(plain.vertices[0].normal[0], 3.0f);
}

TEST(PlaceVertex, BaseAndThresholdBoundTheMatch) {
  // 30 vertices of host vertex 1, all equal.
  VertexList list;
  for (int i = 0; i < 30; ++i) list.vertices.push_back(MakeVertex(1, 0));
  Vertex v = MakeVertex(1, 0);
  // base 20, threshold 5: indices below 15 are passed over.
  EXPECT_EQ(PlaceVertex(list, v, 20, 5), 15u);
  // Only index 14 would match: the scan goes past it and appends.
  VertexList sparse;
  for (int i = 0; i < 30; ++i) sparse.vertices.push_back(MakeVertex(i == 14 ? 1 : 2, 0));
  EXPECT_EQ(PlaceVertex(sparse, v, 20, 5), 30u);
  sparse.vertices[15].sourceVertex = 1;
  EXPECT_EQ(PlaceVertex(sparse, v, 20, 5), 15u);
  // A threshold above base makes the bound negative: index 0 counts.
  EXPECT_EQ(PlaceVertex(list, v, 3, 10), 0u);
  EXPECT_EQ(PlaceVertex(list, v, PLACE_ANYWHERE, 0), 0u);

  VertexPlacer placer(sparse);
  EXPECT_EQ(placer.Place(v, 20, 5), 15u);
  EXPECT_EQ(placer.Place(v, 40, 5), 31u);
}

// Random lists where many vertices collide on sourceVertex, with mixed
// flags, attributes a hair apart, and random placement windows: the indexed
// placer must give the very results of the plain scan. Every other round
// numbers its host vertices near the top of their range, as no real mesh
// does, to reach the placer's lookup for such numbers.
TEST(VertexPlacer, AgreesWithThePlainScanOnRandomLists) {
  std::mt19937 random(12345);
  auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  const float nearby[] = {0.0f, 0.0000004f, 0.000003f, 1.0f};
  int shared = 0, windowed = 0;
  for (int round = 0; round < 200; ++round) {
    VertexList scanned, indexed;
    scanned.flags = indexed.flags = static_cast<uint32_t>(pick(8));
    VertexPlacer placer(indexed);
    const int sources = 1 + pick(20);
    const int count = 50 + pick(300);
    const uint32_t firstSource = round % 2 ? 0xFFFFFF00u : 0u;
    for (int n = 0; n < count; ++n) {
      Vertex v = MakeVertex(firstSource + static_cast<uint32_t>(pick(sources)), nearby[pick(4)], nearby[pick(2)], 0);
      v.flags = pick(4) == 0 ? static_cast<uint32_t>(pick(8)) : scanned.flags;
      v.smoothingGroup = static_cast<uint32_t>(pick(3));
      v.color = static_cast<uint32_t>(pick(2));
      v.u = nearby[pick(3)];
      v.v = nearby[pick(3)];
      v.normal[0] = static_cast<float>(pick(5)) * 0.25f;
      v.normal[1] = 1.0f;
      uint32_t base = PLACE_ANYWHERE;
      int32_t threshold = 0;
      if (pick(3) == 0) {
        base = static_cast<uint32_t>(pick(count));
        threshold = pick(40) - 10;
      }
      if (pick(50) == 0) {
        // Appended behind the placer's back: the index must pick it up.
        scanned.vertices.push_back(v);
        indexed.vertices.push_back(v);
        continue;
      }
      const size_t before = scanned.vertices.size();
      const uint32_t expected = PlaceVertex(scanned, v, base, threshold);
      if (expected < before) ++shared;
      if (expected < before && base != PLACE_ANYWHERE && expected > 0) ++windowed;
      ASSERT_EQ(placer.Place(v, base, threshold), expected) << "round " << round << " vertex " << n;
    }
    ASSERT_EQ(scanned.vertices.size(), indexed.vertices.size());
    for (size_t i = 0; i < scanned.vertices.size(); ++i) {
      ASSERT_TRUE(BitEqual(scanned.vertices[i], indexed.vertices[i])) << "round " << round << " index " << i;
    }
  }
  // The rounds must really exercise sharing, also inside bounded windows.
  EXPECT_GT(shared, 5000);
  EXPECT_GT(windowed, 200);
}

TEST(VertexPlacer, StartsFromAFilledListAndSurvivesAShrink) {
  VertexList list;
  list.vertices.push_back(MakeVertex(5, 1));
  list.vertices.push_back(MakeVertex(6, 2));
  VertexPlacer placer(list);
  EXPECT_EQ(placer.Place(MakeVertex(6, 2)), 1u);
  EXPECT_EQ(placer.Place(MakeVertex(5, 2)), 2u);
  list.vertices.resize(1);
  EXPECT_EQ(placer.Place(MakeVertex(6, 2)), 1u);
  EXPECT_EQ(placer.Place(MakeVertex(5, 1)), 0u);
}

TEST(NormalizeNormals, ZeroLengthGivesNonFiniteValues) {
  VertexList list;
  list.flags = VERTEX_NORMAL;
  list.vertices.push_back(MakeVertex(0, 0));
  NormalizeNormals(list);
  EXPECT_FALSE(std::isfinite(list.vertices[0].normal[0]));
}

}  // namespace
}  // namespace kvl
