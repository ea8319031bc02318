// When two animation samples count as the same. The animation path uses one
// absolute tolerance for every component; the difference is formed in f32
// and compared strictly, so a difference of exactly the tolerance is a change.
#pragma once

#include <cmath>
#include <cstdint>

#include "scene/scene_nodes.h"

namespace kvl {

inline constexpr double SAMPLE_EQUALITY_TOLERANCE = 1e-6;

inline bool SameComponent(float a, float b) { return std::fabs(a - b) < SAMPLE_EQUALITY_TOLERANCE; }

// The PRS_POSITION, PRS_ROTATION and PRS_SCALE bits of the channels in which
// `sample` differs from `reference` in at least one component. The rotation
// is compared as four plain numbers: q and -q differ.
inline uint16_t ChangedChannels(const PRSTransform& reference, const PRSTransform& sample) {
  uint16_t changed = 0;
  for (int k = 0; k < 3; ++k) {
    if (!SameComponent(reference.position[k], sample.position[k])) changed |= PRS_POSITION;
    if (!SameComponent(reference.scale[k], sample.scale[k])) changed |= PRS_SCALE;
  }
  for (int k = 0; k < 4; ++k) {
    if (!SameComponent(reference.rotation[k], sample.rotation[k])) changed |= PRS_ROTATION;
  }
  return changed;
}

inline bool SameSample(const PRSTransform& a, const PRSTransform& b) { return ChangedChannels(a, b) == 0; }

}  // namespace kvl
