// The whole export of a generated grid mesh, phase by phase, in both mesh
// layouts, with the optimiser on: time per million corners and peak memory.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "export/kvl_exp.h"
#include "grid_scene.h"  // tests/support
#include "dialogs/dialog_toolkit.h"
#include "host/host_files.h"
#include "ui/headless_toolkit.h"

namespace {

namespace fs = std::filesystem;

class PhaseTimes : public kvl::host::ExpInterface {
 public:
  void ReportPhase(const char* name, double seconds) override { phases[name] += seconds; }
  std::map<std::string, double> phases;
};

double PeakMemoryMiB() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024.0;  // kilobytes on Linux
}

// Columns x rows quads: 707 x 708 gives 1 001 112 triangles.
void ExportGrid(benchmark::State& state) {
  const auto columns = static_cast<uint32_t>(state.range(0));
  const auto rows = static_cast<uint32_t>(state.range(1));
  const bool vertexLayout = state.range(2) != 0;
  const fs::path folder = fs::temp_directory_path() / ("kvl_export_bench_" + std::to_string(::getpid()));
  fs::create_directories(folder);
  const fs::path previous = fs::current_path();
  fs::current_path(folder);  // the settings file goes into the working folder

  std::unique_ptr<kvl::host::MemoryScene> scene = kvl::testing::MakeGridScene(columns, rows, vertexLayout);
  const double triangles = 2.0 * columns * rows;
  PhaseTimes times;
  for (auto _ : state) {
    kvl::host::MemoryInterface core(*scene);
    std::ostringstream logShown, errors;
    kvl::ui::HeadlessToolkit toolkit({{"displaylog", "0"}}, false, logShown, errors);
    kvl::host::SetCOREInterface(&core);
    kvl::SetDialogToolkit(&toolkit);
    kvl::KVLExp exporter;
    exporter.DoExport("grid.kvl", &times, &core, false, 0);
    kvl::SetDialogToolkit(nullptr);
    kvl::host::SetCOREInterface(nullptr);
  }
  const double runs = static_cast<double>(state.iterations());
  for (const auto& [name, seconds] : times.phases) state.counters[name + "_s"] = seconds / runs;
  state.counters["triangles"] = triangles;
  state.counters["s_per_Mcorner"] = benchmark::Counter(3.0 * triangles / 1e6, benchmark::Counter::kIsIterationInvariantRate |
                                                                            benchmark::Counter::kInvert);
  state.counters["peak_MiB"] = PeakMemoryMiB();
  state.counters["file_MiB"] = static_cast<double>(fs::file_size("grid.kvl")) / (1024.0 * 1024.0);
  fs::current_path(previous);
  fs::remove_all(folder);
}

BENCHMARK(ExportGrid)
    ->ArgNames({"columns", "rows", "vertex_layout"})
    ->Args({317, 316, 0})  // 200 344 triangles, triangle layout
    ->Args({317, 316, 1})  // the same, vertex layout
    ->Args({707, 708, 0})  // 1 001 112 triangles
    ->Args({707, 708, 1})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
