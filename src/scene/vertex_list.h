// The one rule for when two vertices are the same and may share an index,
// and the two ways of applying it to a vertex list: the plain scan, and an
// indexed placer that gives the same answers in linear time overall.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "scene/scene_nodes.h"

namespace kvl {

// `base` with all bits set: every vertex of the list may match.
inline constexpr uint32_t PLACE_ANYWHERE = 0xFFFFFFFFu;

// True if `b` can share the existing vertex `a`. Vertices of different host
// vertices never share; the attributes compared are those that `a`'s flags
// say it carries. The normal is never compared: shared normals add up.
bool SameVertex(const Vertex& a, const Vertex& b);

// True if index `i` lies inside the window that `base` and `threshold`
// allow (all indices when `base` is PLACE_ANYWHERE).
bool InPlacementWindow(uint32_t i, uint32_t base, int32_t threshold);

// Finds the first vertex of `list` that `vertex` may share and returns its
// index, adding the normal to it when the list has normals; otherwise
// appends `vertex` and returns the new index. Scans the whole list, so
// filling a list this way costs time quadratic in its size: it is kept as
// the reference that VertexPlacer is checked against.
uint32_t PlaceVertex(VertexList& list, const Vertex& vertex, uint32_t base = PLACE_ANYWHERE,
                     int32_t threshold = 0);

// PlaceVertex with an index from sourceVertex to the list's vertices of
// that host vertex. Only those can match, so a placement looks at them
// alone, in list order, and finds the same vertex as the scan.
//
// The placer indexes the list it was given; vertices appended to the list
// by other means are indexed on the next call. A list that lost vertices
// is indexed afresh.
class VertexPlacer {
 public:
  explicit VertexPlacer(VertexList& list);

  uint32_t Place(const Vertex& vertex, uint32_t base = PLACE_ANYWHERE, int32_t threshold = 0);

  VertexList& List() const { return *list_; }

 private:
  static constexpr uint32_t NONE = 0xFFFFFFFFu;
  struct Chain {
    uint32_t first = NONE;
    uint32_t last = NONE;
  };

  void CatchUp();
  void Index(uint32_t i);
  Chain& ChainFor(uint32_t sourceVertex);
  const Chain* FindChain(uint32_t sourceVertex) const;

  // Host vertex numbers below this are looked up in a plain array, as they
  // are in any real mesh; larger ones in a hash table.
  static constexpr uint32_t DENSE_LIMIT = 1u << 24;

  VertexList* list_;
  // Per host vertex, the chain of its list indices in ascending order;
  // next_[i] follows index i in its chain.
  std::vector<Chain> denseChains_;
  std::unordered_map<uint32_t, Chain> sparseChains_;
  std::vector<uint32_t> next_;
};

// Makes the normals of the list unit length, if the list has normals. A
// zero normal has no direction to keep and becomes non-finite.
void NormalizeNormals(VertexList& list);

}  // namespace kvl
