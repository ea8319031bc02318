// Any text as an OBJ or PLY file (PLY when it starts like one), loaded
// through the Assimp source exactly as a user's file is: Assimp's own read,
// then the conversion into the memory scene. Loaded or refused, never both.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

#include "sources/scene_source.h"

namespace {

std::string scratchFolder;

bool LooksLikePly(const uint8_t* data, size_t size) { return size >= 3 && std::memcmp(data, "ply", 3) == 0; }

}  // namespace

// Assimp's readers leak parts of a file they give up on halfway (seen in its
// PLY reader). Those allocations are the library's, made in its own frames,
// and nothing of ours can free them; a leak with our frames still fails.
extern "C" const char* __lsan_default_suppressions() { return "leak:libassimp.so\n"; }

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Memory-backed when the system has it: the file is rewritten on every run.
  std::string pattern = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
  pattern += "/kvl_fuzz_import_XXXXXX";
  if (!mkdtemp(pattern.data())) std::abort();
  scratchFolder = pattern;
  std::atexit([] { rmdir(scratchFolder.c_str()); });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = scratchFolder + (LooksLikePly(data, size) ? "/input.ply" : "/input.obj");
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) std::abort();
  if (size > 0 && std::fwrite(data, 1, size, file) != size) std::abort();
  std::fclose(file);

  // The load writes nothing, embedded textures included.
  const kvl::sources::SceneLoadResult result = kvl::sources::LoadSceneFile(path);
  if ((result.scene == nullptr) == result.error.empty()) std::abort();
  std::remove(path.c_str());
  return 0;
}
