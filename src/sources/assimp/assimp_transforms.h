// Between host matrices and the position, rotation and scale of a key.
#pragma once

#include "host/memory_transform.h"

namespace kvl::sources {

// The key at `tick` whose TRS makes `m`; exact for matrices without shear.
host::TransformKey KeyFromMatrix(host::TimeValue tick, const host::Matrix3& m);

}  // namespace kvl::sources
