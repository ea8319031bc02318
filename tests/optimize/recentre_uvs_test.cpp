#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>

#include "optimize/optimize.h"

namespace kvl {
namespace {

VertexList ListWithUVs(uint32_t flags, std::initializer_list<std::pair<float, float>> uvs) {
  VertexList list;
  list.flags = flags;
  for (const auto& [u, v] : uvs) {
    Vertex vertex;
    vertex.flags = flags;
    vertex.u = u;
    vertex.v = v;
    list.vertices.push_back(vertex);
  }
  return list;
}

TEST(RecentreUVs, SubtractsTheFloorOfTheMeanFromEveryVertex) {
  // Mean u 10.9 / 3 = 3.63, floor 3; mean v -2.25 / 3 = -0.75, floor -1.
  // Single vertices may leave [0, 1): the shift is one whole number per list.
  VertexList list = ListWithUVs(VERTEX_UV, {{2.5f, -1.5f}, {3.5f, -0.25f}, {4.9f, -0.5f}});
  RecentreUVs(list);
  EXPECT_EQ(list.vertices[0].u, -0.5f);
  EXPECT_EQ(list.vertices[1].u, 0.5f);
  EXPECT_FLOAT_EQ(list.vertices[2].u, 4.9f - 3.0f);
  EXPECT_EQ(list.vertices[0].v, -0.5f);
  EXPECT_EQ(list.vertices[1].v, 0.75f);
  EXPECT_EQ(list.vertices[2].v, 0.5f);

  // A mean that is a whole number is itself subtracted.
  VertexList whole = ListWithUVs(VERTEX_UV | VERTEX_NORMAL, {{1.0f, -3.0f}, {3.0f, -1.0f}});
  RecentreUVs(whole);
  EXPECT_EQ(whole.vertices[0].u, -1.0f);
  EXPECT_EQ(whole.vertices[1].u, 1.0f);
  EXPECT_EQ(whole.vertices[0].v, -1.0f);
  EXPECT_EQ(whole.vertices[1].v, 1.0f);

  // Without texture coordinates in the format the values are left alone.
  VertexList untextured = ListWithUVs(VERTEX_NORMAL | VERTEX_COLOR, {{5.5f, 7.5f}});
  RecentreUVs(untextured);
  EXPECT_EQ(untextured.vertices[0].u, 5.5f);
  EXPECT_EQ(untextured.vertices[0].v, 7.5f);

  VertexList empty = ListWithUVs(VERTEX_UV, {});
  RecentreUVs(empty);
  EXPECT_TRUE(empty.vertices.empty());
}

TriangleInfo WithCornerUs(float u1, float u2, float u3, float v) {
  TriangleInfo t;
  t.cornerUVs[0] = u1;
  t.cornerUVs[1] = v;
  t.cornerUVs[2] = u2;
  t.cornerUVs[3] = v;
  t.cornerUVs[4] = u3;
  t.cornerUVs[5] = v;
  return t;
}

void ExpectCornerUs(const TriangleInfo& t, float u1, float u2, float u3) {
  EXPECT_FLOAT_EQ(t.cornerUVs[0], u1);
  EXPECT_FLOAT_EQ(t.cornerUVs[2], u2);
  EXPECT_FLOAT_EQ(t.cornerUVs[4], u3);
}

TEST(RecentreTriangleUVs, EachTriangleShiftsByTheFloorOfItsOwnThird) {
  TriangleInfoBufferNode buffer;
  buffer.flags = TRIANGLE_UVS;
  TriangleInfo both;
  const float uvs[6] = {1.2f, -0.5f, 1.4f, -0.4f, 1.9f, -0.3f};
  for (int i = 0; i < 6; ++i) both.cornerUVs[i] = uvs[i];
  buffer.triangles = {
      both,
      // In f32, -2.8 + 3.8 is exactly 1, so taking the corners second,
      // third, first sums to exactly -3 and the third is -1. Summed first
      // to third, -4 + -2.8 rounds to -6.8000002 and the floor would be -2.
      WithCornerUs(-4.0f, -2.8f, 3.8f, 0.25f),
      // In f32, -3.9 + -1.1 rounds to -5 and the sum to -9; times
      // 0.33333334 that rounds to -3, so the floor is -3. Exact (double)
      // arithmetic on the same values gives just below -3, floor -4.
      WithCornerUs(-4.0f, -3.9f, -1.1f, 0.25f),
  };

  RecentreTriangleUVs(buffer);

  // u: floor(4.5 / 3) = 1; v: floor(-1.2 / 3) = -1.
  ExpectCornerUs(buffer.triangles[0], 1.2f - 1.0f, 1.4f - 1.0f, 1.9f - 1.0f);
  EXPECT_FLOAT_EQ(buffer.triangles[0].cornerUVs[1], 0.5f);
  EXPECT_FLOAT_EQ(buffer.triangles[0].cornerUVs[3], 0.6f);
  EXPECT_FLOAT_EQ(buffer.triangles[0].cornerUVs[5], 0.7f);
  ExpectCornerUs(buffer.triangles[1], -3.0f, -2.8f + 1.0f, 3.8f + 1.0f);
  ExpectCornerUs(buffer.triangles[2], -1.0f, -3.9f + 3.0f, -1.1f + 3.0f);
  for (int t = 1; t < 3; ++t)
    for (int corner = 0; corner < 3; ++corner) EXPECT_EQ(buffer.triangles[t].cornerUVs[2 * corner + 1], 0.25f);

  // Without per-corner texture coordinates nothing moves.
  TriangleInfoBufferNode colours;
  colours.flags = TRIANGLE_COLORS | TRIANGLE_NORMAL;
  colours.triangles = {WithCornerUs(5.5f, 6.5f, 7.5f, 9.0f)};
  RecentreTriangleUVs(colours);
  ExpectCornerUs(colours.triangles[0], 5.5f, 6.5f, 7.5f);
  EXPECT_EQ(colours.triangles[0].cornerUVs[1], 9.0f);
}

}  // namespace
}  // namespace kvl
