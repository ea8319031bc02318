// Node matrices through a three-level hierarchy at several ticks: keys,
// a fixed transform, a matrix transform, an object offset and a world-space
// modifier. Expected values are worked out by hand.
#include <gtest/gtest.h>

#include <cmath>

#include "host/memory_scene.h"

namespace kvl::host {
namespace {

const float kHalf = std::sqrt(0.5f);

void ExpectRowsNear(const Matrix3& m, const Point3 (&rows)[4]) {
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(m[r][c], rows[r][c], 1e-5f) << "row " << r << " column " << c;
  }
}

// Root -> A (keys) -> B (scale 2, up 2) -> C (matrix: right 1; offset up z 1)
//              \-> W (world-space modifier, offset)
struct Hierarchy {
  MemoryScene scene;
  MemoryNode* a;
  MemoryNode* b;
  MemoryNode* c;
  MemoryNode* w;

  Hierarchy() {
    a = &scene.root.AddChild(std::make_unique<MemoryNode>());
    // Keys at 0 and 100: a move of 10 along x and a quarter turn about z.
    a->keys = {TransformKey{0, {0, 0, 0}, {0, 0, 0, 1}, {1, 1, 1}},
               TransformKey{100, {10, 0, 0}, Quat(0, 0, kHalf, kHalf), {1, 1, 1}}};
    a->transform = TrsMatrix({99, 99, 99}, {}, {1, 1, 1});  // replaced by the keys
    b = &a->AddChild(std::make_unique<MemoryNode>());
    b->transform = TrsMatrix({0, 2, 0}, {}, {2, 2, 2});
    c = &b->AddChild(std::make_unique<MemoryNode>());
    c->transform = Matrix3({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 0});
    c->objectOffset = TrsMatrix({0, 0, 1}, {}, {1, 1, 1});
    w = &a->AddChild(std::make_unique<MemoryNode>());
    w->objectOffset = TrsMatrix({5, 5, 5}, {}, {1, 1, 1});
    w->worldSpaceModifier = true;
  }
};

TEST(NodeTransform, KeysAtBeforeBetweenAndAfter) {
  Hierarchy h;
  for (TimeValue t : {-50, 0}) {
    SCOPED_TRACE(t);
    const Matrix3 tm = h.a->GetNodeTM(t);
    ExpectRowsNear(tm, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}});
    EXPECT_EQ(tm.GetIdentFlags(), MAT_IDENT);
  }
  // Halfway: half the move, an eighth of a turn.
  ExpectRowsNear(h.a->GetNodeTM(50), {{kHalf, kHalf, 0}, {-kHalf, kHalf, 0}, {0, 0, 1}, {5, 0, 0}});
  // A quarter of the way: 2.5 along, 22.5 degrees.
  const float c = std::cos(0.3926991f), s = std::sin(0.3926991f);
  ExpectRowsNear(h.a->GetNodeTM(25), {{c, s, 0}, {-s, c, 0}, {0, 0, 1}, {2.5f, 0, 0}});
  for (TimeValue t : {100, 500}) {
    SCOPED_TRACE(t);
    const Matrix3 tm = h.a->GetNodeTM(t);
    ExpectRowsNear(tm, {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {10, 0, 0}});
    EXPECT_EQ(tm.GetIdentFlags() & POS_IDENT, 0u);
  }
  EXPECT_NE(h.a->GetTMController(), nullptr);
  EXPECT_EQ(h.scene.root.GetTMController(), nullptr);
}

TEST(NodeTransform, ChildrenComposeWithTheirParents) {
  Hierarchy h;
  // At 0 the parent is the identity: B is its own local transform.
  const Matrix3 b0 = h.b->GetNodeTM(0);
  ExpectRowsNear(b0, {{2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {0, 2, 0}});
  EXPECT_EQ(b0.GetIdentFlags(), ROT_IDENT);
  // At 100: B's axes turned a quarter, its offset (0, 2, 0) turned to (-2, 0, 0).
  ExpectRowsNear(h.b->GetNodeTM(100), {{0, 2, 0}, {-2, 0, 0}, {0, 0, 2}, {8, 0, 0}});
  const float r2 = std::sqrt(2.0f);
  ExpectRowsNear(h.b->GetNodeTM(50), {{r2, r2, 0}, {-r2, r2, 0}, {0, 0, 2}, {5 - r2, r2, 0}});
  // C: one unit along B's x axis, which is 2 long and points along +y at 100.
  const Matrix3 c100 = h.c->GetNodeTM(100);
  ExpectRowsNear(c100, {{0, 2, 0}, {-2, 0, 0}, {0, 0, 2}, {8, 2, 0}});
  EXPECT_EQ(c100.GetIdentFlags(), 0u);
  ExpectRowsNear(h.c->GetNodeTM(-10), {{2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {2, 2, 0}});
  EXPECT_EQ(h.c->GetParentNode(), h.b);
  EXPECT_TRUE(h.scene.root.GetNodeTM(50).IsIdentity());
}

TEST(NodeTransform, ObjectOffsetAndWorldSpaceModifier) {
  Hierarchy h;
  // The offset (0, 0, 1) is taken through C's node matrix: z axis 2 long.
  const Matrix3 object = h.c->GetObjectTM(100);
  ExpectRowsNear(object, {{0, 2, 0}, {-2, 0, 0}, {0, 0, 2}, {8, 2, 2}});
  EXPECT_EQ(h.c->GetObjTMBeforeWSM(100), object);
  EXPECT_EQ(h.c->GetObjTMAfterWSM(100), object);
  ExpectRowsNear(h.c->GetNodeTM(100), {{0, 2, 0}, {-2, 0, 0}, {0, 0, 2}, {8, 2, 0}});

  // W sits at A's pivot; its object is offset by (5, 5, 5) in A's turned frame.
  ExpectRowsNear(h.w->GetObjTMBeforeWSM(100), {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {5, 5, 5}});
  ExpectRowsNear(h.w->GetObjectTM(100), {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {5, 5, 5}});
  for (TimeValue t : {0, 50, 100}) {
    const Matrix3 after = h.w->GetObjTMAfterWSM(t);
    ExpectRowsNear(after, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}});
    EXPECT_EQ(after.GetIdentFlags(), MAT_IDENT);
  }
  // Without the modifier an identity object matrix is only flagged by its elements.
  EXPECT_EQ(h.a->GetObjTMAfterWSM(0).GetIdentFlags(), MAT_IDENT);
  EXPECT_EQ(h.a->GetObjTMAfterWSM(50).GetIdentFlags() & (POS_IDENT | ROT_IDENT), 0u);
}

TEST(NodeTransform, SlerpTakesTheShorterArc) {
  // From +10 degrees to -10 degrees about z, with the second written as -q:
  // the middle is no turn, not a half turn.
  const float s = std::sin(0.0872665f), c = std::cos(0.0872665f);
  const Quat mid = Slerp(Quat(0, 0, s, c), Quat(0, 0, s, -c), 0.5f);
  EXPECT_NEAR(std::fabs(mid.w), 1.0f, 1e-6f);
  EXPECT_NEAR(mid.z, 0.0f, 1e-6f);
  const Quat same = Slerp(Quat(0, 0, s, c), Quat(0, 0, s, c), 0.3f);
  EXPECT_NEAR(same.z, s, 1e-6f);
  EXPECT_NEAR(same.w, c, 1e-6f);
}

}  // namespace
}  // namespace kvl::host
