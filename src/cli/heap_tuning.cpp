#include "cli/heap_tuning.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace kvl::cli {
namespace {

// Big blocks in transparent huge pages, where the system has them on
// request. Keeping freed blocks on the heap as well (the mmap and trim
// thresholds) was no faster and held a fifth more memory.
constexpr const char* kTunables = "glibc.malloc.hugetlb=1";

// Set across the restart: the user's own GLIBC_TUNABLES, after a '=' so
// that an empty one is told from none.
constexpr const char* kUserTunables = "KVLEXP_USER_GLIBC_TUNABLES";

}  // namespace

void TuneHeapForBigScenes(char** argv) {
  if (const char* user = std::getenv(kUserTunables)) {
    // The second start: the tunables are in force. Children get the
    // user's environment back.
    if (user[0] == '=') {
      setenv("GLIBC_TUNABLES", user + 1, 1);
    } else {
      unsetenv("GLIBC_TUNABLES");
    }
    unsetenv(kUserTunables);
    return;
  }
  const char* current = std::getenv("GLIBC_TUNABLES");
  const std::string user = current ? "=" + std::string(current) : "";
  // The user's own settings come last, so they win over ours.
  const std::string tunables = current ? std::string(kTunables) + ":" + current : kTunables;
  if (setenv(kUserTunables, user.c_str(), 1) != 0 || setenv("GLIBC_TUNABLES", tunables.c_str(), 1) != 0) return;
  execv("/proc/self/exe", argv);
  // No restart (no /proc, say): on with the defaults, the environment as it was.
  unsetenv(kUserTunables);
  if (current) {
    setenv("GLIBC_TUNABLES", user.c_str() + 1, 1);
  } else {
    unsetenv("GLIBC_TUNABLES");
  }
}

}  // namespace kvl::cli
