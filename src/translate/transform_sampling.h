// Motion of a host node as a list of local transforms taken at equal steps
// of the animation range. The document knows no controllers: whatever the
// host uses to animate a node, only these samples reach the file.
#pragma once

#include <cstdint>
#include <optional>

#include "host/inode.h"
#include "host/max_types.h"
#include "scene/scene_nodes.h"
#include "settings/export_settings.h"

namespace kvl {

// The grid that both transform samples and vertex frames are taken on. It
// starts at the start of the animation range and stops before its end: the
// tick at the end of the range is never sampled.
struct SampleGrid {
  host::TimeValue start = 0;        // first tick of the animation range
  host::TimeValue ticksPerFrame = 0;
  int32_t samplerate = 1;           // frames per sample, not a rate
  int32_t step = 0;                 // ticks per sample
  int32_t range = 0;                // length of the animation range in ticks
  uint32_t count = 0;               // samples on the grid

  // False also for a count so large that it is negative as a signed number.
  bool HasSamples() const { return static_cast<int32_t>(count) > 0; }
  // The tick of sample i.
  host::TimeValue TickOf(uint32_t i) const;
  // Milliseconds from the start of the range to its end, truncated.
  int32_t EndTimeMs() const;
  // Samples per second; a fraction where the step does not divide a second.
  float SampleRate() const;
};

// `count` is the range divided by the step in unsigned arithmetic, the rest
// dropped, so a negative step never yields samples.
SampleGrid MakeSampleGrid(host::TimeValue animStart, host::TimeValue animEnd, host::TimeValue ticksPerFrame,
                          int32_t samplerate);

// Samples the node's local transform at every tick of the grid. Gives the
// sequence (start time 0, all channel bits set) when some component of some
// sample differs from the first sample by 1e-6 or more, and nothing when the
// node does not move over the grid.
std::optional<PRSSequence> SampleTransform(host::INode* node, const SampleGrid& grid,
                                           const ExportSettings& settings);

}  // namespace kvl
