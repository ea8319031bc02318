#include "sources/assimp_mesh.h"

#include <cstring>
#include <unordered_map>

#include "host/memory_materials.h"
#include "sources/assimp_smoothing.h"

namespace kvl::sources {
namespace {

// A position as its exact bits, with -0 taken as 0 so that the two weld.
struct PositionKey {
  uint32_t bits[3];
  bool operator==(const PositionKey&) const = default;
};

PositionKey KeyOf(const aiVector3D& p) {
  PositionKey key;
  const float values[3] = {p.x == 0.0f ? 0.0f : p.x, p.y == 0.0f ? 0.0f : p.y, p.z == 0.0f ? 0.0f : p.z};
  std::memcpy(key.bits, values, sizeof key.bits);
  return key;
}

struct PositionHash {
  size_t operator()(const PositionKey& k) const {
    uint64_t h = 1469598103934665603ull;
    for (uint32_t b : k.bits) h = (h ^ b) * 1099511628211ull;
    return static_cast<size_t>(h ^ (h >> 29));
  }
};

// The host's material for meshes whose file has none: grey, after the node.
host::Mtl* DefaultMaterial(AssimpBuild& build, const std::string& nodeName) {
  auto material = std::make_unique<host::MemoryStdMtl>();
  material->name = nodeName;
  host::Mtl* made = material.get();
  build.scene.materials.push_back(std::move(material));
  build.notes.push_back("node " + Quote(nodeName) + ": the file gives it no material; it gets the default grey one");
  return made;
}

host::Mtl* MultiMaterial(AssimpBuild& build, const std::vector<host::Mtl*>& slots, const std::string& nodeName) {
  auto found = build.multiMaterials.find(slots);
  if (found != build.multiMaterials.end()) return found->second;
  auto multi = std::make_unique<host::MemoryMultiMtl>();
  multi->name = nodeName + " materials";
  multi->subMaterials = slots;
  host::Mtl* made = multi.get();
  build.scene.materials.push_back(std::move(multi));
  build.multiMaterials.emplace(slots, made);
  return made;
}

// One map channel from per-corner values: the values of every source
// vertex, in the order of the meshes, and the corners' indices into them.
void FillChannel(host::Mesh& mesh, int channel, std::vector<host::UVVert> values,
                 const std::vector<uint32_t>& cornerSources) {
  host::MeshMap& map = mesh.Map(channel);
  map.tv = std::move(values);
  map.tf.resize(cornerSources.size() / 3);
  for (size_t f = 0; f < map.tf.size(); ++f) {
    for (int k = 0; k < 3; ++k) map.tf[f].t[k] = cornerSources[3 * f + k];
  }
}

}  // namespace

std::unique_ptr<host::MemoryMeshObject> BuildNodeMesh(AssimpBuild& build, const aiNode& node,
                                                      const std::string& nodeName, host::Mtl*& material) {
  auto object = std::make_unique<host::MemoryMeshObject>();
  host::Mesh& mesh = object->mesh;

  std::vector<host::Mtl*> slots;
  host::Mtl* defaultMaterial = nullptr;
  auto slotOf = [&](host::Mtl* m) {
    for (size_t i = 0; i < slots.size(); ++i) {
      if (slots[i] == m) return static_cast<host::MtlID>(i);
    }
    slots.push_back(m);
    return static_cast<host::MtlID>(slots.size() - 1);
  };

  size_t sourceCount = 0, cornerCount = 0;
  bool anyUV = false, anyColor = false;
  for (unsigned i = 0; i < node.mNumMeshes; ++i) {
    const aiMesh& m = *build.ai.mMeshes[node.mMeshes[i]];
    sourceCount += m.mNumVertices;
    cornerCount += 3 * static_cast<size_t>(m.mNumFaces);
    anyUV = anyUV || m.HasTextureCoords(0);
    anyColor = anyColor || m.HasVertexColors(0);
  }

  std::unordered_map<PositionKey, uint32_t, PositionHash> welded;
  welded.reserve(sourceCount);
  std::vector<uint32_t> hostCorners, sourceCorners;
  hostCorners.reserve(cornerCount);
  sourceCorners.reserve(cornerCount);
  std::vector<host::Point3> cornerNormals;
  cornerNormals.reserve(cornerCount);
  std::vector<host::UVVert> uvs, colors, alphas;
  if (anyUV) uvs.reserve(sourceCount);
  if (anyColor) colors.reserve(sourceCount), alphas.reserve(sourceCount);
  mesh.faces.reserve(cornerCount / 3);
  size_t dropped = 0;

  uint32_t base = 0;
  std::vector<uint32_t> toHost;
  for (unsigned i = 0; i < node.mNumMeshes; ++i) {
    const aiMesh& m = *build.ai.mMeshes[node.mMeshes[i]];
    host::Mtl* mtl = build.materials[m.mMaterialIndex];
    if (!mtl) {
      if (!defaultMaterial) defaultMaterial = DefaultMaterial(build, nodeName);
      mtl = defaultMaterial;
    }
    const host::MtlID slot = slotOf(mtl);

    toHost.resize(m.mNumVertices);
    for (unsigned v = 0; v < m.mNumVertices; ++v) {
      const auto [it, added] = welded.try_emplace(KeyOf(m.mVertices[v]), static_cast<uint32_t>(mesh.verts.size()));
      if (added) mesh.verts.emplace_back(m.mVertices[v].x, m.mVertices[v].y, m.mVertices[v].z);
      toHost[v] = it->second;
      if (anyUV) {
        const aiVector3D t = m.HasTextureCoords(0) ? m.mTextureCoords[0][v] : aiVector3D(0, 0, 0);
        uvs.emplace_back(t.x, t.y, t.z);
      }
      if (anyColor) {
        const aiColor4D c = m.HasVertexColors(0) ? m.mColors[0][v] : aiColor4D(1, 1, 1, 1);
        colors.emplace_back(c.r, c.g, c.b);
        alphas.emplace_back(c.a, c.a, c.a);
      }
    }
    for (unsigned f = 0; f < m.mNumFaces; ++f) {
      const aiFace& face = m.mFaces[f];
      if (face.mNumIndices != 3) {
        // Points and lines: the host's meshes hold triangles only.
        ++dropped;
        continue;
      }
      host::Face hostFace;
      for (int k = 0; k < 3; ++k) {
        const unsigned v = face.mIndices[k];
        hostFace.v[k] = toHost[v];
        hostCorners.push_back(toHost[v]);
        sourceCorners.push_back(base + v);
        cornerNormals.push_back(m.HasNormals() ? host::Point3(m.mNormals[v].x, m.mNormals[v].y, m.mNormals[v].z)
                                               : host::Point3(0, 0, 0));
      }
      hostFace.setMatID(slot);
      mesh.faces.push_back(hostFace);
    }
    base += m.mNumVertices;
  }

  const std::vector<uint32_t> groups = SmoothingGroupsFromNormals(hostCorners, mesh.verts.size(), cornerNormals);
  for (size_t f = 0; f < mesh.faces.size(); ++f) mesh.faces[f].smGroup = groups[f];
  if (anyUV) FillChannel(mesh, host::MAP_TEXCOORD, std::move(uvs), sourceCorners);
  if (anyColor) {
    FillChannel(mesh, host::MAP_COLOR, std::move(colors), sourceCorners);
    FillChannel(mesh, host::MAP_ALPHA, std::move(alphas), sourceCorners);
  }
  if (dropped != 0) {
    build.notes.push_back("node " + Quote(nodeName) + ": " + std::to_string(dropped) +
                          " points and lines left out; the host's meshes hold triangles only");
  }

  material = slots.size() == 1 ? slots.front() : MultiMaterial(build, slots, nodeName);
  return object;
}

}  // namespace kvl::sources
