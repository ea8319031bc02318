// Textures that a file carries inside it (GLB, embedded FBX, data URIs) are
// written beside the output file, so that the map's file name points at a
// file that exists.
#pragma once

#include <string>

#include "sources/assimp_build.h"

namespace kvl::sources {

// The file name the map gets for texture reference `reference` ("*0" or the
// name an FBX file gave its embedded texture), after writing the texture;
// empty if `reference` names no embedded texture.
std::string WriteEmbeddedTexture(AssimpBuild& build, const std::string& reference);

}  // namespace kvl::sources
