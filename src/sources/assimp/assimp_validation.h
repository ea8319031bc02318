// What Assimp hands over, checked against what the host holds before
// anything is built. Breaks that would lose or garble the scene refuse it
// with a message naming the node or mesh; parts a user can do without are
// left out with a note. docs/scene-sources.md lists each decision.
#pragma once

#include <string>

#include "sources/assimp/assimp_build.h"

namespace kvl::sources {

// Refuses (throws AssimpRefusal), or notes the parts that the builders
// will pass over.
void ValidateAssimpScene(AssimpBuild& build);

// Assimp's post-processing trusts its readers' faces, and a face naming a
// vertex the mesh lacks crashes or hangs its triangulation. Run on the scene
// as read, before any step: the problem as text, or "" when there is none.
std::string CheckFacesBeforePostProcessing(const aiScene& scene);

}  // namespace kvl::sources
