// The program restarts itself once with its allocator tuned, and hands
// the user's environment on untouched: checked through a probe that starts
// as kvlexp does.
#include <gtest/gtest.h>

#include <string>

#include "run_command.h"

namespace {

std::string Probe(const std::string& environment) {
  const kvl::testing::CommandRun run = kvl::testing::RunCommand(environment + " " + HEAP_PROBE);
  EXPECT_EQ(run.status, 0);
  return run.out;
}

TEST(HeapTuning, BigBlocksComeFromTheHeapAndTheUsersTunablesAreHandedOnAsTheyWere) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer brings its own allocator";
#endif
  EXPECT_EQ(Probe("env -u GLIBC_TUNABLES"), "heap (none)\n");
  EXPECT_EQ(Probe("GLIBC_TUNABLES="), "heap []\n");
  EXPECT_EQ(Probe("GLIBC_TUNABLES=glibc.malloc.perturb=0"), "heap [glibc.malloc.perturb=0]\n");
  // What the user sets wins over the program's own choice.
  EXPECT_EQ(Probe("GLIBC_TUNABLES=glibc.malloc.mmap_threshold=65536"),
            "mapped [glibc.malloc.mmap_threshold=65536]\n");
}

}  // namespace
