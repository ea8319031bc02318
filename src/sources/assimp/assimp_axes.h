// The host's axes are Z up and right-handed. Assimp hands over a Y-up scene,
// except that an FBX file keeps the axis system it declares; this is the
// turn that brings either into the host's axes, applied once at the root.
#pragma once

#include "host/matrix3.h"
#include "sources/assimp/assimp_build.h"

namespace kvl::sources {

// The matrix (row vectors) from the file's axes, as Assimp delivers them,
// to the host's.
host::Matrix3 SourceToHostAxes(const AssimpBuild& build);

// The turn for a file whose axes are given FBX's way: the index (0 X, 1 Y,
// 2 Z) and sign of the up, front and right ("coord") axes.
host::Matrix3 AxesFromDeclaration(int up, int upSign, int front, int frontSign, int coord, int coordSign);

}  // namespace kvl::sources
