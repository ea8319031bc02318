#include "host/mesh.h"

namespace kvl::host {

int Mesh::getNumMapVerts(int channel) const {
  auto it = maps.find(channel);
  return it == maps.end() ? 0 : static_cast<int>(it->second.tv.size());
}

std::vector<TVFace>& MeshMap::Faces() {
  if (!tf_) {
    tf_ = std::make_shared<std::vector<TVFace>>();
  } else if (tf_.use_count() > 1) {
    tf_ = std::make_shared<std::vector<TVFace>>(*tf_);
  }
  return *tf_;
}

const TVFace* Mesh::mapFaces(int channel) const {
  auto it = maps.find(channel);
  return it == maps.end() ? nullptr : it->second.FaceData();
}

UVVert* Mesh::mapVerts(int channel) {
  auto it = maps.find(channel);
  return it == maps.end() ? nullptr : it->second.tv.data();
}

namespace {
Point3 Unit(const Point3& p) {
  const float len = p.Length();
  return len > 0.0f ? p * (1.0f / len) : p;
}
}  // namespace

const Mesh::Normals& Mesh::BuiltNormals() const {
  if (normalsBuilt_) return normals_;
  normalsBuilt_ = true;
  std::vector<Point3>& faceNormals = normals_.faceNormals;
  std::vector<Point3>& vertexNormals = normals_.vertexNormals;
  faceNormals.assign(faces.size(), Point3());
  vertexNormals.assign(verts.size(), Point3());
  for (size_t f = 0; f < faces.size(); ++f) {
    const Face& face = faces[f];
    bool inRange = true;
    for (uint32_t v : face.v) inRange = inRange && v < verts.size();
    if (!inRange) continue;
    const Point3& p0 = verts[face.v[0]];
    faceNormals[f] = Unit(CrossProd(verts[face.v[1]] - p0, verts[face.v[2]] - p0));
    for (uint32_t v : face.v) vertexNormals[v] = vertexNormals[v] + faceNormals[f];
  }
  for (Point3& n : vertexNormals) n = Unit(n);
  return normals_;
}

}  // namespace kvl::host
