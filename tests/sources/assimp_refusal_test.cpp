// Every cut of a small file either loads or is refused with a message, in
// one process, so that a crash or a hang of the import fails here. The
// refusals of whole bad files are the case tests/data/cases/assimp-refusals.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "sources/scene_source.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;

const std::string kSceneDir = std::string(KVL_TEST_DIR) + "/scenes/assimp/";

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
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
    size_t loaded = 0;
    for (size_t length = 0; length <= bytes.size(); ++length) {
      std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes.substr(0, length);
      const sources::SceneLoadResult result = sources::LoadSceneFile(path, options);
      ASSERT_NE(result.scene == nullptr, result.error.empty()) << "cut at " << length << ": " << result.error;
      if (result.scene) ++loaded;
    }
    // The whole file loads; the empty file does not. (An OBJ cut after its
    // object line is a scene of that one node, without a mesh.)
    EXPECT_NE(sources::LoadSceneFile(kSceneDir + name, options).scene, nullptr);
    EXPECT_LT(loaded, name == "cube.obj" ? bytes.size() : bytes.size() / 2);
  }
  fs::remove_all(dir);
}

}  // namespace
}  // namespace kvl
