// The binary scene file as a whole: which records become chunks, in which
// order, and which writer a path gets.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include <unistd.h>

#include <gtest/gtest.h>

#include "byte_builder.h"
#include "output/binary_writer.h"
#include "output/scene_writer.h"
#include "scene/node_table.h"

namespace kvl {
namespace {

using namespace test;

// The 67 bytes of a scene holding nothing but the root group.
const std::vector<uint8_t> ROOT_ONLY_FILE = {
    0x02, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x37, 0x00, 0x00, 0x00,  // chunk 2, version 1, id 0, 55 bytes
    0xFF, 0xFF, 0xFF, 0xFF,                                                  // no parent
    0x0A, 's', 'c', 'e', 'n', 'e', '_', 'r', 'o', 'o', 't',                  // name
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // position
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // rotation x, y, z
    0x00, 0x00, 0x80, 0x3F,                                                  // rotation w
    0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x80, 0x3F,  // scale
};

std::unique_ptr<GroupNode> MakeRoot() {
  auto root = std::make_unique<GroupNode>();
  root->id = 0;
  root->parentId = NODE_ID_NONE;
  root->name = "scene_root";
  root->transform = PRSTransform::Identity();
  root->customType = 2;
  return root;
}

std::unique_ptr<GroupNode> MakeGroup(uint32_t id, uint32_t parentId, const std::string& name) {
  auto group = std::make_unique<GroupNode>();
  group->id = id;
  group->parentId = parentId;
  group->name = name;
  group->transform = PRSTransform::Identity();
  return group;
}

std::unique_ptr<HelperNode> MakeHelper(uint32_t id, uint32_t parentId, const std::string& name) {
  auto helper = std::make_unique<HelperNode>();
  helper->id = id;
  helper->parentId = parentId;
  helper->name = name;
  return helper;
}

std::vector<uint8_t> WriteToMemory(const NodeTable& table) {
  std::FILE* file = std::tmpfile();
  if (!file) {
    ADD_FAILURE() << "no temporary file";
    return {};
  }
  EXPECT_TRUE(WriteBinaryScene(file, table));
  std::vector<uint8_t> bytes = ReadAll(file);
  std::fclose(file);
  return bytes;
}

// Walks the file by the size fields, as a reader that knows no chunk type
// would, and lists the node ids of the chunks.
std::vector<uint32_t> ChunkIds(const std::vector<uint8_t>& file) {
  std::vector<uint32_t> ids;
  size_t at = 0;
  while (at + 12 <= file.size()) {
    auto word = [&file](size_t offset) {
      return uint32_t(file[offset]) | uint32_t(file[offset + 1]) << 8 | uint32_t(file[offset + 2]) << 16 |
             uint32_t(file[offset + 3]) << 24;
    };
    ids.push_back(word(at + 4));
    at += 12 + word(at + 8);
  }
  EXPECT_EQ(at, file.size()) << "the last chunk runs past the end of the file";
  return ids;
}

class TempPath {
 public:
  explicit TempPath(const std::string& name)
      : path_(std::filesystem::path(::testing::TempDir()) / ("kvlexp_" + std::to_string(::getpid()) + "_" + name)) {
    std::filesystem::remove(path_);
  }
  ~TempPath() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  std::string str() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

TEST(BinaryFileTest, RootOnlySceneIsTheSixtySevenByteExample) {
  NodeTable table;
  table.settings.optimize = false;
  table.Insert(MakeRoot());

  EXPECT_TRUE(SameBytes(ROOT_ONLY_FILE, WriteToMemory(table)));

  TempPath path("root.kvl");
  BinaryWriter writer;
  EXPECT_TRUE(writer.Write(path.str(), table));
  EXPECT_TRUE(SameBytes(ROOT_ONLY_FILE, ReadFileBytes(path.str())));
}

TEST(BinaryFileTest, RootOnlyTableWritesOneEntryWithOptimizeOnOrOff) {
  NodeTable table;
  table.Insert(MakeRoot());

  table.settings.optimize = true;
  table.Find(0)->reachable = 1;
  EXPECT_TRUE(SameBytes(ROOT_ONLY_FILE, WriteToMemory(table)));

  table.settings.optimize = false;
  table.Find(0)->reachable = 0;
  EXPECT_TRUE(SameBytes(ROOT_ONLY_FILE, WriteToMemory(table)));

  // Optimising with nothing marked leaves nothing to write, yet the file is made.
  table.settings.optimize = true;
  EXPECT_TRUE(WriteToMemory(table).empty());
  TempPath path("unmarked.kvl");
  BinaryWriter writer;
  EXPECT_TRUE(writer.Write(path.str(), table));
  EXPECT_TRUE(std::filesystem::exists(path.str()));
  EXPECT_EQ(std::filesystem::file_size(path.str()), 0u);
}

TEST(BinaryFileTest, WriteFilterSkipsUnreachableRecordsOnlyWhenOptimizing) {
  NodeTable table;
  table.Insert(MakeRoot());
  table.Insert(MakeHelper(2, 0, "h"));
  table.Insert(MakeGroup(1, 0, "g"));  // inserted out of order: the file is still in id order
  table.Find(0)->reachable = 1;
  table.Find(2)->reachable = 1;

  // Group 1: parent 4 + name 1+1 + transform 40 = 46. Helper 2: 4 + 1+1 + 12 = 18.
  const std::vector<uint8_t> group = ByteBuilder()
                                         .header(2, 1, 1, 46)
                                         .u32(0)
                                         .hex({0x01, 'g'})
                                         .words({F_0, F_0, F_0, F_0, F_0, F_0, F_1, F_1, F_1, F_1})
                                         .bytes();
  const std::vector<uint8_t> helper =
      ByteBuilder().header(7, 1, 2, 18).u32(0).hex({0x01, 'h'}).words({F_0, F_0, F_0}).bytes();

  table.settings.optimize = true;
  std::vector<uint8_t> optimized = WriteToMemory(table);
  EXPECT_TRUE(SameBytes(ByteBuilder().append(ROOT_ONLY_FILE).append(helper).bytes(), optimized));
  EXPECT_EQ(ChunkIds(optimized), (std::vector<uint32_t>{0, 2}));

  table.settings.optimize = false;
  std::vector<uint8_t> everything = WriteToMemory(table);
  EXPECT_TRUE(SameBytes(ByteBuilder().append(ROOT_ONLY_FILE).append(group).append(helper).bytes(), everything));
  EXPECT_EQ(ChunkIds(everything), (std::vector<uint32_t>{0, 1, 2}));
}

TEST(BinaryFileTest, KeyAnimationGroupIsLeftOutAndItsChildStillNamesIt) {
  NodeTable table;
  table.settings.optimize = false;
  table.Insert(MakeRoot());
  auto keys = std::make_unique<PRSKeyAnimationGroup>();
  keys->id = 1;
  keys->parentId = 0;
  keys->name = "anim_k";
  keys->transform = PRSTransform::Identity();
  table.Insert(std::move(keys));
  table.Insert(MakeHelper(2, 1, "h"));

  std::vector<uint8_t> file = WriteToMemory(table);
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .append(ROOT_ONLY_FILE)
                            .header(7, 1, 2, 18)
                            .u32(1)
                            .hex({0x01, 'h'})
                            .words({F_0, F_0, F_0})
                            .bytes(),
                        file));
  EXPECT_EQ(ChunkIds(file), (std::vector<uint32_t>{0, 2}));
}

TEST(BinaryFileTest, UnopenablePathGivesFalseAndNoFile) {
  NodeTable table;
  table.Insert(MakeRoot());
  const std::filesystem::path missingDir =
      std::filesystem::path(::testing::TempDir()) / ("kvlexp_no_such_dir_" + std::to_string(::getpid()));
  const std::filesystem::path target = missingDir / "scene.kvl";
  BinaryWriter writer;
  EXPECT_FALSE(writer.Write(target.string(), table));
  EXPECT_FALSE(std::filesystem::exists(target));
}

TEST(BinaryFileTest, WriterIsChosenByTheLastThreeCharactersOfThePath) {
  EXPECT_EQ(OutputKindForPath("scene.kvl"), OutputKind::BINARY);
  EXPECT_EQ(OutputKindForPath("scene.KvL"), OutputKind::BINARY);
  EXPECT_EQ(OutputKindForPath("scene.KVL"), OutputKind::BINARY);
  EXPECT_EQ(OutputKindForPath("sceneKVL"), OutputKind::BINARY);
  EXPECT_EQ(OutputKindForPath("KVL"), OutputKind::BINARY);
  EXPECT_EQ(OutputKindForPath("c:\\out\\scene.txt"), OutputKind::TEXT);
  EXPECT_EQ(OutputKindForPath("scene.TxT"), OutputKind::TEXT);
  EXPECT_EQ(OutputKindForPath("scene.xml"), OutputKind::NONE);
  EXPECT_EQ(OutputKindForPath("scene.kvl.bak"), OutputKind::NONE);
  EXPECT_EQ(OutputKindForPath("VL"), OutputKind::NONE);
  EXPECT_EQ(OutputKindForPath(""), OutputKind::NONE);

  EXPECT_TRUE(MakeWriter(OutputKind::NONE) == nullptr);
  std::unique_ptr<SceneWriter> binary = MakeWriter(OutputKind::BINARY);
  EXPECT_NE(dynamic_cast<BinaryWriter*>(binary.get()), nullptr);
}

}  // namespace
}  // namespace kvl
