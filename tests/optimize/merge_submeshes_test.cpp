#include <gtest/gtest.h>

#include <vector>

#include "optimize_scene_builder.h"

namespace kvl::optimize_test {
namespace {

TEST(SameRenderState, MaterialTexturesAndPrimitiveDecide) {
  const Submesh a = MakeSubmesh(3, 4, 5, 10, 20, 21);
  // Buffers and face lists are the submesh's own and never compared.
  Submesh ownBuffers = MakeSubmesh(30, 40, 50, 10, 20, 21, 99);
  EXPECT_TRUE(SameRenderState(a, ownBuffers));

  Submesh material = a;
  material.materialId = 11;
  Submesh diffuse = a;
  diffuse.diffuseTextureId = NODE_ID_NONE;
  Submesh env = a;
  env.envTextureId = 22;
  Submesh primitive = a;
  primitive.primitiveType = 2;
  EXPECT_FALSE(SameRenderState(a, material));
  EXPECT_FALSE(SameRenderState(a, diffuse));
  EXPECT_FALSE(SameRenderState(a, env));
  EXPECT_FALSE(SameRenderState(a, primitive));
}

TriangleInfo Marked(uint32_t marker) {
  TriangleInfo t;
  t.color1 = marker;
  return t;
}

std::vector<uint32_t> MarkersOf(const TriangleInfoBufferNode& buffer) {
  std::vector<uint32_t> markers;
  for (const TriangleInfo& t : buffer.triangles) markers.push_back(t.color1);
  return markers;
}

TEST(MergeSubmeshes, LaterSubmeshOfOneStateJoinsTheFirst) {
  RootedScene scene;
  MeshNode& mesh = scene.AddMesh(2);
  AddBuffer(scene, 3, 0);
  FaceListNode& facesA = scene.AddFaces(4, {0, 1, 2});
  FaceListNode& facesB = scene.AddFaces(5, {3, 4, 5});
  FaceListNode& facesA2 = scene.AddFaces(6, {6, 7, 8, 0, 2, 6});
  auto& infoA = scene.Add<TriangleInfoBufferNode>(7);
  auto& infoB = scene.Add<TriangleInfoBufferNode>(8);
  auto& infoA2 = scene.Add<TriangleInfoBufferNode>(9);
  infoA.triangles = {Marked(1)};
  infoB.triangles = {Marked(2)};
  infoA2.triangles = {Marked(3), Marked(4)};
  scene.AddMaterial(10);
  scene.AddMaterial(11);
  mesh.submeshes = {MakeSubmesh(3, 4, 7, 10, NODE_ID_NONE, NODE_ID_NONE, 3),
                    MakeSubmesh(3, 5, 8, 11, NODE_ID_NONE, NODE_ID_NONE, 3),
                    MakeSubmesh(3, 6, 9, 10, NODE_ID_NONE, NODE_ID_NONE, 6)};

  // An unreachable mesh of two alike submeshes is not the pass's business.
  auto& looseMesh = scene.Add<MeshNode>(30);
  scene.AddFaces(31, {0, 0, 0});
  scene.AddFaces(32, {0, 0, 0});
  looseMesh.submeshes = {MakeSubmesh(3, 31, NODE_ID_NONE, 10), MakeSubmesh(3, 32, NODE_ID_NONE, 10)};

  scene.MarkFromRoot();
  MergeSubmeshes(scene.table);

  ASSERT_EQ(mesh.submeshes.size(), 2u);
  const Submesh& a = mesh.submeshes[0];
  const Submesh& b = mesh.submeshes[1];
  EXPECT_EQ(a.faceListId, 4u);
  EXPECT_EQ(a.triangleInfoBufferId, 7u);
  EXPECT_EQ(a.vertexCount, 9u);
  EXPECT_EQ(a.vertexOffset, 0u);
  EXPECT_EQ(b.faceListId, 5u);
  EXPECT_EQ(b.triangleInfoBufferId, 8u);
  EXPECT_EQ(b.vertexCount, 3u);

  // Appended as they were: one vertex list serves all submeshes.
  EXPECT_EQ(facesA.indices, (std::vector<uint32_t>{0, 1, 2, 6, 7, 8, 0, 2, 6}));
  EXPECT_EQ(MarkersOf(infoA), (std::vector<uint32_t>{1, 3, 4}));
  EXPECT_EQ(facesB.indices, (std::vector<uint32_t>{3, 4, 5}));
  EXPECT_EQ(MarkersOf(infoB), (std::vector<uint32_t>{2}));

  // The absorbed lists keep their contents but are no longer written.
  EXPECT_FALSE(facesA2.reachable);
  EXPECT_FALSE(infoA2.reachable);
  EXPECT_EQ(facesA2.indices, (std::vector<uint32_t>{6, 7, 8, 0, 2, 6}));
  EXPECT_EQ(infoA2.triangles.size(), 2u);
  EXPECT_TRUE(facesA.reachable);
  EXPECT_TRUE(infoA.reachable);
  EXPECT_TRUE(facesB.reachable);
  EXPECT_TRUE(infoB.reachable);

  EXPECT_EQ(looseMesh.submeshes.size(), 2u);
}

TEST(MergeSubmeshes, FourOfOneStateEndAsOne) {
  RootedScene scene;
  MeshNode& mesh = scene.AddMesh(2);
  AddBuffer(scene, 3, 0);
  FaceListNode& first = scene.AddFaces(4, {0, 1, 2});
  scene.AddFaces(5, {1, 2, 3});
  scene.AddFaces(6, {2, 3, 4});
  scene.AddFaces(7, {3, 4, 5});
  scene.AddMaterial(10);
  scene.Add<TextureNode>(11);
  for (uint32_t faces = 4; faces <= 7; ++faces) mesh.submeshes.push_back(MakeSubmesh(3, faces, NODE_ID_NONE, 10, 11));

  scene.MarkFromRoot();
  MergeSubmeshes(scene.table);

  // Each removal pulls the next submesh into the freed position, and that
  // one must be looked at too.
  ASSERT_EQ(mesh.submeshes.size(), 1u);
  EXPECT_EQ(mesh.submeshes[0].faceListId, 4u);
  EXPECT_EQ(mesh.submeshes[0].vertexCount, 12u);
  EXPECT_EQ(mesh.submeshes[0].triangleInfoBufferId, NODE_ID_NONE);
  EXPECT_EQ(first.indices, (std::vector<uint32_t>{0, 1, 2, 1, 2, 3, 2, 3, 4, 3, 4, 5}));
  EXPECT_TRUE(first.reachable);
  for (uint32_t faces = 5; faces <= 7; ++faces) EXPECT_FALSE(scene.table.Find(faces)->reachable) << faces;
}

}  // namespace
}  // namespace kvl::optimize_test
