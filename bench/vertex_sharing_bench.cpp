// Vertex sharing on a large mesh in the vertex layout: the plain scan that
// compares each corner with every vertex placed so far, beside the placer
// that only looks at the vertices of the corner's own host vertex.
//
// The mesh is a grid of quads, two triangles each, every corner with a
// normal, a colour and texture coordinates; the smoothing group changes per
// row of quads, so host vertices on the rows' borders split in two.
#include <benchmark/benchmark.h>

#include <ctime>
#include <cstdio>
#include <vector>

#include "scene/vertex_list.h"

namespace {

using kvl::Vertex;
using kvl::VertexList;

constexpr uint32_t kFlags = kvl::VERTEX_NORMAL | kvl::VERTEX_COLOR | kvl::VERTEX_UV;

// Corners of a grid of `side` x `side` quads, in face order.
std::vector<Vertex> GridCorners(int side) {
  std::vector<Vertex> corners;
  corners.reserve(static_cast<size_t>(side) * side * 6);
  const int stride = side + 1;
  auto corner = [&](int x, int y, int row) {
    Vertex v;
    v.position[0] = static_cast<float>(x);
    v.position[2] = static_cast<float>(y);
    v.normal[1] = 1.0f;
    v.color = 0xFF808080u;
    v.u = static_cast<float>(x) / static_cast<float>(side);
    v.v = static_cast<float>(y) / static_cast<float>(side);
    v.smoothingGroup = 1u << (row % 32);
    v.flags = kFlags;
    v.sourceVertex = static_cast<uint32_t>(y * stride + x);
    corners.push_back(v);
  };
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      corner(x, y, y), corner(x + 1, y, y), corner(x + 1, y + 1, y);
      corner(x, y, y), corner(x + 1, y + 1, y), corner(x, y + 1, y);
    }
  }
  return corners;
}

// 183 x 183 quads: 200 934 corners.
constexpr int kSide = 183;

const std::vector<Vertex>& Corners() {
  static const std::vector<Vertex> corners = GridCorners(kSide);
  return corners;
}

void FillScanned(VertexList& list) {
  for (const Vertex& v : Corners()) benchmark::DoNotOptimize(kvl::PlaceVertex(list, v));
}

void FillIndexed(VertexList& list) {
  kvl::VertexPlacer placer(list);
  for (const Vertex& v : Corners()) benchmark::DoNotOptimize(placer.Place(v));
}

// Fastest fill seen by each benchmark, and the vertices it made, for the
// comparison printed at the end.
struct Fastest {
  double seconds = 1e300;
  size_t vertices = 0;
};
Fastest scanned, indexed;

void Run(benchmark::State& state, void (*fill)(VertexList&), Fastest& fastest) {
  for (auto _ : state) {
    VertexList list;
    list.flags = kFlags;
    // Processor time: the machine may be busy with other work.
    const std::clock_t start = std::clock();
    fill(list);
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    if (seconds < fastest.seconds) fastest.seconds = seconds;
    fastest.vertices = list.vertices.size();
  }
  state.counters["corners"] = static_cast<double>(Corners().size());
  state.counters["vertices"] = static_cast<double>(fastest.vertices);
}

void BM_PlainScan(benchmark::State& state) { Run(state, FillScanned, scanned); }
void BM_Indexed(benchmark::State& state) { Run(state, FillIndexed, indexed); }

// The scan takes tens of seconds: one run of it is enough.
BENCHMARK(BM_PlainScan)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_Indexed)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  if (scanned.vertices == 0 || indexed.vertices == 0) return 0;  // a filter left one out
  // The two must agree before their times mean anything.
  if (scanned.vertices != indexed.vertices) {
    std::fprintf(stderr, "vertex_sharing_bench: the two placements disagree (%zu and %zu vertices)\n",
                 scanned.vertices, indexed.vertices);
    return 1;
  }
  std::printf("corners: %zu, vertices: %zu\n", Corners().size(), indexed.vertices);
  std::printf("processor time: plain scan %.3f s, indexed %.4f s, ratio %.0f\n", scanned.seconds, indexed.seconds,
              scanned.seconds / indexed.seconds);
  return 0;
}
