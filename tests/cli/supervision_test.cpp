// The program under the user's hand: Ctrl-C, kill and a closed terminal end
// a run cleanly, a killed program takes its worker along, a pipe or a
// runaway input cannot keep `info` waiting or let it grow without bound, and
// the limits hold without the child too. Each test runs the real kvlexp and
// looks at what is left on disk and what it printed.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::string ReadAll(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The program started in the background, its stderr kept in a file.
struct Started {
  pid_t pid = -1;
  fs::path errFile;
};

Started StartProgram(const std::vector<std::string>& arguments, const fs::path& errFile) {
  Started started{-1, errFile};
  started.pid = ::fork();
  if (started.pid == 0) {
    // A group of its own, so that the test can end it and its child
    // whatever happens to either.
    ::setpgid(0, 0);
    // In the test's folder: an export writes its settings file beside an
    // output named without backslashes, in the working folder.
    if (::chdir(errFile.parent_path().c_str()) != 0) ::_exit(127);
    // Crashes stay plain signals under AddressSanitizer, as for a user.
    ::setenv("ASAN_OPTIONS", "handle_segv=0:handle_abort=0:handle_sigbus=0:handle_sigfpe=0", 1);
    std::freopen("/dev/null", "w", stdout);
    std::freopen(errFile.c_str(), "w", stderr);
    std::vector<char*> argv{const_cast<char*>(KVLEXP_PROGRAM)};
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    ::execv(KVLEXP_PROGRAM, argv.data());
    ::_exit(127);
  }
  return started;
}

// The exit status, or -1 when a signal ended the program or it is still
// running after `limit`.
int WaitFor(pid_t pid, std::chrono::milliseconds limit = 20s) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  int status = 0;
  while (::waitpid(pid, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, &status, 0);
      return -1;
    }
    std::this_thread::sleep_for(20ms);
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

struct Finished {
  int status = -1;
  std::string err;
};

// The processes whose parent is `parent`, from /proc.
std::vector<pid_t> ChildrenOf(pid_t parent) {
  std::vector<pid_t> children;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator("/proc", ec)) {
    const std::string name = entry.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    const std::string stat = ReadAll(entry.path() / "stat");
    const size_t close = stat.rfind(')');
    if (close == std::string::npos) continue;
    // "PID (NAME) STATE PPID ..."
    int ppid = 0;
    char state = 0;
    if (std::sscanf(stat.c_str() + close + 1, " %c %d", &state, &ppid) == 2 && ppid == parent) {
      children.push_back(static_cast<pid_t>(std::stoi(name)));
    }
  }
  return children;
}

// A process that has ended is either gone or a zombie nobody reaped yet.
bool HasEnded(pid_t pid) {
  const std::string stat = ReadAll("/proc/" + std::to_string(pid) + "/stat");
  const size_t close = stat.rfind(')');
  if (close == std::string::npos) return true;
  const char state = close + 2 < stat.size() ? stat[close + 2] : '?';
  return state == 'Z' || state == 'X';
}

bool EndsWithin(pid_t pid, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!HasEnded(pid)) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(20ms);
  }
  return true;
}

// The temporary files in `folder`: the half-written outputs.
std::vector<fs::path> TemporariesIn(const fs::path& folder) {
  std::vector<fs::path> found;
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().filename().string().find(".kvlexp-") != std::string::npos) found.push_back(entry.path());
  }
  return found;
}

bool AppearsWithin(const fs::path& folder, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (TemporariesIn(folder).empty()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(20ms);
  }
  return true;
}

class SupervisionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string test = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    dir = fs::temp_directory_path() / ("kvl_supervision_" + std::to_string(::getpid()) + "_" + test);
    fs::remove_all(dir);
    fs::create_directories(dir / "c");
    scene = (dir / "empty.json").string();
    std::ofstream(scene) << R"({"format": "kvl-scene", "version": 1})";
  }
  void TearDown() override {
    // A failed check must not leave a hanging export behind.
    for (pid_t pid : started) {
      ::kill(-pid, SIGKILL);
      ::waitpid(pid, nullptr, WNOHANG);
    }
    fs::remove_all(dir);
  }

  Started Start(const std::vector<std::string>& arguments, const fs::path& errFile) {
    const Started program = StartProgram(arguments, errFile);
    started.push_back(program.pid);
    return program;
  }

  Finished RunToEnd(const std::vector<std::string>& arguments, const fs::path& errFile) {
    const Started program = Start(arguments, errFile);
    Finished finished;
    finished.status = WaitFor(program.pid);
    finished.err = ReadAll(errFile);
    return finished;
  }

  // An export through the test plug-in that writes part of its output and
  // then never ends, onto an output that exists already.
  std::vector<std::string> HangingExport(const fs::path& output, const std::string& extra = "") {
    std::vector<std::string> arguments{"export", scene, output.string(), "--plugin", KVL_CRASH_PLUGIN,
                                       "--drive-c", (dir / "c").string()};
    if (!extra.empty()) arguments.push_back(extra);
    return arguments;
  }

  fs::path dir;
  std::string scene;
  std::vector<pid_t> started;  // process groups, ended after the test
};

TEST_F(SupervisionTest, StopSignalsEndTheRunWithOneLineAndLeaveTheOldOutput) {
  struct Expected {
    int signal;
    int status;
    const char* name;
    bool toTheChild;  // Ctrl-C on a terminal reaches the child too, and may end it first
  };
  // The output is a link into another folder: the child's half-written
  // file lies beside the link's target, and goes from there.
  fs::create_directories(dir / "target");
  std::ofstream(dir / "target" / "real.kvl") << "the old output";
  fs::create_symlink(dir / "target" / "real.kvl", dir / "hang.kvl");
  for (const Expected& expected :
       {Expected{SIGINT, 130, "SIGINT", false}, Expected{SIGTERM, 143, "SIGTERM", false},
        Expected{SIGHUP, 129, "SIGHUP", false}, Expected{SIGINT, 130, "SIGINT", true}}) {
    SCOPED_TRACE(std::string(expected.name) + (expected.toTheChild ? " to the child" : ""));
    const Started started = Start(HangingExport(dir / "hang.kvl"), dir / "err.txt");
    ASSERT_TRUE(AppearsWithin(dir / "target", 10s)) << "the export never began writing";
    const std::vector<pid_t> children = ChildrenOf(started.pid);
    ASSERT_EQ(children.size(), 1u);
    ::kill(expected.toTheChild ? children[0] : started.pid, expected.signal);
    EXPECT_EQ(WaitFor(started.pid), expected.status);
    EXPECT_EQ(ReadAll(dir / "err.txt"),
              "kvlexp: " + scene + ": stopped by " + expected.name + " while exporting; nothing was written\n");
    EXPECT_TRUE(HasEnded(children[0]));
    EXPECT_TRUE(TemporariesIn(dir / "target").empty());
    EXPECT_TRUE(TemporariesIn(dir).empty());
    EXPECT_EQ(ReadAll(dir / "target" / "real.kvl"), "the old output");
    EXPECT_TRUE(fs::is_symlink(dir / "hang.kvl"));
  }

  // The same in one process: the signal's handler removes the file.
  const Started inProcess = Start(HangingExport(dir / "hang.kvl", "--no-isolate"), dir / "err.txt");
  ASSERT_TRUE(AppearsWithin(dir / "target", 10s));
  ::kill(inProcess.pid, SIGINT);
  EXPECT_EQ(WaitFor(inProcess.pid), 130);
  EXPECT_EQ(ReadAll(dir / "err.txt"),
            "kvlexp: " + scene + ": stopped by SIGINT while exporting; nothing was written\n");
  EXPECT_TRUE(TemporariesIn(dir / "target").empty());
  EXPECT_EQ(ReadAll(dir / "target" / "real.kvl"), "the old output");
}

TEST_F(SupervisionTest, AKilledProgramTakesItsChildAlongAndTheNextRunClearsWhatItLeft) {
  std::ofstream(dir / "hang.kvl") << "the old output";
  const Started started = Start(HangingExport(dir / "hang.kvl"), dir / "err.txt");
  ASSERT_TRUE(AppearsWithin(dir, 10s));
  const std::vector<pid_t> children = ChildrenOf(started.pid);
  ASSERT_EQ(children.size(), 1u);
  ::kill(started.pid, SIGKILL);
  ::waitpid(started.pid, nullptr, 0);
  EXPECT_TRUE(EndsWithin(children[0], 2s)) << "the child outlived its parent";
  // Nothing could remove the child's file; it is stale now.
  const std::vector<fs::path> stale = TemporariesIn(dir);
  ASSERT_EQ(stale.size(), 1u);
  EXPECT_EQ(ReadAll(dir / "hang.kvl"), "the old output");

  // Beside it: a temporary of a live process that is not kvlexp (this
  // test), one of a live kvlexp (waiting on a pipe), and one of another
  // file. Only the live kvlexp's and the other file's stay.
  ASSERT_EQ(::mkfifo((dir / "pipe.json").c_str(), 0600), 0);
  const Started waiting = Start({"info", (dir / "pipe.json").string(), "--no-isolate"}, dir / "waiting.txt");
  // Until it runs as kvlexp rather than as this test's fork.
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  while (ReadAll("/proc/" + std::to_string(waiting.pid) + "/comm") != "kvlexp\n" &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(20ms);
  }
  const fs::path notKvlexp = dir / (".hang.kvl.kvlexp-" + std::to_string(::getpid()) + ".tmp");
  const fs::path liveKvlexp = dir / (".hang.kvl.kvlexp-" + std::to_string(waiting.pid) + ".tmp");
  const fs::path otherFile = dir / (".other.kvl.kvlexp-" + std::to_string(children[0]) + ".tmp");
  for (const fs::path& path : {notKvlexp, liveKvlexp, otherFile}) std::ofstream(path) << "x";

  // The next run that writes hang.kvl, with the real exporter.
  const Finished next = RunToEnd({"export", scene, (dir / "hang.kvl").string(), "--drive-c", (dir / "c").string(),
                             "--set", "displaylog=0"},
                            dir / "next.txt");
  EXPECT_EQ(next.status, 0) << next.err;
  EXPECT_FALSE(fs::exists(stale[0]));
  EXPECT_FALSE(fs::exists(notKvlexp));
  EXPECT_TRUE(fs::exists(liveKvlexp));
  EXPECT_TRUE(fs::exists(otherFile));
  EXPECT_NE(ReadAll(dir / "hang.kvl"), "the old output");

  ::kill(waiting.pid, SIGTERM);
  EXPECT_EQ(WaitFor(waiting.pid), 143);
  EXPECT_EQ(ReadAll(dir / "waiting.txt"),
            "kvlexp: " + (dir / "pipe.json").string() + ": stopped by SIGTERM while reading the scene\n");
}

TEST_F(SupervisionTest, InfoOnAPipeOrAnEndlessInputEndsWithOneLine) {
  const std::string pipe = (dir / "pipe.json").string();
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  for (const char* isolation : {"", "--no-isolate"}) {
    SCOPED_TRACE(isolation);
    std::vector<std::string> arguments{"info", pipe, "--timeout", "1"};
    if (*isolation) arguments.push_back(isolation);
    const Finished hang = RunToEnd(arguments, dir / "err.txt");
    EXPECT_EQ(hang.status, 1);
    EXPECT_EQ(hang.err, "kvlexp: " + pipe + ": ran out of time (1 s) while reading the scene\n");
  }

  // The export's timeout holds without the child too, and what it says
  // is the same.
  const Finished exportHang = RunToEnd({"export", pipe, (dir / "out.kvl").string(), "--drive-c", (dir / "c").string(),
                                   "--timeout", "0.5", "--no-isolate"},
                                  dir / "err.txt");
  EXPECT_EQ(exportHang.status, 1);
  EXPECT_EQ(exportHang.err, "kvlexp: " + pipe + ": ran out of time (0.5 s) while reading the scene; nothing was written\n");
  EXPECT_FALSE(fs::exists(dir / "out.kvl"));

#if !defined(__SANITIZE_ADDRESS__)
  // A scene that never ends: the loader reads it whole, until the limit.
  const fs::path endless = dir / "endless.json";
  fs::create_symlink("/dev/zero", endless);
  for (const char* isolation : {"", "--no-isolate"}) {
    SCOPED_TRACE(isolation);
    std::vector<std::string> arguments{"info", endless.string(), "--memory-limit", "256m"};
    if (*isolation) arguments.push_back(isolation);
    const Finished hog = RunToEnd(arguments, dir / "err.txt");
    EXPECT_EQ(hog.status, 1);
    EXPECT_EQ(hog.err, "kvlexp: " + endless.string() + ": ran out of memory (limit 256 MiB) while reading the scene\n");
  }
#endif
}

// A DirectX file on which Assimp 5.2's reader dies of a segmentation fault
// (a matrix with a stray ";" and a damaged template name): info and export
// both survive it and say so in one line.
TEST_F(SupervisionTest, AnImporterThatCrashesIsOneLine) {
  const std::string crasher = std::string(KVL_TEST_DIR) + "/data/crashers/assimp-directx-segv.x";
  const Finished info = RunToEnd({"info", crasher}, dir / "err.txt");
  EXPECT_EQ(info.status, 1);
  EXPECT_EQ(info.err, "kvlexp: " + crasher + ": the importer crashed (segmentation fault) while reading the scene\n");
  const Finished exported =
      RunToEnd({"export", crasher, (dir / "out.kvl").string(), "--drive-c", (dir / "c").string()}, dir / "err.txt");
  EXPECT_EQ(exported.status, 1);
  EXPECT_EQ(exported.err, "kvlexp: " + crasher +
                              ": the importer crashed (segmentation fault) while reading the scene; nothing was written\n");
  EXPECT_FALSE(fs::exists(dir / "out.kvl"));
}

TEST_F(SupervisionTest, KvlFileCommandsRefuseAPipe) {
  // No writer ever comes: reading it would wait for ever.
  const std::string pipe = (dir / "pipe.kvl").string();
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"inspect", pipe}, {"validate", pipe}, {"preview", pipe}}) {
    SCOPED_TRACE(arguments[0]);
    const Finished refused = RunToEnd(arguments, dir / "err.txt");
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.err, "kvlexp: " + pipe + ": cannot be read: it is a named pipe, not a file\n");
  }
  EXPECT_FALSE(fs::exists(pipe + ".html"));
}

}  // namespace
