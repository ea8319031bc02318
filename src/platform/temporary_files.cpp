#include "platform/temporary_files.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

namespace kvl {
namespace {

namespace fs = std::filesystem;

constexpr const char* kMark = ".kvlexp-";
constexpr const char* kEnding = ".tmp";

// The pid in a temporary name ".NAME.kvlexp-PID.tmp", with NAME; nothing
// for any other name, so that no file of the user's is ever taken for one.
struct TemporaryName {
  std::string target;
  long pid = 0;
};

std::optional<TemporaryName> ParseTemporaryName(const std::string& name) {
  const std::string mark = kMark, ending = kEnding;
  if (name.size() < 1 + mark.size() + 1 + ending.size() || name[0] != '.') return std::nullopt;
  if (name.compare(name.size() - ending.size(), ending.size(), ending) != 0) return std::nullopt;
  const size_t at = name.rfind(mark, name.size() - ending.size());
  if (at == std::string::npos || at < 2) return std::nullopt;  // NAME is never empty
  const size_t digitsStart = at + mark.size();
  const size_t digitsEnd = name.size() - ending.size();
  // Pids are positive ints; more digits than an int holds are no pid.
  if (digitsEnd <= digitsStart || digitsEnd - digitsStart > 10) return std::nullopt;
  long long pid = 0;
  for (size_t i = digitsStart; i < digitsEnd; ++i) {
    if (name[i] < '0' || name[i] > '9') return std::nullopt;
    pid = pid * 10 + (name[i] - '0');
  }
  if (pid <= 0 || pid > INT_MAX) return std::nullopt;
  return TemporaryName{name.substr(1, at - 1), static_cast<long>(pid)};
}

struct ProcessState {
  std::string name;
  char state = '?';
};

// From /proc/PID/stat: "PID (NAME) STATE ...". The name may hold spaces
// and parentheses itself, so it ends at the last ')'.
std::optional<ProcessState> ReadProcessState(const std::string& statPath) {
  std::ifstream in(statPath);
  if (!in) return std::nullopt;
  const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  const size_t open = text.find('('), close = text.rfind(')');
  if (open == std::string::npos || close == std::string::npos || close < open || close + 2 >= text.size()) {
    return std::nullopt;
  }
  return ProcessState{text.substr(open + 1, close - open - 1), text[close + 2]};
}

void RemoveIfFile(const fs::path& path) {
  std::error_code ec;
  // A folder or a device of that name is no temporary file of ours.
  if (fs::is_regular_file(fs::symlink_status(path, ec))) fs::remove(path, ec);
}

}  // namespace

std::string ReplacedFile(const std::string& path) {
  std::error_code ec;
  if (!fs::is_symlink(fs::symlink_status(path, ec))) return path;
  const fs::path resolved = fs::canonical(path, ec);
  return ec ? path : resolved.string();
}

bool IsOursAndAlive(long pid) {
  if (pid <= 0 || pid > INT_MAX) return false;
  const std::optional<ProcessState> other = ReadProcessState("/proc/" + std::to_string(pid) + "/stat");
  if (!other) {
    // Without /proc only the pid can tell; a process that may be there
    // keeps its files.
    return !(::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH);
  }
  // A zombie has ended: nothing of it writes any more.
  if (other->state == 'Z' || other->state == 'X') return false;
  const std::optional<ProcessState> self = ReadProcessState("/proc/self/stat");
  return !self || self->name == other->name;
}

void RemoveTemporariesOf(long pid, const std::string& folder) {
  std::error_code ec;
  for (fs::directory_iterator it(folder.empty() ? "." : folder, ec), end; !ec && it != end; it.increment(ec)) {
    const std::optional<TemporaryName> temporary = ParseTemporaryName(it->path().filename().string());
    if (temporary && temporary->pid == pid) RemoveIfFile(it->path());
  }
}

void RemoveStaleTemporaries(const std::string& path) {
  const fs::path target(ReplacedFile(path));
  const std::string name = target.filename().string();
  if (name.empty()) return;
  const fs::path folder = target.parent_path().empty() ? fs::path(".") : target.parent_path();
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    const std::optional<TemporaryName> temporary = ParseTemporaryName(it->path().filename().string());
    if (!temporary || temporary->target != name || temporary->pid == static_cast<long>(::getpid())) continue;
    if (!IsOursAndAlive(temporary->pid)) RemoveIfFile(it->path());
  }
}

}  // namespace kvl
