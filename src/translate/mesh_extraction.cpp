// Host meshes into one vertex buffer and, per group of faces that share a
// material, a face list with (as a rule) a triangle info buffer.
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "platform/side_task.h"
#include "translate/transform_sampling.h"
#include "translate/vertex_animation.h"
#include "translate/translation.h"
#include "host/mesh.h"
#include "scene/vertex_list.h"
#include "translate/coordinates.h"
#include "translate/material_translation.h"

namespace kvl {
namespace {

// The highest count and index that the file's 16-bit fields can hold.
constexpr size_t kFileLimit = 65535;

// Below this, starting a thread costs more than it saves.
constexpr size_t kFacesWorthAThread = 1 << 14;

// One map channel of the mesh, or nothing if the mesh lacks it.
struct Channel {
  explicit Channel(host::Mesh& mesh, int number)
      : present(mesh.getNumMapVerts(number) != 0), faces(mesh.mapFaces(number)), values(mesh.mapVerts(number)) {}
  const host::Point3& At(int face, int corner) const { return values[faces[face].t[corner]]; }

  bool present;
  const host::TVFace* faces;
  const host::UVVert* values;
};

// What stays the same for every face of one extraction.
struct Extraction {
  Extraction(host::Mesh& hostMesh, const MeshBake& bake, float exportScale)
      : mesh(hostMesh), bakeMatrix(bake.matrix), scale(exportScale),
        texture(hostMesh, host::MAP_TEXCOORD), color(hostMesh, host::MAP_COLOR), alpha(hostMesh, host::MAP_ALPHA) {
    // A mirrored node's faces turn round, so that they still face outward.
    if (bake.mirrored) {
      corners[1] = 2;
      corners[2] = 1;
    }
  }

  host::Mesh& mesh;
  host::Matrix3 bakeMatrix;
  float scale;
  int corners[3] = {0, 1, 2};
  Channel texture, color, alpha;
  bool bakeColor = false;
  uint32_t vertexFlags = 0;
};

// The group's material as far as its corners need it.
struct GroupMaterial {
  uint32_t diffuse;
  float opacity;
};

struct FaceGroup {
  int slot = -1;              // sub-material slot; -1 for a plain material
  host::Mtl* material = nullptr;
  std::vector<int> faces;     // ascending
};

// The colour of one corner; false when the corner has none.
bool CornerColor(const Extraction& x, const GroupMaterial& material, int face, int corner, uint32_t& color) {
  float alpha = material.opacity;
  if (x.alpha.present) alpha *= x.alpha.At(face, corner).x;
  if (x.color.present) {
    color = PackColor(x.color.At(face, corner), alpha);
    return true;
  }
  if (x.bakeColor) {
    // Without vertex colours and without lights, the engine still needs a
    // colour: the material's diffuse with the corner's alpha.
    color = (static_cast<uint32_t>(ColorChannel(alpha)) << 24) | (material.diffuse & 0x00FFFFFFu);
    return true;
  }
  return false;
}

// Texture coordinates of one corner; the engine's v runs the other way.
void CornerUV(const Extraction& x, int face, int corner, float& u, float& v) {
  const host::Point3& p = x.texture.At(face, corner);
  u = p.x;
  v = -p.y;
}

// The triangle layout's vertices are positions alone; colours and texture
// coordinates go per corner into the triangle info buffer.
void PlaceTriangleLayoutFace(const Extraction& x, VertexPlacer& placer, int face, FaceListNode& faceList) {
  const host::Face& hostFace = x.mesh.faces[static_cast<size_t>(face)];
  for (int c = 0; c < 3; ++c) {
    const int k = x.corners[c];
    Vertex vertex;
    vertex.sourceVertex = hostFace.v[k];
    ConvertVertex(x.mesh, static_cast<int>(hostFace.v[k]), x.bakeMatrix, x.scale, vertex.position);
    faceList.indices.push_back(placer.Place(vertex));
  }
}

void FillTriangleInfos(const Extraction& x, const GroupMaterial& material, const std::vector<int>& faces,
                       std::vector<TriangleInfo>& triangles) {
  triangles.reserve(faces.size());
  for (int face : faces) {
    TriangleInfo& triangle = triangles.emplace_back();
    uint32_t* colors[3] = {&triangle.color1, &triangle.color2, &triangle.color3};
    for (int c = 0; c < 3; ++c) {
      const int k = x.corners[c];
      if (x.texture.present) CornerUV(x, face, k, triangle.cornerUVs[2 * c], triangle.cornerUVs[2 * c + 1]);
      CornerColor(x, material, face, k, *colors[c]);
    }
  }
}

void VertexLayoutFace(const Extraction& x, VertexPlacer& placer, const GroupMaterial& material, int face,
                      FaceListNode& faceList) {
  const host::Face& hostFace = x.mesh.faces[static_cast<size_t>(face)];
  float p[3][3];
  for (int c = 0; c < 3; ++c) {
    ConvertVertex(x.mesh, static_cast<int>(hostFace.v[x.corners[c]]), x.bakeMatrix, x.scale, p[c]);
  }
  // From output positions in output corner order, so the normal needs no
  // conversion of its own.
  const float a[3] = {p[1][0] - p[0][0], p[1][1] - p[0][1], p[1][2] - p[0][2]};
  const float b[3] = {p[2][0] - p[0][0], p[2][1] - p[0][1], p[2][2] - p[0][2]};
  float normal[3] = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
  const float length = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
  for (float& n : normal) n /= length;

  for (int c = 0; c < 3; ++c) {
    const int k = x.corners[c];
    Vertex vertex;
    for (int i = 0; i < 3; ++i) {
      vertex.position[i] = p[c][i];
      vertex.normal[i] = normal[i];
    }
    CornerColor(x, material, face, k, vertex.color);
    if (x.texture.present) CornerUV(x, face, k, vertex.u, vertex.v);
    vertex.smoothingGroup = hostFace.smGroup;
    vertex.flags = x.vertexFlags;
    vertex.sourceVertex = hostFace.v[k];
    faceList.indices.push_back(placer.Place(vertex));
  }
}

// Faces by material: one group for a plain material, one per sub-material
// slot for a multi-material, where a face's index wraps round the slots.
// Slots without faces make no group.
std::vector<FaceGroup> GroupFaces(host::Mtl& material, int faceCount, const host::Mesh& mesh) {
  std::vector<FaceGroup> groups;
  if (material.ClassID().PartA() != host::MULTI_CLASS_ID.PartA()) {
    FaceGroup all;
    all.material = &material;
    for (int f = 0; f < faceCount; ++f) all.faces.push_back(f);
    groups.push_back(std::move(all));
    return groups;
  }
  const int slots = material.NumSubMtls();
  if (slots <= 0) return groups;
  std::vector<std::vector<int>> bySlot(static_cast<size_t>(slots));
  for (int f = 0; f < faceCount; ++f) bySlot[mesh.getFaceMtlIndex(f) % slots].push_back(f);
  for (int s = 0; s < slots; ++s) {
    if (bySlot[static_cast<size_t>(s)].empty()) continue;
    FaceGroup group;
    group.slot = s;
    group.material = material.GetSubMtl(s);
    group.faces = std::move(bySlot[static_cast<size_t>(s)]);
    groups.push_back(std::move(group));
  }
  return groups;
}

// The file narrows counts and indices to 16 bits. Such meshes are still
// written whole, so the user is told which mesh is affected and how.
void WarnAboutFileLimits(ExportLog& log, const NodeTable& table, const MeshNode& meshNode) {
  size_t mostIndices = 0, mostTriangles = 0;
  uint32_t highestIndex = 0;
  for (const Submesh& submesh : meshNode.submeshes) {
    const auto& faceList = As<FaceListNode>(*table.Find(submesh.faceListId));
    mostIndices = std::max(mostIndices, faceList.indices.size());
    for (uint32_t index : faceList.indices) highestIndex = std::max(highestIndex, index);
    if (submesh.triangleInfoBufferId != NODE_ID_NONE) {
      const auto& triangles = As<TriangleInfoBufferNode>(*table.Find(submesh.triangleInfoBufferId));
      mostTriangles = std::max(mostTriangles, triangles.triangles.size());
    }
  }
  const std::string limit = std::to_string(kFileLimit);
  if (mostIndices > kFileLimit) {
    log.Log(meshNode.name + ": a face list has " + std::to_string(mostIndices) + " indices, more than the " +
                limit + " that the file can count; the mesh is written as it is",
            LOG_WARNING);
  }
  if (highestIndex > kFileLimit) {
    log.Log(meshNode.name + ": vertex index " + std::to_string(highestIndex) + " is above " + limit +
                ", the highest index that the file can hold; the mesh is written as it is",
            LOG_WARNING);
  }
  if (mostTriangles > kFileLimit) {
    log.Log(meshNode.name + ": a triangle info buffer has " + std::to_string(mostTriangles) +
                " triangles, more than the " + limit + " that the file can count; the mesh is written as it is",
            LOG_WARNING);
  }
  if (meshNode.submeshes.size() > kFileLimit) {
    log.Log(meshNode.name + ": " + std::to_string(meshNode.submeshes.size()) + " submeshes, more than the " +
                limit + " that the file can count; the mesh is written as it is",
            LOG_WARNING);
  }
}

}  // namespace

void ExtractMesh(Translation& t, host::INode* node, host::Mesh& mesh, MeshNode& meshNode, bool useTriangleInfo,
                         bool morph) {
  const int faceCount = mesh.getNumFaces();
  mesh.buildNormals();
  Extraction x(mesh, MeshBakeMatrix(node, t.table.settings), t.table.settings.scale);
  host::Mtl* nodeMaterial = node->GetMtl();

  auto buffer = std::make_unique<VertexBufferNode>();
  buffer->id = t.AllocateId();
  buffer->lists.emplace_back();
  if (!useTriangleInfo) {
    x.vertexFlags = VERTEX_NORMAL;
    if (x.color.present) x.vertexFlags |= VERTEX_COLOR;
    if (x.texture.present) x.vertexFlags |= VERTEX_UV;
  }
  buffer->flags = x.vertexFlags;
  VertexList& list = buffer->lists.front();
  list.flags = x.vertexFlags;
  // At least one vertex per host vertex in any real mesh: grow once.
  list.vertices.reserve(mesh.verts.size());
  // Corners keep a colour when nothing else would light the mesh.
  x.bakeColor = !t.table.settings.exportlights && !x.color.present;

  // All groups share the one list, so a vertex of two materials is one vertex.
  VertexPlacer placer(list);
  const std::vector<FaceGroup> groups =
      nodeMaterial ? GroupFaces(*nodeMaterial, faceCount, mesh) : std::vector<FaceGroup>();
  for (const FaceGroup& group : groups) {
    auto* material = dynamic_cast<host::StdMat2*>(group.material);
    if (!material) {
      // Nothing to draw these faces with; the rest of the mesh still goes.
      const std::string slot = group.slot < 0 ? "" : " of sub-material slot " + std::to_string(group.slot);
      const std::string what = group.material ? std::string("material \"") + group.material->GetName() + "\"" +
                                                    slot + " is not a standard material"
                                              : "sub-material slot " + std::to_string(group.slot) + " is empty";
      t.log.Log(meshNode.name + ": " + what + "; its " + std::to_string(group.faces.size()) +
                   " faces are left out",
               LOG_WARNING);
      continue;
    }
    auto faceList = std::make_unique<FaceListNode>();
    faceList->id = t.AllocateId();
    auto triangles = std::make_unique<TriangleInfoBufferNode>();
    triangles->id = t.AllocateId();

    const auto& materialNode = As<MaterialNode>(*t.table.Find(MaterialNodeId(t, *material)));
    const GroupMaterial corners{materialNode.diffuse, materialNode.opacity};
    if (useTriangleInfo) {
      if (x.texture.present) triangles->flags |= TRIANGLE_UVS;
      if (x.color.present || x.bakeColor) triangles->flags |= TRIANGLE_COLORS;
    }
    const bool hasTriangleInfo = useTriangleInfo && triangles->flags != 0;
    faceList->indices.reserve(3 * group.faces.size());

    // A big group's triangle infos are made on the second core while this
    // one places the vertices: the two read the host mesh alone and each
    // writes its own list, so the result is the same either way.
    SideTask triangleInfos(hasTriangleInfo && group.faces.size() >= kFacesWorthAThread, [&] {
      if (hasTriangleInfo) FillTriangleInfos(x, corners, group.faces, triangles->triangles);
    });
    for (int face : group.faces) {
      if (useTriangleInfo) {
        PlaceTriangleLayoutFace(x, placer, face, *faceList);
      } else {
        VertexLayoutFace(x, placer, corners, face, *faceList);
      }
    }
    triangleInfos.Wait();

    Submesh submesh;
    submesh.vertexBufferId = buffer->id;
    submesh.faceListId = faceList->id;
    submesh.triangleInfoBufferId = hasTriangleInfo ? triangles->id : NODE_ID_NONE;
    submesh.materialId = materialNode.id;
    submesh.diffuseTextureId = materialNode.diffuseTextureId;
    submesh.envTextureId = materialNode.envTextureId;
    submesh.vertexOffset = 0;
    submesh.vertexCount = static_cast<uint32_t>(3 * group.faces.size());
    submesh.primitiveType = 1;
    meshNode.submeshes.push_back(submesh);

    t.table.Insert(std::move(faceList));
    // An unwanted triangle info buffer is dropped; its id stays used.
    if (hasTriangleInfo) t.table.Insert(std::move(triangles));
  }

  NormalizeNormals(list);
  // Vertex animation rebuilds the buffer as one list per frame of the grid.
  if (morph) {
    AnimateVertices(node, *buffer, x.bakeMatrix,
                    MakeSampleGrid(t.animStart, t.animEnd, t.ticksPerFrame, t.table.settings.samplerate),
                    t.table.settings, t.log);
  }
  t.table.Insert(std::move(buffer));
  // Beyond the file's limits a mesh is split before it is written, unless
  // the host asked for the fields to be cut to 16 bits: then say so.
  if (!t.splitMeshes) WarnAboutFileLimits(t.log, t.table, meshNode);
}

}  // namespace kvl
