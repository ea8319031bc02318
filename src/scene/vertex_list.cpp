#include "scene/vertex_list.h"

#include <algorithm>

#include <cmath>

namespace kvl {
namespace {

// Closer than this (strictly) counts as equal. A double, and the difference
// is taken between the floats before it widens.
constexpr double kVertexEpsilon = 0.000001;

bool Close(float a, float b) { return std::fabs(a - b) < kVertexEpsilon; }

void AddNormal(Vertex& into, const Vertex& from) {
  into.normal[0] += from.normal[0];
  into.normal[1] += from.normal[1];
  into.normal[2] += from.normal[2];
}

uint32_t Append(VertexList& list, const Vertex& vertex) {
  list.vertices.push_back(vertex);
  return static_cast<uint32_t>(list.vertices.size() - 1);
}

}  // namespace

bool SameVertex(const Vertex& a, const Vertex& b) {
  if (a.sourceVertex != b.sourceVertex) return false;
  // A whole-word comparison: faces that merely share one smoothing bit
  // still get vertices of their own.
  if ((a.flags & VERTEX_NORMAL) && a.smoothingGroup != b.smoothingGroup) return false;
  if ((a.flags & VERTEX_COLOR) && a.color != b.color) return false;
  if ((a.flags & VERTEX_UV) && !(Close(a.u, b.u) && Close(a.v, b.v))) return false;
  return Close(a.position[0], b.position[0]) && Close(a.position[1], b.position[1]) &&
         Close(a.position[2], b.position[2]);
}

bool InPlacementWindow(uint32_t i, uint32_t base, int32_t threshold) {
  if (base == PLACE_ANYWHERE) return true;
  // Signed on purpose: a threshold above base makes the bound negative, and
  // then every index qualifies. The subtraction wraps in 32 bits.
  const int32_t bound = static_cast<int32_t>(base - static_cast<uint32_t>(threshold));
  return static_cast<int32_t>(i) >= bound;
}

uint32_t PlaceVertex(VertexList& list, const Vertex& vertex, uint32_t base, int32_t threshold) {
  for (size_t n = 0; n < list.vertices.size(); ++n) {
    const uint32_t i = static_cast<uint32_t>(n);
    Vertex& existing = list.vertices[n];
    if (!SameVertex(existing, vertex) || !InPlacementWindow(i, base, threshold)) continue;
    if (list.flags & VERTEX_NORMAL) AddNormal(existing, vertex);
    return i;
  }
  return Append(list, vertex);
}

VertexPlacer::VertexPlacer(VertexList& list) : list_(&list) { CatchUp(); }

VertexPlacer::Chain& VertexPlacer::ChainFor(uint32_t sourceVertex) {
  if (sourceVertex >= DENSE_LIMIT) return sparseChains_[sourceVertex];
  if (sourceVertex >= denseChains_.size()) denseChains_.resize(std::max<size_t>(sourceVertex + 1, 2 * denseChains_.size()));
  return denseChains_[sourceVertex];
}

const VertexPlacer::Chain* VertexPlacer::FindChain(uint32_t sourceVertex) const {
  if (sourceVertex < DENSE_LIMIT) return sourceVertex < denseChains_.size() ? &denseChains_[sourceVertex] : nullptr;
  auto found = sparseChains_.find(sourceVertex);
  return found == sparseChains_.end() ? nullptr : &found->second;
}

void VertexPlacer::Index(uint32_t i) {
  Chain& chain = ChainFor(list_->vertices[i].sourceVertex);
  if (chain.first == NONE) {
    chain.first = i;
  } else {
    next_[chain.last] = i;
  }
  chain.last = i;
}

void VertexPlacer::CatchUp() {
  const size_t size = list_->vertices.size();
  if (size < next_.size()) {
    denseChains_.clear();
    sparseChains_.clear();
    next_.clear();
  }
  for (size_t i = next_.size(); i < size; ++i) {
    next_.push_back(NONE);
    Index(static_cast<uint32_t>(i));
  }
}

uint32_t VertexPlacer::Place(const Vertex& vertex, uint32_t base, int32_t threshold) {
  CatchUp();
  if (const Chain* chain = FindChain(vertex.sourceVertex)) {
    // The chain is in list order, so its first match is the scan's first.
    for (uint32_t i = chain->first; i != NONE; i = next_[i]) {
      Vertex& existing = list_->vertices[i];
      if (!SameVertex(existing, vertex) || !InPlacementWindow(i, base, threshold)) continue;
      if (list_->flags & VERTEX_NORMAL) AddNormal(existing, vertex);
      return i;
    }
  }
  const uint32_t added = Append(*list_, vertex);
  next_.push_back(NONE);
  Index(added);
  return added;
}

void NormalizeNormals(VertexList& list) {
  if (!(list.flags & VERTEX_NORMAL)) return;
  for (Vertex& vertex : list.vertices) {
    float* n = vertex.normal;
    const float length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    n[0] /= length;
    n[1] /= length;
    n[2] /= length;
  }
}

}  // namespace kvl
