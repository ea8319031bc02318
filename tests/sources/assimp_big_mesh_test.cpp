// A mesh big enough that loading and extraction put part of their work on a
// second thread: the file comes out byte for byte as it does on one core
// (KVLEXP_THREADS=1), and holds every triangle of Assimp's own reading.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "output/read/kvl_reader.h"
#include "working_folder.h"

namespace kvl {
namespace {

// 200 x 200 points, two triangles a cell: past the sizes at which the
// channels and the triangle infos get threads of their own, and past one
// piece of the file's 16-bit limits. Normals bend across the grid, texture
// coordinates and colours differ at every point, so that a corner given
// another's data changes bytes.
void WriteGrid(const std::string& path, int side) {
  std::ofstream ply(path);
  ply << "ply\nformat ascii 1.0\nelement vertex " << side * side
      << "\nproperty float x\nproperty float y\nproperty float z\nproperty float nx\nproperty float ny\n"
         "property float nz\nproperty float s\nproperty float t\nproperty uchar red\nproperty uchar green\n"
         "property uchar blue\nelement face "
      << 2 * (side - 1) * (side - 1) << "\nproperty list uchar int vertex_indices\nend_header\n";
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      ply << x << ' ' << y << ' ' << (x * y) % 7 << ' ' << (x % 3) * 0.1 << ' ' << (y % 5) * 0.1 << " 1 "
          << (x * 37 % 101) / 101.0 << ' ' << (y * 53 % 103) / 103.0 << ' ' << (x * 7 + y) % 256 << ' '
          << (x + y * 11) % 256 << ' ' << (x * y) % 256 << '\n';
    }
  }
  for (int y = 0; y + 1 < side; ++y) {
    for (int x = 0; x + 1 < side; ++x) {
      const int a = y * side + x, b = a + 1, c = a + side, d = c + 1;
      ply << "3 " << a << ' ' << b << ' ' << d << "\n3 " << a << ' ' << d << ' ' << c << '\n';
    }
  }
}

std::vector<uint8_t> Export(const std::string& environment, const std::string& output) {
  const std::string command = environment + " " + KVLEXP_PROGRAM + " export grid.ply " + output +
                              " --drive-c c --set displaylog=0 >/dev/null 2>&1";
  const int status = std::system(command.c_str());
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << command;
  std::vector<uint8_t> bytes;
  std::string error;
  EXPECT_TRUE(ReadFileBytes(output, bytes, error)) << error;
  return bytes;
}

TEST(AssimpBigMesh, ASecondThreadChangesNoByte) {
  testing::WorkingFolder folder("assimp_big_mesh");
  WriteGrid("grid.ply", 200);
  const std::vector<uint8_t> threaded = Export("", "threaded.kvl");
  const std::vector<uint8_t> oneCore = Export("KVLEXP_THREADS=1", "one_core.kvl");
  ASSERT_FALSE(threaded.empty());
  EXPECT_TRUE(threaded == oneCore) << threaded.size() << " bytes threaded, " << oneCore.size() << " on one core";

  const KvlDocument document = ReadKvl(threaded);
  EXPECT_EQ(document.Count(Severity::ERROR), 0u);
  Assimp::Importer importer;
  const aiScene* scene = importer.ReadFile("grid.ply", 0);
  ASSERT_TRUE(scene && scene->mNumMeshes == 1);
  size_t triangles = 0, pieces = 0;
  for (const auto& [id, node] : document.table) {
    if (node->type != NODE_TRIANGLE_INFO_BUFFER) continue;
    triangles += As<TriangleInfoBufferNode>(*node).triangles.size();
    ++pieces;
  }
  EXPECT_EQ(triangles, scene->mMeshes[0]->mNumFaces);
  EXPECT_GT(pieces, 1u);
}

}  // namespace
}  // namespace kvl
