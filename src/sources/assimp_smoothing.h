// Smoothing groups that make the host's own vertex normals point the way the
// file's normals do. Faces that meet at a vertex with the same normal there
// share a group; where the normals differ (a hard edge) the groups differ.
#pragma once

#include <cstdint>
#include <vector>

#include "host/point3.h"

namespace kvl::sources {

// `corners` holds three vertex indices per face, and `normalOf` per corner
// the index of its normal in `normals` (any length; a non-finite or zero
// normal is hard on every side). Gives one smoothing word per face: a
// single bit wherever the 32 groups suffice, which they do unless a patch
// touches more than 31 separately smoothed others; such a patch gets 0 and
// is faceted. Linear in the corners.
std::vector<uint32_t> SmoothingGroupsFromNormals(const std::vector<uint32_t>& corners, size_t vertexCount,
                                                 const std::vector<uint32_t>& normalOf,
                                                 std::vector<host::Point3> normals);

// Normals for faces whose file gives none: per corner, the sum of the unit
// normals of the faces at its vertex that lie within `maxAngle` (radians) of
// the corner's own face, so that edges sharper than that stay hard. Done
// here rather than by Assimp, whose smoothing cannot split a vertex that
// several faces share.
std::vector<host::Point3> CornerNormalsByAngle(const std::vector<uint32_t>& corners, size_t vertexCount,
                                               const std::vector<host::Point3>& positions, float maxAngle);

}  // namespace kvl::sources
