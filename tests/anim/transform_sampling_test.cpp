#include "anim/transform_sampling.h"

#include <gtest/gtest.h>

#include "moving_node.h"

namespace kvl {
namespace {

using testing::AddFrameCounter;
using testing::AddTopLevelNode;
using testing::KeyAt;

// 30 frames per second: 160 ticks per frame, 100 frames = 16000 ticks.
TEST(SampleGrid, HundredFramesAtThirtyFramesPerSecond) {
  const SampleGrid every = MakeSampleGrid(0, 16000, 160, 1);
  EXPECT_EQ(every.step, 160);
  EXPECT_EQ(every.range, 16000);
  EXPECT_EQ(every.count, 100u);
  EXPECT_EQ(every.SampleRate(), 30.0f);
  EXPECT_EQ(every.EndTimeMs(), 3333);  // 16000 * 5 / 24 = 3333.33
  EXPECT_EQ(every.TickOf(0), 0);
  EXPECT_EQ(every.TickOf(99), 15840);  // frame 99; frame 100 is not sampled

  const SampleGrid second = MakeSampleGrid(0, 16000, 160, 2);
  EXPECT_EQ(second.step, 320);
  EXPECT_EQ(second.count, 50u);
  EXPECT_EQ(second.SampleRate(), 15.0f);
  EXPECT_EQ(second.TickOf(49), 15680);

  const SampleGrid third = MakeSampleGrid(0, 16000, 160, 3);
  EXPECT_EQ(third.step, 480);
  EXPECT_EQ(third.count, 33u);  // 16000 / 480 = 33.3
  EXPECT_EQ(third.SampleRate(), 10.0f);
  EXPECT_EQ(third.TickOf(32), 15360);

  // A step that does not divide a second gives a fractional rate.
  EXPECT_EQ(MakeSampleGrid(0, 16000, 160, 7).SampleRate(), 4800.0f / 1120.0f);
}

TEST(SampleGrid, EmptyAndShortRangesHaveNoSamples) {
  EXPECT_EQ(MakeSampleGrid(0, 0, 160, 1).count, 0u);
  EXPECT_FALSE(MakeSampleGrid(0, 0, 160, 1).HasSamples());
  EXPECT_EQ(MakeSampleGrid(800, 800, 160, 1).count, 0u);
  EXPECT_EQ(MakeSampleGrid(0, 159, 160, 1).count, 0u);  // shorter than one step
  EXPECT_EQ(MakeSampleGrid(0, 479, 160, 3).count, 0u);
  EXPECT_EQ(MakeSampleGrid(0, 160, 160, 1).count, 1u);
  // The division is unsigned: a negative step against a negative range
  // gives no samples, where signed division would give 100 backward steps.
  const SampleGrid backward = MakeSampleGrid(16000, 0, 160, -1);
  EXPECT_EQ(backward.step, -160);
  EXPECT_EQ(backward.count, 0u);
  // A step of 0 (a settings file the dialog never checked) means no samples.
  EXPECT_EQ(MakeSampleGrid(0, 16000, 160, 0).count, 0u);
}

TEST(SampleGrid, RangeNotStartingAtZero) {
  const SampleGrid grid = MakeSampleGrid(320, 16320, 160, 3);
  EXPECT_EQ(grid.count, 33u);
  EXPECT_EQ(grid.TickOf(0), 320);
  EXPECT_EQ(grid.TickOf(32), 320 + 15360);
  EXPECT_EQ(grid.EndTimeMs(), 3333);  // the length of the range, not its end tick
}

TEST(SampleTransform, TakesEveryPointOfTheGridAndNotTheEnd) {
  ExportSettings settings;
  struct Case {
    host::TimeValue start;
    int samplerate;
    uint32_t count;
    float rate;
    float firstFrame;
    float lastFrame;
  };
  for (const Case& c : {Case{0, 1, 100, 30.0f, 0, 99}, Case{0, 2, 50, 15.0f, 0, 98}, Case{0, 3, 33, 10.0f, 0, 96},
                        Case{320, 3, 33, 10.0f, 2, 98}}) {
    host::MemoryScene scene;
    host::MemoryNode& node = AddFrameCounter(scene, 110);
    const SampleGrid grid = MakeSampleGrid(c.start, c.start + 16000, 160, c.samplerate);
    const std::optional<PRSSequence> sequence = SampleTransform(&node, grid, settings);
    ASSERT_TRUE(sequence.has_value()) << "samplerate " << c.samplerate;
    EXPECT_EQ(sequence->startTime, 0);  // stands for the start of the range
    EXPECT_EQ(sequence->endTime, 3333);
    EXPECT_EQ(sequence->sampleRate, c.rate);
    EXPECT_EQ(sequence->flags, 0x000F);
    ASSERT_EQ(sequence->samples.size(), c.count);
    EXPECT_EQ(sequence->samples.front().position[0], c.firstFrame);
    EXPECT_EQ(sequence->samples.back().position[0], c.lastFrame);
    for (uint32_t i = 0; i < c.count; ++i) {
      ASSERT_EQ(sequence->samples[i].position[0], c.firstFrame + static_cast<float>(i * c.samplerate)) << i;
    }
  }
}

TEST(SampleTransform, NodesThatAreNotAnimated) {
  ExportSettings settings;
  host::MemoryScene scene;
  host::MemoryNode& counter = AddFrameCounter(scene, 110);
  // No grid, or a grid of one sample with nothing to compare it with.
  EXPECT_FALSE(SampleTransform(&counter, MakeSampleGrid(0, 0, 160, 1), settings).has_value());
  EXPECT_FALSE(SampleTransform(&counter, MakeSampleGrid(0, 100, 160, 1), settings).has_value());
  EXPECT_FALSE(SampleTransform(&counter, MakeSampleGrid(0, 319, 160, 1), settings).has_value());
  EXPECT_TRUE(SampleTransform(&counter, MakeSampleGrid(0, 320, 160, 1), settings).has_value());

  // Moves only after the last sample point: range 640 samples 0, 160, 320
  // and 480; the motion between 480 and 640 is never seen.
  host::MemoryNode& late = AddTopLevelNode(scene, "late", 2);
  late.keys = {KeyAt(0, {0, 0, 0}), KeyAt(480, {0, 0, 0}), KeyAt(640, {5, 0, 0})};
  EXPECT_FALSE(SampleTransform(&late, MakeSampleGrid(0, 640, 160, 1), settings).has_value());
  // One more sample point (at 640) and it is animated.
  EXPECT_TRUE(SampleTransform(&late, MakeSampleGrid(0, 800, 160, 1), settings).has_value());

  // A node with a fixed transform and a controller does not move.
  host::MemoryNode& still = AddTopLevelNode(scene, "still", 3);
  still.transform.SetTrans({1, 2, 3});
  EXPECT_FALSE(SampleTransform(&still, MakeSampleGrid(0, 16000, 160, 1), settings).has_value());
}

TEST(SampleTransform, DifferenceJustBelowTheToleranceIsNoMotion) {
  ExportSettings settings;
  const SampleGrid grid = MakeSampleGrid(0, 640, 160, 1);
  auto movedBy = [&](float d) {
    host::MemoryScene scene;
    host::MemoryNode& node = AddTopLevelNode(scene, "n", 1);
    node.keys = {KeyAt(0, {0, 0, 0}), KeyAt(160, {d, d, d})};
    return SampleTransform(&node, grid, settings).has_value();
  };
  EXPECT_FALSE(movedBy(0.99e-6f));  // every position component, just under
  EXPECT_TRUE(movedBy(1.01e-6f));
  EXPECT_FALSE(movedBy(0.0f));
}

}  // namespace
}  // namespace kvl
