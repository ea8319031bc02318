// The program restarts itself once with its allocator tuned, and hands
// the user's environment on untouched: checked through a probe that starts
// as kvlexp does.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "run_command.h"

namespace {

std::string Probe(const std::string& environment) {
  const kvl::testing::CommandRun run = kvl::testing::RunCommand(environment + " " + HEAP_PROBE);
  EXPECT_EQ(run.status, 0);
  return run.out;
}

TEST(HeapTuning, BigBlocksAskForHugePagesAndTheUsersTunablesAreHandedOnAsTheyWere) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer brings its own allocator";
#endif
  std::string mode;
  std::getline(std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled"), mode);
  // glibc asks only where the system gives huge pages on request.
  if (mode.find("[madvise]") == std::string::npos) GTEST_SKIP() << "transparent huge pages: " << mode;
  EXPECT_EQ(Probe("env -u GLIBC_TUNABLES"), "huge (none)\n");
  EXPECT_EQ(Probe("GLIBC_TUNABLES="), "huge []\n");
  EXPECT_EQ(Probe("GLIBC_TUNABLES=glibc.malloc.perturb=0"), "huge [glibc.malloc.perturb=0]\n");
  // What the user sets wins over the program's own choice.
  EXPECT_EQ(Probe("GLIBC_TUNABLES=glibc.malloc.hugetlb=0"), "plain [glibc.malloc.hugetlb=0]\n");
}

}  // namespace
