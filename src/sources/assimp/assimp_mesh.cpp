#include "sources/assimp/assimp_mesh.h"

#include <cstring>
#include <memory>

#include "host/memory_materials.h"
#include "platform/side_task.h"
#include "sources/assimp/assimp_deformers.h"
#include "sources/assimp/assimp_smoothing.h"

namespace kvl::sources {
namespace {

// Files without normals are smoothed up to this angle, so that their
// smoothing groups follow the shape.
constexpr float kSmoothingAngle = 80.0f * 3.14159265f / 180.0f;

// Welds positions by their exact bits (-0 taken as 0): an open-addressing
// table of indices into the host's vertex list, so that a million vertices
// cost no allocation each. Vertices that a skin or morph targets move apart
// are told apart by their weld class (see NodeDeformers) and never welded.
class PositionWelder {
 public:
  PositionWelder(std::vector<host::Point3>& verts, size_t expected, bool withClasses)
      : verts_(verts), withClasses_(withClasses) {
    size_t size = 16;
    while (size < 2 * expected) size *= 2;
    slots_.assign(size, kEmpty);
    if (withClasses) classes_.reserve(expected);
  }

  uint32_t Weld(const aiVector3D& p, uint32_t weldClass) {
    const host::Point3 q(p.x == 0.0f ? 0.0f : p.x, p.y == 0.0f ? 0.0f : p.y, p.z == 0.0f ? 0.0f : p.z);
    if (2 * (verts_.size() + 1) > slots_.size()) Grow();
    for (size_t i = Hash(q) & (slots_.size() - 1);; i = (i + 1) & (slots_.size() - 1)) {
      if (slots_[i] == kEmpty) {
        slots_[i] = static_cast<uint32_t>(verts_.size());
        verts_.push_back(q);
        if (withClasses_) classes_.push_back(weldClass);
        return slots_[i];
      }
      if (Same(verts_[slots_[i]], q) && (!withClasses_ || classes_[slots_[i]] == weldClass)) return slots_[i];
    }
  }

 private:
  static constexpr uint32_t kEmpty = 0xFFFFFFFFu;

  static bool Same(const host::Point3& a, const host::Point3& b) {
    return std::memcmp(&a, &b, sizeof(host::Point3)) == 0;
  }
  // Positions of whole numbers have no low mantissa bits at all, so every
  // bit is mixed into the ones the table uses.
  static uint64_t Mix(uint64_t x) {
    x += 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    return x ^ (x >> 31);
  }
  static size_t Hash(const host::Point3& p) {
    uint32_t bits[3];
    std::memcpy(bits, &p, sizeof bits);
    return static_cast<size_t>(Mix(Mix((uint64_t{bits[0]} << 32) | bits[1]) ^ bits[2]));
  }
  void Grow() {
    std::vector<uint32_t> old(2 * slots_.size(), kEmpty);
    old.swap(slots_);
    for (uint32_t index : old) {
      if (index == kEmpty) continue;
      size_t i = Hash(verts_[index]) & (slots_.size() - 1);
      while (slots_[i] != kEmpty) i = (i + 1) & (slots_.size() - 1);
      slots_[i] = index;
    }
  }

  std::vector<host::Point3>& verts_;
  std::vector<uint32_t> slots_;
  std::vector<uint32_t> classes_;  // per host vertex, when withClasses_
  bool withClasses_ = false;
};

// The host's material for meshes whose file has none: grey, after the node.
host::Mtl* DefaultMaterial(AssimpBuild& build, const std::string& nodeName) {
  auto material = std::make_unique<host::MemoryStdMtl>();
  material->name = nodeName;
  host::Mtl* made = material.get();
  build.scene.materials.push_back(std::move(material));
  build.LeaveBehind("nodes whose mesh the file gives no material get the default grey one", nodeName);
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

// One map channel: the values of every source vertex, in the order of the
// meshes, and per face its corners' indices into them (shared by all the
// channels, as all index the same source vertices).
void FillChannel(host::Mesh& mesh, int channel, std::vector<host::UVVert> values,
                 const std::shared_ptr<std::vector<host::TVFace>>& sourceFaces) {
  host::MeshMap& map = mesh.Map(channel);
  map.tv = std::move(values);
  map.ShareFaces(sourceFaces);
}

}  // namespace

namespace {

// Whether any mesh of the node has a face the host keeps. The readers mark
// the kinds of faces a mesh holds; only meshes not marked as holding
// triangles are looked at face by face.
bool HasTriangles(const AssimpBuild& build, const aiNode& node) {
  for (unsigned i = 0; i < node.mNumMeshes; ++i) {
    const aiMesh& m = *build.ai.mMeshes[node.mMeshes[i]];
    if (m.mNumFaces != 0 && (m.mPrimitiveTypes & aiPrimitiveType_TRIANGLE)) return true;
    for (unsigned f = 0; f < m.mNumFaces; ++f) {
      if (m.mFaces[f].mNumIndices == 3) return true;
    }
  }
  return false;
}

// Below this, starting a thread costs more than it saves.
constexpr size_t kVerticesWorthAThread = 1 << 15;

// The first texture coordinates and colours of every source vertex, in the
// order of the node's meshes; a mesh without them gives (0, 0, 0) and
// opaque white. Alpha is a channel of its own in the host's meshes.
void ReadChannels(const AssimpBuild& build, const aiNode& node, size_t sourceCount, bool anyUV, bool anyColor,
                  std::vector<host::UVVert>& uvs, std::vector<host::UVVert>& colors,
                  std::vector<host::UVVert>& alphas) {
  if (anyUV) uvs.reserve(sourceCount);
  if (anyColor) colors.reserve(sourceCount), alphas.reserve(sourceCount);
  for (unsigned i = 0; i < node.mNumMeshes; ++i) {
    const aiMesh& m = *build.ai.mMeshes[node.mMeshes[i]];
    for (unsigned v = 0; v < m.mNumVertices; ++v) {
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
  }
}

// Per triangle the host keeps, its corners' source vertices: for the map
// channels, and for the normals of a node some of whose meshes have none.
std::vector<host::TVFace> SourceFaces(const AssimpBuild& build, const aiNode& node, size_t faceCount) {
  std::vector<host::TVFace> sourceFaces;
  sourceFaces.reserve(faceCount);
  uint32_t base = 0;
  for (unsigned i = 0; i < node.mNumMeshes; ++i) {
    const aiMesh& m = *build.ai.mMeshes[node.mMeshes[i]];
    for (unsigned f = 0; f < m.mNumFaces; ++f) {
      const aiFace& face = m.mFaces[f];
      if (face.mNumIndices != 3) continue;
      host::TVFace& corners = sourceFaces.emplace_back();
      for (int k = 0; k < 3; ++k) corners.t[k] = base + face.mIndices[k];
    }
    base += m.mNumVertices;
  }
  return sourceFaces;
}

}  // namespace

std::unique_ptr<host::MemoryMeshObject> BuildNodeMesh(AssimpBuild& build, const aiNode& node,
                                                      const std::string& nodeName, host::Mtl*& material) {
  if (!HasTriangles(build, node)) {
    // Nothing of it would be drawn; the node stays for its place in the tree.
    build.LeaveBehind("meshes without a triangle are left out (their nodes stay, as helpers)", nodeName);
    return nullptr;
  }
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

  size_t sourceCount = 0, faceCount = 0;
  bool anyUV = false, anyColor = false, allNormals = true;
  for (unsigned i = 0; i < node.mNumMeshes; ++i) {
    const aiMesh& m = *build.ai.mMeshes[node.mMeshes[i]];
    sourceCount += m.mNumVertices;
    faceCount += m.mNumFaces;
    anyUV = anyUV || m.HasTextureCoords(0);
    anyColor = anyColor || m.HasVertexColors(0);
    allNormals = allNormals && m.HasNormals();
  }

  // Memory is written once and kept small: fresh pages cost more than the
  // work done on them. Per source vertex: its host vertex, its file normal
  // (unit), and the first face that uses it.
  NodeDeformers deformers = ReadNodeDeformers(build, node, nodeName, sourceCount);
  const std::vector<uint32_t>& weldClass = deformers.weldClass;
  mesh.verts.reserve(sourceCount);
  PositionWelder welder(mesh.verts, sourceCount, !weldClass.empty());
  std::vector<uint32_t> hostOf(sourceCount);
  std::vector<host::Point3> normals(sourceCount);
  std::vector<uint8_t> usable(sourceCount, 0);
  std::vector<uint32_t> firstFace(allNormals ? sourceCount : 0, kNoFace);
  // The map channels and the faces' source vertices are copies of the
  // file's arrays that nothing below needs until the end: a big mesh has
  // them made on the second core while this one welds and smooths.
  std::vector<host::UVVert> uvs, colors, alphas;
  const bool keepSourceFaces = anyUV || anyColor || !allNormals;
  std::vector<host::TVFace> sourceFaces;
  SideTask channels(sourceCount >= kVerticesWorthAThread, [&] {
    ReadChannels(build, node, sourceCount, anyUV, anyColor, uvs, colors, alphas);
    if (keepSourceFaces) sourceFaces = SourceFaces(build, node, faceCount);
  });
  mesh.faces.reserve(faceCount);
  SmoothPatches patches(allNormals ? faceCount : 0);
  size_t dropped = 0;

  uint32_t base = 0;
  for (unsigned i = 0; i < node.mNumMeshes; ++i) {
    const aiMesh& m = *build.ai.mMeshes[node.mMeshes[i]];
    host::Mtl* mtl = build.materials[m.mMaterialIndex];
    if (!mtl) {
      if (!defaultMaterial) defaultMaterial = DefaultMaterial(build, nodeName);
      mtl = defaultMaterial;
    }
    const host::MtlID slot = slotOf(mtl);
    // The host's meshes carry one set of texture coordinates and one of
    // colours; a format may bring more.
    if (m.GetNumUVChannels() > 1) {
      build.LeaveBehind("texture coordinate sets after the first are left out (the host's meshes hold one)",
                        nodeName);
    }
    if (m.GetNumColorChannels() > 1) {
      build.LeaveBehind("colour sets after the first are left out (the host's meshes hold one)", nodeName);
    }

    for (unsigned v = 0; v < m.mNumVertices; ++v) {
      hostOf[base + v] = welder.Weld(m.mVertices[v], weldClass.empty() ? 0 : weldClass[base + v]);
      if (m.HasNormals()) {
        normals[base + v] = host::Point3(m.mNormals[v].x, m.mNormals[v].y, m.mNormals[v].z);
        usable[base + v] = MakeUnit(normals[base + v]);
      }
    }
    for (unsigned f = 0; f < m.mNumFaces; ++f) {
      const aiFace& face = m.mFaces[f];
      if (face.mNumIndices != 3) {
        // Points and lines: the host's meshes hold triangles only.
        ++dropped;
        continue;
      }
      const uint32_t faceIndex = static_cast<uint32_t>(mesh.faces.size());
      host::Face hostFace;
      for (int k = 0; k < 3; ++k) {
        const uint32_t source = base + face.mIndices[k];
        hostFace.v[k] = hostOf[source];
        // Faces that share a file vertex share its normal there.
        if (allNormals && usable[source]) {
          if (firstFace[source] == kNoFace) {
            firstFace[source] = faceIndex;
          } else {
            patches.Join(faceIndex, firstFace[source]);
          }
        }
      }
      hostFace.setMatID(slot);
      mesh.faces.push_back(hostFace);
    }
    base += m.mNumVertices;
  }
  channels.Wait();

  if (allNormals) {
    JoinSameNormalsAtVertices(patches, normals, usable, hostOf, firstFace, mesh.verts.size());
    AssignSmoothingWords(patches, mesh.faces, mesh.verts.size());
  } else {
    // Some faces have no normals from the file: each corner then gets its
    // own, the file's or a made one.
    std::vector<host::Point3> perCorner =
        CornerNormalsByAngle(mesh.faces, mesh.verts.size(), mesh.verts, kSmoothingAngle);
    for (size_t c = 0; c < perCorner.size(); ++c) {
      const uint32_t source = sourceFaces[c / 3].t[c % 3];
      if (usable[source]) perCorner[c] = normals[source];
    }
    SmoothingGroupsFromCornerNormals(mesh.faces, mesh.verts.size(), std::move(perCorner));
  }
  if (anyUV || anyColor) {
    const auto shared = std::make_shared<std::vector<host::TVFace>>(std::move(sourceFaces));
    if (anyUV) FillChannel(mesh, host::MAP_TEXCOORD, std::move(uvs), shared);
    if (anyColor) {
      FillChannel(mesh, host::MAP_COLOR, std::move(colors), shared);
      FillChannel(mesh, host::MAP_ALPHA, std::move(alphas), shared);
    }
  }
  if (dropped != 0) {
    build.LeaveBehind("points and lines are left out (the host's meshes hold triangles only)", nodeName);
  }

  if (!weldClass.empty()) AttachDeformers(build, std::move(deformers), hostOf, *object);

  material = slots.size() == 1 ? slots.front() : MultiMaterial(build, slots, nodeName);
  return object;
}

}  // namespace kvl::sources
