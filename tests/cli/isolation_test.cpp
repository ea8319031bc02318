// The command line survives an importer or exporter that crashes, hangs or
// runs out of memory, and never leaves a broken or half-written file.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "run_command.h"

namespace {

namespace fs = std::filesystem;

struct Result {
  int status = -1;
  std::string err;
};

// Runs the real program, as a user does; stderr is captured.
Result RunProgram(const std::string& arguments) {
  // Under AddressSanitizer the child's crashes must stay plain signals, as
  // they are for a user, rather than sanitizer reports.
  const std::string command =
      "ASAN_OPTIONS=\"${ASAN_OPTIONS:-}:handle_segv=0:handle_abort=0:handle_sigbus=0:handle_sigfpe=0\" " +
      std::string(KVLEXP_PROGRAM) + " " + arguments + " 2>&1 >/dev/null";
  const kvl::testing::CommandRun run = kvl::testing::RunCommand(command);
  return {run.status, run.out};
}

std::string ReadAll(const fs::path& path) { return kvl::testing::ReadWholeFile(path); }

class IsolationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir = fs::temp_directory_path() / ("kvl_isolation_" + std::to_string(::getpid()));
    fs::remove_all(dir);
    fs::create_directories(dir);
    std::ofstream(dir / "empty.json") << R"({"format": "kvl-scene", "version": 1})";
  }
  void TearDown() override { fs::remove_all(dir); }

  // Exports through the crashing plug-in onto an output that exists already.
  Result ExportThrough(const std::string& outputName, const std::string& extra = "") {
    std::ofstream(dir / outputName) << "the old output";
    return RunProgram("export " + (dir / "empty.json").string() + " " + (dir / outputName).string() + " --plugin " +
               KVL_CRASH_PLUGIN + " --drive-c " + (dir / "c").string() + " " + extra);
  }

  // The old output is as it was, and no half-written file is left.
  void ExpectNothingLeftBehind(const std::string& outputName) {
    EXPECT_EQ(ReadAll(dir / outputName), "the old output");
    for (const auto& entry : fs::directory_iterator(dir)) {
      EXPECT_EQ(entry.path().filename().string().find(".kvlexp-"), std::string::npos) << entry.path();
    }
  }

  fs::path dir;
};

TEST_F(IsolationTest, CrashesOfTheExporterAreReportedAndLeaveNothing) {
  const Result segv = ExportThrough("segv.kvl");
  EXPECT_EQ(segv.status, 1);
  EXPECT_NE(segv.err.find("the exporter crashed (segmentation fault) while exporting; nothing was written"),
            std::string::npos)
      << segv.err;
  ExpectNothingLeftBehind("segv.kvl");

  const Result abort = ExportThrough("abort.kvl");
  EXPECT_EQ(abort.status, 1);
  EXPECT_NE(abort.err.find("the exporter crashed (aborted) while exporting"), std::string::npos) << abort.err;
  ExpectNothingLeftBehind("abort.kvl");
}

TEST_F(IsolationTest, TimeAndMemoryLimitsEndTheChild) {
  const Result hang = ExportThrough("hang.kvl", "--timeout 1");
  EXPECT_EQ(hang.status, 1);
  EXPECT_NE(hang.err.find("ran out of time (1 s) while exporting; nothing was written"), std::string::npos)
      << hang.err;
  ExpectNothingLeftBehind("hang.kvl");

#if !defined(__SANITIZE_ADDRESS__)
  const Result hog = ExportThrough("hog.kvl", "--memory-limit 512M");
  EXPECT_EQ(hog.status, 1);
  EXPECT_NE(hog.err.find("ran out of memory (limit 512 MiB) while exporting"), std::string::npos) << hog.err;
  ExpectNothingLeftBehind("hog.kvl");
#endif
}

TEST_F(IsolationTest, WritesThatFailAreReportedWithTheReason) {
  const std::string scene = (dir / "empty.json").string();
  const std::string drive = " --drive-c " + (dir / "c").string();
  // A device that takes no bytes is written in place and the failure seen;
  // /dev/full cannot carry the extension, a link to it named .kvl can.
  fs::create_symlink("/dev/full", dir / "full.kvl");
  const Result device = RunProgram("export " + scene + " " + (dir / "full.kvl").string() + drive);
  EXPECT_EQ(device.status, 1);
  EXPECT_NE(device.err.find("No space left on device"), std::string::npos) << device.err;
  EXPECT_TRUE(fs::is_symlink(dir / "full.kvl"));

  // A folder nobody may write into (for root, a read-only file system).
  const fs::path locked = ::geteuid() == 0 ? fs::path("/proc") : dir / "locked";
  if (::geteuid() != 0) {
    fs::create_directories(locked);
    fs::permissions(locked, fs::perms::owner_read | fs::perms::owner_exec);
  }
  const Result readOnly = RunProgram("export " + scene + " " + (locked / "out.kvl").string() + drive);
  EXPECT_EQ(readOnly.status, 1);
  EXPECT_NE(readOnly.err.find("cannot write the output file"), std::string::npos) << readOnly.err;
  EXPECT_FALSE(fs::exists(locked / "out.kvl"));
  if (::geteuid() != 0) fs::permissions(locked, fs::perms::owner_all);
}

TEST_F(IsolationTest, ALinkStaysAndItsTargetIsReplaced) {
  const std::string scene = (dir / "empty.json").string();
  std::ofstream(dir / "real.kvl") << "old";
  fs::create_symlink(dir / "real.kvl", dir / "link.kvl");
  const Result result = RunProgram("export " + scene + " " + (dir / "link.kvl").string() + " --drive-c " +
                            (dir / "c").string());
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(fs::is_symlink(dir / "link.kvl"));
  EXPECT_EQ(fs::file_size(dir / "real.kvl"), 67u);

  // A link that leads nowhere or round in a loop is an error, and stays.
  fs::create_symlink(dir / "nowhere.kvl", dir / "dangling.kvl");
  fs::create_symlink(dir / "loop2.kvl", dir / "loop1.kvl");
  fs::create_symlink(dir / "loop1.kvl", dir / "loop2.kvl");
  for (const char* name : {"dangling.kvl", "loop1.kvl"}) {
    const Result broken =
        RunProgram("export " + scene + " " + (dir / name).string() + " --drive-c " + (dir / "c").string());
    EXPECT_EQ(broken.status, 1) << name;
    EXPECT_NE(broken.err.find("symbolic link"), std::string::npos) << broken.err;
    EXPECT_TRUE(fs::is_symlink(dir / name)) << name;
  }
  EXPECT_FALSE(fs::exists(dir / "nowhere.kvl"));

  // The preview page goes the same way: through a link to its target, in
  // place into a device, and two at once into the same page both succeed.
  std::ofstream(dir / "real.html") << "old page";
  fs::create_symlink(dir / "real.html", dir / "page.html");
  const std::string kvl = (dir / "real.kvl").string();
  EXPECT_EQ(RunProgram("preview " + kvl + " -o " + (dir / "page.html").string()).status, 0);
  EXPECT_TRUE(fs::is_symlink(dir / "page.html"));
  EXPECT_NE(ReadAll(dir / "real.html"), "old page");
  fs::create_symlink("/dev/null", dir / "null.html");
  EXPECT_EQ(RunProgram("preview " + kvl + " -o " + (dir / "null.html").string()).status, 0);
  EXPECT_TRUE(fs::is_symlink(dir / "null.html"));
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  const std::string twice = std::string(KVLEXP_PROGRAM) + " preview " + kvl + " -o " +
                            (dir / "twice.html").string() + " >/dev/null";
  const int both = std::system(("sh -c '" + twice + " & a=$!; " + twice + " & b=$!; wait $a && wait $b'").c_str());
  EXPECT_TRUE(WIFEXITED(both) && WEXITSTATUS(both) == 0);
  EXPECT_EQ(ReadAll(dir / "twice.html"), ReadAll(dir / "real.html"));
}

TEST_F(IsolationTest, ExportsAreByteIdenticalInAndOutOfProcess) {
  const std::string demo = std::string(KVL_EXAMPLES_DIR) + "/demo.json";
  const std::string drive = " --drive-c " + (dir / "c").string() + " --set displaylog=0";
  ASSERT_EQ(RunProgram("export " + demo + " " + (dir / "a.kvl").string() + drive).status, 0);
  ASSERT_EQ(RunProgram("export " + demo + " " + (dir / "b.kvl").string() + drive).status, 0);
  ASSERT_EQ(RunProgram("export " + demo + " " + (dir / "c.kvl").string() + drive + " --no-isolate").status, 0);
  const std::string a = ReadAll(dir / "a.kvl");
  EXPECT_GT(a.size(), 67u);
  EXPECT_EQ(a, ReadAll(dir / "b.kvl"));
  EXPECT_EQ(a, ReadAll(dir / "c.kvl"));
}

}  // namespace
