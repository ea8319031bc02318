#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <vector>

#include "mesh_scene_support.h"

namespace kvl {
namespace {

using testing::ExportHarness;
using testing::kPlainSettings;
using testing::MeshOf;
using testing::SceneText;

// The cube of mesh_cube.json: host vertex x + 2y + 4z sits at (x, y, z);
// two triangles per side, wound counter-clockwise seen from outside.
struct CubeFace {
  uint32_t v[3];
  int side;
};
const CubeFace kCubeFaces[12] = {
    {{0, 2, 3}, 0}, {{0, 3, 1}, 0}, {{4, 5, 7}, 1}, {{4, 7, 6}, 1}, {{0, 1, 5}, 2}, {{0, 5, 4}, 2},
    {{2, 6, 7}, 3}, {{2, 7, 3}, 3}, {{0, 4, 6}, 4}, {{0, 6, 2}, 4}, {{1, 3, 7}, 5}, {{1, 7, 5}, 5},
};
// Outward normals of the sides in host axes: -z, +z, -y, +y, -x, +x.
const float kHostOutward[6][3] = {{0, 0, -1}, {0, 0, 1}, {0, -1, 0}, {0, 1, 0}, {-1, 0, 0}, {1, 0, 0}};

// Swapping Y and Z is a reflection, so the cross product of the output
// corners points against the swapped outward normal.
void OutputNormal(int side, float out[3]) {
  out[0] = -kHostOutward[side][0];
  out[1] = -kHostOutward[side][2];
  out[2] = -kHostOutward[side][1];
}

const VertexBufferNode& BufferOf(const ExportHarness& h, const MeshNode& mesh) {
  return h.Node<VertexBufferNode>(mesh.submeshes.at(0).vertexBufferId);
}
const FaceListNode& FaceListOf(const ExportHarness& h, const Submesh& submesh) {
  return h.Node<FaceListNode>(submesh.faceListId);
}

TEST(MeshExtraction, CubeInTheTriangleLayout) {
  ExportHarness h("mesh_cube_tri");
  ASSERT_EQ(h.Export(SceneText("mesh_cube.json"), kPlainSettings), "");
  const MeshNode& mesh = MeshOf(h, "Box");
  ASSERT_EQ(mesh.submeshes.size(), 1u);
  const Submesh& submesh = mesh.submeshes[0];
  const VertexBufferNode& buffer = BufferOf(h, mesh);
  ASSERT_EQ(buffer.lists.size(), 1u);
  EXPECT_EQ(buffer.flags, 0u);
  const std::vector<Vertex>& vertices = buffer.lists[0].vertices;
  ASSERT_EQ(vertices.size(), 8u);
  // Vertices in order of first use, at the host place with Y and Z swapped.
  const uint32_t firstUse[8] = {0, 2, 3, 1, 4, 5, 7, 6};
  for (int i = 0; i < 8; ++i) {
    const uint32_t host = firstUse[i];
    EXPECT_EQ(vertices[i].sourceVertex, host);
    EXPECT_FLOAT_EQ(vertices[i].position[0], static_cast<float>(host & 1));
    EXPECT_FLOAT_EQ(vertices[i].position[1], static_cast<float>((host >> 2) & 1));
    EXPECT_FLOAT_EQ(vertices[i].position[2], static_cast<float>((host >> 1) & 1));
    EXPECT_EQ(vertices[i].normal[0], 0.0f);
  }
  const FaceListNode& faces = FaceListOf(h, submesh);
  ASSERT_EQ(faces.indices.size(), 36u);
  for (int f = 0; f < 12; ++f) {
    for (int c = 0; c < 3; ++c) EXPECT_EQ(vertices[faces.indices[3 * f + c]].sourceVertex, kCubeFaces[f].v[c]);
  }
  EXPECT_EQ(submesh.vertexCount, 36u);
  EXPECT_EQ(submesh.vertexOffset, 0u);
  EXPECT_EQ(submesh.primitiveType, 1u);
  // exportlights is off and there are no colours: corners take the diffuse.
  const auto& triangles = h.Node<TriangleInfoBufferNode>(submesh.triangleInfoBufferId);
  EXPECT_EQ(triangles.flags, static_cast<uint32_t>(TRIANGLE_COLORS));
  ASSERT_EQ(triangles.triangles.size(), 12u);
  for (const TriangleInfo& t : triangles.triangles) {
    EXPECT_EQ(t.color1, 0xFFFF7F00u);
    EXPECT_EQ(t.color2, 0xFFFF7F00u);
    EXPECT_EQ(t.color3, 0xFFFF7F00u);
    EXPECT_EQ(t.normal[1], 0.0f);
  }
  // Sizes of a cube no file limit: no warning.
  EXPECT_EQ(testing::WarningCount(h.exporter), 0);
}

TEST(MeshExtraction, CubeInTheVertexLayoutSplitsBySmoothingGroup) {
  ExportHarness h("mesh_cube_vtx");
  ASSERT_EQ(h.Export(SceneText("mesh_cube.json"), kPlainSettings), "");

  // One group per side: 24 vertices, each with its side's normal.
  const MeshNode& sides = MeshOf(h, "BoxSides");
  const VertexBufferNode& sideBuffer = BufferOf(h, sides);
  EXPECT_EQ(sideBuffer.flags, static_cast<uint32_t>(VERTEX_NORMAL));
  EXPECT_EQ(sides.submeshes[0].triangleInfoBufferId, NODE_ID_NONE);
  const std::vector<Vertex>& sideVertices = sideBuffer.lists[0].vertices;
  ASSERT_EQ(sideVertices.size(), 24u);
  const FaceListNode& sideFaces = FaceListOf(h, sides.submeshes[0]);
  ASSERT_EQ(sideFaces.indices.size(), 36u);
  for (int f = 0; f < 12; ++f) {
    float expected[3];
    OutputNormal(kCubeFaces[f].side, expected);
    for (int c = 0; c < 3; ++c) {
      const Vertex& v = sideVertices[sideFaces.indices[3 * f + c]];
      EXPECT_EQ(v.sourceVertex, kCubeFaces[f].v[c]);
      for (int i = 0; i < 3; ++i) EXPECT_NEAR(v.normal[i], expected[i], 1e-6) << "face " << f;
    }
  }

  // One group for all: 8 vertices with the normalised sum over the
  // triangles at each corner (a side counts twice where both its
  // triangles touch the corner).
  const MeshNode& round = MeshOf(h, "BoxRound");
  const std::vector<Vertex>& roundVertices = BufferOf(h, round).lists[0].vertices;
  ASSERT_EQ(roundVertices.size(), 8u);
  for (const Vertex& v : roundVertices) {
    float sum[3] = {0, 0, 0};
    for (const CubeFace& face : kCubeFaces) {
      if (face.v[0] != v.sourceVertex && face.v[1] != v.sourceVertex && face.v[2] != v.sourceVertex) continue;
      float n[3];
      OutputNormal(face.side, n);
      for (int i = 0; i < 3; ++i) sum[i] += n[i];
    }
    const float length = std::sqrt(sum[0] * sum[0] + sum[1] * sum[1] + sum[2] * sum[2]);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(v.normal[i], sum[i] / length, 1e-6) << "host vertex " << v.sourceVertex;
  }
  // Host vertex 0 lies on two triangles of each of its three sides, so its
  // normal points evenly along the three output axes.
  const float third = 1.0f / std::sqrt(3.0f);
  EXPECT_NEAR(roundVertices[0].normal[0], third, 1e-6);
  EXPECT_NEAR(roundVertices[0].normal[1], third, 1e-6);
  EXPECT_NEAR(roundVertices[0].normal[2], third, 1e-6);
}

TEST(MeshExtraction, SmoothingGroupsCompareAsWholeWords) {
  ExportHarness h("mesh_smoothing");
  ASSERT_EQ(h.Export(SceneText("mesh_smoothing.json"), kPlainSettings), "");
  // Groups 1 and 3 share a bit, yet the shared edge splits.
  const MeshNode& split = MeshOf(h, "Split");
  EXPECT_EQ(BufferOf(h, split).lists[0].vertices.size(), 6u);
  EXPECT_EQ(FaceListOf(h, split.submeshes[0]).indices, (std::vector<uint32_t>{0, 1, 2, 3, 4, 5}));
  // Group 0 is an ordinary group: the edge is shared.
  const MeshNode& merge = MeshOf(h, "Merge");
  EXPECT_EQ(BufferOf(h, merge).lists[0].vertices.size(), 4u);
  EXPECT_EQ(FaceListOf(h, merge.submeshes[0]).indices, (std::vector<uint32_t>{0, 1, 2, 0, 2, 3}));

  // Its face list in the file: chunk 1002 version 2, 14 bytes of payload,
  // the count and the six indices as u16.
  const uint32_t id = merge.submeshes[0].faceListId;
  const std::vector<uint8_t> chunk = {
      0xEA, 0x03, 0x02, 0x00,
      static_cast<uint8_t>(id), static_cast<uint8_t>(id >> 8), static_cast<uint8_t>(id >> 16),
      static_cast<uint8_t>(id >> 24),
      0x0E, 0x00, 0x00, 0x00,
      0x06, 0x00, 0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x00, 0x03, 0x00};
  EXPECT_NE(std::search(h.file.begin(), h.file.end(), chunk.begin(), chunk.end()), h.file.end());

  // A notib line with the key alone chooses the vertex layout; with no
  // channels the vertices carry normals alone.
  const MeshNode& bare = MeshOf(h, "Bare");
  EXPECT_EQ(BufferOf(h, bare).flags, static_cast<uint32_t>(VERTEX_NORMAL));
  EXPECT_EQ(bare.submeshes[0].triangleInfoBufferId, NODE_ID_NONE);
}

TEST(MeshExtraction, MultiMaterialGroupsAndIdOrder) {
  ExportHarness h("mesh_multi");
  ASSERT_EQ(h.Export(SceneText("mesh_multi.json"), kPlainSettings), "");
  const MeshNode& quad = MeshOf(h, "Quad");
  ASSERT_EQ(quad.submeshes.size(), 2u);
  const uint32_t m = quad.id;
  // Mesh, buffer, then per group: face list, triangle info, material.
  const Submesh& first = quad.submeshes[0];
  const Submesh& second = quad.submeshes[1];
  EXPECT_EQ(first.vertexBufferId, m + 1);
  EXPECT_EQ(first.faceListId, m + 2);
  EXPECT_EQ(first.triangleInfoBufferId, m + 3);
  EXPECT_EQ(first.materialId, m + 4);
  EXPECT_EQ(second.vertexBufferId, m + 1);
  EXPECT_EQ(second.faceListId, m + 5);
  EXPECT_EQ(second.triangleInfoBufferId, m + 6);
  EXPECT_EQ(second.materialId, m + 7);
  EXPECT_EQ(h.Node<MaterialNode>(first.materialId).diffuse, 0xFFFF0000u);   // a
  // Material index 7 under three sub-materials is sub-material 1.
  EXPECT_EQ(h.Node<MaterialNode>(second.materialId).diffuse, 0xFF00FF00u);  // b
  EXPECT_EQ(first.vertexCount, 3u);
  EXPECT_EQ(second.vertexCount, 3u);
  // Both groups fill one list: host vertices 0 and 2 are shared.
  EXPECT_EQ(FaceListOf(h, first).indices, (std::vector<uint32_t>{0, 1, 2}));
  EXPECT_EQ(FaceListOf(h, second).indices, (std::vector<uint32_t>{0, 2, 3}));
  EXPECT_EQ(BufferOf(h, quad).lists[0].vertices.size(), 4u);
  // Sub-material c has no faces: no submesh and no material node.
  for (const auto& [id, node] : h.exporter.Table()) {
    if (node->type == NODE_MATERIAL) {
      EXPECT_NE(As<MaterialNode>(*node).diffuse, 0xFF0000FFu);
    }
  }
}

TEST(MeshExtraction, EmptySubMaterialSlotLeavesItsFacesOutWithAWarning) {
  ExportHarness h("mesh_gap");
  ASSERT_EQ(h.Export(SceneText("mesh_multi.json"), kPlainSettings), "");
  const MeshNode& gap = MeshOf(h, "Gap");
  ASSERT_EQ(gap.submeshes.size(), 1u);
  EXPECT_EQ(FaceListOf(h, gap.submeshes[0]).indices, (std::vector<uint32_t>{0, 1, 2}));
  // Material a was made for Quad already and is shared.
  EXPECT_EQ(gap.submeshes[0].materialId, MeshOf(h, "Quad").submeshes[0].materialId);
  EXPECT_TRUE(testing::LogHasWarning(h.exporter, "mesh_Gap", "slot 1"));
  EXPECT_EQ(testing::WarningCount(h.exporter), 1);
  // Nothing was made for the left-out group: the buffer stays at 3 vertices
  // and the face list id follows the buffer directly.
  EXPECT_EQ(BufferOf(h, gap).lists[0].vertices.size(), 3u);
  EXPECT_EQ(gap.submeshes[0].faceListId, gap.id + 2);
}

TEST(MeshExtraction, CornerColoursAlphaAndTextureCoordinates) {
  ExportHarness h("mesh_colors");
  ASSERT_EQ(h.Export(SceneText("mesh_colors.json"), kPlainSettings), "");

  // Colour channel, alpha channel, opacity 0.5: 0.5 x 0.5 x 255 gives 63.
  const MeshNode& tinted = MeshOf(h, "Tinted");
  const auto& tintedInfo = h.Node<TriangleInfoBufferNode>(tinted.submeshes[0].triangleInfoBufferId);
  EXPECT_EQ(tintedInfo.flags, static_cast<uint32_t>(TRIANGLE_COLORS | TRIANGLE_UVS));
  ASSERT_EQ(tintedInfo.triangles.size(), 1u);
  const TriangleInfo& t = tintedInfo.triangles[0];
  EXPECT_EQ(t.color1, 0x3FFF0000u);
  EXPECT_EQ(t.color2, 0x7F00FF00u);
  EXPECT_EQ(t.color3, 0x000000FFu);
  const float uvs[6] = {0.25f, -0.75f, 0.5f, -0.125f, 1.0f, 0.0f};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(t.cornerUVs[i], uvs[i]) << i;
  EXPECT_EQ(BufferOf(h, tinted).flags, 0u);

  // No colour channel, exportlights off: the diffuse with the corner alpha.
  const MeshNode& baked = MeshOf(h, "Baked");
  const auto& bakedInfo = h.Node<TriangleInfoBufferNode>(baked.submeshes[0].triangleInfoBufferId);
  EXPECT_EQ(bakedInfo.flags, static_cast<uint32_t>(TRIANGLE_COLORS));
  EXPECT_EQ(bakedInfo.triangles[0].color1, 0x3FFF7F00u);
  EXPECT_EQ(bakedInfo.triangles[0].color2, 0x7FFF7F00u);
  EXPECT_EQ(bakedInfo.triangles[0].color3, 0x7FFF7F00u);

  // Mirrored: corners 0, 2, 1 in indices, colours and coordinates.
  const MeshNode& mirror = MeshOf(h, "Mirror");
  const std::vector<Vertex>& mirrored = BufferOf(h, mirror).lists[0].vertices;
  const std::vector<uint32_t>& indices = FaceListOf(h, mirror.submeshes[0]).indices;
  ASSERT_EQ(indices.size(), 3u);
  EXPECT_EQ(mirrored[indices[0]].sourceVertex, 0u);
  EXPECT_EQ(mirrored[indices[1]].sourceVertex, 2u);
  EXPECT_EQ(mirrored[indices[2]].sourceVertex, 1u);
  const TriangleInfo& m = h.Node<TriangleInfoBufferNode>(mirror.submeshes[0].triangleInfoBufferId).triangles[0];
  EXPECT_EQ(m.color1, 0xFFFF0000u);
  EXPECT_EQ(m.color2, 0xFF0000FFu);
  EXPECT_EQ(m.color3, 0xFF00FF00u);
  const float mirroredUVs[6] = {0.25f, -0.75f, 1.0f, 0.0f, 0.5f, -0.125f};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(m.cornerUVs[i], mirroredUVs[i]) << i;

  // Vertex layout with both channels: everything in the vertices.
  const MeshNode& layered = MeshOf(h, "Layered");
  const VertexBufferNode& layeredBuffer = BufferOf(h, layered);
  EXPECT_EQ(layeredBuffer.flags, static_cast<uint32_t>(VERTEX_NORMAL | VERTEX_COLOR | VERTEX_UV));
  EXPECT_EQ(layeredBuffer.lists[0].flags, layeredBuffer.flags);
  EXPECT_EQ(layered.submeshes[0].triangleInfoBufferId, NODE_ID_NONE);
  const std::vector<Vertex>& lv = layeredBuffer.lists[0].vertices;
  ASSERT_EQ(lv.size(), 3u);
  EXPECT_EQ(lv[0].color, 0x7FFF0000u);
  EXPECT_EQ(lv[1].color, 0x7F00FF00u);
  EXPECT_EQ(lv[2].color, 0x7F0000FFu);
  EXPECT_EQ(lv[1].u, 0.5f);
  EXPECT_EQ(lv[1].v, -0.125f);
  EXPECT_EQ(lv[1].flags, layeredBuffer.flags);
  // Host triangle (0,0,0) (1,0,0) (0,1,0) lies in output y = 0; the
  // reflection of the axis swap makes its normal -y.
  for (const Vertex& v : lv) {
    EXPECT_NEAR(v.normal[0], 0.0f, 1e-6);
    EXPECT_NEAR(v.normal[1], -1.0f, 1e-6);
    EXPECT_NEAR(v.normal[2], 0.0f, 1e-6);
  }
}

TEST(MeshExtraction, ExportLightsDecidesOnlyWithoutAColourChannel) {
  ExportHarness h("mesh_lights");
  ASSERT_EQ(h.Export(SceneText("mesh_colors.json"), "optimize = 0\ndisplaylog = 0\nexportlights = 1\n"), "");
  ASSERT_TRUE(h.exporter.Table().settings.exportlights);
  // The colour channel is used whatever exportlights says.
  const MeshNode& tinted = MeshOf(h, "Tinted");
  EXPECT_EQ(h.Node<TriangleInfoBufferNode>(tinted.submeshes[0].triangleInfoBufferId).triangles[0].color1,
            0x3FFF0000u);
  // No channels and lights on: no triangle info buffer, and its id stays
  // unused, between the face list and the material.
  const MeshNode& plain = MeshOf(h, "Plain");
  const Submesh& s = plain.submeshes.at(0);
  EXPECT_EQ(s.triangleInfoBufferId, NODE_ID_NONE);
  EXPECT_EQ(s.faceListId, plain.id + 2);
  EXPECT_EQ(h.exporter.Table().Find(plain.id + 3), nullptr);
  for (const Vertex& v : BufferOf(h, plain).lists[0].vertices) EXPECT_EQ(v.flags, 0u);
  // Baked has only an alpha channel: with lights on its corners get nothing.
  EXPECT_EQ(MeshOf(h, "Baked").submeshes[0].triangleInfoBufferId, NODE_ID_NONE);
}

// Meshes past the file's 16-bit fields, when the host asks for no split, are
// exported whole, with a warning that names the mesh and the limit.
std::string BigMeshScene() {
  std::string faces, vertices;
  // "Wide": 21846 triangles of their own vertices: 65538 indices and
  // vertex indices up to 65537.
  for (int f = 0; f < 21846; ++f) {
    for (int c = 0; c < 3; ++c) vertices += (vertices.empty() ? "" : ",") + std::string("[") + std::to_string(f) + ",0," + std::to_string(c) + "]";
    faces += (f ? "," : "") + std::string("{\"v\":[") + std::to_string(3 * f) + "," + std::to_string(3 * f + 1) + "," +
             std::to_string(3 * f + 2) + "]}";
  }
  std::string many;
  // "Many": 65536 triangles on three vertices.
  for (int f = 0; f < 65536; ++f) many += (f ? "," : "") + std::string("{\"v\":[0,1,2]}");
  return R"({"format":"kvl-scene","version":1,"materials":{"m":{"type":"standard"}},"nodes":[)"
         R"({"name":"Wide","material":"m","object":{"type":"mesh","vertices":[)" + vertices + R"(],"faces":[)" + faces +
         R"(]}},{"name":"Many","material":"m","object":{"type":"mesh","vertices":[[0,0,0],[1,0,0],[0,1,0]],"faces":[)" + many +
         "]}}]}";
}

TEST(MeshExtraction, UnsplitMeshesBeyondSixteenBitLimitsAreWrittenWithWarnings) {
  ExportHarness h("mesh_big");
  h.splitMeshes = false;
  ASSERT_EQ(h.Export(BigMeshScene(), kPlainSettings), "");
  const MeshNode& wide = MeshOf(h, "Wide");
  EXPECT_EQ(FaceListOf(h, wide.submeshes[0]).indices.size(), 65538u);
  EXPECT_EQ(BufferOf(h, wide).lists[0].vertices.size(), 65538u);
  EXPECT_TRUE(testing::LogHasWarning(h.exporter, "mesh_Wide", "65538 indices"));
  EXPECT_TRUE(testing::LogHasWarning(h.exporter, "mesh_Wide", "vertex index 65537"));
  EXPECT_FALSE(testing::LogHasWarning(h.exporter, "mesh_Wide", "triangles"));
  const MeshNode& many = MeshOf(h, "Many");
  EXPECT_EQ(h.Node<TriangleInfoBufferNode>(many.submeshes[0].triangleInfoBufferId).triangles.size(), 65536u);
  EXPECT_TRUE(testing::LogHasWarning(h.exporter, "mesh_Many", "65536 triangles"));
  EXPECT_TRUE(testing::LogHasWarning(h.exporter, "mesh_Many", "196608 indices"));
  EXPECT_FALSE(testing::LogHasWarning(h.exporter, "mesh_Many", "vertex index"));
  EXPECT_EQ(testing::WarningCount(h.exporter), 4);
  EXPECT_FALSE(h.file.empty());
}

}  // namespace
}  // namespace kvl
