// Every folder under tests/data/cases is one case: its inputs (a scene, maybe
// a settings file), a case.txt with one kvlexp command line per step, and
// expected/ with what the steps must leave behind. The case runs through the
// real program in a fresh working folder, as a user runs it, and everything
// is compared: each step's exit status, standard output and error (kept
// together in expected/steps.txt) and every file the steps wrote or changed.
//
// Every KVL file a case writes is also checked on its own: it validates
// without an error, and the records read from it encode back to the same
// bytes, so a reader and a writer that disagree show even where the kept
// file agrees with both.
//
// KVL_UPDATE_GOLDEN=1 rewrites expected/ from what the steps produce; review
// the change through its dump (kvlexp inspect --chunks) before keeping it.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "output/write/binary_writer.h"
#include "output/read/kvl_reader.h"
#include "kvl_compare.h"
#include "output/read/kvl_validator.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;
using Bytes = std::string;

const fs::path kCasesDir = fs::path(KVL_TEST_DIR) / "data" / "cases";

Bytes ReadAll(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteAll(const fs::path& path, const Bytes& bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

// A case line split into arguments; double quotes keep spaces in one.
std::vector<std::string> SplitArguments(const std::string& line) {
  std::vector<std::string> args;
  std::string current;
  bool quoted = false, any = false;
  for (char c : line) {
    if (c == '"') {
      quoted = !quoted, any = true;
    } else if (!quoted && (c == ' ' || c == '\t')) {
      if (any) args.push_back(current);
      current.clear(), any = false;
    } else {
      current += c, any = true;
    }
  }
  if (any) args.push_back(current);
  if (!args.empty() && args[0] == "kvlexp") args.erase(args.begin());
  return args;
}

std::vector<std::string> ReadSteps(const fs::path& caseFile) {
  std::vector<std::string> steps;
  std::istringstream in(ReadAll(caseFile));
  for (std::string line; std::getline(in, line);) {
    if (line.find_first_not_of(" \t") == std::string::npos || line[0] == '#') continue;
    steps.push_back(line);
  }
  return steps;
}

struct StepResult {
  int status = -1;
  Bytes out, err;
};

// Runs kvlexp with `args` in `folder`, with HOME there too so that the
// program's drive C (~/.kvlexp/c) belongs to the case, and standard input
// empty so that no progress bar is drawn.
StepResult RunKvlexp(const std::vector<std::string>& args, const fs::path& folder, const fs::path& scratch) {
  const fs::path outPath = scratch / "stdout", errPath = scratch / "stderr";
  const pid_t child = ::fork();
  if (child == 0) {
    const int in = ::open("/dev/null", O_RDONLY);
    const int out = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0 || err < 0 || ::chdir(folder.c_str()) != 0) ::_exit(126);
    ::dup2(in, 0), ::dup2(out, 1), ::dup2(err, 2);
    ::setenv("HOME", folder.c_str(), 1);
    std::vector<char*> argv{const_cast<char*>(KVLEXP_PROGRAM)};
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    ::execv(KVLEXP_PROGRAM, argv.data());
    ::_exit(127);
  }
  StepResult result;
  int status = 0;
  if (child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status)) result.status = WEXITSTATUS(status);
  result.out = ReadAll(outPath);
  result.err = ReadAll(errPath);
  return result;
}

// The scratch folder's name would make the transcript differ from run to run.
Bytes WithoutFolder(Bytes text, const std::string& folder) {
  for (size_t at; (at = text.find(folder)) != Bytes::npos;) text.replace(at, folder.size(), "<case>");
  return text;
}

std::string Section(const std::string& title, const Bytes& text, const std::string& folder) {
  if (text.empty()) return "";
  std::string s = "--- " + title + "\n" + WithoutFolder(text, folder);
  return s.back() == '\n' ? s : s + "\n--- (no newline at the end)\n";
}

std::string Transcript(const std::string& line, const StepResult& r, const std::string& folder) {
  return "$ kvlexp " + line + "\nexit " + std::to_string(r.status) + "\n" + Section("stdout", r.out, folder) +
         Section("stderr", r.err, folder);
}

// Every regular file under `root`, by path relative to it.
std::map<std::string, Bytes> FilesUnder(const fs::path& root) {
  std::map<std::string, Bytes> files;
  if (!fs::exists(root)) return files;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (entry.is_regular_file()) files[fs::relative(entry.path(), root).string()] = ReadAll(entry.path());
  }
  return files;
}

// What every KVL file must satisfy, whatever the case: no validation error,
// and its records encoded again give the file back.
void CheckKvlInvariants(const std::string& name, const Bytes& file) {
  const std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t*>(file.data()), file.size());
  Validation validation = ValidateKvl(bytes);
  for (const FileProblem& p : validation.problems) {
    if (p.severity == Severity::ERROR) ADD_FAILURE() << name << ": " << FormatProblem(p);
  }
  NodeTable& table = validation.document.table;
  table.settings.optimize = false;  // everything read is written back
  const Bytes again = testing::WrittenKvl(table);
  if (again != file) ADD_FAILURE() << "read and written back, " << testing::FirstDifference(name, file, again);
}

std::vector<std::string> CaseNames() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(kCasesDir)) {
    if (fs::exists(entry.path() / "case.txt")) names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class CaseTest : public ::testing::TestWithParam<std::string> {};

TEST_P(CaseTest, StepsGiveTheKeptOutputs) {
  const fs::path source = kCasesDir / GetParam();
  const fs::path scratch = fs::temp_directory_path() / ("kvl_case_" + GetParam() + "_" + std::to_string(::getpid()));
  const fs::path work = scratch / "work";
  fs::remove_all(scratch);
  fs::create_directories(work);

  // The inputs: everything beside case.txt but expected/. A symbolic link
  // (to the examples, say) is copied as the file it names.
  for (const auto& entry : fs::directory_iterator(source)) {
    const std::string name = entry.path().filename().string();
    if (name == "case.txt" || name == "expected") continue;
    fs::copy(entry.path(), work / name, fs::copy_options::recursive);
  }
  const std::map<std::string, Bytes> inputs = FilesUnder(work);

  std::string transcript;
  for (const std::string& line : ReadSteps(source / "case.txt")) {
    transcript += Transcript(line, RunKvlexp(SplitArguments(line), work, scratch), work.string());
  }

  // What the steps left: new files, and inputs they changed.
  std::map<std::string, Bytes> produced;
  for (auto& [name, bytes] : FilesUnder(work)) {
    const auto input = inputs.find(name);
    if (input == inputs.end() || input->second != bytes) produced[name] = std::move(bytes);
  }
  // A file that names the working folder (a depfile's absolute paths) says
  // <case> there instead, as the transcript does.
  for (auto& [name, bytes] : produced) {
    if (testing::IsKvl(name)) {
      CheckKvlInvariants(name, bytes);
    } else {
      bytes = WithoutFolder(std::move(bytes), work.string());
    }
  }
  produced["steps.txt"] = transcript;

  const fs::path expectedDir = source / "expected";
  const char* update = std::getenv("KVL_UPDATE_GOLDEN");
  if (update && std::string(update) == "1") {
    fs::remove_all(expectedDir);
    for (const auto& [name, bytes] : produced) WriteAll(expectedDir / name, bytes);
  } else {
    const std::map<std::string, Bytes> expected = FilesUnder(expectedDir);
    for (const auto& [name, bytes] : expected) {
      const auto found = produced.find(name);
      if (found == produced.end()) {
        ADD_FAILURE() << name << ": expected, but the steps did not write it";
      } else if (found->second != bytes) {
        ADD_FAILURE() << testing::FirstDifference(name, bytes, found->second);
      }
    }
    for (const auto& [name, bytes] : produced) {
      if (!expected.count(name)) ADD_FAILURE() << name << ": written by the steps, but not in expected/";
    }
  }
  fs::remove_all(scratch);
}

std::string TestName(const ::testing::TestParamInfo<std::string>& info) {
  std::string name = info.param;
  for (char& c : name) {
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Cases, CaseTest, ::testing::ValuesIn(CaseNames()), TestName);

}  // namespace
}  // namespace kvl
