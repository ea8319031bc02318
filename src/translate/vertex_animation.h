// A mesh whose shape changes over time: its vertices are stored whole once
// per point of the sample grid, one vertex list per frame, all in the order
// of the list built at tick 0, so that one face list serves every frame.
#pragma once

#include "translate/transform_sampling.h"
#include "host/inode.h"
#include "host/matrix3.h"
#include "scene/scene_nodes.h"
#include "log/export_log.h"
#include "settings/export_settings.h"

namespace kvl {

// Replaces the buffer's base list (its first list, built from the mesh at
// tick 0) by one list per tick of `grid`. Each frame holds, at every index,
// the base list's vertex with the position of its host vertex in the mesh of
// that tick, taken through `bake` (the matrix of tick 0) and the export
// scale; everything else, normals included, stays as at tick 0.
//
// A grid without samples leaves the buffer as it is. When the host gives no
// mesh at some tick, or a mesh too small for the base list's host vertices
// (logged as a warning), the frames stop there and the base list stays in
// front of the frames made so far.
void AnimateVertices(host::INode* node, VertexBufferNode& buffer, const host::Matrix3& bake, const SampleGrid& grid,
                     const ExportSettings& settings, ExportLog& log);

}  // namespace kvl
