// Runs the load and the export (or info's load, or the reading of a KVL
// file) in a child process, so that whatever happens in there (an importer
// that crashes on a malformed file, runs forever or allocates without
// bound, or the user's Ctrl-C) the command line can still say what
// happened, leave no output file behind, and exit cleanly.
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace kvl::cli {

struct IsolationLimits {
  double timeoutSeconds = 600;               // 0: none
  uint64_t memoryBytes = 8ull << 30;         // address space of the child; 0: none
};

// What the child is doing, as far as the parent needs to tell the user.
enum ChildPhase : char {
  PHASE_STARTING = 's',
  PHASE_READING = 'r',       // loading the scene
  PHASE_EXPORTING = 'e',     // the exporter at work
  PHASE_READING_FILE = 'f',  // reading a KVL file (inspect, validate, preview)
};

using PhaseSignal = std::function<void(ChildPhase)>;
using SupervisedWork = std::function<int(const PhaseSignal&)>;

// What a supervised run works on: what its one line names when it fails,
// and where it may leave half-written temporary files.
struct SupervisedRun {
  std::string subject;               // the scene or file the line names
  std::vector<std::string> outputs;  // files it replaces (a link stands for its target)
  std::vector<std::string> folders;  // further folders it writes into (the exporter's log and settings)
};

// Runs `work` in a child and returns its exit status. When the child dies
// by a signal, passes the time limit or runs out of memory, prints one line
// on `err` naming the subject and what happened, removes the child's
// temporary files, and returns EXIT_FAILED. SIGINT, SIGTERM and SIGHUP are
// passed on to the child and end the run the same way with 128 + the signal.
// The child dies with this process.
int RunIsolated(const SupervisedWork& work, const IsolationLimits& limits, const SupervisedRun& run,
                std::ostream& err);

// The same limits and lines in this process, for debugging: the time limit
// and the signals end the process (after removing its temporary files),
// as does an allocation beyond the memory limit.
int RunInProcess(const SupervisedWork& work, const IsolationLimits& limits, const SupervisedRun& run,
                 std::ostream& err);

// "512M", "8g", "2T", "1048576", "0": a size in bytes; nothing if it is no
// size or does not fit in 64 bits.
std::optional<uint64_t> ParseSize(const std::string& text);

// "600", "0.5", "0": seconds; nothing for a negative, infinite or NaN
// value or text that is no number.
std::optional<double> ParseSeconds(const std::string& text);

}  // namespace kvl::cli
