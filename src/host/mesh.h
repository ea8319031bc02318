// The host's triangle mesh: vertices, faces with smoothing groups and
// material indices, and map channels (texture coordinates, colours, alpha).
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "host/point3.h"

namespace kvl::host {

using MtlID = uint16_t;

// Map channel numbers of the host.
inline constexpr int MAP_ALPHA = -2;
inline constexpr int MAP_SHADING = -1;
inline constexpr int MAP_COLOR = 0;
inline constexpr int MAP_TEXCOORD = 1;

class Face {
 public:
  uint32_t v[3] = {0, 0, 0};
  uint32_t smGroup = 0;

  MtlID getMatID() const { return matID; }
  void setMatID(MtlID id) { matID = id; }

 private:
  MtlID matID = 0;
};

// The three indices of a face's corners in one map channel.
class TVFace {
 public:
  uint32_t t[3] = {0, 0, 0};
};

class MeshMap {
 public:
  std::vector<UVVert> tv;

  // Per face, its corners' indices into tv. Channels made from the same
  // per-vertex data (a file's colours and their alpha, often its texture
  // coordinates too) hold one list between them: it is 12 bytes a face.
  // Faces() gives this channel a list of its own to fill, copying a shared
  // one first; ShareFaces makes it use `faces`, as other channels may.
  std::vector<TVFace>& Faces();
  void ShareFaces(std::shared_ptr<std::vector<TVFace>> faces) { tf_ = std::move(faces); }
  const TVFace* FaceData() const { return tf_ ? tf_->data() : nullptr; }

 private:
  std::shared_ptr<std::vector<TVFace>> tf_;
};

class Mesh {
 public:
  std::vector<Point3> verts;
  std::vector<Face> faces;

  int getNumVerts() const { return static_cast<int>(verts.size()); }
  int getNumFaces() const { return static_cast<int>(faces.size()); }
  Point3& getVert(int i) { return verts[static_cast<size_t>(i)]; }
  const Point3& getVert(int i) const { return verts[static_cast<size_t>(i)]; }
  MtlID getFaceMtlIndex(int face) const { return faces[static_cast<size_t>(face)].getMatID(); }

  // 0 for a channel that the mesh does not have.
  int getNumMapVerts(int channel) const;
  // Null for a channel that the mesh does not have.
  // Read only: channels may share their faces (MeshMap::ShareFaces).
  const TVFace* mapFaces(int channel) const;
  UVVert* mapVerts(int channel);
  bool mapSupport(int channel) const { return maps.count(channel) != 0; }
  MeshMap& Map(int channel) { return maps[channel]; }

  // Face normals, and per vertex the normalised sum of its faces' normals.
  // Worked out when first asked for after buildNormals, from the mesh as it
  // is then: an exporter that calls buildNormals as a matter of course but
  // reads no normal pays nothing for them (a million faces would cost 18 MB).
  void buildNormals() { normalsBuilt_ = false; }
  const Point3& getFaceNormal(int face) const { return BuiltNormals().faceNormals[static_cast<size_t>(face)]; }
  const Point3& getNormal(int vertex) const { return BuiltNormals().vertexNormals[static_cast<size_t>(vertex)]; }

 private:
  struct Normals {
    std::vector<Point3> faceNormals;
    std::vector<Point3> vertexNormals;
  };
  const Normals& BuiltNormals() const;

  std::map<int, MeshMap> maps;
  mutable bool normalsBuilt_ = false;
  mutable Normals normals_;
};

}  // namespace kvl::host
