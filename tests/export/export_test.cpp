#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "export/kvl_exp.h"
#include "host/host_files.h"
#include "host/memory_scene.h"
#include "settings/dialog_template.h"
#include "host/dialog_toolkit.h"
#include "settings/log_dialog.h"
#include "ui/headless_toolkit.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;

std::vector<uint8_t> ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class RecordingDisplay : public host::ProgressDisplay {
 public:
  void Start(const char* title) override { events.push_back(std::string("start ") + title); }
  void Update(int percent, bool, const char* title) override {
    events.push_back("update " + std::to_string(percent) + " " + title);
  }
  void End() override { events.push_back("end"); }
  std::vector<std::string> events;
};

// Runs one export of `scene` to `path` as the host would, pressing OK in
// the options dialog and printing the log dialog into `logShown`.
struct HostRun {
  explicit HostRun(host::MemoryScene& scene) : core(scene, &display), toolkit({}, false, logShown, errors) {
    host::SetCOREInterface(&core);
    SetDialogToolkit(&toolkit);
  }
  ~HostRun() {
    SetDialogToolkit(nullptr);
    host::SetCOREInterface(nullptr);
  }
  int Export(KVLExp& exporter, const fs::path& path) {
    host::ExpInterface ei;
    return exporter.DoExport(path.string().c_str(), &ei, &core, false, 0);
  }
  RecordingDisplay display;
  host::MemoryInterface core;
  std::ostringstream logShown, errors;
  ui::HeadlessToolkit toolkit;
};

class ExportTest : public ::testing::Test {
 protected:
  // The settings file goes next to the output only for backslash paths, so
  // each test works in a folder of its own.
  void SetUp() override {
    dir = fs::temp_directory_path() / ("kvl_export_test_" + std::to_string(::getpid()));
    fs::create_directories(dir / "c");
    previous = fs::current_path();
    fs::current_path(dir);
    host::SetDriveFolder('c', (dir / "c").string());
  }
  void TearDown() override {
    host::SetDriveFolder('c', "");
    fs::current_path(previous);
    fs::remove_all(dir);
  }
  fs::path dir, previous;
};

// Chunk 2 version 1, id 0, 55 bytes: no parent, "scene_root", identity.
const std::vector<uint8_t> kRootOnlyFile = {
    0x02, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x37, 0x00, 0x00, 0x00,  // header
    0xFF, 0xFF, 0xFF, 0xFF,                                                  // parent: none
    0x0A, 's', 'c', 'e', 'n', 'e', '_', 'r', 'o', 'o', 't',                  // name
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // position
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // rotation x y z
    0x00, 0x00, 0x80, 0x3F,                                                  // rotation w
    0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x80, 0x3F,  // scale
};

TEST_F(ExportTest, EmptySceneGivesTheSixtySevenByteFile) {
  ASSERT_EQ(kRootOnlyFile.size(), 67u);
  for (bool optimize : {true, false}) {
    host::MemoryScene scene;
    HostRun run(scene);
    KVLExp exporter;
    exporter.Table().settings.optimize = optimize;
    const fs::path out = dir / "empty.kvl";
    EXPECT_EQ(run.Export(exporter, out), 1);
    EXPECT_EQ(ReadFile(out), kRootOnlyFile) << "optimize " << optimize;
    EXPECT_EQ(run.display.events.front(), "start Starting export...");
    EXPECT_EQ(run.display.events.back(), "end");
  }
}

TEST_F(ExportTest, WalksTopLevelNodesUnderTheSceneRoot) {
  host::MemoryScene scene;
  auto top = std::make_unique<host::MemoryNode>();
  top->name = "top";
  top->handle = 1;
  auto child = std::make_unique<host::MemoryNode>();
  child->handle = 2;
  top->AddChild(std::move(child));
  scene.root.AddChild(std::move(top));
  HostRun run(scene);
  KVLExp exporter;
  EXPECT_EQ(run.Export(exporter, dir / "tree.kvl"), 1);
  ASSERT_NE(exporter.RootNode(), nullptr);
  EXPECT_EQ(exporter.RootNode()->id, 0u);
  EXPECT_EQ(exporter.RootNode()->name, "scene_root");
  // A node with children becomes a group; an empty leaf makes nothing.
  ASSERT_EQ(exporter.Table().Size(), 2u);
  const auto& group = As<GroupNode>(*exporter.Table().Find(1));
  EXPECT_EQ(group.name, "gr_top");
  EXPECT_EQ(group.parentId, 0u);
  ASSERT_EQ(exporter.RootNode()->children.size(), 1u);
  EXPECT_EQ(exporter.RootNode()->children[0], &group);
  // Handle 0 stands for the root group, handle 1 for the group.
  EXPECT_EQ(exporter.IdForHandle(0), 0u);
  EXPECT_EQ(exporter.IdForHandle(1), 1u);
}

TEST_F(ExportTest, WriterFollowsTheLastThreeCharacters) {
  for (const char* name : {"a.kvl", "b.KvL", "c.KVL", "sceneKVL"}) {
    host::MemoryScene scene;
    HostRun run(scene);
    KVLExp exporter;
    EXPECT_EQ(run.Export(exporter, dir / name), 1);
    EXPECT_EQ(ReadFile(dir / name), kRootOnlyFile) << name;
  }
  for (const char* name : {"scene.xml", "kv"}) {
    host::MemoryScene scene;
    HostRun run(scene);
    KVLExp exporter;
    EXPECT_EQ(run.Export(exporter, dir / name), 1);
    EXPECT_FALSE(fs::exists(dir / name)) << name;
  }
}

TEST_F(ExportTest, UnwritableOutputStillReturnsOne) {
  host::MemoryScene scene;
  HostRun run(scene);
  KVLExp exporter;
  EXPECT_EQ(run.Export(exporter, dir / "missing-folder" / "out.kvl"), 1);
  EXPECT_FALSE(fs::exists(dir / "missing-folder"));
}

TEST(KVLExpIds, IdForHandleHandsOutOneIdPerHandle) {
  KVLExp exporter;
  EXPECT_EQ(exporter.AllocateId(), 0u);
  EXPECT_EQ(exporter.IdForHandle(77), 1u);
  EXPECT_EQ(exporter.IdForHandle(77), 1u);  // consumed one value only
  EXPECT_EQ(exporter.AllocateId(), 2u);
  EXPECT_EQ(exporter.IdForHandle(5), 3u);
}

template <class T>
T& AddNamed(KVLExp& exporter, uint32_t id, const std::string& name) {
  auto node = std::make_unique<T>();
  node->id = id;
  node->name = name;
  T& ref = *node;
  exporter.Table().Insert(std::move(node));
  return ref;
}

TEST(KVLExpNames, FindGroupByNamePrefersEarlierPrefixedGroup) {
  KVLExp exporter;
  AddNamed<GroupNode>(exporter, 9, "wall");
  AddNamed<GroupNode>(exporter, 5, "GR_wall");
  AddNamed<HelperNode>(exporter, 2, "wall");  // not a group
  ASSERT_NE(exporter.FindGroupByName("wall"), nullptr);
  EXPECT_EQ(exporter.FindGroupByName("wall")->id, 5u);

  AddNamed<PRSAnimationGroup>(exporter, 3, "PRS_door");
  AddNamed<PRSKeyAnimationGroup>(exporter, 1, "door");  // key groups are not looked at
  ASSERT_NE(exporter.FindGroupByName("door"), nullptr);
  EXPECT_EQ(exporter.FindGroupByName("door")->id, 3u);
  EXPECT_EQ(exporter.FindGroupByName("Wall"), nullptr);  // case counts
  EXPECT_EQ(exporter.FindHelperByName("wall")->id, 2u);
  EXPECT_EQ(exporter.FindHelperByName("door"), nullptr);
}

TEST(KVLExpNames, ResolveNamesFillsSpringsAndConstructionColliders) {
  KVLExp exporter;
  AddNamed<GroupNode>(exporter, 4, "GR_base");
  AddNamed<GroupNode>(exporter, 6, "base");
  AddNamed<HelperNode>(exporter, 7, "anchor");
  AddNamed<HelperNode>(exporter, 8, "other");
  auto springNode = std::make_unique<SpringNode>();
  springNode->id = 10;
  springNode->parent2Name = "anchor";
  SpringNode& resolvedSpring = *springNode;
  exporter.Table().Insert(std::move(springNode));
  auto lostSpring = std::make_unique<SpringNode>();
  lostSpring->id = 11;
  lostSpring->parent2Name = "nowhere";
  lostSpring->parentId2 = 1234;
  SpringNode& unresolvedSpring = *lostSpring;
  exporter.Table().Insert(std::move(lostSpring));

  auto& first = AddNamed<ColliderNode>(exporter, 12, "c1");
  first.colliderType = COLLIDER_CONSTRUCTION;
  first.constructionStartName = "base";
  auto& second = AddNamed<ColliderNode>(exporter, 13, "c2");
  second.colliderType = COLLIDER_CONSTRUCTION;
  second.constructionStartName = "base";
  auto& other = AddNamed<ColliderNode>(exporter, 14, "c3");
  other.colliderType = COLLIDER_BOUNDING_VOLUME;
  other.constructionStartName = "base";
  other.constructionStartId = 99;

  exporter.ResolveNames();

  EXPECT_EQ(resolvedSpring.parentId2, 7u);
  EXPECT_EQ(unresolvedSpring.parentId2, NODE_ID_NONE);
  EXPECT_EQ(first.constructionStartId, 4u);
  EXPECT_EQ(second.constructionStartId, 4u);
  EXPECT_EQ(other.constructionStartId, 99u);  // only type 4 is resolved
}

}  // namespace
}  // namespace kvl

namespace kvl {
namespace {

std::vector<std::string> Updates(const RecordingDisplay& display) {
  std::vector<std::string> updates;
  for (const std::string& e : display.events) {
    if (e.rfind("update ", 0) == 0) updates.push_back(e.substr(7));
  }
  return updates;
}

TEST_F(ExportTest, MessagesCarryTheProgressOfTheirStep) {
  host::MemoryScene scene;
  HostRun run(scene);
  KVLExp exporter;
  run.Export(exporter, dir / "out.kvl");
  const std::string path = (dir / "out.kvl").string();
  const std::vector<std::string> expected = {
      "0 Initializing export", "5 Creating sceneroot",       "10 Parsing nodes",
      "50 Node parsing complete", "50 Processing nodes",     "60 Optimizing output",
      "90 Writing to file " + path, "99 Export completed successfully"};
  EXPECT_EQ(Updates(run.display), expected);
  // The log dialog shows the whole log, each line ending in CR LF.
  std::string text;
  for (const std::string& line : expected) text += line.substr(line.find(' ') + 1) + "\r\n";
  EXPECT_EQ(run.logShown.str(), text);
}

TEST_F(ExportTest, WithoutOptimiserTheValueSixtyIsNeverShown) {
  std::ofstream(dir / "kvlexp.ini") << "optimize = 0\ndisplaylog = 0\n";
  host::MemoryScene scene;
  HostRun run(scene);
  KVLExp exporter;
  run.Export(exporter, "out.kvl");
  const std::vector<std::string> expected = {
      "0 Initializing export", "5 Creating sceneroot",  "10 Parsing nodes",
      "50 Node parsing complete", "50 Processing nodes", "90 Writing to file out.kvl",
      "99 Export completed successfully"};
  EXPECT_EQ(Updates(run.display), expected);
  EXPECT_EQ(exporter.Log().progress, 99);
  EXPECT_TRUE(run.logShown.str().empty());  // displaylog off
}

TEST_F(ExportTest, LogFileIsWrittenBeforeTheLogDialogRuns) {
  std::ofstream(dir / "kvlexp.ini") << "outputlog = 1\n";
  // A toolkit that looks at the log file while the log dialog is open.
  struct PeekingToolkit : DialogToolkit {
    int RunOptions(OptionsDialog&) override { return IDOK; }
    int RunLog(LogDialog& dialog) override {
      std::ifstream in(logPath, std::ios::binary);
      fileWhileOpen.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
      shown = dialog.Text();
      return IDOK;
    }
    fs::path logPath;
    std::string fileWhileOpen, shown;
  } toolkit;
  toolkit.logPath = dir / "c" / "kvlexp.log";
  host::MemoryScene scene;
  HostRun run(scene);
  SetDialogToolkit(&toolkit);
  KVLExp exporter;
  run.Export(exporter, "out.kvl");
  ASSERT_FALSE(toolkit.fileWhileOpen.empty());
  EXPECT_EQ(toolkit.fileWhileOpen, toolkit.shown);
  const std::string lastLine = "Export completed successfully\r\n";
  EXPECT_EQ(toolkit.fileWhileOpen.substr(toolkit.fileWhileOpen.size() - lastLine.size()), lastLine);
}

TEST_F(ExportTest, CancelLeavesSettingsAndOutputUntouchedAndLogsNothing) {
  const std::string settings = "# mine\nscale = 3\nunknown = 1\n";
  std::ofstream(dir / "kvlexp.ini", std::ios::binary) << settings;
  host::MemoryScene scene;
  HostRun run(scene);
  ui::HeadlessToolkit cancelling({{"scale", "5"}}, true, run.logShown, run.errors);
  SetDialogToolkit(&cancelling);
  KVLExp exporter;
  EXPECT_EQ(run.Export(exporter, "out.kvl"), 1);
  EXPECT_FALSE(fs::exists(dir / "out.kvl"));
  EXPECT_TRUE(exporter.Log().Entries().empty());
  EXPECT_EQ(exporter.Table().Size(), 0u);
  const std::vector<uint8_t> bytes = ReadFile(dir / "kvlexp.ini");
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), settings);
  EXPECT_EQ(run.display.events.back(), "end");
}

TEST_F(ExportTest, OkSavesTheConfirmedSettingsBeforeTheSceneWork) {
  host::MemoryScene scene;
  HostRun run(scene);
  ui::HeadlessToolkit editing({{"scale", "2.5"}, {"exporthidden", "1"}}, false, run.logShown, run.errors);
  SetDialogToolkit(&editing);
  KVLExp exporter;
  // Not a known extension: nothing is written, but the settings are saved.
  run.Export(exporter, "out.xml");
  EXPECT_FALSE(fs::exists(dir / "out.xml"));
  const std::vector<uint8_t> bytes = ReadFile(dir / "kvlexp.ini");
  const std::string text(bytes.begin(), bytes.end());
  EXPECT_NE(text.find("\nscale = 2.500000\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\nexporthidden = 1\n"), std::string::npos) << text;
  EXPECT_EQ(exporter.Log().Entries().back().text, "Export completed successfully");
}

}  // namespace
}  // namespace kvl
