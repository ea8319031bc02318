// The node table: ownership under an id, lookup and ascending iteration.
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "scene/node_table.h"

namespace kvl {
namespace {

std::unique_ptr<GroupNode> MakeGroup(uint32_t id, const std::string& name) {
  auto group = std::make_unique<GroupNode>();
  group->id = id;
  group->name = name;
  return group;
}

TEST(NodeTableTest, SecondRecordWithATakenIdLeavesTheFirstInPlace) {
  NodeTable table;
  auto first = MakeGroup(7, "first");
  GroupNode* firstAddress = first.get();
  EXPECT_TRUE(table.Insert(std::move(first)));
  EXPECT_EQ(table.Size(), 1u);

  auto helper = std::make_unique<HelperNode>();
  helper->id = 7;
  EXPECT_FALSE(table.Insert(std::move(helper)));
  EXPECT_FALSE(table.Insert(MakeGroup(7, "second")));
  EXPECT_EQ(table.Size(), 1u);

  SceneNode* found = table.Find(7);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found, firstAddress);
  EXPECT_EQ(found->type, NODE_GROUP);
  EXPECT_EQ(As<GroupNode>(*found).name, "first");
}

TEST(NodeTableTest, FindReportsMissingIdsWithNull) {
  NodeTable table;
  EXPECT_EQ(table.Find(0), nullptr);
  EXPECT_EQ(table.Find(NODE_ID_NONE), nullptr);
  table.Insert(MakeGroup(0, "root"));
  table.Insert(MakeGroup(3, "child"));
  EXPECT_EQ(table.Find(NODE_ID_NONE), nullptr);
  EXPECT_EQ(table.Find(1), nullptr);
  ASSERT_NE(table.Find(3), nullptr);
  EXPECT_EQ(table.Find(3)->id, 3u);
}

TEST(NodeTableTest, IterationIsInAscendingUnsignedIdOrder) {
  NodeTable table;
  table.Insert(MakeGroup(0, "a"));
  table.Insert(MakeGroup(5, "b"));
  table.Insert(MakeGroup(2, "c"));
  std::vector<uint32_t> keys, ids;
  for (const auto& [key, node] : table) {
    keys.push_back(key);
    ids.push_back(node->id);
  }
  EXPECT_EQ(keys, (std::vector<uint32_t>{0, 2, 5}));
  EXPECT_EQ(ids, (std::vector<uint32_t>{0, 2, 5}));

  // Ids compare unsigned: one with the top bit set goes last, not first.
  table.Insert(MakeGroup(0x80000000u, "high"));
  table.Insert(MakeGroup(1, "d"));
  keys.clear();
  for (const auto& entry : table) keys.push_back(entry.first);
  EXPECT_EQ(keys, (std::vector<uint32_t>{0, 1, 2, 5, 0x80000000u}));
}

TEST(NodeTableTest, SizeCountsUnreachableRecordsAndTheFilterFollowsOptimize) {
  NodeTable table;
  table.Insert(MakeGroup(0, "root"));
  table.Insert(MakeGroup(1, "hidden"));
  table.Find(0)->reachable = 1;
  EXPECT_EQ(table.Size(), 2u);

  table.settings.optimize = true;
  EXPECT_TRUE(table.ShouldWrite(*table.Find(0)));
  EXPECT_FALSE(table.ShouldWrite(*table.Find(1)));
  table.settings.optimize = false;
  EXPECT_TRUE(table.ShouldWrite(*table.Find(0)));
  EXPECT_TRUE(table.ShouldWrite(*table.Find(1)));
}

}  // namespace
}  // namespace kvl
