#include "cli/export_stats.h"

#include <cstdio>
#include <ostream>

namespace kvl::cli {
namespace {

void Row(std::ostream& out, const std::string& name, const std::string& value) {
  char line[96];
  std::snprintf(line, sizeof line, "  %-12s %14s\n", name.c_str(), value.c_str());
  out << line;
}

std::string Seconds(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f s", seconds);
  return text;
}

}  // namespace

void PrintStats(std::ostream& out, double loadSeconds, const ExportRun& run, uint64_t bytesWritten) {
  out << "kvlexp: statistics\n";
  Row(out, "load", Seconds(loadSeconds));
  double exportSeconds = 0;
  for (const auto& [name, seconds] : run.phases) {
    Row(out, name, Seconds(seconds));
    exportSeconds += seconds;
  }
  Row(out, "export", Seconds(exportSeconds));
  for (const auto& [name, value] : run.counts) Row(out, name, std::to_string(value));
  Row(out, "bytes", std::to_string(bytesWritten));
}

}  // namespace kvl::cli
