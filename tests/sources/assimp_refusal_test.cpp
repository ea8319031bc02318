// Bad files through the whole command: one clear line on the error stream,
// a non-zero exit, and no output file.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "cli/exit_codes.h"
#include "cli/export_command.h"
#include "sources/scene_source.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;

const std::string kSceneDir = std::string(KVL_TEST_DIR) + "/scenes/assimp/";

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct BadFile {
  std::string name;
  std::string bytes;
  std::string expected;  // a part of the message
};

std::vector<BadFile> BadFiles() {
  const std::string gltf = Slurp(kSceneDir + "model.gltf");
  const std::string dae = Slurp(kSceneDir + "model.dae");
  const std::string fbx = Slurp(kSceneDir + "model.fbx");
  const std::string ply = Slurp(kSceneDir + "sphere.ply");
  const std::string triangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
  std::string zeros;
  for (int i = 0; i < 3000; ++i) zeros += " 0";
  const std::string plyHeader =
      "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
      "element face 1\nproperty list uchar int vertex_indices\nend_header\n";
  std::string pentagonHeader = plyHeader;
  pentagonHeader.replace(pentagonHeader.find("vertex 3"), 8, "vertex 5");
  std::string ushortHeader = plyHeader;
  ushortHeader.replace(ushortHeader.find("list uchar"), 10, "list ushort");
  return {
      {"empty.obj", "", "cannot import: "},
      {"empty.gltf", "", "cannot import: "},
      {"empty.ply", "", "cannot import: "},
      {"cut_early.gltf", gltf.substr(0, 40), "cannot import: "},
      {"cut_middle.gltf", gltf.substr(0, gltf.size() / 2), "cannot import: "},
      {"cut_late.gltf", gltf.substr(0, gltf.size() - 3), "cannot import: "},
      {"cut_early.dae", dae.substr(0, 200), "cannot import: "},
      {"cut_middle.dae", dae.substr(0, dae.size() / 2), "cannot import: "},
      {"cut_early.fbx", fbx.substr(0, 300), "cannot import: "},
      {"cut_middle.fbx", fbx.substr(0, fbx.size() / 2), "cannot import: "},
      {"cut_header.ply", ply.substr(0, 60), "PLY header has no end_header"},
      {"cut_late_header.ply", ply.substr(0, 150), "PLY header has no end_header"},
      {"cut_body.ply", ply.substr(0, ply.size() / 2), "PLY body is cut short"},
      // Assimp's reader loops or reads out of bounds on header lines it does
      // not know, so only PLY's own grammar passes.
      {"unknown_header_line.ply", "ply\nformat ascii 1.0\nelemen vertex 3\nend_header\n",
       "PLY header line 3 \"elemen vertex 3\" is not a PLY header line"},
      {"property_first.ply", "ply\nformat ascii 1.0\nproperty float x\nend_header\n",
       "PLY header line 3 \"property float x\" is a property before any element"},
      {"glued_end_header.ply", "ply\nformat ascii 1.0\nelement vertex 0\nproperty float xend_header\n",
       "PLY header has no end_header line"},
      {"no_format.ply", "ply\nelement vertex 0\nend_header\n", "PLY header has no format line"},
      {"huge_count.ply",
       "ply\nformat binary_little_endian 1.0\nelement vertex 999999999999999999\nproperty float x\nend_header\n",
       "PLY body is cut short: element \"vertex\" wants 999999999999999999 items in 0 bytes"},
      // Assimp recognises PLY by its first bytes whatever the name says.
      {"ply_by_content.dat", "ply\nformat ascii 1.0\nelement vertex 3 extra\nend_header\n",
       "PLY header line 3 \"element vertex 3 extra\" is not an element line"},
      {"not_a_scene.obj", "hello, this is a letter and not a scene\n", "cannot import: "},
      {"not_a_scene.fbx", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16), "cannot import: "},
      {"index_out_of_range.obj", triangle + "f 1 2 9\n", "cannot import: "},
      {"index_out_of_range.ply", plyHeader + "0 0 0\n1 0 0\n0 1 0\n3 0 1 7\n",
       "face 0 corner 2: index 7 out of range (3 vertices)"},
      // A polygon has to be triangulated first, which must not see the bad index.
      {"index_out_of_range_in_polygon.ply", pentagonHeader + "0 0 0\n1 0 0\n1 1 0\n0 1 0\n-1 0 0\n5 0 1 2 40 4\n",
       "mesh 0: face 0 corner 3: index 40 out of range (5 vertices)"},
      // A count the reader took from a misplaced number: 3000 corners.
      {"count_beyond_its_type.ply", plyHeader + "0 0 0\n1 0 0\n0 1 0\n3000" + zeros + "\n",
       "PLY line 13: list count \"3000\" is not a count of type uchar"},
      {"list_beyond_its_line.ply", plyHeader + "0 0 0\n1 0 0\n0 1 0\n3 0 1\n2\n",
       "PLY line 13: a list of 3 values does not fit its line"},
      {"corner_count_beyond_vertices.ply", ushortHeader + "0 0 0\n1 0 0\n0 1 0\n3000" + zeros + "\n",
       "face 0 has 3000 corners, more than the 3 vertices of its mesh"},
      {"binary_count_beyond_body.ply",
       "ply\nformat binary_little_endian 1.0\nelement face 1\nproperty list int int vertex_indices\nend_header\n" +
           std::string("\xff\xff\xff\x7f\0\0\0\0", 8),
       "PLY body is cut short inside element \"face\" item 0"},
      {"nan.obj", "v nan 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", "vertex 0 has a position that is not a finite number"},
      {"nan.ply", plyHeader + "0 0 0\n1 nan 0\n0 1 0\n3 0 1 2\n",
       "vertex 1 has a position that is not a finite number"},
      {"infinite.ply", plyHeader + "0 0 0\n1 0 0\n0 inf 0\n3 0 1 2\n",
       "vertex 2 has a position that is not a finite number"},
  };
}

TEST(AssimpRefusal, EachBadFileGivesOneLineAFailingExitAndNoOutput) {
  const fs::path dir = fs::temp_directory_path() / ("kvl_assimp_bad_" + std::to_string(::getpid()));
  fs::remove_all(dir);
  fs::create_directories(dir / "c");
  for (const BadFile& bad : BadFiles()) {
    SCOPED_TRACE(bad.name);
    const fs::path scene = dir / bad.name;
    std::ofstream(scene, std::ios::binary) << bad.bytes;
    cli::ExportRequest request;
    request.scenePath = scene.string();
    request.outputPath = (dir / "out.kvl").string();
    request.driveFolder = (dir / "c").string();
    request.pluginPath = KVL_PLUGIN_PATH;
    std::ostringstream out, err;
    EXPECT_EQ(cli::RunExport(request, out, err), cli::EXIT_FAILED);
    const std::string message = err.str();
    EXPECT_EQ(message.rfind("kvlexp: " + scene.string() + ": ", 0), 0u) << message;
    EXPECT_NE(message.find(bad.expected), std::string::npos) << message;
    EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1) << message;
    EXPECT_FALSE(fs::exists(dir / "out.kvl"));
  }
  fs::remove_all(dir);
}

TEST(AssimpRefusal, EveryPrefixOfASmallSceneLoadsOrIsRefused) {
  // In one process, so a crash or a hang of the import fails the test
  // rather than a child; each prefix either loads or is refused, never both.
  const fs::path dir = fs::temp_directory_path() / ("kvl_assimp_prefix_" + std::to_string(::getpid()));
  fs::remove_all(dir);
  fs::create_directories(dir);
  for (const std::string name : {"cube.ply", "cube.obj", "triangle.gltf"}) {
    SCOPED_TRACE(name);
    const std::string bytes = Slurp(kSceneDir + name);
    ASSERT_FALSE(bytes.empty());
    const std::string path = (dir / ("cut" + fs::path(name).extension().string())).string();
    sources::SourceOptions options;
    options.writeTextures = false;
    size_t loaded = 0;
    for (size_t length = 0; length <= bytes.size(); ++length) {
      std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes.substr(0, length);
      const sources::SceneLoadResult result = sources::LoadSceneFile(path, options);
      ASSERT_NE(result.scene == nullptr, result.error.empty()) << "cut at " << length << ": " << result.error;
      if (result.scene) ++loaded;
    }
    // The whole file loads; most cuts do not.
    EXPECT_NE(sources::LoadSceneFile(kSceneDir + name, options).scene, nullptr);
    EXPECT_LT(loaded, bytes.size() / 2);
  }
  fs::remove_all(dir);
}

}  // namespace
}  // namespace kvl
