// Replays inputs through a fuzz target's own entry point, with its checks:
// the crashes fuzzing found (tests/regressions/<target>/) stay fixed, and
// the seeds (fuzz/corpus/<target>/) hold the target's checks in every build.
// A failed check aborts the program, which fails the test.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

std::vector<std::filesystem::path> FilesIn(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<uint8_t> ReadAll(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

size_t Replay(const std::filesystem::path& folder) {
  static const bool initialized = [] {
    if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(nullptr, nullptr);
    return true;
  }();
  (void)initialized;
  const std::vector<std::filesystem::path> files = FilesIn(folder);
  for (const std::filesystem::path& file : files) {
    SCOPED_TRACE(file.string());
    const std::vector<uint8_t> bytes = ReadAll(file);
    EXPECT_EQ(LLVMFuzzerTestOneInput(bytes.data(), bytes.size()), 0);
  }
  return files.size();
}

TEST(KVL_REPLAY_SUITE, SeedsPassTheTargetsChecks) {
  EXPECT_GT(Replay(KVL_SEED_DIR), 0u) << "no seeds in " << KVL_SEED_DIR;
}

TEST(KVL_REPLAY_SUITE, FoundCrashesStayFixed) {
  // A target that never crashed has no folder yet.
  Replay(KVL_REGRESSION_DIR);
}

}  // namespace
