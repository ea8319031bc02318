#include "cli/isolation.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <new>

#include "cli/exit_codes.h"
#include "platform/replacing_file.h"
#include "platform/temporary_files.h"

namespace kvl::cli {
namespace {

// The child's status when an allocation failed under the memory limit.
constexpr int CHILD_OUT_OF_MEMORY = 86;

// How long a child that was passed a stop signal has to end before it is
// killed: it dies at once unless something in it holds the signal back.
constexpr auto kStopGrace = std::chrono::seconds(2);

// The signals that stop a run at the user's request: Ctrl-C, kill, and a
// closed terminal.
constexpr std::array<int, 3> kStopSignals = {SIGINT, SIGTERM, SIGHUP};

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
volatile sig_atomic_t g_stopSignal = 0;

void SendPhase(ChildPhase phase) {
  if (g_phaseWriter < 0) return;
  const char byte = phase;
  [[maybe_unused]] ssize_t n = ::write(g_phaseWriter, &byte, 1);
}

[[noreturn]] void OutOfMemory() {
  // Nothing may allocate here: leave at once with a status the parent knows.
  ::_exit(CHILD_OUT_OF_MEMORY);
}

// Literals, so that a signal handler can write them too.
const char* DuringPhase(char phase) {
  switch (phase) {
    case PHASE_EXPORTING: return "while exporting";
    case PHASE_READING_FILE: return "while reading the file";
    default: return "while reading the scene";
  }
}

const char* Culprit(char phase) {
  switch (phase) {
    case PHASE_EXPORTING: return "the exporter";
    case PHASE_READING_FILE: return "the reader";
    default: return "the importer";
  }
}

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

bool IsStopSignal(int signal) {
  return std::find(kStopSignals.begin(), kStopSignals.end(), signal) != kStopSignals.end();
}

std::string StopSignalName(int signal) {
  switch (signal) {
    case SIGINT: return "SIGINT";
    case SIGTERM: return "SIGTERM";
    default: return "SIGHUP";
  }
}

int StopExitStatus(int signal) {
  switch (signal) {
    case SIGINT: return EXIT_INTERRUPTED;
    case SIGTERM: return EXIT_TERMINATED;
    default: return EXIT_HANGUP;
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

std::string TimeFailure(const IsolationLimits& limits) {
  return "ran out of time (" + Seconds(limits.timeoutSeconds) + ")";
}

std::string MemoryFailure(const IsolationLimits& limits) {
  return "ran out of memory (limit " + Size(limits.memoryBytes) + ")";
}

std::string StopFailure(int signal) { return "stopped by " + StopSignalName(signal); }

// "kvlexp: SUBJECT: " and the end of the line, around the failure and the
// phase; a run that writes nothing does not say that nothing was written.
std::string LinePrefix(const SupervisedRun& run) { return "kvlexp: " + run.subject + ": "; }

std::string LineEnd(const SupervisedRun& run) {
  return run.outputs.empty() ? "\n" : "; nothing was written\n";
}

std::string FailureLine(const SupervisedRun& run, const std::string& failure, char phase) {
  return LinePrefix(run) + failure + " " + DuringPhase(phase) + LineEnd(run);
}

void ReadPhases(int fd, char& phase) {
  char buffer[64];
  ssize_t n;
  while ((n = ::read(fd, buffer, sizeof buffer)) > 0) phase = buffer[n - 1];
}

// The soft limit only, and never above a limit that was already there.
void LimitAddressSpace(uint64_t bytes) {
  // The sanitizers reserve far more address space than any limit allows.
  if (bytes == 0 || kAddressSanitizer) return;
  rlimit limit{};
  if (::getrlimit(RLIMIT_AS, &limit) != 0) return;
  if (limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur <= bytes) return;
  limit.rlim_cur = limit.rlim_max == RLIM_INFINITY ? bytes : std::min<rlim_t>(bytes, limit.rlim_max);
  ::setrlimit(RLIMIT_AS, &limit);
}

// The folders where the child's temporary files can be: beside each
// output, as named and as a link leads, and the further folders.
std::vector<std::string> TemporaryFolders(const SupervisedRun& run) {
  std::vector<std::string> folders = run.folders;
  for (const std::string& output : run.outputs) {
    folders.push_back(std::filesystem::path(output).parent_path().string());
    folders.push_back(std::filesystem::path(ReplacedFile(output)).parent_path().string());
  }
  std::sort(folders.begin(), folders.end());
  folders.erase(std::unique(folders.begin(), folders.end()), folders.end());
  return folders;
}

void NoteStopSignal(int signal) { g_stopSignal = signal; }

sigset_t StopSignalSet() {
  sigset_t set;
  sigemptyset(&set);
  for (int signal : kStopSignals) sigaddset(&set, signal);
  return set;
}

// While a child runs, a stop signal is noted rather than fatal, so that
// the child goes first and its files after it. A signal that was ignored
// (nohup) stays ignored.
struct StopHandlers {
  std::array<struct sigaction, kStopSignals.size()> previous{};
  std::array<bool, kStopSignals.size()> installed{};
};

void InstallStopHandlers(StopHandlers& handlers, void (*handler)(int)) {
  for (size_t i = 0; i < kStopSignals.size(); ++i) {
    ::sigaction(kStopSignals[i], nullptr, &handlers.previous[i]);
    if (handlers.previous[i].sa_handler == SIG_IGN) continue;
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;  // no restart: a poll or a wait returns at once
    handlers.installed[i] = ::sigaction(kStopSignals[i], &action, nullptr) == 0;
  }
}

void RestoreStopHandlers(const StopHandlers& handlers) {
  for (size_t i = 0; i < kStopSignals.size(); ++i) {
    if (handlers.installed[i]) ::sigaction(kStopSignals[i], &handlers.previous[i], nullptr);
  }
}

// Passes `signal` on and waits for the child; one that holds out is killed.
void StopChild(pid_t child, int signal, int& status) {
  ::kill(child, signal);
  const auto deadline = std::chrono::steady_clock::now() + kStopGrace;
  while (std::chrono::steady_clock::now() < deadline) {
    if (::waitpid(child, &status, WNOHANG) == child) return;
    const timespec pause{0, 20 * 1000 * 1000};
    ::nanosleep(&pause, nullptr);
  }
  ::kill(child, SIGKILL);
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
}

[[noreturn]] void RunChild(const SupervisedWork& work, const IsolationLimits& limits, pid_t parent,
                           const sigset_t& parentMask, int phaseWriter) {
  // Killed with the parent: an orphan would run past the time limit and
  // could replace the output after the command has already failed. The
  // parent may have died before the request took hold.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(EXIT_FAILED);
  ::sigprocmask(SIG_SETMASK, &parentMask, nullptr);
  g_phaseWriter = phaseWriter;
  LimitAddressSpace(limits.memoryBytes);
  std::set_new_handler(OutOfMemory);
  SendPhase(PHASE_STARTING);
  const int status = work([](ChildPhase phase) { SendPhase(phase); });
  std::cout.flush();
  std::cerr.flush();
  std::fflush(nullptr);
  ::_exit(status);
}

// What the in-process run's signal handlers and memory handler write and
// remove. Built in full before any of them can run, and only read by them:
// they must not allocate.
struct InProcessEnding {
  std::string prefix;
  std::string lineEnd;
  std::string timeFailure;
  std::string memoryFailure;
  std::array<std::string, kStopSignals.size()> stopFailures;
  std::vector<std::string> temporaries;
};

const InProcessEnding* g_ending = nullptr;
volatile sig_atomic_t g_inProcessPhase = PHASE_STARTING;

void WriteError(const char* text, size_t size) {
  while (size > 0) {
    const ssize_t n = ::write(STDERR_FILENO, text, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;
    text += n;
    size -= static_cast<size_t>(n);
  }
}

void WriteError(const std::string& text) { WriteError(text.data(), text.size()); }

void WriteError(const char* text) { WriteError(text, std::strlen(text)); }

[[noreturn]] void EndInProcess(const std::string& failure, int status) {
  WriteError(g_ending->prefix);
  WriteError(failure);
  WriteError(" ");
  WriteError(DuringPhase(static_cast<char>(g_inProcessPhase)));
  WriteError(g_ending->lineEnd);
  for (const std::string& temporary : g_ending->temporaries) ::unlink(temporary.c_str());
  ::_exit(status);
}

void InProcessTimeUp(int) { EndInProcess(g_ending->timeFailure, EXIT_FAILED); }

void InProcessOutOfMemory() { EndInProcess(g_ending->memoryFailure, EXIT_FAILED); }

void InProcessStop(int signal) {
  for (size_t i = 0; i < kStopSignals.size(); ++i) {
    if (kStopSignals[i] == signal) EndInProcess(g_ending->stopFailures[i], StopExitStatus(signal));
  }
  ::_exit(StopExitStatus(signal));
}

// An interval timer: alarm() counts whole seconds only. Far beyond any
// run, a limit is as good as none.
void ArmTimer(double seconds) {
  if (seconds <= 0) return;
  const double capped = std::min(seconds, 1e8);
  itimerval timer{};
  timer.it_value.tv_sec = static_cast<time_t>(capped);
  timer.it_value.tv_usec = static_cast<suseconds_t>((capped - std::floor(capped)) * 1e6);
  if (timer.it_value.tv_sec == 0 && timer.it_value.tv_usec == 0) timer.it_value.tv_usec = 1;
  ::setitimer(ITIMER_REAL, &timer, nullptr);
}

void DisarmTimer() {
  const itimerval none{};
  ::setitimer(ITIMER_REAL, &none, nullptr);
}

}  // namespace

std::optional<uint64_t> ParseSize(const std::string& text) {
  size_t digits = 0;
  uint64_t value = 0;
  for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9'; ++digits) {
    value = value * 10 + static_cast<uint64_t>(text[digits] - '0');
  }
  // No memory holds 10^15 of any unit: more digits are a slip of the
  // keyboard, and fewer cannot overflow before the unit is applied.
  if (digits == 0 || digits > 15) return std::nullopt;
  std::string unit = text.substr(digits);
  for (char& c : unit) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  int shift = -1;
  if (unit.empty()) shift = 0;
  if (unit == "k" || unit == "kib") shift = 10;
  if (unit == "m" || unit == "mib") shift = 20;
  if (unit == "g" || unit == "gib") shift = 30;
  if (unit == "t" || unit == "tib") shift = 40;
  if (shift < 0 || value > (UINT64_MAX >> shift)) return std::nullopt;
  return value << shift;
}

std::optional<double> ParseSeconds(const std::string& text) {
  // strtod would pass over leading blanks and take "inf" and "nan".
  if (text.empty() || std::isspace(static_cast<unsigned char>(text[0]))) return std::nullopt;
  char* end = nullptr;
  errno = 0;
  const double value = std::strtod(text.c_str(), &end);
  if (end != text.c_str() + text.size() || !std::isfinite(value) || value < 0) return std::nullopt;
  return value;
}

int RunIsolated(const SupervisedWork& work, const IsolationLimits& limits, const SupervisedRun& run,
                std::ostream& err) {
  // A temporary file that a killed run left beside an output goes now.
  for (const std::string& output : run.outputs) RemoveStaleTemporaries(output);
  int pipeFds[2];
  if (::pipe(pipeFds) != 0) {
    const int why = errno;  // before the stream can change it
    err << "kvlexp: " << run.subject << ": cannot start the process that reads it: " << std::strerror(why) << "\n";
    return EXIT_FAILED;
  }
  std::cout.flush();
  std::cerr.flush();
  // Held back from the fork until the handlers are in place, so that a
  // stop signal never finds the child without its parent's care.
  const sigset_t stopSignals = StopSignalSet();
  sigset_t previousMask;
  ::sigprocmask(SIG_BLOCK, &stopSignals, &previousMask);
  const pid_t parent = ::getpid();
  const pid_t child = ::fork();
  if (child < 0) {
    const int why = errno;
    ::sigprocmask(SIG_SETMASK, &previousMask, nullptr);
    err << "kvlexp: " << run.subject << ": cannot start the process that reads it: " << std::strerror(why) << "\n";
    ::close(pipeFds[0]);
    ::close(pipeFds[1]);
    return EXIT_FAILED;
  }
  if (child == 0) {
    ::close(pipeFds[0]);
    RunChild(work, limits, parent, previousMask, pipeFds[1]);
  }

  ::close(pipeFds[1]);
  g_stopSignal = 0;
  StopHandlers handlers;
  InstallStopHandlers(handlers, NoteStopSignal);
  ::sigprocmask(SIG_SETMASK, &previousMask, nullptr);
  ::fcntl(pipeFds[0], F_SETFL, ::fcntl(pipeFds[0], F_GETFL) | O_NONBLOCK);
  char phase = PHASE_STARTING;
  const auto start = std::chrono::steady_clock::now();
  bool timedOut = false;
  int stopSignal = 0;
  int status = 0;
  for (;;) {
    pollfd pfd{pipeFds[0], POLLIN, 0};
    ::poll(&pfd, 1, 100);
    if (pfd.revents & (POLLIN | POLLHUP)) ReadPhases(pipeFds[0], phase);
    if (g_stopSignal != 0) {
      stopSignal = g_stopSignal;
      StopChild(child, stopSignal, status);
      break;
    }
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
  RestoreStopHandlers(handlers);
  ReadPhases(pipeFds[0], phase);
  ::close(pipeFds[0]);

  // Ctrl-C on a terminal reaches the child as well, and may end it before
  // this process has seen its own copy.
  if (stopSignal == 0 && WIFSIGNALED(status) && IsStopSignal(WTERMSIG(status))) stopSignal = WTERMSIG(status);
  std::string failure;
  int exitStatus = EXIT_FAILED;
  if (stopSignal != 0) {
    failure = StopFailure(stopSignal);
    exitStatus = StopExitStatus(stopSignal);
  } else if (timedOut) {
    failure = TimeFailure(limits);
  } else if (WIFSIGNALED(status)) {
    failure = std::string(Culprit(phase)) + " crashed (" + SignalName(WTERMSIG(status)) + ")";
  } else if (WIFEXITED(status) && WEXITSTATUS(status) == CHILD_OUT_OF_MEMORY) {
    failure = MemoryFailure(limits);
  } else {
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILED;
  }
  // What the child left half-written goes; the old outputs were never touched.
  for (const std::string& folder : TemporaryFolders(run)) RemoveTemporariesOf(static_cast<long>(child), folder);
  err << FailureLine(run, failure, phase);
  return exitStatus;
}

int RunInProcess(const SupervisedWork& work, const IsolationLimits& limits, const SupervisedRun& run,
                 std::ostream& err) {
  for (const std::string& output : run.outputs) RemoveStaleTemporaries(output);
  static InProcessEnding ending;
  ending.prefix = LinePrefix(run);
  ending.lineEnd = LineEnd(run);
  ending.timeFailure = TimeFailure(limits);
  ending.memoryFailure = MemoryFailure(limits);
  for (size_t i = 0; i < kStopSignals.size(); ++i) ending.stopFailures[i] = StopFailure(kStopSignals[i]);
  ending.temporaries.clear();
  for (const std::string& output : run.outputs) {
    ending.temporaries.push_back(ReplacingFile::TemporaryName(ReplacedFile(output), static_cast<long>(::getpid())));
  }
  g_ending = &ending;
  g_inProcessPhase = PHASE_STARTING;
  err.flush();

  StopHandlers stopHandlers;
  InstallStopHandlers(stopHandlers, InProcessStop);
  struct sigaction timeUp {}, previousAlarm {};
  timeUp.sa_handler = InProcessTimeUp;
  sigemptyset(&timeUp.sa_mask);
  ::sigaction(SIGALRM, &timeUp, &previousAlarm);
  rlimit previousMemory{};
  const bool memoryKnown = ::getrlimit(RLIMIT_AS, &previousMemory) == 0;
  LimitAddressSpace(limits.memoryBytes);
  const std::new_handler previousNewHandler =
      limits.memoryBytes > 0 ? std::set_new_handler(InProcessOutOfMemory) : std::get_new_handler();
  ArmTimer(limits.timeoutSeconds);

  const int status = work([](ChildPhase phase) { g_inProcessPhase = phase; });

  DisarmTimer();
  std::set_new_handler(previousNewHandler);
  if (memoryKnown) ::setrlimit(RLIMIT_AS, &previousMemory);
  ::sigaction(SIGALRM, &previousAlarm, nullptr);
  RestoreStopHandlers(stopHandlers);
  return status;
}

}  // namespace kvl::cli
