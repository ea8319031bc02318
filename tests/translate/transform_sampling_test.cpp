// The sample grid's arithmetic at its edges, and the tolerance that decides
// whether a node moves at all; whole sampled nodes are cases (anim-*).
#include "translate/transform_sampling.h"

#include <gtest/gtest.h>

#include "host/memory_scene.h"

namespace kvl {
namespace {

TEST(SampleGrid, StepCountRateAndTimes) {
  // 30 frames per second: 160 ticks per frame, 100 frames = 16000 ticks.
  struct Case {
    host::TimeValue start, end;
    int32_t samplerate;
    int32_t step;
    uint32_t count;
    float rate;
    int32_t endMs;
    host::TimeValue lastTick;  // of sample count - 1
  };
  const Case cases[] = {
      {0, 16000, 1, 160, 100, 30.0f, 3333, 15840},  // frame 100 is not sampled
      {0, 16000, 2, 320, 50, 15.0f, 3333, 15680},
      {0, 16000, 3, 480, 33, 10.0f, 3333, 15360},  // 33.3 samples
      {320, 16320, 3, 480, 33, 10.0f, 3333, 15680},  // the length counts, not the end tick
      {0, 16000, 7, 1120, 14, 4800.0f / 1120.0f, 3333, 14560},  // a fractional rate
      {0, 160, 1, 160, 1, 30.0f, 33, 0},
      {0, 159, 1, 160, 0, 30.0f, 33, 0},  // shorter than one step
      {800, 800, 1, 160, 0, 30.0f, 0, 0},
      // The division is unsigned: a negative step against a negative range
      // gives no samples, where signed division would give 100.
      {16000, 0, -1, -160, 0, -30.0f, -3333, 0},
  };
  for (const Case& c : cases) {
    const SampleGrid grid = MakeSampleGrid(c.start, c.end, 160, c.samplerate);
    SCOPED_TRACE(testing::Message() << c.start << ".." << c.end << " every " << c.samplerate);
    EXPECT_EQ(grid.step, c.step);
    EXPECT_EQ(grid.count, c.count);
    EXPECT_EQ(grid.HasSamples(), c.count > 0);
    EXPECT_EQ(grid.SampleRate(), c.rate);
    EXPECT_EQ(grid.EndTimeMs(), c.endMs);
    if (c.count > 0) {
      EXPECT_EQ(grid.TickOf(c.count - 1), c.lastTick);
    }
  }
  // A step of 0 (a settings file the dialog never checked) means no samples.
  EXPECT_EQ(MakeSampleGrid(0, 16000, 160, 0).count, 0u);
}

TEST(SampleTransform, DifferenceJustBelowTheToleranceIsNoMotion) {
  ExportSettings settings;
  const SampleGrid grid = MakeSampleGrid(0, 640, 160, 1);
  auto movedBy = [&](float d) {
    host::MemoryScene scene;
    auto node = std::make_unique<host::MemoryNode>();
    node->handle = 1;
    host::TransformKey first, second;
    second.tick = 160;
    second.position = {d, d, d};
    node->keys = {first, second};
    return SampleTransform(&scene.root.AddChild(std::move(node)), grid, settings).has_value();
  };
  EXPECT_FALSE(movedBy(0.0f));
  EXPECT_FALSE(movedBy(0.99e-6f));  // every position component, just under
  EXPECT_TRUE(movedBy(1.01e-6f));
}

}  // namespace
}  // namespace kvl
