// The plain render view, cameras, and materials of the memory scene.
#include <gtest/gtest.h>

#include "host/memory_materials.h"
#include "host/memory_objects.h"

namespace kvl::host {
namespace {

TEST(NullRenderView, FieldsAndOperations) {
  NullRenderView view;
  View& base = view;
  EXPECT_EQ(base.screenW, 640.0f);
  EXPECT_EQ(base.screenH, 480.0f);
  EXPECT_TRUE(base.worldToView.IsIdentity());
  EXPECT_EQ(base.projType, -1);
  EXPECT_EQ(base.flags, 1);
  EXPECT_EQ(base.GetInterface(7), nullptr);
  EXPECT_EQ(base.ViewToScreen({3, 4, 5}), Point2(3, 4));
  EXPECT_EQ(base.CheckForRenderAbort(), 0);
  EXPECT_EQ(base.Execute(42, 1, 2, 3), 0);
}

TEST(CameraObject, ClipDistanceSelectors) {
  MemoryCameraObject camera;
  camera.nearDist = 2;
  camera.farDist = 300;
  Interval valid(0, 0);
  EXPECT_EQ(camera.SuperClassID(), CAMERA_CLASS_ID);
  EXPECT_EQ(camera.GetClipDist(0, CAM_HITHER_CLIP, valid), 2.0f);
  EXPECT_EQ(camera.GetClipDist(0, CAM_YON_CLIP, valid), 300.0f);
  EXPECT_EQ(camera.GetFOV(0, valid), 0.785398f);
}

TEST(Materials, MultiMaterialSlotsAndStandardMaps) {
  MemoryStdMtl wood;
  wood.maps[ID_RL].state = 1;
  wood.maps[ID_RL].map = std::make_unique<MemoryBitmapTex>("C:\\maps\\sky.tga");
  EXPECT_EQ(wood.ClassID().PartA(), 2u);
  EXPECT_EQ(wood.GetMapState(ID_RL), 1);
  EXPECT_EQ(wood.GetMapState(ID_DI), 0);
  EXPECT_EQ(wood.GetMapState(-1), 0);
  EXPECT_EQ(wood.GetMapState(STD_NUM_MAPS), 0);
  EXPECT_EQ(wood.GetSubTexmap(ID_DI), nullptr);
  EXPECT_EQ(wood.GetSubTexmap(STD_NUM_MAPS), nullptr);
  Texmap* map = wood.GetSubTexmap(ID_RL);
  ASSERT_NE(map, nullptr);
  EXPECT_EQ(map->ClassID(), BMTEX_CLASS_ID);
  EXPECT_STREQ(static_cast<BitmapTex*>(map)->GetMapName(), "C:\\maps\\sky.tga");

  MemoryMultiMtl multi;
  multi.subMaterials = {&wood, nullptr};
  Mtl& asMtl = multi;
  EXPECT_EQ(asMtl.ClassID().PartA(), 0x200u);
  EXPECT_EQ(asMtl.NumSubMtls(), 2);
  EXPECT_EQ(asMtl.GetSubMtl(0), &wood);
  EXPECT_EQ(asMtl.GetSubMtl(1), nullptr);
  EXPECT_EQ(asMtl.GetSubMtl(2), nullptr);
  EXPECT_EQ(wood.NumSubMtls(), 0);
}

}  // namespace
}  // namespace kvl::host
