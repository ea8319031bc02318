#include "translate/sample_reduction.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "translate/sample_compare.h"

namespace kvl {
namespace {

void TrimHead(PRSSequence& sequence) {
  auto& samples = sequence.samples;
  // Compared with the first sample throughout, not with the neighbour: a slow
  // drift is measured from where it started.
  const PRSTransform first = samples.front();
  float start = static_cast<float>(sequence.startTime);
  const float period = 1000.0f / sequence.sampleRate;
  size_t drop = 0;
  // Sample drop + 1 is looked at before sample drop goes, so the last pose of
  // the motionless head stays as the pose right before the motion.
  while (drop + 1 < samples.size() && SameSample(samples[drop + 1], first)) {
    ++drop;
    start -= period;
  }
  samples.erase(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(drop));
  // Truncated once, at the end, so that the rounding does not add up.
  sequence.startTime = static_cast<int32_t>(start);
}

void TrimTail(PRSSequence& sequence) {
  auto& samples = sequence.samples;
  const PRSTransform last = samples.back();
  // Equality is not transitive, so everything may turn out to lie within the
  // tolerance of the last sample: the loop stops at one sample rather than
  // reading in front of the list.
  while (samples.size() > 1 && SameSample(samples[samples.size() - 2], last)) samples.pop_back();
}

void ClearConstantChannels(PRSSequence& sequence) {
  constexpr uint16_t kAllChannels = PRS_POSITION | PRS_ROTATION | PRS_SCALE;
  uint16_t changed = 0;
  for (const PRSTransform& sample : sequence.samples) {
    changed |= ChangedChannels(sequence.samples.front(), sample);
    if (changed == kAllChannels) break;
  }
  sequence.flags = static_cast<uint16_t>(sequence.flags & ~(kAllChannels & ~changed));
}

// The components of one channel of a sample, and how many there are.
struct Channel {
  uint16_t bit;
  float tolerance;
  int size;
  const float* (*components)(const PRSTransform&);
};

// Whether a straight line from sample a to sample b, component by component,
// predicts every sample between them within each flagged channel's tolerance.
// The arithmetic is f32 throughout, as the values are.
bool IsStraight(const PRSSequence& sequence, const Channel (&channels)[3], uint16_t flags, size_t a, size_t b) {
  const auto& samples = sequence.samples;
  for (const Channel& channel : channels) {
    if (!(flags & channel.bit)) continue;
    for (int k = 0; k < channel.size; ++k) {
      const float va = channel.components(samples[a])[k];
      const float vb = channel.components(samples[b])[k];
      const float slope = (vb - va) / static_cast<float>(b - a);
      for (size_t i = a + 1; i < b; ++i) {
        const float expected = static_cast<float>(i - a) * slope + va;
        if (std::fabs(channel.components(samples[i])[k] - expected) > channel.tolerance) return false;
      }
    }
  }
  return true;
}

// The index of the next key after key a: the last sample that a line from a
// still reaches, or n (the sample count) when the line reaches the end.
size_t NextKeyIndex(const PRSSequence& sequence, const Channel (&channels)[3], uint16_t flags, size_t a) {
  const size_t n = sequence.samples.size();
  for (size_t b = a + 1; b < n; ++b) {
    if (!IsStraight(sequence, channels, flags, a, b)) return b - 1;
  }
  return n;
}

}  // namespace

void TrimSequence(PRSSequence& sequence) {
  if (sequence.samples.empty()) return;
  TrimHead(sequence);
  TrimTail(sequence);
  ClearConstantChannels(sequence);
}

PRSKeySequence MakeKeySequence(const PRSSequence& sequence, const ExportSettings& settings) {
  PRSKeySequence keys;
  keys.flags = sequence.flags;
  const auto& samples = sequence.samples;
  if (samples.empty()) return keys;

  const Channel channels[3] = {
      {PRS_POSITION, settings.postolerance, 3, [](const PRSTransform& t) -> const float* { return t.position; }},
      {PRS_ROTATION, settings.rottolerance, 4, [](const PRSTransform& t) -> const float* { return t.rotation; }},
      {PRS_SCALE, settings.scaletolerance, 3, [](const PRSTransform& t) -> const float* { return t.scale; }},
  };

  // The head was motionless, so the first pose holds from the start of the
  // range on, whatever `startTime` says.
  keys.keys.emplace(0u, samples.front());
  const size_t n = samples.size();
  size_t index = 0;
  while (index < n) {
    index = NextKeyIndex(sequence, channels, keys.flags, index);
    // The last sample comes back with index n: its key lies one period after
    // the sample's own time, at the end of what the samples cover.
    const PRSTransform& sample = samples[index < n ? index : n - 1];
    const double ms = static_cast<double>(index) * 1000.0 / sequence.sampleRate - sequence.startTime;
    // An existing key of the same time keeps its place.
    keys.keys.emplace(static_cast<uint32_t>(static_cast<int64_t>(ms)), sample);
  }
  return keys;
}

}  // namespace kvl
