// The host's triangle mesh: vertices, faces with smoothing groups and
// material indices, and map channels (texture coordinates, colours, alpha).
#pragma once

#include <cstdint>
#include <map>
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
  std::vector<TVFace> tf;
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
  TVFace* mapFaces(int channel);
  UVVert* mapVerts(int channel);
  bool mapSupport(int channel) const { return maps.count(channel) != 0; }
  MeshMap& Map(int channel) { return maps[channel]; }

  // Face normals, and per vertex the normalised sum of its faces' normals.
  void buildNormals();
  const Point3& getFaceNormal(int face) const { return faceNormals[static_cast<size_t>(face)]; }
  const Point3& getNormal(int vertex) const { return vertexNormals[static_cast<size_t>(vertex)]; }

 private:
  std::map<int, MeshMap> maps;
  std::vector<Point3> faceNormals;
  std::vector<Point3> vertexNormals;
};

}  // namespace kvl::host
