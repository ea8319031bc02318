#include "translate/transform_sampling.h"

#include "translate/sample_compare.h"
#include "translate/coordinates.h"

namespace kvl {

host::TimeValue SampleGrid::TickOf(uint32_t i) const {
  // Wraps like the host's 32-bit ticks instead of overflowing.
  const int64_t tick = int64_t{ticksPerFrame} * int64_t{i} * int64_t{samplerate} + int64_t{start};
  return static_cast<host::TimeValue>(tick);
}

int32_t SampleGrid::EndTimeMs() const {
  // 1000 / 4800 ms per tick is 5 / 24; the product is formed wide so that a
  // long range does not overflow before the division.
  return static_cast<int32_t>(int64_t{5} * range / 24);
}

float SampleGrid::SampleRate() const {
  return static_cast<float>(host::TICKS_PER_SECOND) / static_cast<float>(step);
}

SampleGrid MakeSampleGrid(host::TimeValue animStart, host::TimeValue animEnd, host::TimeValue ticksPerFrame,
                          int32_t samplerate) {
  SampleGrid grid;
  grid.start = animStart;
  grid.ticksPerFrame = ticksPerFrame;
  grid.samplerate = samplerate;
  grid.step = static_cast<int32_t>(int64_t{ticksPerFrame} * samplerate);
  grid.range = static_cast<int32_t>(int64_t{animEnd} - animStart);
  // A step of 0 would divide by zero; it can only come from a settings file
  // that the options dialog did not check, and it means no samples.
  grid.count = grid.step == 0 ? 0 : static_cast<uint32_t>(grid.range) / static_cast<uint32_t>(grid.step);
  return grid;
}

std::optional<PRSSequence> SampleTransform(host::INode* node, const SampleGrid& grid,
                                           const ExportSettings& settings) {
  PRSSequence sequence;
  sequence.startTime = 0;
  sequence.endTime = grid.EndTimeMs();
  sequence.sampleRate = grid.SampleRate();
  sequence.flags = 0x000F;
  if (!grid.HasSamples()) return std::nullopt;

  // Every sample is taken even once a change is found, so that the list is
  // complete; the first sample is the reference for all the others.
  bool changed = false;
  for (uint32_t i = 0; i < grid.count; ++i) {
    PRSTransform sample;
    LocalTransform(node, grid.TickOf(i), sample, settings);
    if (i > 0 && ChangedChannels(sequence.samples.front(), sample) != 0) changed = true;
    sequence.samples.push_back(sample);
  }
  if (!changed) return std::nullopt;
  return sequence;
}

}  // namespace kvl
