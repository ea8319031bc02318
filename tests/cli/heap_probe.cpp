// Starts as kvlexp does for an export of the scene it is given, then
// reports whether a big block's mapping is advised for huge pages (the "hg"
// of its VmFlags) and the GLIBC_TUNABLES it would hand on.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "cli/heap_tuning.h"

namespace {

bool AdvisedForHugePages(uintptr_t address) {
  std::ifstream smaps("/proc/self/smaps");
  bool inside = false;
  for (std::string line; std::getline(smaps, line);) {
    uintptr_t start = 0, end = 0;
    char dash = 0;
    std::istringstream range(line);
    if (range >> std::hex >> start >> dash >> end && dash == '-') {
      inside = start <= address && address < end;
    } else if (inside && line.rfind("VmFlags:", 0) == 0) {
      return (line + " ").find(" hg ") != std::string::npos;
    }
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  kvl::cli::RestoreEnvironmentAfterRestart();
  kvl::cli::TuneHeapForBigScene(argv, argv[1]);
  // Volatile, or the compiler may leave out a block that is never used.
  char* volatile block = static_cast<char*>(std::malloc(64 << 20));
  const bool advised = AdvisedForHugePages(reinterpret_cast<uintptr_t>(block));
  const char* tunables = std::getenv("GLIBC_TUNABLES");
  std::printf("%s %s%s%s\n", advised ? "huge" : "plain", tunables ? "[" : "", tunables ? tunables : "(none)",
              tunables ? "]" : "");
  std::free(block);
}
