// What the host hands the exporter besides its Interface: the run's
// preferences, and a place for the exporter's timings and counts, which
// `--stats` prints as a table.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/plugin_bases.h"

namespace kvl::cli {

class ExportRun : public host::ExpInterface {
 public:
  explicit ExportRun(bool split) : split_(split) {}

  bool SplitOversizedMeshes() override { return split_; }
  void ReportPhase(const char* name, double seconds) override { phases.emplace_back(name, seconds); }
  void ReportCount(const char* name, uint64_t value) override { counts.emplace_back(name, value); }
  void ReportOutput(const char*, const char* failure) override {
    outputReported = true;
    outputFailure = failure ? failure : "";
  }
  const char* CheckOutput(const char* temporaryPath) override {
    if (!check) return nullptr;
    checked = true;
    checkProblem = check(temporaryPath);
    return checkProblem.empty() ? nullptr : checkProblem.c_str();
  }

  std::vector<std::pair<std::string, double>> phases;
  std::vector<std::pair<std::string, uint64_t>> counts;
  bool outputReported = false;  // a writer ran
  std::string outputFailure;    // why the output is not whole; empty if it is
  // What the complete output is checked with before it replaces the old
  // file (--verify), and what the check found.
  std::function<std::string(const std::string&)> check;
  bool checked = false;
  std::string checkProblem;

 private:
  bool split_;
};

// The phases (the load first) with their times, then the counts, aligned.
void PrintStats(std::ostream& out, double loadSeconds, const ExportRun& run, uint64_t bytesWritten);

}  // namespace kvl::cli
