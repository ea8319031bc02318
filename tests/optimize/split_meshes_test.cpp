#include <gtest/gtest.h>

#include <random>

#include "split/split_meshes.h"
#include "output/write/binary_writer.h"

namespace kvl {
namespace {

// A mesh with one buffer, built straight into a table; ids count from 1.
struct MeshBuilder {
  explicit MeshBuilder(uint32_t vertexFlags = VERTEX_NORMAL, size_t listCount = 1) {
    mesh = &Add<MeshNode>();
    mesh->name = "mesh_Big";
    buffer = &Add<VertexBufferNode>();
    buffer->flags = vertexFlags;
    buffer->lists.resize(listCount);
    for (VertexList& list : buffer->lists) list.flags = vertexFlags;
  }

  template <class T>
  T& Add() {
    auto node = std::make_unique<T>();
    node->id = nextId++;
    node->reachable = 1;
    T& ref = *node;
    table.Insert(std::move(node));
    return ref;
  }

  // Vertex i of list f sits at (i, f, 0), so every copy can be traced back.
  void AddVertices(size_t count) {
    for (size_t f = 0; f < buffer->lists.size(); ++f) {
      for (size_t i = 0; i < count; ++i) {
        Vertex v;
        v.position[0] = static_cast<float>(buffer->lists[f].vertices.size());
        v.position[1] = static_cast<float>(f);
        v.normal[2] = 1.0f;
        v.sourceVertex = static_cast<uint32_t>(i);
        buffer->lists[f].vertices.push_back(v);
      }
    }
  }

  Submesh& AddSubmesh(const std::vector<uint32_t>& indices, uint32_t material, bool withTriangleInfo) {
    auto& faces = Add<FaceListNode>();
    faces.indices = indices;
    Submesh s;
    s.vertexBufferId = buffer->id;
    s.faceListId = faces.id;
    s.materialId = material;
    s.vertexCount = static_cast<uint32_t>(indices.size());
    if (withTriangleInfo) {
      auto& info = Add<TriangleInfoBufferNode>();
      info.flags = TRIANGLE_NORMAL;
      for (size_t t = 0; t < indices.size() / 3; ++t) {
        TriangleInfo tri;
        tri.normal[0] = static_cast<float>(t);  // the triangle's own number
        info.triangles.push_back(tri);
      }
      s.triangleInfoBufferId = info.id;
    }
    mesh->submeshes.push_back(s);
    return mesh->submeshes.back();
  }

  std::vector<SplitReport> Split(uint64_t maxSubmeshes = FILE_LIMIT) {
    return SplitOversizedMeshes(table, [this] { return nextId++; }, maxSubmeshes);
  }

  const FaceListNode& Faces(const Submesh& s) const { return *table.FindAs<FaceListNode>(s.faceListId, NODE_FACE_LIST); }

  NodeTable table;
  uint32_t nextId = 1;
  MeshNode* mesh = nullptr;
  VertexBufferNode* buffer = nullptr;
};

// Triangles of their own vertices: 3t, 3t+1, 3t+2.
std::vector<uint32_t> SeparateTriangles(size_t triangles) {
  std::vector<uint32_t> indices(3 * triangles);
  for (size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<uint32_t>(i);
  return indices;
}

std::vector<uint8_t> FileBytes(const NodeTable& table) {
  std::vector<uint8_t> bytes;
  for (const auto& [id, node] : table) {
    std::vector<uint8_t> chunk = EncodeNode(*node)->Bytes();
    bytes.insert(bytes.end(), chunk.begin(), chunk.end());
  }
  return bytes;
}

TEST(SplitMeshes, MeshAtTheLimitKeepsEveryByte) {
  MeshBuilder b;
  b.AddVertices(3 * TRIANGLES_PER_PIECE);  // 65535 vertices, the highest index 65534
  b.AddSubmesh(SeparateTriangles(TRIANGLES_PER_PIECE), 50, true);
  const std::vector<uint8_t> before = FileBytes(b.table);
  EXPECT_FALSE(NeedsSplit(b.table, *b.mesh));
  EXPECT_TRUE(b.Split().empty());
  EXPECT_EQ(FileBytes(b.table), before);
  EXPECT_EQ(b.nextId, 5u);  // no id was taken
}

TEST(SplitMeshes, OneTriangleMoreMakesTwoPieces) {
  MeshBuilder b;
  b.AddVertices(3 * (TRIANGLES_PER_PIECE + 1));
  const uint32_t firstFaceList = b.AddSubmesh(SeparateTriangles(TRIANGLES_PER_PIECE + 1), 50, true).faceListId;
  const std::vector<SplitReport> reports = b.Split();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].meshName, "mesh_Big");
  EXPECT_EQ(reports[0].triangles, 21846u);
  EXPECT_EQ(reports[0].pieces, 2u);
  ASSERT_EQ(b.mesh->submeshes.size(), 2u);
  const Submesh& first = b.mesh->submeshes[0];
  const Submesh& second = b.mesh->submeshes[1];
  // The first piece keeps the submesh's records; the second gets new ids.
  EXPECT_EQ(first.faceListId, firstFaceList);
  EXPECT_EQ(second.faceListId, 5u);
  EXPECT_EQ(second.triangleInfoBufferId, 6u);
  EXPECT_EQ(first.vertexOffset, 0u);
  EXPECT_EQ(first.vertexCount, 65535u);
  EXPECT_EQ(second.vertexOffset, 65535u);
  EXPECT_EQ(second.vertexCount, 3u);
  EXPECT_EQ(second.materialId, 50u);
  EXPECT_EQ(b.Faces(second).indices, (std::vector<uint32_t>{0, 1, 2}));
  const auto* secondInfo = b.table.FindAs<TriangleInfoBufferNode>(second.triangleInfoBufferId, NODE_TRIANGLE_INFO_BUFFER);
  ASSERT_NE(secondInfo, nullptr);
  ASSERT_EQ(secondInfo->triangles.size(), 1u);
  EXPECT_EQ(secondInfo->triangles[0].normal[0], 21845.0f);
  EXPECT_EQ(secondInfo->flags, TRIANGLE_NORMAL);
  EXPECT_EQ(b.buffer->lists[0].vertices.size(), 65538u);
  EXPECT_FALSE(NeedsSplit(b.table, *b.mesh));
}

TEST(SplitMeshes, SharedVerticesAreRepeatedOncePerPiece) {
  MeshBuilder b;
  b.AddVertices(4);  // vertex 3 is used by nothing
  std::vector<uint32_t> indices;
  for (size_t t = 0; t < 2 * TRIANGLES_PER_PIECE + 1; ++t) indices.insert(indices.end(), {2, 0, 1});
  b.AddSubmesh(indices, 50, false);
  b.Split();
  ASSERT_EQ(b.mesh->submeshes.size(), 3u);
  // Each piece: its three vertices in order of first use (2, 0, 1).
  ASSERT_EQ(b.buffer->lists[0].vertices.size(), 9u);
  for (size_t piece = 0; piece < 3; ++piece) {
    EXPECT_EQ(b.mesh->submeshes[piece].vertexOffset, 3 * piece);
    EXPECT_EQ(b.buffer->lists[0].vertices[3 * piece].sourceVertex, 2u);
    EXPECT_EQ(b.buffer->lists[0].vertices[3 * piece + 1].sourceVertex, 0u);
    EXPECT_EQ(b.Faces(b.mesh->submeshes[piece]).indices[0], 0u);
  }
  EXPECT_EQ(b.mesh->submeshes[2].vertexCount, 3u);
}

TEST(SplitMeshes, EveryCornerSurvivesInOrderAcrossFramesAndMaterials) {
  MeshBuilder b(VERTEX_NORMAL, 2);  // a morphing buffer of two frames
  std::mt19937 random(7);
  const size_t vertexCount = 70000;
  b.AddVertices(vertexCount);
  std::uniform_int_distribution<uint32_t> pick(0, vertexCount - 1);
  std::vector<uint32_t> big(3 * 50000), small(3 * 10);
  for (uint32_t& i : big) i = pick(random);
  for (uint32_t& i : small) i = pick(random) % 100;
  b.AddSubmesh(small, 60, false);
  b.AddSubmesh(big, 61, true);
  const std::vector<Vertex> old1 = b.buffer->lists[1].vertices;

  b.Split();

  // 1 piece for the small submesh, 3 for the big one, materials kept.
  ASSERT_EQ(b.mesh->submeshes.size(), 4u);
  EXPECT_EQ(b.mesh->submeshes[0].materialId, 60u);
  for (size_t p = 1; p < 4; ++p) EXPECT_EQ(b.mesh->submeshes[p].materialId, 61u);
  const VertexList& new0 = b.buffer->lists[0];
  const VertexList& new1 = b.buffer->lists[1];
  ASSERT_EQ(new0.vertices.size(), new1.vertices.size());
  std::vector<uint32_t> corners;  // old vertex of each corner, in the new order
  for (const Submesh& s : b.mesh->submeshes) {
    for (uint32_t index : b.Faces(s).indices) {
      ASSERT_LE(index, 65535u);
      ASSERT_LT(s.vertexOffset + index, new0.vertices.size());
      const Vertex& v0 = new0.vertices[s.vertexOffset + index];
      const Vertex& v1 = new1.vertices[s.vertexOffset + index];
      // Both frames hold the same host vertex at the same place.
      EXPECT_EQ(v0.sourceVertex, v1.sourceVertex);
      EXPECT_EQ(v1.position[0], old1[v0.sourceVertex].position[0]);
      corners.push_back(static_cast<uint32_t>(v0.position[0]));
    }
  }
  std::vector<uint32_t> expected = small;
  expected.insert(expected.end(), big.begin(), big.end());
  EXPECT_EQ(corners, expected);
  EXPECT_FALSE(NeedsSplit(b.table, *b.mesh));
}

TEST(SplitMeshes, MeshNeedingTooManyPiecesIsLeftOut) {
  MeshBuilder b;
  b.AddVertices(3);
  std::vector<uint32_t> indices;
  for (size_t t = 0; t < TRIANGLES_PER_PIECE + 1; ++t) indices.insert(indices.end(), {0, 1, 2});
  b.AddSubmesh(indices, 50, false);
  const std::vector<SplitReport> reports = b.Split(1);
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_TRUE(reports[0].refused);
  EXPECT_EQ(reports[0].pieces, 2u);
  EXPECT_TRUE(b.mesh->submeshes.empty());
}

TEST(SplitMeshes, ALargeOffsetAloneFitsTheFile) {
  MeshBuilder b;
  b.AddVertices(70000);
  Submesh& s = b.AddSubmesh({0, 1, 2}, 50, false);
  s.vertexOffset = 69990;  // a full 32-bit field: only the indices are narrow
  EXPECT_FALSE(NeedsSplit(b.table, *b.mesh));
  b.mesh->submeshes.push_back(s);
  auto& wide = b.Add<FaceListNode>();
  wide.indices = {0, 65536, 1};
  b.mesh->submeshes.back().faceListId = wide.id;
  EXPECT_TRUE(NeedsSplit(b.table, *b.mesh));
}

TEST(SplitMeshes, AnimationGroupsBeyondTheSequenceFieldLoseTheirSequences) {
  NodeTable table;
  auto group = std::make_unique<PRSAnimationGroup>();
  group->id = 1;
  group->reachable = 1;
  group->name = "anim_Busy";
  group->sequences.resize(3);
  PRSAnimationGroup& busy = *group;
  table.Insert(std::move(group));
  EXPECT_TRUE(DropOversizedAnimations(table, 3).empty());  // at the limit: kept
  EXPECT_EQ(busy.sequences.size(), 3u);
  const std::vector<SplitReport> reports = DropOversizedAnimations(table, 2);
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].meshName, "anim_Busy");
  EXPECT_EQ(reports[0].pieces, 3u);
  EXPECT_TRUE(busy.sequences.empty());
}

}  // namespace
}  // namespace kvl
