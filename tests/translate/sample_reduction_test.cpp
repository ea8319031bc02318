// Trimming and key reduction over sample lists no scene gives exactly: drifts
// a hair under the tolerance, q against -q, tolerances that only the settings
// file can set. Whole animated nodes are cases (anim-*).
#include "translate/sample_reduction.h"

#include <gtest/gtest.h>

#include <vector>

namespace kvl {
namespace {

// A sample with all ten components given, the rotation as four plain numbers.
PRSTransform Sample(float px, float rx = 0, float rz = 0, float rw = 1, float sz = 1) {
  PRSTransform t;
  t.position[0] = px;
  t.rotation[0] = rx, t.rotation[2] = rz, t.rotation[3] = rw;
  t.scale[0] = t.scale[1] = 1, t.scale[2] = sz;
  return t;
}

PRSSequence Sequence(const std::vector<float>& xs, float sampleRate = 10.0f) {
  PRSSequence s;
  s.startTime = 0;
  s.endTime = 12345;
  s.sampleRate = sampleRate;
  s.flags = 0xF;
  for (float x : xs) s.samples.push_back(Sample(x));
  return s;
}

std::vector<float> Xs(const PRSSequence& s) {
  std::vector<float> xs;
  for (const PRSTransform& t : s.samples) xs.push_back(t.position[0]);
  return xs;
}

TEST(TrimSequence, MotionlessEndsGoAndTheStartMovesBack) {
  const float d = 0.6e-6f;  // half the tolerance
  struct Case {
    std::vector<float> in;
    float rate;
    std::vector<float> out;
    int32_t start;
  };
  const Case cases[] = {
      // The head leaves its last sample, two periods of 100 ms earlier.
      {{0, 0, 0, 1, 2}, 10, {0, 1, 2}, -200},
      // The tail leaves its first; the end time stays.
      {{0, 1, 2, 2, 2}, 10, {0, 1, 2}, 0},
      {{0, 1, 0}, 10, {0, 1, 0}, 0},
      // Periods of 33.3 ms: truncated once at the end (three make -100, not -99).
      {{0, 0, 1}, 30, {0, 1}, -33},
      {{0, 0, 0, 0, 1}, 30, {0, 1}, -100},
      // Compared with the ends, not with the neighbours: the drift ends the
      // head at 2d, which is 1.2e-6 from the first.
      {{0, d, 2 * d, 3 * d, 1}, 10, {d, 2 * d, 3 * d, 1}, -100},
      // Everything within the tolerance of the last sample: the tail loop
      // stops at one sample instead of reading in front of the list.
      {{0, d, 2 * d}, 10, {d}, -100},
      {{0, 2 * d, d}, 10, {0}, 0},
  };
  for (const Case& c : cases) {
    PRSSequence s = Sequence(c.in, c.rate);
    TrimSequence(s);
    EXPECT_EQ(Xs(s), c.out) << ::testing::PrintToString(c.in);
    EXPECT_EQ(s.startTime, c.start) << ::testing::PrintToString(c.in);
    EXPECT_EQ(s.endTime, 12345);
  }
}

TEST(TrimSequence, FlagsKeepOnlyTheChannelsThatMove) {
  struct Case {
    PRSTransform moved;
    uint16_t in, out;
  };
  const Case cases[] = {
      {Sample(1), 0xF, 0x3},
      {Sample(0, 0, 0.5f, 0.8f), 0xF, 0x5},
      {Sample(0, 0, 0, 1, 2), 0xF, 0x9},
      {Sample(1, 0.1f, 0, 1, 3), 0xF, 0xF},
      {Sample(1), 0x7, 0x3},  // bits already clear stay clear
      // q to -q is a change, although the turn is the same.
      {Sample(0, 0, 0, -1), 0xF, 0x5},
  };
  for (const Case& c : cases) {
    PRSSequence s = Sequence({0});
    s.samples.push_back(c.moved);
    s.samples.push_back(Sample(0));
    s.flags = c.in;
    TrimSequence(s);
    EXPECT_EQ(s.flags, c.out);
    EXPECT_EQ(s.samples.size(), 3u);
  }
}

TEST(MakeKeySequence, KeysWhereALineNoLongerReaches) {
  struct Case {
    std::vector<float> xs;
    float rate;
    int32_t start;
    float tolerance;
    std::vector<uint32_t> times;
    std::vector<float> keyXs;
  };
  const Case cases[] = {
      // The last key lies n periods on, one period after its own sample.
      {{0, 1, 2, 3, 4}, 10, 0, 0, {0, 500}, {0, 4}},
      // The sample before the bend becomes a key.
      {{0, 1, 9, 10}, 10, 0, 1, {0, 100, 200, 400}, {0, 1, 9, 10}},
      {{0, 1, 9, 10}, 10, 0, 100, {0, 400}, {0, 10}},
      {{0, 1, 9, 10}, 10, 0, 3.5f, {0, 400}, {0, 10}},  // 3.5 off the line passes
      // After a head trim: sample 0 at 0 whatever the start says, then
      // 33.3 + 66 and 100 + 66.
      {{0, 1, 3}, 30, -66, 0, {0, 99, 166}, {0, 1, 3}},
      {{7}, 10, 0, 0, {0, 100}, {7, 7}},
  };
  for (const Case& c : cases) {
    PRSSequence s = Sequence(c.xs, c.rate);
    s.startTime = c.start;
    s.flags = 0x3;
    ExportSettings settings;
    settings.postolerance = c.tolerance;
    const PRSKeySequence keys = MakeKeySequence(s, settings);
    std::vector<uint32_t> times;
    std::vector<float> xs;
    for (const auto& [time, key] : keys.keys) {
      times.push_back(time);
      xs.push_back(key.position[0]);
    }
    EXPECT_EQ(times, c.times) << ::testing::PrintToString(c.xs) << " tolerance " << c.tolerance;
    EXPECT_EQ(xs, c.keyXs) << ::testing::PrintToString(c.xs) << " tolerance " << c.tolerance;
    EXPECT_EQ(keys.flags, 0x3);
    EXPECT_EQ(s.samples.size(), c.xs.size());  // the sequence itself is not changed
  }
}

TEST(MakeKeySequence, OnlyFlaggedChannelsCountEachWithItsTolerance) {
  // Position on a line; rotation and scale wander off any line.
  PRSSequence s = Sequence({});
  s.samples = {Sample(0), Sample(1, 0, 0.3f, 0.9f, 2), Sample(2), Sample(3, 0, 0.1f, 1, 5)};
  ExportSettings settings;
  s.flags = 0x3;
  EXPECT_EQ(MakeKeySequence(s, settings).keys.size(), 2u);
  s.flags = 0x5;
  EXPECT_GT(MakeKeySequence(s, settings).keys.size(), 2u);
  settings.rottolerance = 1.0f;
  EXPECT_EQ(MakeKeySequence(s, settings).keys.size(), 2u);
  s.flags = 0x9;
  settings.scaletolerance = 0.5f;
  EXPECT_GT(MakeKeySequence(s, settings).keys.size(), 2u);
}

}  // namespace
}  // namespace kvl
