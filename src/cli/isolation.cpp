#include "cli/isolation.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <new>

#include "cli/exit_codes.h"
#include "platform/replacing_file.h"

namespace kvl::cli {
namespace {

// The child's status when an allocation failed under the memory limit.
constexpr int CHILD_OUT_OF_MEMORY = 86;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kAddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kAddressSanitizer = true;
#else
constexpr bool kAddressSanitizer = false;
#endif
#else
constexpr bool kAddressSanitizer = false;
#endif

int g_phaseWriter = -1;

void SendPhase(ChildPhase phase) {
  if (g_phaseWriter < 0) return;
  const char byte = phase;
  [[maybe_unused]] ssize_t n = ::write(g_phaseWriter, &byte, 1);
}

[[noreturn]] void OutOfMemory() {
  // Nothing may allocate here: leave at once with a status the parent knows.
  ::_exit(CHILD_OUT_OF_MEMORY);
}

std::string DuringPhase(char phase) {
  return phase == PHASE_EXPORTING ? "while exporting" : "while reading the scene";
}

std::string Culprit(char phase) { return phase == PHASE_EXPORTING ? "the exporter" : "the importer"; }

std::string SignalName(int signal) {
  switch (signal) {
    case SIGSEGV: return "segmentation fault";
    case SIGABRT: return "aborted";
    case SIGBUS: return "bus error";
    case SIGFPE: return "arithmetic error";
    case SIGILL: return "illegal instruction";
    case SIGKILL: return "killed";
    default: {
      const char* name = ::strsignal(signal);
      return name ? name : "signal " + std::to_string(signal);
    }
  }
}

std::string Size(uint64_t bytes) {
  if (bytes % (1ull << 30) == 0) return std::to_string(bytes >> 30) + " GiB";
  if (bytes % (1ull << 20) == 0) return std::to_string(bytes >> 20) + " MiB";
  return std::to_string(bytes) + " bytes";
}

std::string Seconds(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%g s", seconds);
  return text;
}

void ReadPhases(int fd, char& phase) {
  char buffer[64];
  ssize_t n;
  while ((n = ::read(fd, buffer, sizeof buffer)) > 0) phase = buffer[n - 1];
}

}  // namespace

std::optional<uint64_t> ParseSize(const std::string& text) {
  if (text.empty()) return std::nullopt;
  size_t digits = 0;
  while (digits < text.size() && text[digits] >= '0' && text[digits] <= '9') ++digits;
  if (digits == 0 || digits > 15) return std::nullopt;
  uint64_t value = std::stoull(text.substr(0, digits));
  const std::string unit = text.substr(digits);
  if (unit.empty()) return value;
  if (unit == "K" || unit == "k" || unit == "KiB") return value << 10;
  if (unit == "M" || unit == "MiB") return value << 20;
  if (unit == "G" || unit == "GiB") return value << 30;
  return std::nullopt;
}

int RunIsolated(const std::function<int(const PhaseSignal&)>& work, const IsolationLimits& limits,
                const std::string& scenePath, const std::string& outputPath, std::ostream& err) {
  int pipeFds[2];
  if (::pipe(pipeFds) != 0) {
    err << "kvlexp: cannot start the export: " << std::strerror(errno) << "\n";
    return EXIT_FAILED;
  }
  std::cout.flush();
  std::cerr.flush();
  const pid_t child = ::fork();
  if (child < 0) {
    err << "kvlexp: cannot start the export: " << std::strerror(errno) << "\n";
    ::close(pipeFds[0]);
    ::close(pipeFds[1]);
    return EXIT_FAILED;
  }
  if (child == 0) {
    ::close(pipeFds[0]);
    g_phaseWriter = pipeFds[1];
    // The sanitizers reserve far more address space than any limit allows.
    if (limits.memoryBytes > 0 && !kAddressSanitizer) {
      rlimit limit{limits.memoryBytes, limits.memoryBytes};
      ::setrlimit(RLIMIT_AS, &limit);
    }
    std::set_new_handler(OutOfMemory);
    SendPhase(PHASE_STARTING);
    const int status = work([](ChildPhase phase) { SendPhase(phase); });
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    ::_exit(status);
  }

  ::close(pipeFds[1]);
  ::fcntl(pipeFds[0], F_SETFL, ::fcntl(pipeFds[0], F_GETFL) | O_NONBLOCK);
  char phase = PHASE_STARTING;
  const auto start = std::chrono::steady_clock::now();
  bool timedOut = false;
  int status = 0;
  for (;;) {
    pollfd pfd{pipeFds[0], POLLIN, 0};
    ::poll(&pfd, 1, 100);
    if (pfd.revents & (POLLIN | POLLHUP)) ReadPhases(pipeFds[0], phase);
    const pid_t done = ::waitpid(child, &status, WNOHANG);
    if (done == child) break;
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (limits.timeoutSeconds > 0 && elapsed > limits.timeoutSeconds) {
      timedOut = true;
      ::kill(child, SIGKILL);
      ::waitpid(child, &status, 0);
      break;
    }
  }
  ReadPhases(pipeFds[0], phase);
  ::close(pipeFds[0]);

  std::string failure;
  if (timedOut) {
    failure = "ran out of time (" + Seconds(limits.timeoutSeconds) + ") " + DuringPhase(phase);
  } else if (WIFSIGNALED(status)) {
    failure = Culprit(phase) + " crashed (" + SignalName(WTERMSIG(status)) + ") " + DuringPhase(phase);
  } else if (WIFEXITED(status) && WEXITSTATUS(status) == CHILD_OUT_OF_MEMORY) {
    failure = "ran out of memory (limit " + Size(limits.memoryBytes) + ") " + DuringPhase(phase);
  } else {
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILED;
  }
  // What the child left half-written goes; the old output was never touched.
  std::remove(ReplacingFile::TemporaryName(outputPath, static_cast<long>(child)).c_str());
  err << "kvlexp: " << scenePath << ": " << failure << "; nothing was written\n";
  return EXIT_FAILED;
}

}  // namespace kvl::cli
