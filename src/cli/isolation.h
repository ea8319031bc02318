// Runs the load and the export in a child process, so that whatever happens
// in there (an importer that crashes on a malformed file, runs forever or
// allocates without bound) the command line can still say what happened,
// leave no output file behind, and exit cleanly.
#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>

namespace kvl::cli {

struct IsolationLimits {
  double timeoutSeconds = 600;               // 0: none
  uint64_t memoryBytes = 8ull << 30;         // address space of the child; 0: none
};

// What the child is doing, as far as the parent needs to tell the user.
enum ChildPhase : char {
  PHASE_STARTING = 's',
  PHASE_READING = 'r',    // loading the scene
  PHASE_EXPORTING = 'e',  // the exporter at work
};

using PhaseSignal = std::function<void(ChildPhase)>;

// Runs `work` in a child and returns its exit status. When the child dies
// by a signal, passes the time limit or runs out of memory, prints one line
// on `err` naming `scenePath` and what happened, removes the child's
// half-written temporary output for `outputPath`, and returns EXIT_FAILED.
int RunIsolated(const std::function<int(const PhaseSignal&)>& work, const IsolationLimits& limits,
                const std::string& scenePath, const std::string& outputPath, std::ostream& err);

// "512M", "8G", "1048576", "0": a size in bytes; nothing if it is no size.
std::optional<uint64_t> ParseSize(const std::string& text);

}  // namespace kvl::cli
