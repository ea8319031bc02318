// The animation group step of the walk, through whole exports.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "export_harness.h"
#include "scene_files.h"

namespace kvl {
namespace {

using testing::ExportHarness;
using testing::ReadChunk;
using testing::SceneText;
using testing::SplitChunks;

// Little-endian bytes of a 32-bit value, for spelling out expected files.
void Put32(std::vector<uint8_t>& out, uint32_t v) {
  for (int k = 0; k < 4; ++k) out.push_back(static_cast<uint8_t>(v >> (8 * k)));
}

std::vector<uint32_t> ChunkIds(const std::vector<ReadChunk>& chunks) {
  std::vector<uint32_t> ids;
  for (const ReadChunk& c : chunks) ids.push_back(c.id);
  return ids;
}

const ReadChunk* ChunkWithId(const std::vector<ReadChunk>& chunks, uint32_t id) {
  for (const ReadChunk& c : chunks) {
    if (c.id == id) return &c;
  }
  return nullptr;
}

bool Logged(KVLExp& exporter, const std::string& text) {
  for (const LogEntry& e : exporter.Log().Entries()) {
    if (e.text == text) return true;
  }
  return false;
}

size_t CountOfType(const KVLExp& exporter, uint32_t type) {
  size_t n = 0;
  for (const auto& [id, node] : exporter.Table()) n += node->type == type;
  return n;
}

TEST(AnimationGroup, ChunkBytesOfAPositionOnlySequence) {
  // Host x moves 0, 0, 1, 2, 2 over the five samples of frames 0 to 4 while
  // host y stays 5 (output z). The head and tail each lose one sample.
  ExportHarness run("anim_bytes");
  ASSERT_EQ(run.Export(SceneText("anim_mover.json")), "");

  std::vector<uint8_t> expected = {
      // the root group, chunk 2: 67 bytes
      0x02, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x37, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0x0A,
      's', 'c', 'e', 'n', 'e', '_', 'r', 'o', 'o', 't', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
      0, 0, 0, 0, 0, 0, 0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x80, 0x3F, 0x00, 0x00,
      0x80, 0x3F,
      // chunk 1005, version 3, id 1 (the host node's handle), payload 99 bytes
      0xED, 0x03, 0x03, 0x00, 0x01, 0x00, 0x00, 0x00, 0x63, 0x00, 0x00, 0x00,
      0x00, 0x00, 0x00, 0x00,                                          // parent: the root
      0x0A, 'a', 'n', 'i', 'm', '_', 'M', 'o', 'v', 'e', 'r',          // name
      0x01, 0x00,                                                      // one sequence
      0xDF, 0xFF, 0xFF, 0xFF,                                          // start -33: one period trimmed
      0xA6, 0x00, 0x00, 0x00,                                          // end 166 = 800 * 5 / 24
      0x00, 0x00, 0xF0, 0x41,                                          // 30.0 samples a second
      0x03, 0x00,                                                      // position only, bit 1 kept
      0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x00, 0x80, 0x3F,      // constant rotation
      0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x80, 0x3F,  // constant scale
      0x03, 0x00, 0x00, 0x00,                                          // three samples
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xA0, 0x40,  // (0, 0, 5)
      0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xA0, 0x40,  // (1, 0, 5)
      0x00, 0x00, 0x00, 0x40, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xA0, 0x40,  // (2, 0, 5)
  };
  ASSERT_EQ(expected.size(), 67u + 12u + 99u);
  EXPECT_EQ(run.file, expected);

  const auto& group = run.Node<PRSAnimationGroup>(1);
  EXPECT_EQ(group.customType, 2u);
  EXPECT_EQ(group.transform.position[2], 5.0f);  // the pose at tick 0
  EXPECT_TRUE(Logged(run.exporter, "Node is animated, creating a PRSAnimationGroup"));
}

TEST(AnimationGroup, AnimatedMeshWithChildrenHasNoGroup) {
  ExportHarness run("anim_children");
  ASSERT_EQ(run.Export(SceneText("anim_parent.json")), "");
  const auto& anim = run.Node<PRSAnimationGroup>(1);
  EXPECT_EQ(anim.type, NODE_PRS_ANIMATION);
  EXPECT_EQ(anim.name, "anim_Mover");
  EXPECT_EQ(anim.parentId, 0u);
  ASSERT_EQ(anim.sequences.size(), 1u);
  EXPECT_EQ(anim.sequences[0].flags, 0x3);
  // The children hang under the animation group, ahead of the node's own
  // geometry, which sits at the identity inside it.
  EXPECT_EQ(CountOfType(run.exporter, NODE_GROUP), 1u);  // the root only
  const auto& cam = run.Node<CameraNode>(2);
  EXPECT_EQ(cam.name, "Cam");
  EXPECT_EQ(cam.parentId, 1u);
  const auto& geometry = run.Node<GeometryNode>(3);
  EXPECT_EQ(geometry.name, "Mover");
  EXPECT_EQ(geometry.parentId, 1u);
  const PRSTransform identity = PRSTransform::Identity();
  EXPECT_EQ(std::memcmp(&geometry.transform, &identity, sizeof identity), 0);
  EXPECT_EQ(run.Node<MeshNode>(4).parentId, 3u);
  ASSERT_EQ(anim.children.size(), 2u);
  EXPECT_EQ(anim.children[0], &cam);
  EXPECT_EQ(anim.children[1], &geometry);
  // The camera's chunk names the animation group, which has its own chunk.
  const std::vector<ReadChunk> chunks = SplitChunks(run.file);
  ASSERT_NE(ChunkWithId(chunks, 1), nullptr);
  EXPECT_EQ(ChunkWithId(chunks, 1)->type, 1005);
  ASSERT_NE(ChunkWithId(chunks, 2), nullptr);
  EXPECT_EQ(testing::ReadU32(ChunkWithId(chunks, 2)->payload, 0), 1u);
}

TEST(AnimationGroup, GroupPrefixGivesAGroupInsideTheAnimationGroup) {
  std::string scene = SceneText("anim_parent.json");
  scene.replace(scene.find("\"Mover\""), 7, "\"GR_Mover\"");
  ExportHarness run("anim_prefix");
  ASSERT_EQ(run.Export(scene), "");
  EXPECT_EQ(run.Node<PRSAnimationGroup>(1).name, "anim_GR_Mover");
  const auto& group = run.Node<GroupNode>(2);
  EXPECT_EQ(group.type, NODE_GROUP);
  EXPECT_EQ(group.name, "Mover");
  EXPECT_EQ(group.parentId, 1u);
  // It repeats the node's pose at tick 0.
  EXPECT_EQ(group.transform.position[2], 5.0f);
  EXPECT_EQ(run.Node<CameraNode>(3).parentId, 2u);
  EXPECT_EQ(run.Node<GeometryNode>(4).parentId, 2u);
}

TEST(AnimationGroup, ExportAnimsOffSamplesNothing) {
  ExportHarness run("anim_off");
  ASSERT_EQ(run.Export(SceneText("anim_parent.json"), "exportanims = 0\n"), "");
  EXPECT_EQ(CountOfType(run.exporter, NODE_PRS_ANIMATION), 0u);
  EXPECT_EQ(CountOfType(run.exporter, NODE_PRS_KEY_ANIMATION), 0u);
  // A node with children gets its plain group instead.
  const auto& group = run.Node<GroupNode>(1);
  EXPECT_EQ(group.type, NODE_GROUP);
  EXPECT_EQ(group.name, "gr_Mover");
  EXPECT_EQ(run.Node<CameraNode>(2).parentId, 1u);
  EXPECT_EQ(run.Node<GeometryNode>(3).parentId, 1u);
  EXPECT_FALSE(Logged(run.exporter, "Node is animated, creating a PRSAnimationGroup"));
}

TEST(AnimationGroup, KeyAnimationGroupHasNoChunk) {
  ExportHarness run("anim_keys");
  ASSERT_EQ(run.Export(SceneText("anim_parent.json"), "enableadaptivesampling = 1\noptimize = 0\n"), "");
  const auto& keyed = run.Node<PRSKeyAnimationGroup>(1);
  ASSERT_EQ(keyed.type, NODE_PRS_KEY_ANIMATION);
  EXPECT_EQ(keyed.name, "anim_Mover");
  EXPECT_EQ(keyed.customType, 2u);
  ASSERT_EQ(keyed.keySequences.size(), 1u);
  const PRSKeySequence& keys = keyed.keySequences[0];
  EXPECT_EQ(keys.flags, 0x3);
  // Trimmed samples x = 0, 1, 2 lie on one line: the first at 0, the last
  // three periods after the start of the list, 100 + 33 ms.
  ASSERT_EQ(keys.keys.size(), 2u);
  EXPECT_EQ(keys.keys.at(0).position[0], 0.0f);
  EXPECT_EQ(keys.keys.at(133).position[0], 2.0f);
  EXPECT_TRUE(Logged(run.exporter, "Node is animated, creating a PRSAnimationGroup"));

  // Everything is written but the key group itself: its children name an id
  // that has no chunk.
  const std::vector<ReadChunk> chunks = SplitChunks(run.file);
  EXPECT_EQ(ChunkWithId(chunks, 1), nullptr);
  for (const ReadChunk& c : chunks) EXPECT_NE(c.type, 1005);
  ASSERT_NE(ChunkWithId(chunks, 2), nullptr);
  EXPECT_EQ(ChunkWithId(chunks, 2)->type, 5);  // the camera
  EXPECT_EQ(testing::ReadU32(ChunkWithId(chunks, 2)->payload, 0), 1u);
  ASSERT_NE(ChunkWithId(chunks, 3), nullptr);
  EXPECT_EQ(ChunkWithId(chunks, 3)->type, 3);  // the geometry
  EXPECT_EQ(testing::ReadU32(ChunkWithId(chunks, 3)->payload, 0), 1u);
}

TEST(AnimationGroup, OptimizerStopsAtAKeyAnimationGroup) {
  ExportHarness run("anim_keys_optimized");
  ASSERT_EQ(run.Export(SceneText("anim_parent.json"), "enableadaptivesampling = 1\noptimize = 1\n"), "");
  ASSERT_EQ(run.Node<PRSKeyAnimationGroup>(1).type, NODE_PRS_KEY_ANIMATION);
  // Nothing below the key group is reached, and it has no chunk itself.
  EXPECT_EQ(ChunkIds(SplitChunks(run.file)), (std::vector<uint32_t>{0}));
}

TEST(AnimationGroup, RangeThatDoesNotStartAtTickZero) {
  // The range is 1600 to 2400; at tick 0 the node stands elsewhere and is
  // turned, over the range it only moves along x.
  ExportHarness run("anim_offset");
  ASSERT_EQ(run.Export(SceneText("anim_offset_range.json")), "");
  const auto& group = run.Node<PRSAnimationGroup>(1);
  ASSERT_EQ(group.sequences.size(), 1u);
  const PRSSequence& s = group.sequences[0];
  EXPECT_EQ(s.startTime, 0);
  EXPECT_EQ(s.endTime, 166);
  EXPECT_EQ(s.flags, 0x3);
  ASSERT_EQ(s.samples.size(), 5u);
  EXPECT_EQ(s.samples[0].position[0], 0.0f);  // the pose at tick 1600
  EXPECT_EQ(s.samples[0].rotation[3], 1.0f);
  // The group's transform is the pose at tick 0, not that of the first sample.
  EXPECT_EQ(group.transform.position[0], 9.0f);
  EXPECT_NEAR(std::fabs(group.transform.rotation[1]), 0.70710678f, 1e-5);
  EXPECT_NEAR(group.transform.rotation[3], 0.70710678f, 1e-5);

  // The constant rotation reaches the file from that transform.
  const std::vector<ReadChunk> chunks = SplitChunks(run.file);
  const ReadChunk* chunk = ChunkWithId(chunks, 1);
  ASSERT_NE(chunk, nullptr);
  ASSERT_EQ(chunk->type, 1005);
  // parent 4, name 1 + 9, count 2, start 4, end 4, rate 4, flags 2.
  const size_t rotationAt = 4 + 10 + 2 + 4 + 4 + 4 + 2;
  ASSERT_GE(chunk->payload.size(), rotationAt + 16);
  std::vector<uint8_t> expectedRotation;
  for (float f : group.transform.rotation) {
    uint32_t bits;
    std::memcpy(&bits, &f, 4);
    Put32(expectedRotation, bits);
  }
  EXPECT_EQ(std::vector<uint8_t>(chunk->payload.begin() + rotationAt, chunk->payload.begin() + rotationAt + 16),
            expectedRotation);
}

TEST(AnimationGroup, ControllerWithoutMotionIsStatic) {
  // A controller with keys that all agree: no animation group, and with
  // children the node gets its plain group.
  std::string scene = SceneText("anim_parent.json");
  for (const char* moved : {"[1, 5, 0]", "[2, 5, 0]"}) scene.replace(scene.find(moved), 9, "[0, 5, 0]");
  ExportHarness run("anim_still");
  ASSERT_EQ(run.Export(scene), "");
  EXPECT_EQ(CountOfType(run.exporter, NODE_PRS_ANIMATION), 0u);
  EXPECT_EQ(run.Node<GroupNode>(1).name, "gr_Mover");
}

}  // namespace
}  // namespace kvl
