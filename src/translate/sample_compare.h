// When two animation samples count as the same, and when a channel counts as
// changed. Both use one absolute tolerance for every component, formed from
// the f32 values and compared with a double. The two questions read alike
// and differ for NaN alone: a NaN difference is neither "below the
// tolerance" (so the trim loops keep such a sample) nor "the tolerance or
// more" (so it never marks a channel as moving). Hence two helpers.
#pragma once

#include <cmath>
#include <cstdint>

#include "scene/scene_nodes.h"

namespace kvl {

inline constexpr double SAMPLE_EQUALITY_TOLERANCE = 1e-6;

inline bool SameComponent(float a, float b) { return std::fabs(a - b) < SAMPLE_EQUALITY_TOLERANCE; }
inline bool ComponentMoved(float a, float b) { return std::fabs(a - b) >= SAMPLE_EQUALITY_TOLERANCE; }

// The PRS_POSITION, PRS_ROTATION and PRS_SCALE bits of the channels in which
// `sample` moved away from `reference` in at least one component. The
// rotation is compared as four plain numbers: q and -q differ.
inline uint16_t ChangedChannels(const PRSTransform& reference, const PRSTransform& sample) {
  uint16_t changed = 0;
  for (int k = 0; k < 3; ++k) {
    if (ComponentMoved(reference.position[k], sample.position[k])) changed |= PRS_POSITION;
    if (ComponentMoved(reference.scale[k], sample.scale[k])) changed |= PRS_SCALE;
  }
  for (int k = 0; k < 4; ++k) {
    if (ComponentMoved(reference.rotation[k], sample.rotation[k])) changed |= PRS_ROTATION;
  }
  return changed;
}

// Every component of the two samples equal, that is within the tolerance.
inline bool SameSample(const PRSTransform& a, const PRSTransform& b) {
  for (int k = 0; k < 3; ++k) {
    if (!SameComponent(a.position[k], b.position[k]) || !SameComponent(a.scale[k], b.scale[k])) return false;
  }
  for (int k = 0; k < 4; ++k) {
    if (!SameComponent(a.rotation[k], b.rotation[k])) return false;
  }
  return true;
}

}  // namespace kvl
