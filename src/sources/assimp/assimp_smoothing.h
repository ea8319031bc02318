// Smoothing groups that make the host's own vertex normals point the way the
// file's normals do. Faces that meet at a vertex with the same normal there
// share a group; where the normals differ (a hard edge) the groups differ.
//
// Everything here is linear in the faces and normals and allocates little
// beyond them: a million-triangle mesh is converted while Assimp's own read
// of it is still the larger cost.
#pragma once

#include <cstdint>
#include <vector>

#include "host/mesh.h"
#include "host/point3.h"

namespace kvl::sources {

inline constexpr uint32_t kNoFace = 0xFFFFFFFFu;

// Faces joined into smoothly shaded patches (union-find; the lowest face of
// a patch represents it).
class SmoothPatches {
 public:
  explicit SmoothPatches(size_t faceCount);
  uint32_t Find(uint32_t face);
  void Join(uint32_t a, uint32_t b);

 private:
  std::vector<uint32_t> parent_;
};

// Scales `n` to unit length; false (and `n` untouched) when it has no
// direction: zero or not finite, a normal that is hard on every side.
bool MakeUnit(host::Point3& n);

// Joins the faces of normals that belong to one host vertex and point the
// same way. Per normal: `unitNormals[n]` (made unit, `usable[n]` when it
// has a direction), `normalVertex[n]` its host vertex, `normalFace[n]` a
// face that uses it there (kNoFace when none). Faces that share one normal
// the caller has joined already.
void JoinSameNormalsAtVertices(SmoothPatches& patches, const std::vector<host::Point3>& unitNormals,
                               const std::vector<uint8_t>& usable, const std::vector<uint32_t>& normalVertex,
                               const std::vector<uint32_t>& normalFace, size_t vertexCount);

// Sets each face's smGroup: one word per patch, a single bit wherever the 32
// groups suffice, which they do unless a patch touches more than 31
// separately smoothed others; such a patch gets 0 and is faceted.
void AssignSmoothingWords(SmoothPatches& patches, std::vector<host::Face>& faces, size_t vertexCount);

// The whole of it for normals given per corner (3 per face, in face order).
void SmoothingGroupsFromCornerNormals(std::vector<host::Face>& faces, size_t vertexCount,
                                      std::vector<host::Point3> cornerNormals);

// Normals for faces whose file gives none: per corner, the sum of the unit
// normals of the faces at its vertex that lie within `maxAngle` (radians) of
// the corner's own face, so that edges sharper than that stay hard. Done
// here rather than by Assimp, whose smoothing cannot split a vertex that
// several faces share.
std::vector<host::Point3> CornerNormalsByAngle(const std::vector<host::Face>& faces, size_t vertexCount,
                                               const std::vector<host::Point3>& positions, float maxAngle);

}  // namespace kvl::sources
