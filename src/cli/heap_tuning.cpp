#include "cli/heap_tuning.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>

namespace kvl::cli {
namespace {

namespace fs = std::filesystem;

// Big blocks in transparent huge pages, where the system has them on
// request. Keeping freed blocks on the heap as well (the mmap and trim
// thresholds) was a little faster and held a fifth more memory.
constexpr const char* kTunables = "glibc.malloc.hugetlb=1";

// Set across the restart: the user's own GLIBC_TUNABLES, after a '=' so
// that an empty one is told from none.
constexpr const char* kUserTunables = "KVLEXP_USER_GLIBC_TUNABLES";

// From here up a scene's run gains more than the restart costs.
constexpr uintmax_t kBigSceneBytes = 8u << 20;

bool restarted = false;

void PutBack(const char* user) {
  if (user) {
    setenv("GLIBC_TUNABLES", user, 1);
  } else {
    unsetenv("GLIBC_TUNABLES");
  }
}

// The scene's file, and for a glTF in text its buffers, which the importer
// reads too (named as it likes, but as a rule .bin beside it).
uintmax_t SceneBytes(const fs::path& scene) {
  std::error_code ec;
  uintmax_t bytes = fs::file_size(scene, ec);
  if (ec) return 0;
  if (scene.extension() != ".gltf") return bytes;
  const fs::path folder = scene.has_parent_path() ? scene.parent_path() : fs::path(".");
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, ec)) {
    if (entry.path().extension() != ".bin") continue;
    const uintmax_t size = entry.file_size(ec);
    if (!ec) bytes += size;
  }
  return bytes;
}

}  // namespace

void RestoreEnvironmentAfterRestart() {
  const char* user = std::getenv(kUserTunables);
  if (!user) return;
  restarted = true;
  PutBack(user[0] == '=' ? user + 1 : nullptr);
  unsetenv(kUserTunables);
}

void TuneHeapForBigScene(char** argv, const std::string& scenePath) {
  if (restarted || SceneBytes(scenePath) < kBigSceneBytes) return;
  const char* current = std::getenv("GLIBC_TUNABLES");
  const std::string user = current ? current : "";
  // The user's own settings come last, so they win over ours.
  const std::string tunables = current ? std::string(kTunables) + ":" + user : kTunables;
  if (setenv(kUserTunables, current ? ("=" + user).c_str() : "", 1) != 0 ||
      setenv("GLIBC_TUNABLES", tunables.c_str(), 1) != 0) {
    unsetenv(kUserTunables);
    return;
  }
  execv("/proc/self/exe", argv);
  // No restart (no /proc, say): on with the defaults, the environment as it was.
  unsetenv(kUserTunables);
  PutBack(current ? user.c_str() : nullptr);
}

}  // namespace kvl::cli
