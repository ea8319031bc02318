// Textures that a file carries inside it (GLB, embedded FBX, data URIs) go
// beside the output file, so that the map's file name points at a file that
// exists. The host writes them, after the output; here they are named and
// kept.
#pragma once

#include <string>

#include "sources/assimp/assimp_build.h"

namespace kvl::sources {

// The file name the map gets for texture reference `reference` ("*0" or the
// name an FBX file gave its embedded texture), with the texture's bytes put
// in build.files under that name; empty if `reference` names no embedded
// texture.
std::string KeepEmbeddedTexture(AssimpBuild& build, const std::string& reference);

}  // namespace kvl::sources
