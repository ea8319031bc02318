// What only the host sees of an export, which no output file shows: the
// progress display's values, the counts reported to the host, and the name
// lookups that springs and colliders (made by no walk) depend on.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "export_harness.h"
#include "working_folder.h"

namespace kvl {
namespace {

using testing::ExportHarness;

std::string Scene(const std::string& nodes) {
  return R"({"format": "kvl-scene", "version": 1, "materials": {"M": {"type": "standard"}}, "nodes": )" + nodes +
         "}";
}

TEST(ExportProgress, EachStepAndEachTopLevelNodeMovesTheBar) {
  // After top-level node k of n the value is 10 + 40k/n in whole numbers,
  // shown with the next message: 50 follows the last, so 36 of three nodes
  // is never shown. Without the optimiser, 60 is never shown either.
  struct Case {
    const char* nodes;
    const char* settings;
    std::vector<std::string> lines;
  };
  const std::vector<std::string> head = {"0 Initializing export", "5 Creating sceneroot", "10 Parsing nodes"};
  const std::vector<std::string> tail = {"50 Node parsing complete", "50 Processing nodes", "60 Optimizing output",
                                         "90 Writing to file out.kvl", "99 Export completed successfully"};
  const Case cases[] = {
      {"[]", "", {}},
      {R"([{"name": "only"}])", "", {"10 Exporting node only"}},
      {R"([{"name": "a"}, {"name": "b"}, {"name": "c"}])", "",
       {"10 Exporting node a", "10 Exporting node b", "23 Exporting node c"}},
      {R"([{"name": "a"}, {"name": "b"}, {"name": "c"}, {"name": "d"}, {"name": "e"}])", "",
       {"10 Exporting node a", "10 Exporting node b", "18 Exporting node c", "26 Exporting node d",
        "34 Exporting node e"}},
      {"[]", "optimize = 0\n", {}},
  };
  for (const Case& c : cases) {
    ExportHarness run("progress");
    ASSERT_EQ(run.Export(Scene(c.nodes), c.settings), "");
    std::vector<std::string> expected = head;
    expected.insert(expected.end(), c.lines.begin(), c.lines.end());
    for (const std::string& line : tail) {
      if (line[0] != '6' || std::string(c.settings).empty()) expected.push_back(line);
    }
    EXPECT_EQ(run.progress.lines, expected) << c.nodes << " " << c.settings;
  }
}

// Every node of the tree counts, at any depth, so the bar also moves down a
// single deep chain; a hidden node's subtree counts as walked when it is
// passed over. Each node shows what the node in its place in the walk would
// show in a flat scene of as many nodes.
TEST(ExportProgress, EveryNodeOfADeepTreeMovesTheBar) {
  auto percents = [](const std::vector<std::string>& lines) {
    std::vector<std::string> shown;
    for (const std::string& line : lines) {
      const size_t space = line.find(' ');
      if (line.compare(space + 1, 15, "Exporting node ") == 0) shown.push_back(line);
    }
    return shown;
  };
  const std::vector<std::string> fiveFlat = {"10 Exporting node a", "10 Exporting node b", "18 Exporting node c",
                                             "26 Exporting node d", "34 Exporting node e"};
  struct Case {
    const char* nodes;
    std::vector<std::string> lines;
  };
  const Case cases[] = {
      // A chain five deep, each node sampled as it turns over the animation.
      {R"([{"name": "a", "keys": [{"tick": 0}, {"tick": 16000, "rotation": [0, 0, 1, 1]}], "children": [
           {"name": "b", "keys": [{"tick": 0}, {"tick": 16000, "rotation": [0, 0, 1, 1]}], "children": [
            {"name": "c", "keys": [{"tick": 0}, {"tick": 16000, "rotation": [0, 0, 1, 1]}], "children": [
             {"name": "d", "keys": [{"tick": 0}, {"tick": 16000, "rotation": [0, 0, 1, 1]}], "children": [
              {"name": "e", "keys": [{"tick": 0}, {"tick": 16000, "rotation": [0, 0, 1, 1]}]}]}]}]}]}])",
       fiveFlat},
      // Two top-level nodes, the first with three below it.
      {R"([{"name": "a", "children": [{"name": "b"}, {"name": "c", "children": [{"name": "d"}]}]}, {"name": "e"}])",
       fiveFlat},
      // A hidden node's two children are not walked, but the bar passes them.
      {R"([{"name": "a"}, {"name": "h", "hidden": true, "children": [{"name": "x"}, {"name": "y"}]},
           {"name": "e"}])",
       {"10 Exporting node a", "10 Exporting node h", "34 Exporting node e"}},
  };
  for (const Case& c : cases) {
    ExportHarness run("deep_progress");
    ASSERT_EQ(run.Export(Scene(c.nodes)), "");
    EXPECT_EQ(percents(run.progress.lines), c.lines) << c.nodes;
  }
}

// The host's side of an export that records what the exporter counted.
class CountingHost : public host::ExpInterface {
 public:
  void ReportCount(const char* name, uint64_t value) override { counts[name] = value; }
  std::map<std::string, uint64_t> counts;
};

TEST(ExportCounts, WhatIsWrittenIsCounted) {
  testing::WorkingFolder folder("export_counts");
  // Unoptimised, two meshes: a quad of two materials (2 submeshes, 4
  // vertices) and a triangle (1 submesh, 3 vertices); the hidden one is not
  // written.
  std::ofstream("kvlexp.ini") << "optimize = 0\ndisplaylog = 0\n";
  sources::SceneLoadResult loaded = sources::LoadJsonScene(R"({"format": "kvl-scene", "version": 1,
    "materials": {"a": {"type": "standard"}, "b": {"type": "standard", "diffuse": [1, 0, 0]},
                  "two": {"type": "multi", "subMaterials": ["a", "b"]}},
    "nodes": [
      {"name": "Quad", "material": "two", "object": {"type": "mesh",
       "vertices": [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]],
       "faces": [{"v": [0, 1, 2], "material": 0}, {"v": [0, 2, 3], "material": 1}]}},
      {"name": "Tri", "material": "a", "object": {"type": "mesh",
       "vertices": [[0, 0, 0], [1, 0, 0], [0, 1, 0]], "faces": [{"v": [0, 1, 2]}]}},
      {"name": "Gone", "hidden": true, "material": "a", "object": {"type": "mesh",
       "vertices": [[0, 0, 0], [1, 0, 0], [0, 1, 0]], "faces": [{"v": [0, 1, 2]}]}}]})");
  ASSERT_TRUE(loaded.scene) << loaded.error;
  testing::RecordedProgress progress;
  host::MemoryInterface core(*loaded.scene, &progress);
  std::ostringstream shown, errors;
  ui::HeadlessToolkit toolkit({}, false, shown, errors);
  host::SetCOREInterface(&core);
  SetDialogToolkit(&toolkit);
  CountingHost counting;
  KVLExp exporter;
  EXPECT_EQ(exporter.DoExport("out.kvl", &counting, &core, false, 0), 1);
  SetDialogToolkit(nullptr);
  host::SetCOREInterface(nullptr);
  const std::map<std::string, uint64_t> expected = {
      {"nodes", exporter.Table().Size()}, {"meshes", 2}, {"submeshes", 3}, {"triangles", 3},
      {"corners", 9},                     {"vertices", 7}};
  EXPECT_EQ(counting.counts, expected);
}

template <class T>
T& Add(KVLExp& exporter, uint32_t id, const std::string& name) {
  auto node = std::make_unique<T>();
  node->id = id;
  node->name = name;
  T& ref = *node;
  exporter.Table().Insert(std::move(node));
  return ref;
}

TEST(ExportNames, GroupsAndHelpersFoundByNameFillSpringsAndColliders) {
  KVLExp exporter;
  // A "GR_" name is looked for first; helpers are not groups; key animation
  // groups are not looked at; case counts.
  Add<GroupNode>(exporter, 9, "wall");
  Add<GroupNode>(exporter, 5, "GR_wall");
  Add<HelperNode>(exporter, 2, "wall");
  Add<PRSAnimationGroup>(exporter, 3, "PRS_door");
  Add<PRSKeyAnimationGroup>(exporter, 1, "door");
  Add<HelperNode>(exporter, 7, "anchor");
  ASSERT_NE(exporter.FindGroupByName("wall"), nullptr);
  EXPECT_EQ(exporter.FindGroupByName("wall")->id, 5u);
  ASSERT_NE(exporter.FindGroupByName("door"), nullptr);
  EXPECT_EQ(exporter.FindGroupByName("door")->id, 3u);
  EXPECT_EQ(exporter.FindGroupByName("Wall"), nullptr);
  EXPECT_EQ(exporter.FindHelperByName("wall")->id, 2u);
  EXPECT_EQ(exporter.FindHelperByName("door"), nullptr);

  auto spring = std::make_unique<SpringNode>();
  spring->id = 10;
  spring->parent2Name = "anchor";
  SpringNode& found = *spring;
  exporter.Table().Insert(std::move(spring));
  auto lost = std::make_unique<SpringNode>();
  lost->id = 11;
  lost->parent2Name = "nowhere";
  lost->parentId2 = 1234;
  SpringNode& notFound = *lost;
  exporter.Table().Insert(std::move(lost));
  // Only construction colliders (type 4) are resolved.
  auto& construction = Add<ColliderNode>(exporter, 12, "c1");
  construction.colliderType = COLLIDER_CONSTRUCTION;
  construction.constructionStartName = "wall";
  auto& volume = Add<ColliderNode>(exporter, 13, "c2");
  volume.colliderType = COLLIDER_BOUNDING_VOLUME;
  volume.constructionStartName = "wall";
  volume.constructionStartId = 99;

  exporter.ResolveNames();
  EXPECT_EQ(found.parentId2, 7u);
  EXPECT_EQ(notFound.parentId2, NODE_ID_NONE);
  EXPECT_EQ(construction.constructionStartId, 5u);
  EXPECT_EQ(volume.constructionStartId, 99u);
}

}  // namespace
}  // namespace kvl
