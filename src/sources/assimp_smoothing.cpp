#include "sources/assimp_smoothing.h"

#include <cmath>
#include <numeric>

namespace kvl::sources {
namespace {

// Normals closer than this, component by component after normalising, are
// the same normal: files round them to a few decimals.
constexpr float kSameNormal = 1e-4f;

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

// The lowest single bit that no neighbour uses; past 32 patches, the lowest
// word that no neighbour uses.
uint32_t FreeWord(const std::vector<uint32_t>& taken) {
  uint32_t used = 0;
  for (uint32_t w : taken) used |= w;
  for (int bit = 0; bit < 32; ++bit) {
    if (!(used & (1u << bit))) return 1u << bit;
  }
  for (uint32_t w = 3;; ++w) {
    bool free = true;
    for (uint32_t t : taken) free = free && t != w;
    if (free) return w;
  }
}

}  // namespace

std::vector<uint32_t> SmoothingGroupsFromNormals(const std::vector<uint32_t>& corners, size_t vertexCount,
                                                 const std::vector<host::Point3>& normals) {
  const size_t faceCount = corners.size() / 3;
  std::vector<host::Point3> unit(corners.size());
  std::vector<bool> usable(corners.size(), false);
  for (size_t c = 0; c < corners.size() && c < normals.size(); ++c) {
    unit[c] = normals[c];
    usable[c] = Usable(unit[c]);
  }
  const VertexCorners byVertex = CornersByVertex(corners, vertexCount);

  // Faces that meet with the same normal at some vertex smooth together.
  Components components(faceCount);
  std::vector<uint32_t> distinct;  // corners with different normals at one vertex
  for (size_t v = 0; v < vertexCount; ++v) {
    distinct.clear();
    for (uint32_t i = byVertex.start[v]; i < byVertex.start[v + 1]; ++i) {
      const uint32_t c = byVertex.corners[i];
      if (!usable[c]) continue;
      bool joined = false;
      for (uint32_t d : distinct) {
        if (Same(unit[c], unit[d])) {
          components.Join(c / 3, d / 3);
          joined = true;
          break;
        }
      }
      if (!joined) distinct.push_back(c);
    }
  }

  // Each patch gets a word that no patch it touches has, so the host keeps
  // them apart at every vertex they share.
  std::vector<uint32_t> patch(faceCount);
  for (size_t f = 0; f < faceCount; ++f) patch[f] = components.Find(static_cast<uint32_t>(f));
  std::vector<uint32_t> facesStart(faceCount + 1, 0), patchFaces(faceCount);
  for (size_t f = 0; f < faceCount; ++f) ++facesStart[patch[f] + 1];
  for (size_t f = 0; f < faceCount; ++f) facesStart[f + 1] += facesStart[f];
  {
    std::vector<uint32_t> fill(facesStart.begin(), facesStart.end() - 1);
    for (size_t f = 0; f < faceCount; ++f) patchFaces[fill[patch[f]]++] = static_cast<uint32_t>(f);
  }

  std::vector<uint32_t> word(faceCount, 0);  // by representative face
  std::vector<uint32_t> taken;
  for (size_t p = 0; p < faceCount; ++p) {
    if (patch[p] != p) continue;
    taken.clear();
    for (uint32_t i = facesStart[p]; i < facesStart[p + 1]; ++i) {
      const uint32_t f = patchFaces[i];
      for (int k = 0; k < 3; ++k) {
        const uint32_t v = corners[3 * f + k];
        for (uint32_t j = byVertex.start[v]; j < byVertex.start[v + 1]; ++j) {
          const uint32_t other = patch[byVertex.corners[j] / 3];
          if (other != p && word[other] != 0) taken.push_back(word[other]);
        }
      }
    }
    word[p] = FreeWord(taken);
  }

  std::vector<uint32_t> groups(faceCount);
  for (size_t f = 0; f < faceCount; ++f) groups[f] = word[patch[f]];
  return groups;
}

}  // namespace kvl::sources
