#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "optimize_scene_builder.h"

namespace kvl::optimize_test {
namespace {

using Indices = std::vector<uint32_t>;
using Sources = std::vector<uint32_t>;

void ExpectNormal(const Vertex& v, float x, float y, float z) {
  EXPECT_NEAR(v.normal[0], x, 1e-6) << "source vertex " << v.sourceVertex;
  EXPECT_NEAR(v.normal[1], y, 1e-6) << "source vertex " << v.sourceVertex;
  EXPECT_NEAR(v.normal[2], z, 1e-6) << "source vertex " << v.sourceVertex;
}

void ExpectUnitNormals(const VertexList& list) {
  for (const Vertex& v : list.vertices) {
    const double length = std::sqrt(double(v.normal[0]) * v.normal[0] + double(v.normal[1]) * v.normal[1] +
                                    double(v.normal[2]) * v.normal[2]);
    EXPECT_NEAR(length, 1.0, 1e-6) << "source vertex " << v.sourceVertex;
  }
}

// Vertex i of the list comes from host vertex i and lies at (i, 0, 0).
void FillDistinct(VertexList& list, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i)
    list.vertices.push_back(WithNormal(MakeVertex(list.flags, i, float(i), 0, 0), 0, 0, 1));
}

TEST(CompactVertices, VerticesFollowFirstUseAndUnusedOnesGo) {
  RootedScene scene;
  MeshNode& mesh = scene.AddMesh(2);
  VertexBufferNode& buffer = AddBuffer(scene, 3, VERTEX_NORMAL);
  FillDistinct(buffer.lists[0], 8);
  FaceListNode& faces = scene.AddFaces(4, {7, 3, 7});
  scene.AddMaterial(5);
  mesh.submeshes = {MakeSubmesh(3, 4, NODE_ID_NONE, 5)};

  scene.MarkFromRoot();
  CompactVertices(scene.table);

  const VertexList& list = buffer.lists[0];
  EXPECT_EQ(faces.indices, (Indices{0, 1, 0}));
  EXPECT_EQ(SourcesOf(list), (Sources{7, 3}));
  ASSERT_EQ(list.vertices.size(), 2u);
  EXPECT_EQ(list.vertices[0].position[0], 7.0f);
  EXPECT_EQ(list.vertices[1].position[0], 3.0f);
  ExpectNormal(list.vertices[0], 0, 0, 1);
  EXPECT_EQ(list.flags, uint32_t(VERTEX_NORMAL));
  EXPECT_EQ(buffer.flags, uint32_t(VERTEX_NORMAL));
  // The submesh record itself is left as it was.
  EXPECT_EQ(mesh.submeshes[0].vertexCount, 3u);
  EXPECT_EQ(mesh.submeshes[0].vertexOffset, 0u);
}

TEST(CompactVertices, IndicesCountFromTheVertexOffset) {
  RootedScene scene;
  MeshNode& mesh = scene.AddMesh(2);
  VertexBufferNode& buffer = AddBuffer(scene, 3, 0);
  FillDistinct(buffer.lists[0], 5);
  FaceListNode& faces = scene.AddFaces(4, {0, 1, 0});
  scene.AddMaterial(5);
  mesh.submeshes = {MakeSubmesh(3, 4, NODE_ID_NONE, 5)};
  mesh.submeshes[0].vertexOffset = 2;

  scene.MarkFromRoot();
  CompactVertices(scene.table);

  EXPECT_EQ(SourcesOf(buffer.lists[0]), (Sources{2, 3}));
  EXPECT_EQ(faces.indices, (Indices{0, 1, 0}));
  EXPECT_EQ(mesh.submeshes[0].vertexOffset, 2u);
}

TEST(CompactVertices, SharedVerticesEndWithUnitNormals) {
  RootedScene scene;
  MeshNode& mesh = scene.AddMesh(2);
  VertexBufferNode& buffer = AddBuffer(scene, 3, VERTEX_NORMAL);
  const uint32_t f = VERTEX_NORMAL;
  buffer.lists[0].vertices = {
      WithNormal(MakeVertex(f, 0, 0, 0, 0), 0, 0.6f, 0.8f),  // used three times
      WithNormal(MakeVertex(f, 1, 1, 0, 0), 1, 0, 0),
      WithNormal(MakeVertex(f, 1, 1, 0, 0), 0, 1, 0),  // the same vertex with another normal
      WithNormal(MakeVertex(f, 2, 0, 1, 0), 0, 0, 2),  // not unit length, used three times
      WithNormal(MakeVertex(f, 1, 1, 0, 0), 1, 0, 0),  // another smoothing group, below
  };
  buffer.lists[0].vertices[4].smoothingGroup = 2;
  FaceListNode& faces = scene.AddFaces(4, {0, 1, 3, 0, 2, 3, 0, 4, 3});
  scene.AddMaterial(5);
  mesh.submeshes = {MakeSubmesh(3, 4, NODE_ID_NONE, 5, NODE_ID_NONE, NODE_ID_NONE, 9)};

  scene.MarkFromRoot();
  CompactVertices(scene.table);

  const VertexList& list = buffer.lists[0];
  EXPECT_EQ(faces.indices, (Indices{0, 1, 2, 0, 1, 2, 0, 3, 2}));
  ASSERT_EQ(SourcesOf(list), (Sources{0, 1, 2, 1}));
  // 3 * (0, 0.6, 0.8) scaled back; (1,0,0) + (0,1,0) normalised; 3 * (0,0,2)
  // normalised; the lone vertex of the other group keeps (1,0,0).
  ExpectNormal(list.vertices[0], 0, 0.6f, 0.8f);
  ExpectNormal(list.vertices[1], float(std::sqrt(0.5)), float(std::sqrt(0.5)), 0);
  ExpectNormal(list.vertices[2], 0, 0, 1);
  ExpectNormal(list.vertices[3], 1, 0, 0);
  EXPECT_EQ(list.vertices[3].smoothingGroup, 2u);
  ExpectUnitNormals(list);
}

// Two submeshes on one buffer of distinct vertices, compacted under the
// given threshold. The second submesh starts with base = vertices the first produced.
struct TwoSubmeshScene {
  RootedScene scene;
  VertexBufferNode* buffer = nullptr;
  FaceListNode* first = nullptr;
  FaceListNode* second = nullptr;
};

void CompactTwoSubmeshes(TwoSubmeshScene& s, int32_t threshold, const Indices& firstFaces,
                         const Indices& secondFaces, uint32_t vertexCount) {
  RootedScene& scene = s.scene;
  scene.table.settings.threshold = threshold;
  MeshNode& mesh = scene.AddMesh(2);
  s.buffer = &AddBuffer(scene, 3, VERTEX_NORMAL);
  FillDistinct(s.buffer->lists[0], vertexCount);
  s.first = &scene.AddFaces(4, {});
  s.first->indices = firstFaces;
  s.second = &scene.AddFaces(5, {});
  s.second->indices = secondFaces;
  scene.AddMaterial(6);
  scene.AddMaterial(7).flags = MATERIAL_BLENDED;
  mesh.submeshes = {MakeSubmesh(3, 4, NODE_ID_NONE, 6, NODE_ID_NONE, NODE_ID_NONE, uint32_t(firstFaces.size())),
                    MakeSubmesh(3, 5, NODE_ID_NONE, 7, NODE_ID_NONE, NODE_ID_NONE, uint32_t(secondFaces.size()))};
  scene.MarkFromRoot();
  CompactVertices(scene.table);
}

TEST(CompactVertices, ThresholdBoundsSharingWithEarlierSubmeshes) {
  const Indices firstFaces{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
  const Indices secondFaces{2, 1, 12};
  {
    SCOPED_TRACE("threshold 10: window starts at 12 - 10 = 2");
    TwoSubmeshScene s;
    CompactTwoSubmeshes(s, 10, firstFaces, secondFaces, 13);
    EXPECT_EQ(s.first->indices, firstFaces);
    EXPECT_EQ(s.second->indices, (Indices{2, 12, 13}));
    EXPECT_EQ(SourcesOf(s.buffer->lists[0]), (Sources{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 1, 12}));
    ExpectUnitNormals(s.buffer->lists[0]);
  }
  {
    SCOPED_TRACE("threshold 11: window starts at 1");
    TwoSubmeshScene s;
    CompactTwoSubmeshes(s, 11, firstFaces, secondFaces, 13);
    EXPECT_EQ(s.second->indices, (Indices{2, 1, 12}));
    EXPECT_EQ(s.buffer->lists[0].vertices.size(), 13u);
  }
  {
    SCOPED_TRACE("threshold 0: nothing before the submesh is shared");
    TwoSubmeshScene s;
    CompactTwoSubmeshes(s, 0, firstFaces, secondFaces, 13);
    EXPECT_EQ(s.first->indices, firstFaces);
    EXPECT_EQ(s.second->indices, (Indices{12, 13, 14}));
    EXPECT_EQ(SourcesOf(s.buffer->lists[0]), (Sources{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 2, 1, 12}));
  }
  {
    SCOPED_TRACE("threshold 0: a submesh still shares what it produced itself");
    TwoSubmeshScene s;
    CompactTwoSubmeshes(s, 0, {0, 1, 2}, {2, 3, 2, 3, 4, 2}, 5);
    EXPECT_EQ(s.second->indices, (Indices{3, 4, 3, 4, 5, 3}));
    EXPECT_EQ(SourcesOf(s.buffer->lists[0]), (Sources{0, 1, 2, 2, 3, 4}));
  }
}

TEST(CompactVertices, ThresholdBeyondBaseLetsEveryVertexBeShared) {
  {
    SCOPED_TRACE("threshold 5 over base 3: the bound is -2");
    TwoSubmeshScene s;
    CompactTwoSubmeshes(s, 5, {0, 1, 2}, {0, 1, 2}, 3);
    EXPECT_EQ(s.second->indices, (Indices{0, 1, 2}));
    EXPECT_EQ(s.buffer->lists[0].vertices.size(), 3u);
    // Each vertex took two normals (0,0,1); normalising gives one back.
    ExpectUnitNormals(s.buffer->lists[0]);
  }
  {
    SCOPED_TRACE("threshold 2 over base 3: vertex 0 lies below the bound");
    TwoSubmeshScene s;
    CompactTwoSubmeshes(s, 2, {0, 1, 2}, {0, 1, 2}, 3);
    EXPECT_EQ(s.second->indices, (Indices{3, 1, 2}));
    EXPECT_EQ(SourcesOf(s.buffer->lists[0]), (Sources{0, 1, 2, 0}));
  }
}

TEST(CompactVertices, AllListsOfABufferStayInStep) {
  RootedScene scene;
  MeshNode& mesh = scene.AddMesh(2);
  const uint32_t f = VERTEX_NORMAL;
  VertexBufferNode& buffer = AddBuffer(scene, 3, f, 2);
  // Two frames of one morphing mesh: the same host vertices, the second
  // frame moved by 5 in z and with its own normals. Old vertex 3 repeats
  // old vertex 0; old vertex 5 is unused.
  const float p[6][2] = {{0, 0}, {1, 0}, {0, 1}, {0, 0}, {1, 1}, {2, 2}};
  const uint32_t sources[6] = {0, 1, 2, 0, 3, 4};
  const float n0[6][3] = {{1, 0, 0}, {0, 0, 1}, {0, 0, 1}, {0, 1, 0}, {0, 0, 1}, {0, 0, 1}};
  const float n1[6][3] = {{0, 2, 0}, {1, 0, 0}, {0, 0, 3}, {0, 0, 2}, {0, 1, 0}, {1, 0, 0}};
  for (int i = 0; i < 6; ++i) {
    buffer.lists[0].vertices.push_back(
        WithNormal(MakeVertex(f, sources[i], p[i][0], p[i][1], 0), n0[i][0], n0[i][1], n0[i][2]));
    buffer.lists[1].vertices.push_back(
        WithNormal(MakeVertex(f, sources[i], p[i][0], p[i][1], 5), n1[i][0], n1[i][1], n1[i][2]));
  }
  FaceListNode& faces = scene.AddFaces(4, {0, 1, 2, 3, 2, 4});
  scene.AddMaterial(5);
  mesh.submeshes = {MakeSubmesh(3, 4, NODE_ID_NONE, 5, NODE_ID_NONE, NODE_ID_NONE, 6)};

  scene.MarkFromRoot();
  CompactVertices(scene.table);

  EXPECT_EQ(faces.indices, (Indices{0, 1, 2, 0, 2, 3}));
  ASSERT_EQ(buffer.lists.size(), 2u);
  EXPECT_EQ(SourcesOf(buffer.lists[0]), (Sources{0, 1, 2, 3}));
  EXPECT_EQ(SourcesOf(buffer.lists[1]), (Sources{0, 1, 2, 3}));
  for (const Vertex& v : buffer.lists[1].vertices) EXPECT_EQ(v.position[2], 5.0f);
  ExpectUnitNormals(buffer.lists[0]);
  ExpectUnitNormals(buffer.lists[1]);
  const float h = float(std::sqrt(0.5));
  ExpectNormal(buffer.lists[0].vertices[0], h, h, 0);  // (1,0,0) + (0,1,0)
  ExpectNormal(buffer.lists[1].vertices[0], 0, h, h);  // (0,2,0) + (0,0,2)
  ExpectNormal(buffer.lists[1].vertices[2], 0, 0, 1);  // (0,0,3) twice
  ExpectNormal(buffer.lists[1].vertices[3], 0, 1, 0);
}

TEST(CompactVertices, FlagsZeroComparesSourceAndPositionOnly) {
  RootedScene scene;
  MeshNode& mesh = scene.AddMesh(2);
  VertexBufferNode& buffer = AddBuffer(scene, 3, 0);
  Vertex first = WithUV(WithNormal(MakeVertex(0, 0, 0, 0, 0), 2, 0, 0), 3.25f, 0.5f);
  first.color = 0xFF0000FFu;
  Vertex otherAttributes = WithUV(WithNormal(MakeVertex(0, 0, 0, 0, 0), 0, 3, 0), 0.75f, 7.5f);
  otherAttributes.color = 0xFF00FF00u;
  otherAttributes.smoothingGroup = 4;
  buffer.lists[0].vertices = {first, otherAttributes, MakeVertex(0, 1, 0, 0, 0), MakeVertex(0, 0, 0, 0, 0.5f)};
  FaceListNode& faces = scene.AddFaces(4, {0, 1, 2, 3, 1, 0});
  // Per-corner data lives in the triangle info buffer, recentred per
  // triangle while its submesh is compacted.
  auto& info = scene.Add<TriangleInfoBufferNode>(6);
  info.flags = TRIANGLE_COLORS | TRIANGLE_UVS;
  TriangleInfo shifted;
  const float shiftedUVs[6] = {1.2f, -0.5f, 1.4f, -0.4f, 1.9f, -0.3f};
  std::copy(shiftedUVs, shiftedUVs + 6, shifted.cornerUVs);
  shifted.color1 = 1;
  TriangleInfo centred;
  const float centredUVs[6] = {0.25f, 0.5f, 0.5f, 0.5f, 0.75f, 0.5f};
  std::copy(centredUVs, centredUVs + 6, centred.cornerUVs);
  centred.color1 = 2;
  info.triangles = {shifted, centred};
  scene.AddMaterial(5);
  mesh.submeshes = {MakeSubmesh(3, 4, 6, 5, NODE_ID_NONE, NODE_ID_NONE, 6)};

  scene.MarkFromRoot();
  CompactVertices(scene.table);

  const VertexList& list = buffer.lists[0];
  EXPECT_EQ(faces.indices, (Indices{0, 0, 1, 2, 0, 0}));
  ASSERT_EQ(SourcesOf(list), (Sources{0, 1, 0}));
  EXPECT_EQ(list.vertices[2].position[2], 0.5f);
  // The first vertex keeps its own attributes; without normals in the
  // format nothing is added to its normal, nor is it normalised, and
  // without texture coordinates they are not recentred.
  EXPECT_EQ(list.vertices[0].color, 0xFF0000FFu);
  EXPECT_EQ(list.vertices[0].smoothingGroup, 1u);
  EXPECT_EQ(list.vertices[0].normal[0], 2.0f);
  EXPECT_EQ(list.vertices[0].normal[1], 0.0f);
  EXPECT_EQ(list.vertices[0].u, 3.25f);
  EXPECT_EQ(list.vertices[0].v, 0.5f);

  ASSERT_EQ(info.triangles.size(), 2u);
  EXPECT_EQ(info.triangles[0].color1, 1u);
  EXPECT_FLOAT_EQ(info.triangles[0].cornerUVs[0], 1.2f - 1.0f);
  EXPECT_FLOAT_EQ(info.triangles[0].cornerUVs[2], 1.4f - 1.0f);
  EXPECT_FLOAT_EQ(info.triangles[0].cornerUVs[4], 1.9f - 1.0f);
  EXPECT_FLOAT_EQ(info.triangles[0].cornerUVs[1], -0.5f + 1.0f);
  EXPECT_FLOAT_EQ(info.triangles[0].cornerUVs[3], -0.4f + 1.0f);
  EXPECT_FLOAT_EQ(info.triangles[0].cornerUVs[5], -0.3f + 1.0f);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(info.triangles[1].cornerUVs[i], centredUVs[i]) << i;
}

TEST(CompactVertices, TextureCoordinatesRecentredOverTheCompactedList) {
  RootedScene scene;
  MeshNode& mesh = scene.AddMesh(2);
  const uint32_t f = VERTEX_UV;
  VertexBufferNode& buffer = AddBuffer(scene, 3, f);
  buffer.lists[0].vertices = {
      WithUV(MakeVertex(f, 0, 0, 0, 0), 2.25f, 0.5f),
      WithUV(MakeVertex(f, 1, 1, 0, 0), 3.5f, -0.75f),
      WithUV(MakeVertex(f, 2, 2, 0, 0), 100.0f, 100.0f),  // unused: must not pull the mean
      WithUV(MakeVertex(f, 3, 3, 0, 0), 4.75f, -1.5f),
  };
  scene.AddFaces(4, {0, 1, 3, 3, 1, 0});
  scene.AddMaterial(5);
  mesh.submeshes = {MakeSubmesh(3, 4, NODE_ID_NONE, 5, NODE_ID_NONE, NODE_ID_NONE, 6)};

  scene.MarkFromRoot();
  CompactVertices(scene.table);

  // Mean u 10.5 / 3 = 3.5, floor 3; mean v -1.75 / 3 = -0.58, floor -1.
  const VertexList& list = buffer.lists[0];
  ASSERT_EQ(SourcesOf(list), (Sources{0, 1, 3}));
  EXPECT_EQ(list.vertices[0].u, -0.75f);
  EXPECT_EQ(list.vertices[1].u, 0.5f);
  EXPECT_EQ(list.vertices[2].u, 1.75f);
  EXPECT_EQ(list.vertices[0].v, 1.5f);
  EXPECT_EQ(list.vertices[1].v, 0.25f);
  EXPECT_EQ(list.vertices[2].v, -0.5f);
}

TEST(CompactVertices, PassesOverMeshesWithoutSubmeshesAndUnreachableOnes) {
  RootedScene scene;
  // Reachable, but with no submesh to name a buffer: its buffer is left alone.
  scene.AddMesh(2);
  VertexBufferNode& orphanBuffer = AddBuffer(scene, 3, VERTEX_NORMAL);
  FillDistinct(orphanBuffer.lists[0], 3);
  orphanBuffer.lists[0].vertices[1].normal[2] = 4;
  // A later mesh is still compacted.
  MeshNode& later = scene.AddMesh(4);
  VertexBufferNode& laterBuffer = AddBuffer(scene, 5, 0);
  FillDistinct(laterBuffer.lists[0], 3);
  FaceListNode& laterFaces = scene.AddFaces(6, {2, 2, 2});
  scene.AddMaterial(7);
  later.submeshes = {MakeSubmesh(5, 6, NODE_ID_NONE, 7)};
  // An unreachable mesh keeps its vertices, used or not.
  auto& loose = scene.Add<GeometryNode>(8);
  auto& looseMesh = scene.Add<MeshNode>(9);
  loose.objects.push_back(&looseMesh);
  VertexBufferNode& looseBuffer = AddBuffer(scene, 10, 0);
  FillDistinct(looseBuffer.lists[0], 3);
  FaceListNode& looseFaces = scene.AddFaces(11, {2, 2, 2});
  looseMesh.submeshes = {MakeSubmesh(10, 11, NODE_ID_NONE, 7)};

  scene.MarkFromRoot();
  ASSERT_TRUE(scene.table.Find(2)->reachable);
  CompactVertices(scene.table);

  EXPECT_EQ(SourcesOf(orphanBuffer.lists[0]), (Sources{0, 1, 2}));
  EXPECT_EQ(orphanBuffer.lists[0].vertices[1].normal[2], 4.0f);
  EXPECT_EQ(SourcesOf(laterBuffer.lists[0]), (Sources{2}));
  EXPECT_EQ(laterFaces.indices, (Indices{0, 0, 0}));
  EXPECT_EQ(SourcesOf(looseBuffer.lists[0]), (Sources{0, 1, 2}));
  EXPECT_EQ(looseFaces.indices, (Indices{2, 2, 2}));
}

}  // namespace
}  // namespace kvl::optimize_test
