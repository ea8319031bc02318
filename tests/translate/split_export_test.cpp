// Whole exports of a mesh too large for the file's 16-bit fields: the file
// written holds it in pieces, and read back it gives every corner of the
// unsplit mesh, in the same order.
#include <gtest/gtest.h>

#include <span>

#include "export_harness.h"
#include "grid_scene.h"
#include "output/read/kvl_reader.h"

namespace kvl {
namespace {

using testing::ExportHarness;

// One corner as the file carries it in the vertex layout.
struct Corner {
  float position[3], normal[3];
  uint32_t color;
  float u, v;
  bool operator==(const Corner& o) const {
    return std::equal(position, position + 3, o.position) && std::equal(normal, normal + 3, o.normal) &&
           color == o.color && u == o.u && v == o.v;
  }
};

// Every corner of the first mesh of `table`, submesh by submesh, through
// vertexOffset; with `fitsFile`, also checks every index against the field.
std::vector<Corner> Corners(const NodeTable& table, size_t* pieces, bool fitsFile) {
  std::vector<Corner> corners;
  for (const auto& [id, node] : table) {
    if (node->type != NODE_MESH) continue;
    const auto& mesh = As<MeshNode>(*node);
    *pieces = mesh.submeshes.size();
    for (const Submesh& s : mesh.submeshes) {
      const auto* buffer = table.FindAs<VertexBufferNode>(s.vertexBufferId, NODE_VERTEX_BUFFER);
      const auto* faces = table.FindAs<FaceListNode>(s.faceListId, NODE_FACE_LIST);
      EXPECT_TRUE(buffer && faces);
      if (!buffer || !faces) return corners;
      const std::vector<Vertex>& vertices = buffer->lists.at(0).vertices;
      EXPECT_EQ(s.vertexCount, faces->indices.size());
      for (uint32_t index : faces->indices) {
        if (fitsFile) {
          EXPECT_LE(index, 65535u);
        }
        const uint64_t at = static_cast<uint64_t>(index) + s.vertexOffset;
        EXPECT_LT(at, vertices.size());
        if (at >= vertices.size()) return corners;
        const Vertex& x = vertices[at];
        Corner c{{x.position[0], x.position[1], x.position[2]}, {x.normal[0], x.normal[1], x.normal[2]},
                 x.color, x.u, x.v};
        corners.push_back(c);
      }
    }
    break;
  }
  return corners;
}

TEST(SplitExport, TwoHundredThousandTrianglesReadBackCornerForCorner) {
  // 317 x 316 quads: 200 344 triangles with normals, colours and UVs.
  ExportHarness whole("split_whole");
  whole.splitMeshes = false;
  whole.ExportScene(testing::MakeGridScene(317, 316, true));
  size_t wholePieces = 0;
  // The unsplit mesh as the exporter held it: indices are full 32 bits there.
  const std::vector<Corner> expected = Corners(whole.exporter.Table(), &wholePieces, false);
  ASSERT_EQ(expected.size(), 3u * 200344u);
  EXPECT_EQ(wholePieces, 1u);

  ExportHarness split("split_pieces");
  split.ExportScene(testing::MakeGridScene(317, 316, true));
  const KvlDocument document = ReadKvl(std::span<const uint8_t>(split.file));
  EXPECT_EQ(document.Count(Severity::ERROR), 0u);
  size_t pieces = 0;
  const std::vector<Corner> read = Corners(document.table, &pieces, true);
  EXPECT_EQ(pieces, 10u);  // 200 344 / 21 845, rounded up
  EXPECT_TRUE(read == expected);
  // The log names the mesh, its triangles and its pieces.
  const auto& entries = split.exporter.Log().Entries();
  EXPECT_TRUE(std::any_of(entries.begin(), entries.end(), [](const LogEntry& e) {
    return e.text == "Split mesh_Grid: 200344 triangles into 10 pieces";
  }));
}

}  // namespace
}  // namespace kvl
