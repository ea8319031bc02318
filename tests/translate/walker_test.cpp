#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "export_harness.h"

namespace kvl {
namespace {

using testing::ExportHarness;

// A scene document around a node list; every test scene has the material M.
std::string Scene(const std::string& nodes) {
  return R"({"format": "kvl-scene", "version": 1,
             "materials": {"M": {"type": "standard"}}, "nodes": )" +
         nodes + "}";
}

const char* const kBoxMesh = R"({"type": "mesh", "vertices": [[0,0,0],[1,0,0],[0,1,0]],
                                "faces": [{"v": [0,1,2]}]})";

std::string Box(const std::string& name, const std::string& extra = "") {
  return R"({"name": ")" + name + R"(", "material": "M", "object": )" + kBoxMesh + extra + "}";
}

// Settings that keep every record in the table visible to the writers.
const char* const kNoOptimize = "optimize = 0\n";

TEST(Walker, IdsFollowTheWalkOrder) {
  ExportHarness run("walker_ids");
  ASSERT_EQ(run.Export(Scene(R"([
    {"name": "Box", "material": "M", "object": )" + std::string(kBoxMesh) + R"(,
     "children": [{"name": "Cam", "object": {"type": "camera"}}]}])")), "");
  // The camera, a child, lies ahead of its parent's geometry.
  EXPECT_EQ(run.Node<GroupNode>(0).name, "scene_root");
  EXPECT_EQ(run.Node<GroupNode>(1).name, "gr_Box");
  EXPECT_EQ(run.Node<CameraNode>(2).name, "Cam");
  EXPECT_EQ(run.Node<GeometryNode>(3).name, "Box");
  EXPECT_EQ(run.Node<MeshNode>(4).name, "mesh_Box");
  EXPECT_EQ(run.Node<CameraNode>(2).parentId, 1u);
  EXPECT_EQ(run.Node<GeometryNode>(3).parentId, 1u);
  EXPECT_EQ(run.Node<MeshNode>(4).parentId, 3u);
  // Inside the group the geometry sits at the identity.
  const PRSTransform& t = run.Node<GeometryNode>(3).transform;
  EXPECT_EQ(t.rotation[3], 1.0f);
  EXPECT_EQ(t.scale[0], 1.0f);
}

TEST(Walker, GroupNamesAndPrefixes) {
  ExportHarness run("walker_names");
  ASSERT_EQ(run.Export(Scene(R"([
    {"name": "GR_", "object": {"type": "helper"}},
    {"name": "gr_box", "children": [{"name": "leaf"}]},
    )" + Box("GR_box") + R"(,
    {"name": "GR", "object": {"type": "helper"}}])"),
                       kNoOptimize),
            "");
  // "GR_" alone gives a group with an empty name.
  EXPECT_EQ(run.Node<GroupNode>(1).name, "");
  // A lower-case prefix is no prefix.
  EXPECT_EQ(run.Node<GroupNode>(2).name, "gr_gr_box");
  // A leaf named GR_box gets a group "box" around its geometry and mesh.
  const SceneNode* box = run.Named("box");
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->type, NODE_GROUP);
  const SceneNode* geometry = run.Named("GR_box");
  ASSERT_NE(geometry, nullptr);
  EXPECT_EQ(As<GeometryNode>(*geometry).parentId, box->id);
  ASSERT_NE(run.Named("mesh_GR_box"), nullptr);
  // Shorter than three characters never matches; a helper leaf makes nothing.
  EXPECT_EQ(run.Named("GR"), nullptr);
  EXPECT_EQ(run.Named("gr_GR"), nullptr);
}

TEST(Walker, HiddenSubtreesFollowTheSetting) {
  const std::string scene = Scene(R"([
    {"name": "hidden", "hidden": true, "userProperties": "sceneroot",
     "children": [{"name": "visible", "children": [{"name": "x"}]}]}])");
  {
    ExportHarness run("walker_hidden_off");
    ASSERT_EQ(run.Export(scene, kNoOptimize), "");
    EXPECT_EQ(run.exporter.Table().Size(), 1u);  // the root alone
    // The sceneroot line of a hidden node is never read.
    EXPECT_EQ(run.exporter.RootNode()->id, 0u);
    const auto& entries = run.exporter.Log().Entries();
    auto it = std::find_if(entries.begin(), entries.end(),
                           [](const LogEntry& e) { return e.text == "Exporting node hidden"; });
    ASSERT_NE(it, entries.end());
    EXPECT_EQ((it + 1)->text, "(hidden node, discarded because of export options)");
  }
  {
    ExportHarness run("walker_hidden_on");
    ASSERT_EQ(run.Export(scene, "optimize = 0\nexporthidden = 1\n"), "");
    EXPECT_NE(run.Named("gr_hidden"), nullptr);
    EXPECT_NE(run.Named("gr_visible"), nullptr);
  }
}

TEST(Walker, SceneRootTakesOverAndTheLastOneWins) {
  ExportHarness run("walker_sceneroot");
  ASSERT_EQ(run.Export(Scene(R"([
    {"name": "outer", "userProperties": "sceneroot: 1", "object": {"type": "helper"},
     "children": [{"name": "inner", "userProperties": "SceneRoot", "object": {"type": "helper"}}]},
    {"name": "two", "userProperties": "sceneroot: 2", "object": {"type": "helper"}}])"),
                       "optimize = 0\n"),
            "");
  const SceneNode* outer = run.Named("gr_outer");
  const SceneNode* inner = run.Named("gr_inner");
  ASSERT_NE(outer, nullptr);
  ASSERT_NE(inner, nullptr);
  // A nested sceneroot is made after the one above it, so it wins.
  EXPECT_EQ(run.exporter.RootNode(), inner);
  EXPECT_EQ(As<GroupNode>(*outer).parentId, NODE_ID_NONE);
  EXPECT_EQ(As<GroupNode>(*inner).parentId, NODE_ID_NONE);
  // The new root keeps its place among its parent's children.
  ASSERT_EQ(As<GroupNode>(*outer).children.size(), 1u);
  EXPECT_EQ(As<GroupNode>(*outer).children[0], inner);
  // Value 2 makes no group; its line is used up and makes no attribute.
  EXPECT_EQ(run.Named("gr_two"), nullptr);
  for (const auto& [id, node] : run.exporter.Table()) EXPECT_NE(node->type, NODE_ATTRIBUTE);
}

TEST(Walker, SceneRootWithOptimiserWritesOnlyItsSubtree) {
  ExportHarness run("walker_sceneroot_opt");
  ASSERT_EQ(run.Export(Scene(R"([
    {"name": "stage", "userProperties": "sceneroot", "object": {"type": "camera"}},
    {"name": "elsewhere", "object": {"type": "camera"}}])")),
            "");
  const SceneNode* stage = run.Named("gr_stage");
  ASSERT_NE(stage, nullptr);
  // The file starts with the new root's chunk: the old root is not written.
  ASSERT_GE(run.file.size(), 12u);
  EXPECT_EQ(run.file[0], 2);  // a group chunk
  EXPECT_EQ(run.file[4], stage->id);
  EXPECT_TRUE(stage->reachable);
  EXPECT_FALSE(run.Named("elsewhere")->reachable);
  EXPECT_FALSE(run.Node<GroupNode>(0).reachable);
}

TEST(Walker, CamerasAreCorrectedAndScaled) {
  ExportHarness run("walker_camera");
  ASSERT_EQ(run.Export(Scene(R"([
    {"name": "rig", "children": [{"name": "CamA", "object": {"type": "camera", "fov": 1.0, "near": 1, "far": 1000}}]},
    {"name": "CamB", "transform": {"position": [1, 2, 3]}, "userProperties": "notib: 1",
     "object": {"type": "camera"}}])"),
                       "optimize = 0\nscale = 0.5\n"),
            "");
  // The correction turns by a half angle with the double bits 0x3FE921FA00000000.
  const double halfAngle = std::bit_cast<double>(0x3FE921FA00000000ull);
  const float s = static_cast<float>(std::sin(halfAngle));
  const float c = static_cast<float>(std::cos(halfAngle));
  const auto& a = As<CameraNode>(*run.Named("CamA"));
  EXPECT_EQ(a.transform.rotation[0], s);
  EXPECT_EQ(a.transform.rotation[1], 0.0f);
  EXPECT_EQ(a.transform.rotation[2], 0.0f);
  EXPECT_EQ(a.transform.rotation[3], c);
  EXPECT_EQ(a.transform.position[0], 0.0f);
  EXPECT_EQ(a.transform.scale[1], 1.0f);
  EXPECT_EQ(a.nearClip, 0.5f);
  EXPECT_EQ(a.farClip, 500.0f);
  EXPECT_EQ(a.fov, 1.0f);  // not scaled
  EXPECT_EQ(a.targetId, NODE_ID_NONE);
  // A leaf camera keeps its own transform (axes swapped, scaled) and the line
  // notib, unread on a camera, becomes its attribute.
  const auto& b = As<CameraNode>(*run.Named("CamB"));
  EXPECT_EQ(b.transform.position[0], 0.5f);
  EXPECT_EQ(b.transform.position[1], 1.5f);
  EXPECT_EQ(b.transform.position[2], 1.0f);
  EXPECT_EQ(b.nearClip, 0.5f);   // default near 1
  EXPECT_EQ(b.farClip, 500.0f);  // default far 1000
  const auto& attribute = run.Node<NodeAttributeNode>(b.id + 1);
  EXPECT_EQ(attribute.parentId, b.id);
  EXPECT_EQ(attribute.data, "notib: 1");
}

void PutLE(std::vector<uint8_t>& bytes, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

TEST(Walker, LeafCameraFileByteForByte) {
  ExportHarness run("walker_camera_file");
  ASSERT_EQ(run.Export(Scene(R"([{"name": "Cam", "object": {"type": "camera"}}])")), "");
  const double halfAngle = std::bit_cast<double>(0x3FE921FA00000000ull);
  std::vector<uint8_t> expected = {
      // The root group, as in the file of an empty scene.
      0x02, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x37, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0x0A,
      's', 'c', 'e', 'n', 'e', '_', 'r', 'o', 'o', 't', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
      0, 0, 0, 0, 0, 0, 0, 0, 0x80, 0x3F, 0, 0, 0x80, 0x3F, 0, 0, 0x80, 0x3F, 0, 0, 0x80, 0x3F,
      // Camera chunk 5, version 1, id 1 (its handle's id), 52 bytes.
      0x05, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00, 0x00, 0x34, 0x00, 0x00, 0x00,
      0x00, 0x00, 0x00, 0x00,  // parent: the root
      0xFF, 0xFF, 0xFF, 0xFF,  // no target
      0x03, 'C', 'a', 'm', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  PutLE(expected, std::bit_cast<uint32_t>(static_cast<float>(std::sin(halfAngle))));
  PutLE(expected, 0);
  PutLE(expected, 0);
  PutLE(expected, std::bit_cast<uint32_t>(static_cast<float>(std::cos(halfAngle))));
  PutLE(expected, std::bit_cast<uint32_t>(0.785398f));  // the format's default field of view
  PutLE(expected, 0x3F800000);                          // near 1
  PutLE(expected, 0x447A0000);                          // far 1000
  EXPECT_EQ(run.file, expected);
}

TEST(Walker, ParticleSystemsFromPrefixedHelpers) {
  ExportHarness run("walker_particles");
  ASSERT_EQ(run.Export(Scene(R"([
    {"name": "PS_fire", "object": {"type": "helper"}},
    {"name": "PS_smoke", "userProperties": "FN: Smoke.prt\r\ns: 2", "object": {"type": "helper"}},
    {"name": "PS_spark", "userProperties": "fn: c:\\effects\\fire.prt", "object": {"type": "helper"}},
    {"name": "ps_fire", "object": {"type": "helper"}},
    {"name": "PS_", "object": {"type": "helper"}},
    {"name": "PS_mesh", "material": "M", "object": )" + std::string(kBoxMesh) + "}]"),
                       "optimize = 0\nscale = 0.5\n"),
            "");
  const auto& fire = As<GeometryNode>(*run.Named("PS_fire"));
  ASSERT_EQ(fire.objects.size(), 1u);
  const auto& fireSystem = As<ParticleSystemNode>(*fire.objects[0]);
  EXPECT_EQ(fireSystem.name, "ps_PS_fire");
  EXPECT_EQ(fireSystem.scale, 0.5f);
  EXPECT_EQ(fireSystem.fileName, "<Illegal filename>");
  EXPECT_EQ(fireSystem.parentId, fire.id);
  const auto& smoke = As<ParticleSystemNode>(*run.Named("ps_PS_smoke"));
  EXPECT_EQ(smoke.fileName, "Smoke.prt");
  EXPECT_EQ(smoke.scale, 1.0f);
  // A ":" in the file name cuts it, and the whole line counts as used.
  const auto& spark = As<ParticleSystemNode>(*run.Named("ps_PS_spark"));
  EXPECT_EQ(spark.fileName, "c");
  for (const auto& [id, node] : run.exporter.Table()) EXPECT_NE(node->type, NODE_ATTRIBUTE);
  EXPECT_EQ(run.Named("ps_fire"), nullptr);
  EXPECT_NE(run.Named("ps_PS_"), nullptr);
  // "PS_" counts for helpers only: a mesh named so is a plain geometry.
  EXPECT_EQ(run.Named("ps_PS_mesh"), nullptr);
  EXPECT_NE(run.Named("mesh_PS_mesh"), nullptr);
}

TEST(Walker, AttributeNodesGoToTheOwner) {
  ExportHarness run("walker_attributes");
  ASSERT_EQ(run.Export(Scene(R"([
    )" + Box("Crate", R"(, "userProperties": "colour: red\r\nshiny\r\nfn: smoke.prt\r\ncolour: blue")") + R"(,
    {"name": "Lamp", "userProperties": "colour: red\r\nshiny", "object": {"type": "light"},
     "children": [{"name": "c"}]},
    {"name": "Leaf", "userProperties": "colour: red\r\nshiny", "object": {"type": "light"}}])"),
                       kNoOptimize),
            "");
  std::vector<std::pair<std::string, std::string>> attributes;  // owner name, text
  for (const auto& [id, node] : run.exporter.Table()) {
    if (node->type != NODE_ATTRIBUTE) continue;
    const auto& a = As<NodeAttributeNode>(*node);
    attributes.emplace_back(ExportHarness::NameOf(*run.exporter.Table().Find(a.parentId)), a.data);
  }
  // On a mesh without wrapper the geometry owns them, in line order; the key
  // fn is not read on a mesh, and nothing reads colour, so both colour lines
  // stay. A light with children gives its group; a leaf light has no owner.
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"gr_Lamp", "colour: red"}, {"gr_Lamp", "shiny"},
      {"Crate", "colour: red"},   {"Crate", "shiny"},
      {"Crate", "fn: smoke.prt"}, {"Crate", "colour: blue"}};
  std::sort(attributes.begin(), attributes.end());
  std::vector<std::pair<std::string, std::string>> sortedExpected = expected;
  std::sort(sortedExpected.begin(), sortedExpected.end());
  EXPECT_EQ(attributes, sortedExpected);
  // Ids are consecutive in line order.
  const auto* crate = run.Named("Crate");
  ASSERT_NE(crate, nullptr);
  uint32_t firstAttribute = NODE_ID_NONE;
  for (const auto& [id, node] : run.exporter.Table()) {
    if (node->type == NODE_ATTRIBUTE && As<NodeAttributeNode>(*node).parentId == crate->id) {
      firstAttribute = std::min(firstAttribute, id);
    }
  }
  EXPECT_EQ(run.Node<NodeAttributeNode>(firstAttribute).data, "colour: red");
  EXPECT_EQ(run.Node<NodeAttributeNode>(firstAttribute + 3).data, "colour: blue");
}

TEST(Walker, KeyRepeatedUsesUpOnlyItsFirstLine) {
  ExportHarness run("walker_repeat");
  ASSERT_EQ(run.Export(Scene(R"([
    {"name": "PS_twice", "userProperties": "s: 2\r\ns: 3", "object": {"type": "helper"}}])"),
                       kNoOptimize),
            "");
  EXPECT_EQ(As<ParticleSystemNode>(*run.Named("ps_PS_twice")).scale, 2.0f);
  const SceneNode* geometry = run.Named("PS_twice");
  bool found = false;
  for (const auto& [id, node] : run.exporter.Table()) {
    if (node->type == NODE_ATTRIBUTE) {
      EXPECT_EQ(As<NodeAttributeNode>(*node).data, "s: 3");
      EXPECT_EQ(As<NodeAttributeNode>(*node).parentId, geometry->id);
      found = true;
    }
  }
  EXPECT_TRUE(found);
}

// The messages from "Parsing nodes" to "Node parsing complete".
std::vector<std::string> WalkProgress(const std::string& nodes) {
  ExportHarness run("walker_progress");
  EXPECT_EQ(run.Export(Scene(nodes)), "");
  std::vector<std::string> lines;
  bool inWalk = false;
  for (const std::string& line : run.progress.lines) {
    if (line == "10 Parsing nodes") inWalk = true;
    if (inWalk) lines.push_back(line);
    if (line.find("Node parsing complete") != std::string::npos) break;
  }
  return lines;
}

TEST(Walker, ProgressAfterEachTopLevelNode) {
  // After child k of n the value is 10 + 40k/n in whole numbers, shown by the
  // next message: 10 and 23 for three nodes (36, after the last, is never
  // shown because 50 follows).
  EXPECT_EQ(WalkProgress(R"([{"name": "a"}, {"name": "b"}, {"name": "c"}])"),
            (std::vector<std::string>{"10 Parsing nodes", "10 Exporting node a", "10 Exporting node b",
                                      "23 Exporting node c", "50 Node parsing complete"}));
  EXPECT_EQ(WalkProgress(R"([{"name": "a"}, {"name": "b"}, {"name": "c"}, {"name": "d"}, {"name": "e"}])"),
            (std::vector<std::string>{"10 Parsing nodes", "10 Exporting node a", "10 Exporting node b",
                                      "18 Exporting node c", "26 Exporting node d", "34 Exporting node e",
                                      "50 Node parsing complete"}));
  EXPECT_EQ(WalkProgress(R"([{"name": "only"}])"),
            (std::vector<std::string>{"10 Parsing nodes", "10 Exporting node only", "50 Node parsing complete"}));
  EXPECT_EQ(WalkProgress("[]"), (std::vector<std::string>{"10 Parsing nodes", "50 Node parsing complete"}));
}

}  // namespace
}  // namespace kvl
