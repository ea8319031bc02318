#include "anim/sample_reduction.h"

#include <gtest/gtest.h>

#include <vector>

namespace kvl {
namespace {

// A sample with all ten components given, the rotation as four plain numbers.
PRSTransform Sample(float px, float py = 0, float pz = 0, float rx = 0, float ry = 0, float rz = 0, float rw = 1,
                    float sx = 1, float sy = 1, float sz = 1) {
  PRSTransform t;
  t.position[0] = px, t.position[1] = py, t.position[2] = pz;
  t.rotation[0] = rx, t.rotation[1] = ry, t.rotation[2] = rz, t.rotation[3] = rw;
  t.scale[0] = sx, t.scale[1] = sy, t.scale[2] = sz;
  return t;
}

PRSSequence Sequence(std::vector<PRSTransform> samples, float sampleRate = 10.0f) {
  PRSSequence s;
  s.startTime = 0;
  s.endTime = 12345;
  s.sampleRate = sampleRate;
  s.flags = 0xF;
  s.samples = std::move(samples);
  return s;
}

std::vector<float> Xs(const PRSSequence& s) {
  std::vector<float> xs;
  for (const PRSTransform& t : s.samples) xs.push_back(t.position[0]);
  return xs;
}

const PRSTransform A = Sample(0), B = Sample(1), C = Sample(2);

TEST(TrimSequence, MotionlessHeadLeavesItsLastSampleAndMovesTheStart) {
  // A period of 100 ms: two samples go, and the remaining A lies at 200 ms.
  PRSSequence s = Sequence({A, A, A, B, C}, 10.0f);
  TrimSequence(s);
  EXPECT_EQ(Xs(s), (std::vector<float>{0, 1, 2}));
  EXPECT_EQ(s.startTime, -200);
  EXPECT_EQ(s.endTime, 12345);
  EXPECT_EQ(s.sampleRate, 10.0f);
  EXPECT_EQ(s.flags, 0x3);
}

TEST(TrimSequence, MotionlessTailLeavesItsFirstSample) {
  PRSSequence s = Sequence({A, B, C, C, C});
  TrimSequence(s);
  EXPECT_EQ(Xs(s), (std::vector<float>{0, 1, 2}));
  EXPECT_EQ(s.startTime, 0);
  EXPECT_EQ(s.endTime, 12345);  // now further beyond the last sample than before
}

TEST(TrimSequence, NothingToTrimAndConstantChannels) {
  PRSSequence s = Sequence({A, B, A});
  TrimSequence(s);
  EXPECT_EQ(Xs(s), (std::vector<float>{0, 1, 0}));
  EXPECT_EQ(s.startTime, 0);
  EXPECT_EQ(s.flags, 0x3);  // rotation and scale never change
}

TEST(TrimSequence, FlagsTellWhichChannelsMove) {
  const PRSTransform base = Sample(0);
  struct Case {
    PRSTransform moved;
    uint16_t flags;
  };
  for (const Case& c : {Case{Sample(1), 0x3}, Case{Sample(0, 0, 0, 0, 0, 0.5f, 0.8f), 0x5},
                        Case{Sample(0, 0, 0, 0, 0, 0, 1, 1, 1, 2), 0x9},
                        Case{Sample(1, 0, 0, 0.1f, 0, 0, 1, 3, 1, 1), 0xF}}) {
    PRSSequence s = Sequence({base, c.moved, base});
    TrimSequence(s);
    EXPECT_EQ(s.flags, c.flags);
    EXPECT_EQ(s.samples.size(), 3u);
  }
  // Bits already clear stay clear: the trim only narrows.
  PRSSequence narrowed = Sequence({base, Sample(1), base});
  narrowed.flags = 0x7;
  TrimSequence(narrowed);
  EXPECT_EQ(narrowed.flags, 0x3);
}

TEST(TrimSequence, StartTimeIsTruncatedOnceAtTheEnd) {
  // A period of 1000/30 ms: one removal gives -33.3, three give -100 (the
  // truncated periods would add up to -99).
  PRSSequence one = Sequence({A, A, B}, 30.0f);
  TrimSequence(one);
  EXPECT_EQ(one.startTime, -33);
  EXPECT_EQ(one.samples.size(), 2u);
  PRSSequence three = Sequence({A, A, A, A, B}, 30.0f);
  TrimSequence(three);
  EXPECT_EQ(three.startTime, -100);
  EXPECT_EQ(three.samples.size(), 2u);
}

TEST(TrimSequence, ComparesWithTheEndsNotWithNeighbours) {
  // A drift of 0.6e-6 per sample: each neighbour is within the tolerance, but
  // the third sample is 1.2e-6 from the first and ends the head.
  const float d = 0.6e-6f;
  PRSSequence drift = Sequence({Sample(0), Sample(d), Sample(2 * d), Sample(3 * d), Sample(1)});
  TrimSequence(drift);
  EXPECT_EQ(drift.samples.size(), 4u);
  EXPECT_EQ(drift.samples.front().position[0], d);
  EXPECT_EQ(drift.startTime, -100);

  // A rotation that crosses from q to -q is a change, although the turn is
  // the same.
  PRSSequence flip = Sequence({Sample(0, 0, 0, 0, 0, 0, 1), Sample(0, 0, 0, 0, 0, 0, 1), Sample(0, 0, 0, 0, 0, 0, -1)});
  TrimSequence(flip);
  EXPECT_EQ(flip.samples.size(), 2u);
  EXPECT_EQ(flip.flags, 0x5);
}

TEST(TrimSequence, TailNeverReadsInFrontOfTheFirstSample) {
  // Everything within the tolerance of the last sample, but the last sample
  // apart from the first: the head stops at the last sample, and the tail
  // loop comes down to the one remaining sample and stops there.
  const float d = 0.6e-6f;
  PRSSequence s = Sequence({Sample(0), Sample(d), Sample(2 * d)});
  TrimSequence(s);
  // Head: d equals 0 and goes, 2d does not. Tail: d equals 2d, so 2d goes
  // and the loop stops at the one sample left.
  ASSERT_EQ(s.samples.size(), 1u);
  EXPECT_EQ(s.samples[0].position[0], d);
  EXPECT_EQ(s.startTime, -100);
  EXPECT_EQ(s.flags, 0x1);

  PRSSequence tailOnly = Sequence({Sample(0), Sample(2 * d), Sample(d)});
  TrimSequence(tailOnly);
  // Head: 2d is apart from 0. Tail: 2d and 0 are both within d of the last:
  // the loop stops with one sample left instead of running off the front.
  ASSERT_EQ(tailOnly.samples.size(), 1u);
  EXPECT_EQ(tailOnly.samples[0].position[0], 0.0f);
  EXPECT_EQ(tailOnly.flags, 0x1);
}

TEST(MakeKeySequence, CollinearSamplesGiveTwoKeys) {
  ExportSettings settings;  // tolerances 0
  PRSSequence s = Sequence({Sample(0), Sample(1), Sample(2), Sample(3), Sample(4)}, 10.0f);
  s.flags = 0x3;
  const PRSKeySequence keys = MakeKeySequence(s, settings);
  EXPECT_EQ(keys.flags, 0x3);
  ASSERT_EQ(keys.keys.size(), 2u);
  EXPECT_EQ(keys.keys.begin()->first, 0u);
  EXPECT_EQ(keys.keys.begin()->second.position[0], 0.0f);
  // The last sample at n periods: 5 * 100 ms, one period after its own time.
  EXPECT_EQ(keys.keys.rbegin()->first, 500u);
  EXPECT_EQ(keys.keys.rbegin()->second.position[0], 4.0f);
  EXPECT_EQ(s.samples.size(), 5u);  // the sequence itself is not changed
}

TEST(MakeKeySequence, SampleBeforeTheBendBecomesAKey) {
  ExportSettings settings;
  settings.postolerance = 1.0f;
  PRSSequence s = Sequence({Sample(0), Sample(1), Sample(9), Sample(10)}, 10.0f);
  s.flags = 0x3;
  const PRSKeySequence keys = MakeKeySequence(s, settings);
  ASSERT_EQ(keys.keys.size(), 4u);
  std::vector<uint32_t> times;
  std::vector<float> xs;
  for (const auto& [time, key] : keys.keys) {
    times.push_back(time);
    xs.push_back(key.position[0]);
  }
  EXPECT_EQ(times, (std::vector<uint32_t>{0, 100, 200, 400}));
  EXPECT_EQ(xs, (std::vector<float>{0, 1, 9, 10}));

  // A large tolerance lets one line stand for everything.
  settings.postolerance = 100.0f;
  const PRSKeySequence loose = MakeKeySequence(s, settings);
  ASSERT_EQ(loose.keys.size(), 2u);
  EXPECT_EQ(loose.keys.count(0), 1u);
  EXPECT_EQ(loose.keys.count(400), 1u);

  // A difference equal to the tolerance passes: 3.5 off the line at 3.5.
  settings.postolerance = 3.5f;
  EXPECT_EQ(MakeKeySequence(s, settings).keys.size(), 2u);
}

TEST(MakeKeySequence, TimesCountFromTheStartOfTheRange) {
  ExportSettings settings;
  // After a head trim of two samples at 30 samples a second.
  PRSSequence s = Sequence({Sample(0), Sample(1), Sample(3)}, 30.0f);
  s.startTime = -66;
  s.flags = 0x3;
  const PRSKeySequence keys = MakeKeySequence(s, settings);
  std::vector<uint32_t> times;
  for (const auto& [time, key] : keys.keys) times.push_back(time);
  // Sample 0 at 0 whatever the start says; sample 1 at 33.3 + 66 = 99; the
  // last at 3 periods, 100 + 66 = 166.
  EXPECT_EQ(times, (std::vector<uint32_t>{0, 99, 166}));
}

TEST(MakeKeySequence, OnlyFlaggedChannelsCount) {
  ExportSettings settings;
  // Rotation and scale wander off any line, but their bits are clear.
  PRSSequence s = Sequence({Sample(0, 0, 0, 0, 0, 0, 1, 1, 1, 1), Sample(1, 0, 0, 0, 0, 0.3f, 0.9f, 2, 1, 1),
                            Sample(2, 0, 0, 0, 0, 0, 1, 1, 1, 1), Sample(3, 0, 0, 0, 0, 0.1f, 1, 5, 1, 1)});
  s.flags = 0x3;
  EXPECT_EQ(MakeKeySequence(s, settings).keys.size(), 2u);
  s.flags = 0x5;  // with rotation counted, the bend at sample 1 makes keys
  EXPECT_GT(MakeKeySequence(s, settings).keys.size(), 2u);
  // Rotation takes its own tolerance.
  settings.rottolerance = 1.0f;
  EXPECT_EQ(MakeKeySequence(s, settings).keys.size(), 2u);
  s.flags = 0x9;
  settings.scaletolerance = 0.5f;
  EXPECT_GT(MakeKeySequence(s, settings).keys.size(), 2u);
}

TEST(MakeKeySequence, SingleSampleGivesTheStartAndOnePeriodLater) {
  ExportSettings settings;
  PRSSequence s = Sequence({Sample(7)}, 10.0f);
  const PRSKeySequence keys = MakeKeySequence(s, settings);
  ASSERT_EQ(keys.keys.size(), 2u);
  EXPECT_EQ(keys.keys.at(0).position[0], 7.0f);
  EXPECT_EQ(keys.keys.at(100).position[0], 7.0f);
}

}  // namespace
}  // namespace kvl
