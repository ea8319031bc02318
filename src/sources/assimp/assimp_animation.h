// One of the file's animations as keyed local transforms, and the scene's
// time: 4800 ticks to the second, ticks per frame from the file's frame rate
// (30 frames a second where it has none), the range the animation's span.
#pragma once

#include <utility>
#include <vector>

#include "sources/assimp/assimp_nodes.h"

namespace kvl::sources {

// The animation that `wanted` names (a name, or an index counted from 0;
// empty: the first), or null if the file has none. Refuses a name or index
// that the file does not have.
const aiAnimation* ChooseAnimation(const aiScene& scene, const std::string& wanted);

void BuildAnimation(AssimpBuild& build, const std::vector<std::pair<host::MemoryNode*, NodeOrigin>>& origins);

// Host ticks per frame for a frame rate; 160 (30 frames a second) when the
// rate is not usable.
host::TimeValue TicksPerFrameFor(double framesPerSecond);

}  // namespace kvl::sources
