#include <gtest/gtest.h>

#include "optimize/optimize.h"

namespace kvl {
namespace {

// Builds records with given ids straight into a table and hands back a
// reference, so a test reads like the hierarchy it sets up.
template <class T>
T& Add(NodeTable& table, uint32_t id) {
  auto node = std::make_unique<T>();
  node->id = id;
  T& ref = *node;
  EXPECT_TRUE(table.Insert(std::move(node)));
  return ref;
}

void Hang(GroupNode& parent, SceneNode& child) {
  parent.children.push_back(&child);
  if (IsGroupLike(child.type)) As<GroupNode>(child).parentId = parent.id;
}

Submesh MakeSubmesh(uint32_t buffer, uint32_t faces, uint32_t info, uint32_t material, uint32_t diffuse,
                    uint32_t env) {
  Submesh s;
  s.vertexBufferId = buffer;
  s.faceListId = faces;
  s.triangleInfoBufferId = info;
  s.materialId = material;
  s.diffuseTextureId = diffuse;
  s.envTextureId = env;
  return s;
}

TEST(MarkReachable, RootAloneIsReachable) {
  NodeTable table;
  GroupNode& root = Add<GroupNode>(table, 0);
  MarkReachable(table, root);
  EXPECT_TRUE(root.reachable);
  EXPECT_EQ(table.Size(), 1u);
}

TEST(MarkReachable, FollowsSubmeshReferencesOnlyUnderReachableGeometry) {
  NodeTable table;
  GroupNode& root = Add<GroupNode>(table, 0);
  GroupNode& group = Add<GroupNode>(table, 1);
  Hang(root, group);
  GeometryNode& geometry = Add<GeometryNode>(table, 2);
  group.children.push_back(&geometry);
  MeshNode& mesh = Add<MeshNode>(table, 3);
  geometry.objects.push_back(&mesh);
  auto& buffer = Add<VertexBufferNode>(table, 4);
  auto& faces = Add<FaceListNode>(table, 5);
  auto& material = Add<MaterialNode>(table, 6);
  auto& diffuse = Add<TextureNode>(table, 7);
  auto& env = Add<TextureNode>(table, 8);
  // No triangle info buffer: the other five references are still followed.
  mesh.submeshes.push_back(MakeSubmesh(4, 5, NODE_ID_NONE, 6, 7, 8));

  // A second geometry that hangs nowhere, with its own material.
  GeometryNode& loose = Add<GeometryNode>(table, 9);
  MeshNode& looseMesh = Add<MeshNode>(table, 10);
  loose.objects.push_back(&looseMesh);
  auto& looseMaterial = Add<MaterialNode>(table, 11);
  looseMesh.submeshes.push_back(MakeSubmesh(NODE_ID_NONE, NODE_ID_NONE, NODE_ID_NONE, 11, NODE_ID_NONE,
                                            NODE_ID_NONE));

  MarkReachable(table, root);

  for (SceneNode* n : std::initializer_list<SceneNode*>{&root, &group, &geometry, &mesh, &buffer, &faces,
                                                         &material, &diffuse, &env}) {
    EXPECT_TRUE(n->reachable) << "id " << n->id;
  }
  EXPECT_FALSE(loose.reachable);
  EXPECT_FALSE(looseMesh.reachable);
  EXPECT_FALSE(looseMaterial.reachable);
  EXPECT_TRUE(looseMaterial.referrers.empty());
  ASSERT_EQ(material.referrers.size(), 1u);
  EXPECT_EQ(material.referrers[0], &mesh.submeshes[0]);
}

TEST(MarkReachable, CollectsReferrersInWalkOrder) {
  NodeTable table;
  GroupNode& root = Add<GroupNode>(table, 0);
  auto& material = Add<MaterialNode>(table, 1);
  GeometryNode& first = Add<GeometryNode>(table, 2);
  GeometryNode& second = Add<GeometryNode>(table, 3);
  MeshNode& meshA = Add<MeshNode>(table, 4);
  MeshNode& meshB = Add<MeshNode>(table, 5);
  Hang(root, second);  // walked first although its id is higher
  Hang(root, first);
  second.objects.push_back(&meshB);
  first.objects.push_back(&meshA);
  const Submesh usesMaterial = MakeSubmesh(NODE_ID_NONE, NODE_ID_NONE, NODE_ID_NONE, 1, NODE_ID_NONE,
                                           NODE_ID_NONE);
  meshB.submeshes = {usesMaterial, usesMaterial};
  meshA.submeshes = {usesMaterial};

  MarkReachable(table, root);

  ASSERT_EQ(material.referrers.size(), 3u);
  EXPECT_EQ(material.referrers[0], &meshB.submeshes[0]);
  EXPECT_EQ(material.referrers[1], &meshB.submeshes[1]);
  EXPECT_EQ(material.referrers[2], &meshA.submeshes[0]);
}

TEST(MarkReachable, StopsBelowKeyAnimationGroupButEntersAnimationGroup) {
  NodeTable table;
  GroupNode& root = Add<GroupNode>(table, 0);
  auto& keyed = Add<PRSKeyAnimationGroup>(table, 1);
  auto& keyedCamera = Add<CameraNode>(table, 2);
  auto& sampled = Add<PRSAnimationGroup>(table, 3);
  auto& sampledCamera = Add<CameraNode>(table, 4);
  Hang(root, keyed);
  keyed.children.push_back(&keyedCamera);
  Hang(root, sampled);
  sampled.children.push_back(&sampledCamera);
  // A particle system in a geometry is marked and leads nowhere further.
  GeometryNode& geometry = Add<GeometryNode>(table, 5);
  auto& particles = Add<ParticleSystemNode>(table, 6);
  Hang(root, geometry);
  geometry.objects.push_back(&particles);

  MarkReachable(table, root);

  EXPECT_TRUE(keyed.reachable);
  EXPECT_FALSE(keyedCamera.reachable);
  EXPECT_TRUE(sampled.reachable);
  EXPECT_TRUE(sampledCamera.reachable);
  EXPECT_TRUE(particles.reachable);
}

TEST(MarkReachable, AttributesFollowOwnerAndSpringsNeedBothEnds) {
  NodeTable table;
  GroupNode& oldRoot = Add<GroupNode>(table, 0);
  GroupNode& newRoot = Add<GroupNode>(table, 1);
  auto& inside = Add<HelperNode>(table, 2);
  auto& outside = Add<HelperNode>(table, 3);
  Hang(oldRoot, newRoot);
  Hang(oldRoot, outside);
  newRoot.children.push_back(&inside);

  // Hung under the new root (so the walk marks it) but owned by a node
  // outside it: the sweep must clear it again.
  auto& strayAttribute = Add<NodeAttributeNode>(table, 4);
  strayAttribute.parentId = outside.id;
  newRoot.children.push_back(&strayAttribute);
  // Owned by a reachable node but hung nowhere: the sweep must set it.
  auto& ownedAttribute = Add<NodeAttributeNode>(table, 5);
  ownedAttribute.parentId = inside.id;

  auto& halfSpring = Add<SpringNode>(table, 6);
  halfSpring.parentId1 = inside.id;
  halfSpring.parentId2 = outside.id;
  auto& fullSpring = Add<SpringNode>(table, 7);
  fullSpring.parentId1 = inside.id;
  fullSpring.parentId2 = newRoot.id;
  auto& danglingSpring = Add<SpringNode>(table, 8);
  danglingSpring.parentId1 = inside.id;  // second end never resolved

  // The sceneroot case: the walk starts at the replacing group.
  MarkReachable(table, newRoot);

  EXPECT_FALSE(oldRoot.reachable);
  EXPECT_FALSE(outside.reachable);
  EXPECT_TRUE(inside.reachable);
  EXPECT_FALSE(strayAttribute.reachable);
  EXPECT_TRUE(ownedAttribute.reachable);
  EXPECT_FALSE(halfSpring.reachable);
  EXPECT_TRUE(fullSpring.reachable);
  EXPECT_FALSE(danglingSpring.reachable);
}

TEST(Optimize, MarksFromTheGivenRoot) {
  NodeTable table;
  GroupNode& root = Add<GroupNode>(table, 0);
  auto& camera = Add<CameraNode>(table, 1);
  Hang(root, camera);
  Add<CameraNode>(table, 2);  // in the table, hung nowhere
  Optimize(table, root);
  EXPECT_TRUE(table.Find(1)->reachable);
  EXPECT_FALSE(table.Find(2)->reachable);
}

}  // namespace
}  // namespace kvl
