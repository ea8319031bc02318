// A big scene's run restarts once with the allocator tuned, a small one
// does not, and the user's environment is handed on untouched: checked
// through a probe that starts as kvlexp does.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "run_command.h"
#include "working_folder.h"

namespace {

namespace fs = std::filesystem;

std::string Probe(const std::string& environment, const std::string& scene) {
  const kvl::testing::CommandRun run = kvl::testing::RunCommand(environment + " " + HEAP_PROBE + " " + scene);
  EXPECT_EQ(run.status, 0);
  return run.out;
}

// A file of `bytes` that takes no room on disk.
void MakeFile(const std::string& path, uintmax_t bytes) {
  std::ofstream{path};
  fs::resize_file(path, bytes);
}

TEST(HeapTuning, ABigSceneAsksForHugePagesAndTheUsersTunablesAreHandedOnAsTheyWere) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer brings its own allocator";
#endif
  std::string mode;
  std::getline(std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled"), mode);
  // glibc asks only where the system gives huge pages on request.
  if (mode.find("[madvise]") == std::string::npos) GTEST_SKIP() << "transparent huge pages: " << mode;
  kvl::testing::WorkingFolder folder("heap_tuning");
  MakeFile("big.glb", 8u << 20);
  MakeFile("small.glb", (8u << 20) - 1);
  MakeFile("model.gltf", 1000);
  MakeFile("model.bin", 9u << 20);
  fs::create_directory("apart");
  MakeFile("apart/lone.gltf", 1000);

  EXPECT_EQ(Probe("env -u GLIBC_TUNABLES", "big.glb"), "huge (none)\n");
  EXPECT_EQ(Probe("env -u GLIBC_TUNABLES", "small.glb"), "plain (none)\n");
  // A glTF's buffers count with it; those of another folder do not.
  EXPECT_EQ(Probe("env -u GLIBC_TUNABLES", "model.gltf"), "huge (none)\n");
  EXPECT_EQ(Probe("env -u GLIBC_TUNABLES", "apart/lone.gltf"), "plain (none)\n");
  EXPECT_EQ(Probe("GLIBC_TUNABLES=", "big.glb"), "huge []\n");
  EXPECT_EQ(Probe("GLIBC_TUNABLES=glibc.malloc.perturb=0", "big.glb"), "huge [glibc.malloc.perturb=0]\n");
  // What the user sets wins over the program's own choice.
  EXPECT_EQ(Probe("GLIBC_TUNABLES=glibc.malloc.hugetlb=0", "big.glb"), "plain [glibc.malloc.hugetlb=0]\n");
  // No file, no restart.
  EXPECT_EQ(Probe("env -u GLIBC_TUNABLES", "missing.glb"), "plain (none)\n");
}

}  // namespace
