// What deforms a node's Assimp meshes: their bones (a skin over nodes of the
// scene) and their morph targets with the weights that the chosen animation
// keys. Read per source vertex, in the order BuildNodeMesh reads the
// meshes, and handed to the host mesh once its vertices are welded.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/memory_objects.h"
#include "sources/assimp/assimp_build.h"

namespace kvl::sources {

struct SourceInfluence {
  uint32_t bone = 0;  // index into NodeDeformers::bones
  float weight = 0;
};

// A morph target while its vertices are still the source vertices.
struct SourceMorphTarget {
  host::MorphTarget target;  // everything but the vertices
  std::vector<uint32_t> sources;
};

struct NodeDeformers {
  std::vector<host::SkinBone> bones;
  std::vector<std::vector<SourceInfluence>> influences;  // per source vertex; empty without bones
  std::vector<SourceMorphTarget> targets;
  // Per source vertex, a number that is the same for two vertices only if
  // everything above moves them alike (0 for a vertex nothing moves): only
  // such vertices may be welded into one. Empty when nothing deforms.
  std::vector<uint32_t> weldClass;
};

// The deformers of the meshes of `node`, whose source vertices number
// `sourceCount`. Bones that name no node of the file, weights of vertices
// that the mesh does not have and targets of the wrong size are left out,
// with a note.
NodeDeformers ReadNodeDeformers(AssimpBuild& build, const aiNode& node, const std::string& nodeName,
                                size_t sourceCount);

// Gives `object` the skin and morph targets over its host vertices;
// hostOf[s] is the host vertex of source vertex s.
void AttachDeformers(AssimpBuild& build, NodeDeformers deformers, const std::vector<uint32_t>& hostOf,
                     host::MemoryMeshObject& object);

}  // namespace kvl::sources
