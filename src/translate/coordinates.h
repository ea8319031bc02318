// From host matrices and vertices to the output's axes. The output has the
// host's Y and Z swapped; a transform can hold neither a mirror nor (with
// `removescaling`) a scale, so what it cannot carry goes into the vertices.
#pragma once

#include "host/inode.h"
#include "host/matrix3.h"
#include "host/mesh.h"
#include "scene/scene_nodes.h"
#include "settings/export_settings.h"

namespace kvl {

// The object's world matrix at t, with the scale taken out of its axes when
// `removescaling` is on.
host::Matrix3 ObjectWorldTM(host::INode* node, host::TimeValue t, const ExportSettings& settings);

// The node's transform relative to its host parent, in output axes.
void LocalTransform(host::INode* node, host::TimeValue t, PRSTransform& out, const ExportSettings& settings);

// Quaternion (x, y, z, w) of three orthonormal rows, rows[r][c].
void QuaternionFromRows(const host::Point3 rows[3], float q[4]);

struct MeshBake {
  host::Matrix3 matrix;   // host object space -> the space the exported transform describes
  bool mirrored = false;  // the node's world matrix is a mirror: corners turn around
};
// Everything at tick 0.
MeshBake MeshBakeMatrix(host::INode* node, const ExportSettings& settings);

// A host vertex through the bake matrix, in output axes and export scale.
void ConvertVertex(const host::Mesh& mesh, int index, const host::Matrix3& bake, float scale, float out[3]);

}  // namespace kvl
