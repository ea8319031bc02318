// A scene reads nothing outside its folder. The file it reaches for is a
// FIFO: opening one for reading waits for a writer that never comes, so an
// import that opened it would hang, and is ended by an alarm instead. Each
// import runs in a child, so that a hang fails the one reference.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "sources/scene_source.h"

namespace kvl::sources {
namespace {

namespace fs = std::filesystem;

// How an import in a child ended: 0 refused for the reference, 1 loaded,
// 2 refused for another reason, 128 + signal when it was killed.
int ImportInChild(const std::string& scene, bool allowOutside) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(2);
    SourceOptions options;
    options.allowOutsideReferences = allowOutside;
    const SceneLoadResult result = LoadSceneFile(scene, options);
    _exit(result.scene ? 1 : result.error.find("which is not a path inside its folder") != std::string::npos ? 0 : 2);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string GltfWithBuffer(const std::string& uri) {
  return R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}],
 "nodes": [{"name": "Tri", "mesh": 0}], "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
 "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3", "min": [0, 0, 0], "max": [1, 1, 0]}],
 "bufferViews": [{"buffer": 0, "byteLength": 36}], "buffers": [{"byteLength": 36, "uri": ")" +
         uri + R"("}]})";
}

TEST(AssimpConfinement, NoReferenceOutsideTheFolderIsOpened) {
  const fs::path root = fs::temp_directory_path() / ("kvl_confined_" + std::to_string(getpid()));
  fs::remove_all(root);
  fs::create_directories(root / "outside");
  fs::create_directories(root / "scene" / "data");
  const fs::path fifo = root / "outside" / "secret.bin";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  fs::create_symlink(fifo, root / "scene" / "link.bin");
  const struct {
    const char* what;
    std::string uri;
  } references[] = {
      {"up and out", "../outside/secret.bin"},
      {"down, then out", "data/../../outside/secret.bin"},
      {"a link inside that leads out", "link.bin"},
      {"an absolute path", fifo.string()},
      {"a file: URI", "file://" + fifo.string()},
  };
  for (const auto& reference : references) {
    SCOPED_TRACE(reference.what);
    const fs::path scene = root / "scene" / "scene.gltf";
    std::ofstream(scene) << GltfWithBuffer(reference.uri);
    EXPECT_EQ(ImportInChild(scene.string(), false), 0);
  }
  // The same kind of file inside the folder is opened: the child hangs on
  // it until the alarm, which shows that the check above could fail.
  ASSERT_EQ(mkfifo((root / "scene" / "data" / "inside.bin").c_str(), 0600), 0);
  std::ofstream(root / "scene" / "scene.gltf") << GltfWithBuffer("data/inside.bin");
  EXPECT_EQ(ImportInChild((root / "scene" / "scene.gltf").string(), false), 128 + SIGALRM);
  // And with the references let out, the one outside is opened as well.
  std::ofstream(root / "scene" / "scene.gltf") << GltfWithBuffer("../outside/secret.bin");
  EXPECT_EQ(ImportInChild((root / "scene" / "scene.gltf").string(), true), 128 + SIGALRM);
  fs::remove_all(root);
}

}  // namespace
}  // namespace kvl::sources
