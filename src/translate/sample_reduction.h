// Shortening a sample list: a motionless head and tail go, channels that
// never change lose their bit, and on request the even grid becomes an
// uneven list of keys that a straight line between them predicts.
#pragma once

#include "scene/scene_nodes.h"
#include "settings/export_settings.h"

namespace kvl {

// Drops leading samples that equal the first one (keeping the last of them,
// the pose right before the motion) and lowers `startTime` by one sample
// period for each; drops trailing samples that equal the last one (keeping
// the first of them); then clears the bit of every channel that stays within
// the tolerance of the first sample. `endTime` and `sampleRate` stay.
void TrimSequence(PRSSequence& sequence);

// Keys from a trimmed sequence: sample 0 at time 0, then each sample that
// ends the longest span a straight line from the previous key can stand for
// within `postolerance`, `rottolerance` and `scaletolerance`. The last sample
// is keyed one sample period after its own time. Only flagged channels count.
PRSKeySequence MakeKeySequence(const PRSSequence& sequence, const ExportSettings& settings);

}  // namespace kvl
