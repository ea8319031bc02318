// The values a record holds before any builder fills it; the translation and
// optimisation code counts on them (a missing texture is NODE_ID_NONE, a
// fresh sequence carries every component, a fresh record is not reachable).
#include <gtest/gtest.h>

#include "scene/scene_nodes.h"

namespace kvl {
namespace {

TEST(SceneNodesTest, FreshRecordsHoldTheirDocumentedStartValues) {
  EXPECT_EQ(NODE_ID_NONE, 4294967295u);

  GroupNode group;
  EXPECT_EQ(group.type, NODE_GROUP);
  EXPECT_EQ(group.reachable, 0);
  EXPECT_EQ(group.customType, 2u);
  EXPECT_TRUE(group.name.empty());
  EXPECT_TRUE(group.children.empty());
  // Position and scale stay zero until the builder fills the transform.
  for (float p : group.transform.position) EXPECT_EQ(p, 0.0f);
  for (float s : group.transform.scale) EXPECT_EQ(s, 0.0f);

  PRSAnimationGroup animation;
  EXPECT_EQ(animation.type, NODE_PRS_ANIMATION);
  EXPECT_EQ(animation.customType, 2u);
  PRSKeyAnimationGroup keys;
  EXPECT_EQ(keys.type, NODE_PRS_KEY_ANIMATION);
  EXPECT_EQ(keys.customType, 2u);

  MaterialNode material;
  EXPECT_EQ(material.flags, 0u);
  EXPECT_EQ(material.diffuseTextureId, NODE_ID_NONE);
  EXPECT_EQ(material.envTextureId, NODE_ID_NONE);

  CameraNode camera;
  EXPECT_EQ(camera.targetId, NODE_ID_NONE);

  PRSSequence sequence;
  EXPECT_EQ(sequence.flags, 0xF);
  PRSKeySequence keySequence;
  EXPECT_EQ(keySequence.flags, 0xF);

  Submesh submesh;
  EXPECT_EQ(submesh.vertexOffset, 0u);
  EXPECT_EQ(submesh.primitiveType, 1u);
}

TEST(SceneNodesTest, IdentityTransform) {
  PRSTransform identity = PRSTransform::Identity();
  for (float p : identity.position) EXPECT_EQ(p, 0.0f);
  EXPECT_EQ(identity.rotation[0], 0.0f);
  EXPECT_EQ(identity.rotation[1], 0.0f);
  EXPECT_EQ(identity.rotation[2], 0.0f);
  EXPECT_EQ(identity.rotation[3], 1.0f);
  for (float s : identity.scale) EXPECT_EQ(s, 1.0f);
}

}  // namespace
}  // namespace kvl
