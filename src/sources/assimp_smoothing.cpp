#include "sources/assimp_smoothing.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace kvl::sources {
namespace {

// Normals closer than this, component by component after normalising, are
// the same normal: files round them to a few decimals.
constexpr float kSameNormal = 1e-4f;

constexpr size_t kMostNormalsAtAVertex = 64;
constexpr uint32_t kMostFacesToSmooth = 1024;

class Components {
 public:
  explicit Components(size_t count) : parent_(count) { std::iota(parent_.begin(), parent_.end(), 0u); }
  uint32_t Find(uint32_t i) {
    while (parent_[i] != i) {
      parent_[i] = parent_[parent_[i]];
      i = parent_[i];
    }
    return i;
  }
  void Join(uint32_t a, uint32_t b) {
    a = Find(a);
    b = Find(b);
    if (a == b) return;
    if (a < b) std::swap(a, b);
    parent_[a] = b;  // the lower face stays the representative
  }

 private:
  std::vector<uint32_t> parent_;
};

bool Usable(host::Point3& n) {
  const float length = n.Length();
  if (!std::isfinite(length) || length == 0.0f) return false;
  n = n * (1.0f / length);
  return true;
}

bool Same(const host::Point3& a, const host::Point3& b) {
  return std::fabs(a.x - b.x) <= kSameNormal && std::fabs(a.y - b.y) <= kSameNormal &&
         std::fabs(a.z - b.z) <= kSameNormal;
}

// Per vertex, its corners: offsets into one array (counting sort).
struct VertexCorners {
  std::vector<uint32_t> start;    // vertexCount + 1 entries
  std::vector<uint32_t> corners;  // corner numbers, 3 * face + k
};

VertexCorners CornersByVertex(const std::vector<uint32_t>& corners, size_t vertexCount) {
  VertexCorners result;
  result.start.assign(vertexCount + 1, 0);
  for (uint32_t v : corners) ++result.start[v + 1];
  for (size_t v = 0; v < vertexCount; ++v) result.start[v + 1] += result.start[v];
  result.corners.resize(corners.size());
  std::vector<uint32_t> fill(result.start.begin(), result.start.end() - 1);
  for (size_t c = 0; c < corners.size(); ++c) result.corners[fill[corners[c]]++] = static_cast<uint32_t>(c);
  return result;
}

}  // namespace

std::vector<host::Point3> CornerNormalsByAngle(const std::vector<uint32_t>& corners, size_t vertexCount,
                                               const std::vector<host::Point3>& positions, float maxAngle) {
  const size_t faceCount = corners.size() / 3;
  std::vector<host::Point3> faceNormals(faceCount);
  for (size_t f = 0; f < faceCount; ++f) {
    const host::Point3& a = positions[corners[3 * f]];
    host::Point3 n = CrossProd(positions[corners[3 * f + 1]] - a, positions[corners[3 * f + 2]] - a);
    if (!Usable(n)) n = host::Point3(0, 0, 0);
    faceNormals[f] = n;
  }
  const float least = std::cos(maxAngle);
  const VertexCorners byVertex = CornersByVertex(corners, vertexCount);
  std::vector<host::Point3> normals(corners.size());
  for (size_t v = 0; v < vertexCount; ++v) {
    // Comparing every pair of corners at a vertex is quadratic in its faces;
    // past kMostFacesToSmooth (a fan of thousands, flat in any real file)
    // each corner keeps its own face's normal.
    const bool crowded = byVertex.start[v + 1] - byVertex.start[v] > kMostFacesToSmooth;
    for (uint32_t i = byVertex.start[v]; i < byVertex.start[v + 1]; ++i) {
      const uint32_t c = byVertex.corners[i];
      const host::Point3& own = faceNormals[c / 3];
      if (crowded) {
        normals[c] = own;
        continue;
      }
      host::Point3 sum(0, 0, 0);
      for (uint32_t j = byVertex.start[v]; j < byVertex.start[v + 1]; ++j) {
        const host::Point3& other = faceNormals[byVertex.corners[j] / 3];
        if (DotProd(own, other) >= least) sum = sum + other;
      }
      normals[c] = sum;
    }
  }
  return normals;
}

std::vector<uint32_t> SmoothingGroupsFromNormals(const std::vector<uint32_t>& corners, size_t vertexCount,
                                                 const std::vector<uint32_t>& normalOf,
                                                 std::vector<host::Point3> normals) {
  const size_t faceCount = corners.size() / 3;
  std::vector<host::Point3>& unit = normals;  // normalised in place
  std::vector<uint8_t> usable(unit.size(), 0);
  for (size_t n = 0; n < unit.size(); ++n) usable[n] = Usable(unit[n]);
  const VertexCorners byVertex = CornersByVertex(corners, vertexCount);

  // Faces that meet with the same normal at some vertex smooth together.
  // A vertex with very many different normals is degenerate (a fan of
  // thousands of faces on one point); past kMostNormalsAtAVertex its further
  // corners join nothing there, which keeps this linear in the corners.
  Components components(faceCount);
  std::vector<uint32_t> distinct;  // corners with different normals at one vertex
  for (size_t v = 0; v < vertexCount; ++v) {
    distinct.clear();
    for (uint32_t i = byVertex.start[v]; i < byVertex.start[v + 1]; ++i) {
      const uint32_t c = byVertex.corners[i];
      const uint32_t n = c < normalOf.size() ? normalOf[c] : UINT32_MAX;
      if (n >= unit.size() || !usable[n]) continue;
      bool joined = false;
      for (uint32_t d : distinct) {
        const uint32_t m = normalOf[d];
        if (m == n || Same(unit[n], unit[m])) {
          components.Join(c / 3, d / 3);
          joined = true;
          break;
        }
      }
      if (!joined && distinct.size() < kMostNormalsAtAVertex) distinct.push_back(c);
    }
  }

  // Each patch gets the lowest bit that no patch it touches has, so the host
  // keeps them apart at every vertex they share: per vertex, the bits given
  // out there so far. A patch that finds all 32 taken (more than 32
  // separately smoothed patches around it) gets none and is faceted, which
  // keeps every hard edge hard.
  std::vector<uint32_t> patch(faceCount);
  std::vector<uint32_t> patchStart(faceCount + 1, 0);
  for (size_t f = 0; f < faceCount; ++f) {
    patch[f] = components.Find(static_cast<uint32_t>(f));
    ++patchStart[patch[f] + 1];
  }
  for (size_t p = 0; p < faceCount; ++p) patchStart[p + 1] += patchStart[p];
  std::vector<uint32_t> facesByPatch(faceCount);
  std::vector<uint32_t> fill(patchStart.begin(), patchStart.end() - 1);
  for (size_t f = 0; f < faceCount; ++f) facesByPatch[fill[patch[f]]++] = static_cast<uint32_t>(f);

  std::vector<uint32_t> bitsAt(vertexCount, 0);
  std::vector<uint32_t> word(faceCount, 0);  // by representative face
  for (size_t p = 0; p < faceCount; ++p) {
    if (patch[p] != p) continue;
    uint32_t taken = 0;
    for (uint32_t i = patchStart[p]; i < patchStart[p + 1]; ++i) {
      for (int k = 0; k < 3; ++k) taken |= bitsAt[corners[3 * facesByPatch[i] + k]];
    }
    const uint32_t free = ~taken;
    word[p] = free & (0u - free);  // the lowest free bit, or 0
    for (uint32_t i = patchStart[p]; i < patchStart[p + 1]; ++i) {
      for (int k = 0; k < 3; ++k) bitsAt[corners[3 * facesByPatch[i] + k]] |= word[p];
    }
  }

  std::vector<uint32_t> groups(faceCount);
  for (size_t f = 0; f < faceCount; ++f) groups[f] = word[patch[f]];
  return groups;
}

}  // namespace kvl::sources
