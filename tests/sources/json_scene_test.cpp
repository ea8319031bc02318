// Loading valid scene descriptions: every key reaches the host interface
// with the value written, and left-out keys take their defaults.
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>

#include "host/memory_materials.h"
#include "host/memory_objects.h"
#include "sources/json_scene.h"

namespace kvl::sources {
namespace {

using host::INode;

const std::string kScenes = std::string(KVL_TEST_DIR) + "/scenes/";

std::string Doc(const std::string& rest) {
  return R"({"format": "kvl-scene", "version": 1)" + std::string(rest.empty() ? "" : ", ") + rest + "}";
}

host::MemoryScene& Loaded(SceneLoadResult& result) {
  EXPECT_EQ(result.error, "");
  if (!result.scene) throw std::runtime_error("scene refused: " + result.error);
  return *result.scene;
}

TEST(JsonScene, MinimalDocumentTakesDefaults) {
  SceneLoadResult result = LoadJsonScene(Doc(""));
  host::MemoryScene& scene = Loaded(result);
  EXPECT_EQ(scene.ticksPerFrame, 160);
  EXPECT_EQ(scene.animationRange.Start(), 0);
  EXPECT_EQ(scene.animationRange.End(), 16000);
  EXPECT_TRUE(scene.root.IsRootNode());
  EXPECT_EQ(scene.root.NumberOfChildren(), 0);
  EXPECT_TRUE(scene.materials.empty());
}

TEST(JsonScene, DocumentKeysReachTheInterface) {
  SceneLoadResult result = LoadJsonScene(Doc(R"("ticksPerFrame": 80, "animationRange": [-160, -160])"));
  host::MemoryScene& scene = Loaded(result);
  host::MemoryInterface core(scene);
  EXPECT_EQ(core.GetTicksPerFrame(), 80);
  EXPECT_EQ(core.GetAnimRange().Start(), -160);
  EXPECT_EQ(core.GetAnimRange().End(), -160);
  EXPECT_EQ(core.GetRootNode(), &scene.root);
}

TEST(JsonScene, NodeKeysAndDefaults) {
  SceneLoadResult result = LoadJsonScene(Doc(R"("nodes": [
      {"name": "Box", "hidden": true, "userProperties": "a: 1\r\nb", "controller": false,
       "children": [{"name": "Inner"}, {}]},
      {"name": "\u00e9t\u00e9"}])"));
  host::MemoryScene& scene = Loaded(result);
  ASSERT_EQ(scene.root.NumberOfChildren(), 2);
  INode* box = scene.root.GetChildNode(0);
  EXPECT_STREQ(box->GetName(), "Box");
  EXPECT_TRUE(box->IsHidden());
  host::CStr props;
  box->GetUserPropBuffer(props);
  EXPECT_EQ(props.str(), "a: 1\r\nb");
  EXPECT_EQ(box->GetTMController(), nullptr);
  EXPECT_EQ(box->GetParentNode(), &scene.root);
  EXPECT_FALSE(box->IsRootNode());
  ASSERT_EQ(box->NumberOfChildren(), 2);
  INode* unnamed = box->GetChildNode(1);
  EXPECT_STREQ(unnamed->GetName(), "");
  EXPECT_FALSE(unnamed->IsHidden());
  host::CStr empty;
  unnamed->GetUserPropBuffer(empty);
  EXPECT_EQ(empty.Length(), 0);
  EXPECT_NE(unnamed->GetTMController(), nullptr);
  EXPECT_EQ(unnamed->GetParentNode(), box);
  EXPECT_EQ(unnamed->GetMtl(), nullptr);
  EXPECT_EQ(unnamed->EvalWorldState(0).obj, nullptr);
  EXPECT_STREQ(scene.root.GetChildNode(1)->GetName(), "\xC3\xA9t\xC3\xA9");
}

TEST(JsonScene, DefaultHandlesCountInPreOrderAndSkipEveryExplicitOne) {
  // Pre-order: A, A1, A2, B. A1 and B carry handles; the one given later
  // in the document (2) is still skipped by A's default.
  SceneLoadResult result = LoadJsonScene(Doc(R"("nodes": [
      {"name": "A", "children": [{"name": "A1", "handle": 1}, {"name": "A2"}]},
      {"name": "B", "handle": 2}, {"name": "C"}])"));
  host::MemoryScene& scene = Loaded(result);
  INode* a = scene.root.GetChildNode(0);
  EXPECT_EQ(a->GetHandle(), 3u);
  EXPECT_EQ(a->GetChildNode(0)->GetHandle(), 1u);
  EXPECT_EQ(a->GetChildNode(1)->GetHandle(), 4u);
  EXPECT_EQ(scene.root.GetChildNode(1)->GetHandle(), 2u);
  EXPECT_EQ(scene.root.GetChildNode(2)->GetHandle(), 5u);

  SceneLoadResult top = LoadJsonScene(Doc(R"("nodes": [{"handle": 4294967295}, {}])"));
  EXPECT_EQ(Loaded(top).root.GetChildNode(0)->GetHandle(), 4294967295u);
  EXPECT_EQ(Loaded(top).root.GetChildNode(1)->GetHandle(), 1u);
}

TEST(JsonScene, ObjectsOfEveryKind) {
  SceneLoadResult result = LoadJsonScene(Doc(R"("nodes": [
      {"object": {"type": "camera", "fov": 1.5, "near": 2, "far": 50}},
      {"object": {"type": "camera"}},
      {"object": {"type": "light"}}, {"object": {"type": "shape"}}, {"object": {"type": "helper"}},
      {"object": {"type": "other", "superClassId": 4294967295}}, {"object": null},
      {"object": {"type": "mesh"}}])"));
  host::MemoryScene& scene = Loaded(result);
  auto objectOf = [&](int i) { return scene.root.GetChildNode(i)->EvalWorldState(0).obj; };
  host::Interval valid(0, 0);
  auto* camera = static_cast<host::CameraObject*>(objectOf(0));
  ASSERT_EQ(camera->SuperClassID(), host::CAMERA_CLASS_ID);
  EXPECT_FLOAT_EQ(camera->GetFOV(0, valid), 1.5f);
  EXPECT_FLOAT_EQ(camera->GetClipDist(0, host::CAM_HITHER_CLIP, valid), 2.0f);
  EXPECT_FLOAT_EQ(camera->GetClipDist(0, host::CAM_YON_CLIP, valid), 50.0f);
  auto* defaults = static_cast<host::CameraObject*>(objectOf(1));
  EXPECT_FLOAT_EQ(defaults->GetFOV(0, valid), 0.785398f);
  EXPECT_FLOAT_EQ(defaults->GetClipDist(0, host::CAM_HITHER_CLIP, valid), 1.0f);
  EXPECT_FLOAT_EQ(defaults->GetClipDist(0, host::CAM_YON_CLIP, valid), 1000.0f);
  EXPECT_EQ(objectOf(2)->SuperClassID(), 0x30u);
  EXPECT_EQ(objectOf(3)->SuperClassID(), 0x40u);
  EXPECT_EQ(objectOf(4)->SuperClassID(), 0x50u);
  EXPECT_EQ(objectOf(5)->SuperClassID(), 0xFFFFFFFFu);
  EXPECT_EQ(objectOf(6), nullptr);
  EXPECT_EQ(objectOf(7)->SuperClassID(), 0x10u);
  host::NullRenderView view;
  bool needDelete = true;
  // A light has no mesh to render.
  EXPECT_EQ(objectOf(2)->GetRenderMesh(0, scene.root.GetChildNode(2), view, needDelete), nullptr);
  EXPECT_FALSE(needDelete);
}

TEST(JsonScene, MaterialsAreSharedByNameWithEveryValue) {
  SceneLoadResult result = LoadJsonSceneFile(kScenes + "hierarchy.json");
  host::MemoryScene& scene = Loaded(result);
  INode* base = scene.root.GetChildNode(0);
  INode* hand = base->GetChildNode(0)->GetChildNode(0);
  host::Mtl* pair = hand->GetMtl();
  ASSERT_NE(pair, nullptr);
  EXPECT_EQ(pair->ClassID().PartA(), 0x200u);
  ASSERT_EQ(pair->NumSubMtls(), 2);
  EXPECT_EQ(pair->GetSubMtl(1), nullptr);
  auto* red = static_cast<host::StdMat2*>(pair->GetSubMtl(0));
  ASSERT_NE(red, nullptr);
  EXPECT_EQ(red->ClassID().PartA(), 2u);
  EXPECT_EQ(red->GetDiffuse(0), host::Color(1, 0, 0));
  EXPECT_EQ(red->GetAmbient(0), host::Color(0.5f, 0.5f, 0.5f));
  EXPECT_FLOAT_EQ(red->GetOpacity(0), 0.5f);
  EXPECT_EQ(red->GetMapState(host::ID_DI), 2);
  EXPECT_EQ(red->GetMapState(host::ID_RL), 0);
  EXPECT_EQ(red->GetSubTexmap(host::ID_RL), nullptr);
  auto* map = static_cast<host::BitmapTex*>(red->GetSubTexmap(host::ID_DI));
  ASSERT_NE(map, nullptr);
  EXPECT_STREQ(map->GetMapName(), "C:\\maps\\wood.bmp");

  INode* deformed = base->GetChildNode(1);
  EXPECT_TRUE(deformed->IsHidden());
  EXPECT_EQ(deformed->GetTMController(), nullptr);
  EXPECT_EQ(base->GetChildNode(0)->GetHandle(), 7u);
  EXPECT_EQ(base->GetHandle(), 1u);
  EXPECT_EQ(hand->GetHandle(), 2u);
  EXPECT_EQ(deformed->GetHandle(), 3u);
}

TEST(JsonScene, StandardMaterialValuesAndDefaults) {
  SceneLoadResult result = LoadJsonScene(Doc(R"("materials": {
      "all": {"type": "standard", "ambient": [0.1, 0.2, 0.3], "specular": [2, -1, 0],
              "selfIllumColor": [1, 1, 0], "selfIllum": 0.25, "shinStr": 0.75, "opacity": 1.5,
              "wire": true, "wireUnits": true, "twoSided": true, "falloffOut": true, "wireSize": 3,
              "transparencyType": 0, "maps": {"9": {"state": 1, "file": "sky.tga"}, "0": {"file": ""}}},
      "plain": {"type": "standard"}},
      "nodes": [{"material": "all"}, {"material": "all"}, {"material": null}])"));
  host::MemoryScene& scene = Loaded(result);
  auto* all = static_cast<host::StdMat2*>(scene.root.GetChildNode(0)->GetMtl());
  EXPECT_EQ(all, scene.root.GetChildNode(1)->GetMtl());
  EXPECT_EQ(scene.root.GetChildNode(2)->GetMtl(), nullptr);
  EXPECT_EQ(all->GetAmbient(0), host::Color(0.1f, 0.2f, 0.3f));
  EXPECT_EQ(all->GetSpecular(0), host::Color(2, -1, 0));
  EXPECT_EQ(all->GetSelfIllumColor(0), host::Color(1, 1, 0));
  EXPECT_FLOAT_EQ(all->GetSelfIllum(0), 0.25f);
  EXPECT_FLOAT_EQ(all->GetShinStr(0), 0.75f);
  EXPECT_FLOAT_EQ(all->GetOpacity(0), 1.5f);
  EXPECT_TRUE(all->GetWire() && all->GetWireUnits() && all->GetTwoSided() && all->GetFalloffOut());
  EXPECT_FLOAT_EQ(all->GetWireSize(0), 3.0f);
  EXPECT_EQ(all->GetTransparencyType(), 0);
  EXPECT_EQ(all->GetMapState(9), 1);
  EXPECT_STREQ(static_cast<host::BitmapTex*>(all->GetSubTexmap(9))->GetMapName(), "sky.tga");
  EXPECT_EQ(all->GetMapState(0), 2);

  host::StdMat2* plain = nullptr;
  for (auto& m : scene.materials) {
    if (std::string(m->GetName()) == "plain") plain = static_cast<host::StdMat2*>(m.get());
  }
  ASSERT_NE(plain, nullptr);
  EXPECT_EQ(plain->GetDiffuse(0), host::Color(0.5f, 0.5f, 0.5f));
  EXPECT_EQ(plain->GetSelfIllumColor(0), host::Color(0, 0, 0));
  EXPECT_FLOAT_EQ(plain->GetOpacity(0), 1.0f);
  EXPECT_FLOAT_EQ(plain->GetWireSize(0), 1.0f);
  EXPECT_FALSE(plain->GetWire() || plain->GetWireUnits() || plain->GetTwoSided() || plain->GetFalloffOut());
  EXPECT_EQ(plain->GetTransparencyType(), 2);
  for (int slot = 0; slot < host::STD_NUM_MAPS; ++slot) EXPECT_EQ(plain->GetMapState(slot), 0);
}

TEST(JsonScene, TransformsFromTrsMatrixAndKeys) {
  SceneLoadResult result = LoadJsonScene(Doc(R"("nodes": [
      {"transform": {"position": [1, 2, 3], "rotation": [0, 0, 1, 1], "scale": [2, 3, -1]}},
      {"transform": {"matrix": [[0, 1, 0], [-1, 0, 0], [0, 0, 1], [4, 5, 6]]}},
      {"transform": {}}])"));
  host::MemoryScene& scene = Loaded(result);
  // (0, 0, 1, 1) normalises to a quarter turn about z; then scale by row.
  const host::Matrix3 trs = scene.root.GetChildNode(0)->GetNodeTM(0);
  const host::Point3 expected[4] = {{0, 2, 0}, {-3, 0, 0}, {0, 0, -1}, {1, 2, 3}};
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(trs[r][c], expected[r][c], 1e-6f) << r << "," << c;
  }
  EXPECT_TRUE(trs.Parity());
  const host::Matrix3 matrix = scene.root.GetChildNode(1)->GetNodeTM(0);
  EXPECT_EQ(matrix.GetRow(0), host::Point3(0, 1, 0));
  EXPECT_EQ(matrix.GetRow(3), host::Point3(4, 5, 6));
  EXPECT_TRUE(scene.root.GetChildNode(2)->GetNodeTM(0).IsIdentity());
}

TEST(JsonScene, HierarchyMatricesAtSeveralTicks) {
  SceneLoadResult result = LoadJsonSceneFile(kScenes + "hierarchy.json");
  host::MemoryScene& scene = Loaded(result);
  INode* base = scene.root.GetChildNode(0);
  INode* hand = base->GetChildNode(0)->GetChildNode(0);
  INode* deformed = base->GetChildNode(1);
  // The keys replace Base's fixed transform: at tick 0 it stands at the origin.
  EXPECT_TRUE(base->GetNodeTM(0).IsIdentity());
  // Hand at the last key: Arm's (0, 2, 0) turned to (-2, 0, 0) plus (10, 0, 0),
  // then Hand's (1, 0, 0) through Arm's axes (length 2, x along +y).
  const host::Matrix3 node = hand->GetNodeTM(1600);
  const host::Matrix3 object = hand->GetObjTMBeforeWSM(4000);
  const host::Point3 rows[3] = {{0, 2, 0}, {-2, 0, 0}, {0, 0, 2}};
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) {
      EXPECT_NEAR(node[r][c], rows[r][c], 1e-5f);
      EXPECT_NEAR(object[r][c], rows[r][c], 1e-5f);
    }
  }
  const host::Point3 nodeAt(8, 2, 0), objectAt(8, 2, 2);
  for (int c = 0; c < 3; ++c) {
    EXPECT_NEAR(node[3][c], nodeAt[c], 1e-5f);
    EXPECT_NEAR(object[3][c], objectAt[c], 1e-5f);
  }
  // Halfway between the keys: five along x, an eighth of a turn.
  EXPECT_NEAR(base->GetNodeTM(800)[3].x, 5.0f, 1e-5f);
  EXPECT_NEAR(base->GetNodeTM(800)[0].y, std::sqrt(0.5f), 1e-5f);
  EXPECT_EQ(deformed->GetObjTMAfterWSM(800).GetIdentFlags(), host::MAT_IDENT);
  EXPECT_NEAR(deformed->GetObjTMBeforeWSM(0)[3].x, 5.0f, 1e-5f);
}

TEST(JsonScene, MeshWithChannelsAndFrames) {
  SceneLoadResult result = LoadJsonScene(Doc(R"("nodes": [{"object": {"type": "mesh",
      "vertices": [[0, 0, 0], [1, 0, 0], [0, 1, 0]],
      "faces": [{"v": [0, 1, 2], "smoothing": 4294967295, "material": 65535}, {"v": [2, 1, 0]}],
      "channels": {"1": {"vertices": [[0, 0, 0], [1, 1, 0]], "faces": [[0, 1, 1], [1, 0, 0]]},
                   "-2": {"vertices": [[0.5, 0, 0]], "faces": [[0, 0, 0], [0, 0, 0]]},
                   "7": {"vertices": [[9, 9, 9]], "faces": [[0, 0, 0], [0, 0, 0]]}},
      "frames": [{"tick": 160, "vertices": [[0, 0, 1], [1, 0, 1], [0, 1, 1]]}]}},
      {"object": {"type": "mesh", "vertices": [[0, 0, 0]], "renderMesh": false}}])"));
  host::MemoryScene& scene = Loaded(result);
  INode* node = scene.root.GetChildNode(0);
  host::Object* object = node->EvalWorldState(0).obj;
  host::NullRenderView view;
  bool needDelete = true;
  host::Mesh* mesh = object->GetRenderMesh(0, node, view, needDelete);
  ASSERT_NE(mesh, nullptr);
  EXPECT_FALSE(needDelete);
  EXPECT_EQ(mesh->getNumFaces(), 2);
  EXPECT_EQ(mesh->faces[0].smGroup, 0xFFFFFFFFu);
  EXPECT_EQ(mesh->getFaceMtlIndex(0), 65535);
  EXPECT_EQ(mesh->faces[1].smGroup, 0u);
  EXPECT_EQ(mesh->getFaceMtlIndex(1), 0);
  EXPECT_EQ(mesh->faces[1].v[0], 2u);
  EXPECT_EQ(mesh->getNumMapVerts(1), 2);
  EXPECT_EQ(mesh->mapVerts(1)[mesh->mapFaces(1)[0].t[2]], host::Point3(1, 1, 0));
  EXPECT_EQ(mesh->getNumMapVerts(host::MAP_ALPHA), 1);
  EXPECT_EQ(mesh->mapVerts(host::MAP_ALPHA)[0].x, 0.5f);
  EXPECT_EQ(mesh->getNumMapVerts(0), 0);
  EXPECT_EQ(mesh->getNumMapVerts(7), 1);

  host::Mesh* frame = object->GetRenderMesh(200, node, view, needDelete);
  ASSERT_NE(frame, nullptr);
  EXPECT_TRUE(needDelete);
  EXPECT_EQ(frame->getVert(2), host::Point3(0, 1, 1));
  EXPECT_EQ(frame->getNumMapVerts(1), 2);
  if (needDelete) delete frame;

  INode* hidden = scene.root.GetChildNode(1);
  EXPECT_EQ(hidden->EvalWorldState(0).obj->GetRenderMesh(0, hidden, view, needDelete), nullptr);
}

TEST(JsonScene, TheDocumentedExampleLoads) {
  // tests/scenes/crate.json is the example of docs/scene-format.md.
  SceneLoadResult result = LoadJsonSceneFile(kScenes + "crate.json");
  host::MemoryScene& scene = Loaded(result);
  INode* crate = scene.root.GetChildNode(0);
  EXPECT_STREQ(crate->GetName(), "Crate");
  EXPECT_EQ(crate->GetHandle(), 1u);
  EXPECT_EQ(crate->GetChildNode(0)->GetHandle(), 100u);
  EXPECT_EQ(crate->GetMtl()->NumSubMtls(), 2);
  EXPECT_NEAR(crate->GetNodeTM(4800)[3].z, 10.0f, 1e-6f);
  EXPECT_EQ(scene.animationRange.End(), 4800);
}

TEST(JsonScene, UnreadableFileIsNamed) {
  const std::string missing = kScenes + "no-such-scene.json";
  SceneLoadResult result = LoadJsonSceneFile(missing);
  EXPECT_EQ(result.scene, nullptr);
  EXPECT_EQ(result.error.rfind(missing + ": cannot be read", 0), 0u) << result.error;
  SceneLoadResult folder = LoadJsonSceneFile(kScenes);
  EXPECT_EQ(folder.scene, nullptr);
  EXPECT_NE(folder.error.find("folder"), std::string::npos) << folder.error;
}

}  // namespace
}  // namespace kvl::sources
