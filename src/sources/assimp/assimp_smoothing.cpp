#include "sources/assimp/assimp_smoothing.h"

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

bool Same(const host::Point3& a, const host::Point3& b) {
  return std::fabs(a.x - b.x) <= kSameNormal && std::fabs(a.y - b.y) <= kSameNormal &&
         std::fabs(a.z - b.z) <= kSameNormal;
}

// Per vertex, its corners: offsets into one array (counting sort).
struct VertexCorners {
  std::vector<uint32_t> start;    // vertexCount + 1 entries
  std::vector<uint32_t> corners;  // corner numbers, 3 * face + k
};

VertexCorners CornersByVertex(const std::vector<host::Face>& faces, size_t vertexCount) {
  VertexCorners result;
  result.start.assign(vertexCount + 1, 0);
  for (const host::Face& face : faces) {
    for (uint32_t v : face.v) ++result.start[v + 1];
  }
  for (size_t v = 0; v < vertexCount; ++v) result.start[v + 1] += result.start[v];
  result.corners.resize(3 * faces.size());
  std::vector<uint32_t> fill(result.start.begin(), result.start.end() - 1);
  for (size_t c = 0; c < result.corners.size(); ++c) {
    result.corners[fill[faces[c / 3].v[c % 3]]++] = static_cast<uint32_t>(c);
  }
  return result;
}

}  // namespace

SmoothPatches::SmoothPatches(size_t faceCount) : parent_(faceCount) {
  std::iota(parent_.begin(), parent_.end(), 0u);
}

uint32_t SmoothPatches::Find(uint32_t face) {
  while (parent_[face] != face) {
    parent_[face] = parent_[parent_[face]];
    face = parent_[face];
  }
  return face;
}

void SmoothPatches::Join(uint32_t a, uint32_t b) {
  a = Find(a);
  b = Find(b);
  if (a == b) return;
  if (a < b) std::swap(a, b);
  parent_[a] = b;  // the lower face stays the representative
}

bool MakeUnit(host::Point3& n) {
  const float length = n.Length();
  if (!std::isfinite(length) || length == 0.0f) return false;
  n = n * (1.0f / length);
  return true;
}

void JoinSameNormalsAtVertices(SmoothPatches& patches, const std::vector<host::Point3>& unitNormals,
                               const std::vector<uint8_t>& usable, const std::vector<uint32_t>& normalVertex,
                               const std::vector<uint32_t>& normalFace, size_t vertexCount) {
  // Per vertex, a chain of its normals that differ from each other. A
  // vertex with very many different normals is degenerate (a fan of
  // thousands of faces on one point); past kMostNormalsAtAVertex its further
  // normals join nothing there, which keeps this linear.
  std::vector<uint32_t> first(vertexCount, kNoFace);
  std::vector<uint32_t> next(unitNormals.size(), kNoFace);
  for (size_t n = 0; n < unitNormals.size(); ++n) {
    if (!usable[n] || normalFace[n] == kNoFace) continue;
    const uint32_t vertex = normalVertex[n];
    uint32_t last = kNoFace;
    size_t length = 0;
    bool joined = false;
    for (uint32_t d = first[vertex]; d != kNoFace; last = d, d = next[d], ++length) {
      if (Same(unitNormals[n], unitNormals[d])) {
        patches.Join(normalFace[n], normalFace[d]);
        joined = true;
        break;
      }
    }
    if (joined || length >= kMostNormalsAtAVertex) continue;
    (last == kNoFace ? first[vertex] : next[last]) = static_cast<uint32_t>(n);
  }
}

void AssignSmoothingWords(SmoothPatches& patches, std::vector<host::Face>& faces, size_t vertexCount) {
  const size_t faceCount = faces.size();
  std::vector<uint32_t> patch(faceCount);
  size_t patchCount = 0;
  for (size_t f = 0; f < faceCount; ++f) {
    patch[f] = patches.Find(static_cast<uint32_t>(f));
    if (patch[f] == f) ++patchCount;
  }
  if (patchCount <= 1) {
    // One smooth surface: the common case, and the first bit is what the
    // rule below gives it.
    for (host::Face& face : faces) face.smGroup = 1;
    return;
  }

  // The faces by patch (counting sort): patch p's faces are
  // byPatch[start[p] .. start[p + 1]).
  std::vector<uint32_t> start(faceCount + 1, 0);
  for (uint32_t p : patch) ++start[p];
  for (size_t p = 1; p < faceCount; ++p) start[p] += start[p - 1];
  start[faceCount] = static_cast<uint32_t>(faceCount);
  std::vector<uint32_t> byPatch(faceCount);
  for (size_t f = faceCount; f-- > 0;) byPatch[--start[patch[f]]] = static_cast<uint32_t>(f);

  // Each patch gets the lowest bit that no patch it touches has, so the host
  // keeps them apart at every vertex they share: per vertex, the bits given
  // out there so far. A patch that finds all 32 taken gets none and is
  // faceted, which keeps every hard edge hard.
  std::vector<uint32_t> bitsAt(vertexCount, 0);
  for (size_t p = 0; p < faceCount; ++p) {
    if (patch[p] != p) continue;
    uint32_t taken = 0;
    for (uint32_t i = start[p]; i < start[p + 1]; ++i) {
      for (uint32_t v : faces[byPatch[i]].v) taken |= bitsAt[v];
    }
    const uint32_t free = ~taken;
    const uint32_t word = free & (0u - free);  // the lowest free bit, or 0
    for (uint32_t i = start[p]; i < start[p + 1]; ++i) {
      host::Face& face = faces[byPatch[i]];
      face.smGroup = word;
      for (uint32_t v : face.v) bitsAt[v] |= word;
    }
  }
}

void SmoothingGroupsFromCornerNormals(std::vector<host::Face>& faces, size_t vertexCount,
                                      std::vector<host::Point3> cornerNormals) {
  SmoothPatches patches(faces.size());
  std::vector<uint8_t> usable(cornerNormals.size());
  std::vector<uint32_t> vertexOf(cornerNormals.size()), faceOf(cornerNormals.size());
  for (size_t c = 0; c < cornerNormals.size(); ++c) {
    usable[c] = MakeUnit(cornerNormals[c]);
    vertexOf[c] = faces[c / 3].v[c % 3];
    faceOf[c] = static_cast<uint32_t>(c / 3);
  }
  JoinSameNormalsAtVertices(patches, cornerNormals, usable, vertexOf, faceOf, vertexCount);
  AssignSmoothingWords(patches, faces, vertexCount);
}

std::vector<host::Point3> CornerNormalsByAngle(const std::vector<host::Face>& faces, size_t vertexCount,
                                               const std::vector<host::Point3>& positions, float maxAngle) {
  std::vector<host::Point3> faceNormals(faces.size());
  for (size_t f = 0; f < faces.size(); ++f) {
    const host::Point3& a = positions[faces[f].v[0]];
    host::Point3 n = CrossProd(positions[faces[f].v[1]] - a, positions[faces[f].v[2]] - a);
    if (!MakeUnit(n)) n = host::Point3(0, 0, 0);
    faceNormals[f] = n;
  }
  const float least = std::cos(maxAngle);
  const VertexCorners byVertex = CornersByVertex(faces, vertexCount);
  std::vector<host::Point3> normals(3 * faces.size());
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

}  // namespace kvl::sources
