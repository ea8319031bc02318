// Starts as kvlexp does, then reports where a big block lands (on the heap,
// below the break; or in a mapping of its own, which Linux places far above
// it) and the GLIBC_TUNABLES it would hand on.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "cli/heap_tuning.h"

int main(int, char** argv) {
  kvl::cli::TuneHeapForBigScenes(argv);
  // Volatile, or the compiler may leave out a block that is never used.
  char* volatile block = static_cast<char*>(std::malloc(16 << 20));
  char* const after = static_cast<char*>(sbrk(0));
  const char* tunables = std::getenv("GLIBC_TUNABLES");
  std::printf("%s %s%s%s\n", block < after ? "heap" : "mapped", tunables ? "[" : "",
              tunables ? tunables : "(none)", tunables ? "]" : "");
  std::free(block);
}
