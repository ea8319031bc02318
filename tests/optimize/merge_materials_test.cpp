#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "optimize_scene_builder.h"

namespace kvl::optimize_test {
namespace {

TEST(SameMaterial, StateAlwaysCountsColoursOnlyWhenAsked) {
  RootedScene scene;
  const MaterialNode& base = scene.AddMaterial(10);
  EXPECT_TRUE(SameMaterial(base, base, false));
  EXPECT_TRUE(SameMaterial(base, base, true));

  // Each field that decides the render state keeps two materials apart,
  // whatever the colour switch says.
  const std::function<void(MaterialNode&)> stateChanges[] = {
      [](MaterialNode& m) { m.flags = MATERIAL_BLENDED; },
      [](MaterialNode& m) { m.polygonOffset = 0.25f; },
      [](MaterialNode& m) { m.shadingMode = 7; },
      [](MaterialNode& m) { m.sourceBlend = 7; },
      [](MaterialNode& m) { m.targetBlend = 7; },
  };
  uint32_t id = 11;
  for (const auto& change : stateChanges) {
    MaterialNode& other = scene.AddMaterial(id++);
    change(other);
    EXPECT_FALSE(SameMaterial(base, other, false)) << "state change " << other.id;
    EXPECT_FALSE(SameMaterial(base, other, true)) << "state change " << other.id;
  }

  // The colours and the specular power matter only with lights exported.
  const std::function<void(MaterialNode&)> colourChanges[] = {
      [](MaterialNode& m) { m.diffuse = 0xFF804021u; },
      [](MaterialNode& m) { m.specular = 0xFEFFFFFFu; },
      [](MaterialNode& m) { m.ambient = 0xFF101011u; },
      [](MaterialNode& m) { m.emissive = 0xFF000009u; },
      [](MaterialNode& m) { m.specularPower = 25.5f; },
  };
  for (const auto& change : colourChanges) {
    MaterialNode& other = scene.AddMaterial(id++);
    change(other);
    EXPECT_TRUE(SameMaterial(base, other, false)) << "colour change " << other.id;
    EXPECT_FALSE(SameMaterial(base, other, true)) << "colour change " << other.id;
  }

  // Textures travel with the submeshes and opacity only through the alpha
  // bytes, so neither keeps two materials apart here.
  MaterialNode& textured = scene.AddMaterial(id++);
  textured.diffuseTextureId = 40;
  textured.envTextureId = 41;
  textured.opacity = 0.25f;
  EXPECT_TRUE(SameMaterial(base, textured, false));
  EXPECT_TRUE(SameMaterial(base, textured, true));
}

// One mesh with two submeshes, the first on material 10 and the second on
// material 11; `adjust` changes material 11 before the passes run.
struct TwoMaterialMesh {
  RootedScene scene;
  MeshNode* mesh = nullptr;
  MaterialNode* first = nullptr;
  MaterialNode* second = nullptr;
};

std::unique_ptr<TwoMaterialMesh> BuildTwoMaterialMesh(bool exportLights,
                                                      const std::function<void(MaterialNode&)>& adjust) {
  auto built = std::make_unique<TwoMaterialMesh>();
  RootedScene& scene = built->scene;
  scene.table.settings.exportlights = exportLights;
  built->mesh = &scene.AddMesh(2);
  AddBuffer(scene, 3, 0);
  scene.AddFaces(4, {0, 0, 0});
  scene.AddFaces(5, {0, 0, 0});
  built->first = &scene.AddMaterial(10);
  built->second = &scene.AddMaterial(11);
  adjust(*built->second);
  built->mesh->submeshes = {MakeSubmesh(3, 4, NODE_ID_NONE, 10), MakeSubmesh(3, 5, NODE_ID_NONE, 11)};
  scene.MarkFromRoot();
  MergeMaterials(scene.table);
  return built;
}

void ExpectFolded(const TwoMaterialMesh& m) {
  EXPECT_TRUE(m.first->reachable);
  EXPECT_FALSE(m.second->reachable);
  EXPECT_TRUE(m.second->referrers.empty());
  EXPECT_EQ(m.mesh->submeshes[0].materialId, 10u);
  EXPECT_EQ(m.mesh->submeshes[1].materialId, 10u);
  ASSERT_EQ(m.first->referrers.size(), 2u);
  EXPECT_EQ(m.first->referrers[0], &m.mesh->submeshes[0]);
  EXPECT_EQ(m.first->referrers[1], &m.mesh->submeshes[1]);
}

void ExpectApart(const TwoMaterialMesh& m) {
  EXPECT_TRUE(m.first->reachable);
  EXPECT_TRUE(m.second->reachable);
  EXPECT_EQ(m.mesh->submeshes[0].materialId, 10u);
  EXPECT_EQ(m.mesh->submeshes[1].materialId, 11u);
  ASSERT_EQ(m.first->referrers.size(), 1u);
  ASSERT_EQ(m.second->referrers.size(), 1u);
  EXPECT_EQ(m.second->referrers[0], &m.mesh->submeshes[1]);
}

TEST(MergeMaterials, DiffuseAloneSeparatesOnlyWithLightsExported) {
  const auto otherDiffuse = [](MaterialNode& m) { m.diffuse = 0xFF00FF00u; };
  {
    SCOPED_TRACE("exportlights off");
    ExpectFolded(*BuildTwoMaterialMesh(false, otherDiffuse));
  }
  {
    SCOPED_TRACE("exportlights on");
    ExpectApart(*BuildTwoMaterialMesh(true, otherDiffuse));
  }
}

TEST(MergeMaterials, OpacityMattersOnlyThroughTheColoursAlpha) {
  // The opacity field itself is never compared, not even with lights on.
  const auto opacityOnly = [](MaterialNode& m) { m.opacity = 0.5f; };
  {
    SCOPED_TRACE("opacity alone, exportlights on");
    ExpectFolded(*BuildTwoMaterialMesh(true, opacityOnly));
  }
  // As material translation builds it: half opacity lands in the alpha
  // byte of every colour (0.5 * 255 truncated is 0x7F).
  const auto opacityInAlpha = [](MaterialNode& m) {
    m.opacity = 0.5f;
    m.diffuse = (m.diffuse & 0x00FFFFFFu) | 0x7F000000u;
    m.specular = (m.specular & 0x00FFFFFFu) | 0x7F000000u;
    m.ambient = (m.ambient & 0x00FFFFFFu) | 0x7F000000u;
    m.emissive = (m.emissive & 0x00FFFFFFu) | 0x7F000000u;
  };
  {
    SCOPED_TRACE("opacity in alpha, exportlights off");
    ExpectFolded(*BuildTwoMaterialMesh(false, opacityInAlpha));
  }
  {
    SCOPED_TRACE("opacity in alpha, exportlights on");
    ExpectApart(*BuildTwoMaterialMesh(true, opacityInAlpha));
  }
}

TEST(MergeMaterials, DifferentTexturesFoldWhileTheirSubmeshesStayApart) {
  RootedScene scene;
  MeshNode& mesh = scene.AddMesh(2);
  AddBuffer(scene, 3, 0);
  FaceListNode& firstFaces = scene.AddFaces(4, {0, 1, 2});
  FaceListNode& secondFaces = scene.AddFaces(5, {2, 1, 0});
  MaterialNode& bricks = scene.AddMaterial(10);
  bricks.diffuseTextureId = 20;
  MaterialNode& stones = scene.AddMaterial(11);
  stones.diffuseTextureId = 21;
  auto& bricksTexture = scene.Add<TextureNode>(20);
  auto& stonesTexture = scene.Add<TextureNode>(21);
  mesh.submeshes = {MakeSubmesh(3, 4, NODE_ID_NONE, 10, 20), MakeSubmesh(3, 5, NODE_ID_NONE, 11, 21)};

  scene.MarkFromRoot();
  MergeMaterials(scene.table);
  MergeSubmeshes(scene.table);

  EXPECT_TRUE(bricks.reachable);
  EXPECT_FALSE(stones.reachable);
  ASSERT_EQ(mesh.submeshes.size(), 2u);
  EXPECT_EQ(mesh.submeshes[0].materialId, 10u);
  EXPECT_EQ(mesh.submeshes[1].materialId, 10u);
  EXPECT_EQ(mesh.submeshes[0].diffuseTextureId, 20u);
  EXPECT_EQ(mesh.submeshes[1].diffuseTextureId, 21u);
  EXPECT_EQ(mesh.submeshes[1].faceListId, 5u);
  EXPECT_EQ(firstFaces.indices, (std::vector<uint32_t>{0, 1, 2}));
  EXPECT_EQ(secondFaces.indices, (std::vector<uint32_t>{2, 1, 0}));
  EXPECT_TRUE(secondFaces.reachable);
  EXPECT_TRUE(bricksTexture.reachable);
  EXPECT_TRUE(stonesTexture.reachable);
}

TEST(MergeMaterials, LowestIdOfEqualMaterialsTakesAllReferrers) {
  RootedScene scene;
  MeshNode& mesh = scene.AddMesh(2);
  AddBuffer(scene, 3, 0);
  for (uint32_t faces = 20; faces < 24; ++faces) scene.AddFaces(faces, {0, 0, 0});
  MaterialNode& m5 = scene.AddMaterial(5);
  MaterialNode& m9 = scene.AddMaterial(9);
  MaterialNode& m12 = scene.AddMaterial(12);
  mesh.submeshes = {MakeSubmesh(3, 20, NODE_ID_NONE, 12), MakeSubmesh(3, 21, NODE_ID_NONE, 5),
                    MakeSubmesh(3, 22, NODE_ID_NONE, 9), MakeSubmesh(3, 23, NODE_ID_NONE, 12)};
  scene.MarkFromRoot();
  ASSERT_EQ(m12.referrers.size(), 2u);

  MergeMaterials(scene.table);

  EXPECT_TRUE(m5.reachable);
  EXPECT_FALSE(m9.reachable);
  EXPECT_FALSE(m12.reachable);
  EXPECT_TRUE(m9.referrers.empty());
  EXPECT_TRUE(m12.referrers.empty());
  for (const Submesh& s : mesh.submeshes) EXPECT_EQ(s.materialId, 5u);
  // Its own referrer first, then 9's, then 12's in their walk order.
  ASSERT_EQ(m5.referrers.size(), 4u);
  EXPECT_EQ(m5.referrers[0], &mesh.submeshes[1]);
  EXPECT_EQ(m5.referrers[1], &mesh.submeshes[2]);
  EXPECT_EQ(m5.referrers[2], &mesh.submeshes[0]);
  EXPECT_EQ(m5.referrers[3], &mesh.submeshes[3]);
}

TEST(MergeMaterials, UnreachableMaterialsNeitherFoldNorAreFolded) {
  RootedScene scene;
  MeshNode& mesh = scene.AddMesh(2);
  AddBuffer(scene, 3, 0);
  scene.AddFaces(4, {0, 0, 0});
  // A geometry hung nowhere: its mesh and the materials only it uses stay
  // unreachable. Equal materials lie on both sides of the reachable one.
  auto& loose = scene.Add<GeometryNode>(30);
  auto& looseMesh = scene.Add<MeshNode>(31);
  loose.objects.push_back(&looseMesh);
  MaterialNode& lowUnreachable = scene.AddMaterial(5);
  MaterialNode& used = scene.AddMaterial(6);
  MaterialNode& highUnreachable = scene.AddMaterial(7);
  mesh.submeshes = {MakeSubmesh(3, 4, NODE_ID_NONE, 6)};
  looseMesh.submeshes = {MakeSubmesh(3, 4, NODE_ID_NONE, 5), MakeSubmesh(3, 4, NODE_ID_NONE, 7)};

  scene.MarkFromRoot();
  MergeMaterials(scene.table);

  EXPECT_FALSE(lowUnreachable.reachable);
  EXPECT_TRUE(used.reachable);
  EXPECT_FALSE(highUnreachable.reachable);
  EXPECT_TRUE(lowUnreachable.referrers.empty());
  EXPECT_TRUE(highUnreachable.referrers.empty());
  EXPECT_EQ(mesh.submeshes[0].materialId, 6u);
  EXPECT_EQ(looseMesh.submeshes[0].materialId, 5u);
  EXPECT_EQ(looseMesh.submeshes[1].materialId, 7u);
  ASSERT_EQ(used.referrers.size(), 1u);
  EXPECT_EQ(used.referrers[0], &mesh.submeshes[0]);
}

TEST(Optimize, NoReachableSubmeshNamesAFoldedMaterial) {
  RootedScene scene;
  // Materials 10, 11, 13 are one material; 12 and 14 another (blended).
  scene.AddMaterial(10);
  scene.AddMaterial(11);
  scene.AddMaterial(12).flags = MATERIAL_BLENDED;
  scene.AddMaterial(13);
  scene.AddMaterial(14).flags = MATERIAL_BLENDED;

  VertexBufferNode& firstBuffer = AddBuffer(scene, 3, 0);
  for (uint32_t i = 0; i < 6; ++i) firstBuffer.lists[0].vertices.push_back(MakeVertex(0, i, float(i), 0, 0));
  MeshNode& first = scene.AddMesh(2);
  scene.AddFaces(4, {0, 1, 2});
  scene.AddFaces(5, {2, 3, 4});
  scene.AddFaces(6, {3, 4, 5});
  first.submeshes = {MakeSubmesh(3, 4, NODE_ID_NONE, 10), MakeSubmesh(3, 5, NODE_ID_NONE, 12),
                     MakeSubmesh(3, 6, NODE_ID_NONE, 11)};

  // A second mesh one group further down.
  auto& group = scene.Add<GroupNode>(7);
  group.parentId = scene.root.id;
  scene.root.children.push_back(&group);
  auto& geometry = scene.Add<GeometryNode>(8);
  geometry.parentId = group.id;
  group.children.push_back(&geometry);
  auto& second = scene.Add<MeshNode>(9);
  geometry.objects.push_back(&second);
  VertexBufferNode& secondBuffer = AddBuffer(scene, 15, 0);
  for (uint32_t i = 0; i < 4; ++i) secondBuffer.lists[0].vertices.push_back(MakeVertex(0, i, 0, float(i), 0));
  scene.AddFaces(16, {0, 1, 2});
  scene.AddFaces(17, {1, 2, 3});
  second.submeshes = {MakeSubmesh(15, 16, NODE_ID_NONE, 14), MakeSubmesh(15, 17, NODE_ID_NONE, 11)};

  // A mesh outside the root's subtree, on a material equal to 10.
  auto& loose = scene.Add<GeometryNode>(20);
  auto& looseMesh = scene.Add<MeshNode>(21);
  loose.objects.push_back(&looseMesh);
  VertexBufferNode& looseBuffer = AddBuffer(scene, 22, 0);
  looseBuffer.lists[0].vertices.push_back(MakeVertex(0, 0, 0, 0, 0));
  scene.AddFaces(23, {0, 0, 0});
  looseMesh.submeshes = {MakeSubmesh(22, 23, NODE_ID_NONE, 13)};

  Optimize(scene.table, scene.root);

  size_t reachableSubmeshes = 0;
  for (const auto& [id, node] : scene.table) {
    if (node->type != NODE_MESH || !node->reachable) continue;
    for (const Submesh& s : As<MeshNode>(*node).submeshes) {
      ++reachableSubmeshes;
      const SceneNode* material = scene.table.Find(s.materialId);
      ASSERT_NE(material, nullptr) << "mesh " << id;
      EXPECT_TRUE(material->reachable) << "mesh " << id << " names material " << s.materialId;
    }
  }
  EXPECT_EQ(reachableSubmeshes, 4u);

  EXPECT_TRUE(scene.table.Find(10)->reachable);
  EXPECT_FALSE(scene.table.Find(11)->reachable);
  EXPECT_TRUE(scene.table.Find(12)->reachable);
  EXPECT_FALSE(scene.table.Find(13)->reachable);
  EXPECT_FALSE(scene.table.Find(14)->reachable);
  // In the first mesh the third submesh joined the first once both named 10.
  ASSERT_EQ(first.submeshes.size(), 2u);
  EXPECT_EQ(first.submeshes[0].materialId, 10u);
  EXPECT_EQ(first.submeshes[0].vertexCount, 6u);
  EXPECT_EQ(first.submeshes[1].materialId, 12u);
  EXPECT_FALSE(scene.table.Find(6)->reachable);
  ASSERT_EQ(second.submeshes.size(), 2u);
  EXPECT_EQ(second.submeshes[0].materialId, 12u);
  EXPECT_EQ(second.submeshes[1].materialId, 10u);
  EXPECT_EQ(looseMesh.submeshes[0].materialId, 13u);
}

}  // namespace
}  // namespace kvl::optimize_test
