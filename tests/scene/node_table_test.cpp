// The node table: one record per id, the first one kept, iteration in
// unsigned id order (the order of the file), and the optimiser's filter.
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

TEST(NodeTable, OneRecordPerIdInUnsignedIdOrder) {
  NodeTable table;
  EXPECT_EQ(table.Find(0), nullptr);
  auto first = MakeGroup(7, "first");
  const GroupNode* kept = first.get();
  EXPECT_TRUE(table.Insert(std::move(first)));
  auto helper = std::make_unique<HelperNode>();
  helper->id = 7;
  EXPECT_FALSE(table.Insert(std::move(helper)));
  EXPECT_FALSE(table.Insert(MakeGroup(7, "second")));
  EXPECT_EQ(table.Find(7), kept);
  // Ids compare unsigned: one with the top bit set goes last, not first.
  for (uint32_t id : {0x80000000u, 0u, 5u, 2u}) EXPECT_TRUE(table.Insert(MakeGroup(id, "")));
  std::vector<uint32_t> keys;
  for (const auto& [key, node] : table) {
    EXPECT_EQ(node->id, key);
    keys.push_back(key);
  }
  EXPECT_EQ(keys, (std::vector<uint32_t>{0, 2, 5, 7, 0x80000000u}));
  EXPECT_EQ(table.Size(), 5u);
  EXPECT_EQ(table.Find(1), nullptr);
  EXPECT_EQ(table.Find(NODE_ID_NONE), nullptr);
}

TEST(NodeTable, UnreachableRecordsAreWrittenOnlyWithoutTheOptimiser) {
  NodeTable table;
  table.Insert(MakeGroup(0, "root"));
  table.Insert(MakeGroup(1, "elsewhere"));
  table.Find(0)->reachable = 1;
  table.settings.optimize = true;
  EXPECT_TRUE(table.ShouldWrite(*table.Find(0)));
  EXPECT_FALSE(table.ShouldWrite(*table.Find(1)));
  table.settings.optimize = false;
  EXPECT_TRUE(table.ShouldWrite(*table.Find(1)));
}

}  // namespace
}  // namespace kvl
