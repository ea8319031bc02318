#include <gtest/gtest.h>

#include "mesh_scene_support.h"
#include "translate/material_translation.h"

namespace kvl {
namespace {

using testing::ExportHarness;
using testing::kPlainSettings;
using testing::MeshOf;
using testing::SceneText;

TEST(PackColor, TruncatesEachChannelIntoAARRGGBB) {
  EXPECT_EQ(PackColor(1.0f, 0.5f, 0.0f, 1.0f), 0xFFFF7F00u);
  EXPECT_EQ(PackColor(0.999f, 0.999f, 0.999f, 0.999f), 0xFEFEFEFEu);  // no rounding
  EXPECT_EQ(PackColor(0.0f, 0.0f, 0.0f, 0.5f), 0x7F000000u);
  EXPECT_EQ(PackColor(0.0f, 0.0f, 1.0f, 0.25f), 0x3F0000FFu);
  // No clamp: 2.0 gives 510 = 0x1FE, whose ninth bit spills into red.
  EXPECT_EQ(PackColor(0.0f, 0.0f, 2.0f, 0.0f), 0x000001FEu);
  EXPECT_EQ(PackColor(host::Color(1.0f, 0.0f, 0.0f), 1.0f), 0xFFFF0000u);
}

TEST(TextureFileName, KeepsTgaMakesTheRestPcxAndCutsAtTheLastBackslash) {
  EXPECT_EQ(TextureFileName("C:\\maps\\Wood.BMP"), "Wood.pcx");
  EXPECT_EQ(TextureFileName("C:\\maps\\Sky.TGA"), "Sky.TGA");
  EXPECT_EQ(TextureFileName("stone.PCX"), "stone.pcx");
  EXPECT_EQ(TextureFileName("brick.jpeg"), "brick.jpcx");
  EXPECT_EQ(TextureFileName("maps/leaf.tga"), "maps/leaf.tga");
  EXPECT_EQ(TextureFileName("a\\b\\c.tGa"), "c.tGa");
  // Too short to have an ending: kept as it is.
  EXPECT_EQ(TextureFileName("ab"), "ab");
  EXPECT_EQ(TextureFileName(""), "");
}

class MaterialTranslation : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    harness = new ExportHarness("material_params");
    error = harness->Export(SceneText("material_params.json"), kPlainSettings);
  }
  static void TearDownTestSuite() {
    delete harness;
    harness = nullptr;
  }
  void SetUp() override { ASSERT_EQ(error, ""); }

  static const MaterialNode& MaterialOf(const std::string& node) {
    return harness->Node<MaterialNode>(MeshOf(*harness, node).submeshes.at(0).materialId);
  }

  static ExportHarness* harness;
  static std::string error;
};
ExportHarness* MaterialTranslation::harness = nullptr;
std::string MaterialTranslation::error;

TEST_F(MaterialTranslation, OpacityIsClampedAndChoosesTheBlendCodes) {
  const MaterialNode& over = MaterialOf("Over");
  EXPECT_EQ(over.opacity, 1.0f);
  EXPECT_EQ(over.sourceBlend, 2u);
  EXPECT_EQ(over.targetBlend, 1u);
  EXPECT_EQ(over.flags & MATERIAL_BLENDED, 0u);
  EXPECT_EQ(over.diffuse, 0xFF7F7F7Fu);

  const MaterialNode& under = MaterialOf("Under");
  EXPECT_EQ(under.opacity, 0.0f);
  EXPECT_EQ(under.sourceBlend, 2u);
  EXPECT_EQ(under.targetBlend, 1u);
  EXPECT_EQ(under.diffuse, 0x00FF7F00u);

  // 0.5 with the filter type: blended, codes 5 and 6, alpha 127 everywhere.
  const MaterialNode& filter = MaterialOf("Filter");
  EXPECT_EQ(filter.opacity, 0.5f);
  EXPECT_EQ(filter.flags, static_cast<uint32_t>(MATERIAL_BLENDED));
  EXPECT_EQ(filter.sourceBlend, 5u);
  EXPECT_EQ(filter.targetBlend, 6u);
  EXPECT_EQ(filter.ambient, 0x7FFF7F00u);
  EXPECT_EQ(filter.diffuse, 0x7F0000FFu);
  EXPECT_EQ(filter.specular, 0x7FFFFFFFu);
  EXPECT_EQ(filter.emissive, 0x7FFFFFFFu);

  EXPECT_EQ(MaterialOf("Additive").sourceBlend, 2u);
  EXPECT_EQ(MaterialOf("Additive").targetBlend, 2u);
  EXPECT_EQ(MaterialOf("Subtractive").sourceBlend, 1u);
  EXPECT_EQ(MaterialOf("Subtractive").targetBlend, 4u);
  EXPECT_EQ(MaterialOf("Odd").sourceBlend, 1u);
  EXPECT_EQ(MaterialOf("Odd").targetBlend, 1u);
}

TEST_F(MaterialTranslation, WireSwitchesOffsetShadingAndSelfIllumination) {
  const MaterialNode& wire = MaterialOf("Wire");
  EXPECT_EQ(wire.polygonOffset, 2.0f);
  EXPECT_EQ(wire.flags, static_cast<uint32_t>(MATERIAL_WIRE_UNITS | MATERIAL_WIRE | MATERIAL_TWO_SIDED));
  EXPECT_EQ(wire.shadingMode, 4u);
  EXPECT_EQ(wire.specularPower, 0.75f);
  EXPECT_EQ(wire.emissive, 0xFF7F7F7Fu);  // white times 0.5

  const MaterialNode& thin = MaterialOf("Thin");
  EXPECT_EQ(thin.polygonOffset, -1.0f);
  EXPECT_EQ(thin.flags, 0u);
  EXPECT_EQ(thin.shadingMode, 1u);
  EXPECT_EQ(thin.emissive, 0xFF000000u);  // no self-illumination: black
  EXPECT_EQ(thin.diffuseTextureId, NODE_ID_NONE);
  EXPECT_EQ(thin.envTextureId, NODE_ID_NONE);
}

TEST_F(MaterialTranslation, TwoMeshesShareOneMaterialWithItsTextures) {
  const MeshNode& first = MeshOf(*harness, "Wood1");
  const MeshNode& second = MeshOf(*harness, "Wood2");
  const Submesh& a = first.submeshes.at(0);
  const Submesh& b = second.submeshes.at(0);
  EXPECT_EQ(a.materialId, b.materialId);
  // Ids: the material right after the first mesh's triangle info buffer,
  // then its diffuse and its reflection texture.
  EXPECT_EQ(a.materialId, first.id + 4);
  EXPECT_EQ(a.diffuseTextureId, first.id + 5);
  EXPECT_EQ(a.envTextureId, first.id + 6);
  EXPECT_EQ(b.diffuseTextureId, a.diffuseTextureId);
  EXPECT_EQ(b.envTextureId, a.envTextureId);
  EXPECT_EQ(harness->Node<TextureNode>(a.diffuseTextureId).fileName, "Wood.pcx");
  EXPECT_EQ(harness->Node<TextureNode>(a.envTextureId).fileName, "Sky.TGA");
  const MaterialNode& wood = harness->Node<MaterialNode>(a.materialId);
  EXPECT_EQ(wood.diffuseTextureId, a.diffuseTextureId);
  EXPECT_EQ(wood.envTextureId, a.envTextureId);
  // The second mesh made no material and no texture: its face list comes
  // right after its buffer, and its material lies below its own ids.
  EXPECT_EQ(b.faceListId, second.id + 2);
  EXPECT_LT(b.materialId, second.id);
  int materials = 0, textures = 0;
  for (const auto& [id, node] : harness->exporter.Table()) {
    materials += node->type == NODE_MATERIAL;
    textures += node->type == NODE_TEXTURE;
  }
  EXPECT_EQ(materials, 10);  // one per host material in use
  EXPECT_EQ(textures, 2);

  // A map that is switched off makes no texture.
  const Submesh& off = MeshOf(*harness, "Off").submeshes.at(0);
  EXPECT_EQ(off.diffuseTextureId, NODE_ID_NONE);
  EXPECT_EQ(harness->Node<MaterialNode>(off.materialId).diffuseTextureId, NODE_ID_NONE);
}

}  // namespace
}  // namespace kvl
