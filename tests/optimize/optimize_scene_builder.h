// Small tables for the optimiser's passes, built record by record with ids
// chosen by the test, so that each case reads like the scene it sets up.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

#include "optimize/optimize.h"

namespace kvl::optimize_test {

template <class T>
T& AddNode(NodeTable& table, uint32_t id) {
  auto node = std::make_unique<T>();
  node->id = id;
  T& ref = *node;
  EXPECT_TRUE(table.Insert(std::move(node))) << "id " << id << " taken twice";
  return ref;
}

// A root group (id 0) with a geometry (id 1) under it: meshes added through
// AddMesh are reachable once MarkReachable has run from the root. The ids 0
// and 1 are therefore taken.
struct RootedScene {
  NodeTable table;
  GroupNode& root;
  GeometryNode& geometry;

  RootedScene() : root(AddNode<GroupNode>(table, 0)), geometry(AddNode<GeometryNode>(table, 1)) {
    geometry.parentId = root.id;
    root.children.push_back(&geometry);
  }

  MeshNode& AddMesh(uint32_t id) {
    MeshNode& mesh = AddNode<MeshNode>(table, id);
    mesh.parentId = geometry.id;
    geometry.objects.push_back(&mesh);
    return mesh;
  }

  template <class T>
  T& Add(uint32_t id) {
    return AddNode<T>(table, id);
  }

  FaceListNode& AddFaces(uint32_t id, std::initializer_list<uint32_t> indices) {
    FaceListNode& faces = Add<FaceListNode>(id);
    faces.indices = indices;
    return faces;
  }

  // The passes under test only need the submeshes' material to exist.
  MaterialNode& AddMaterial(uint32_t id) { return Add<MaterialNode>(id); }

  void MarkFromRoot() { MarkReachable(table, root); }
};

inline Submesh MakeSubmesh(uint32_t buffer, uint32_t faces, uint32_t info, uint32_t material,
                           uint32_t diffuseTexture = NODE_ID_NONE, uint32_t envTexture = NODE_ID_NONE,
                           uint32_t vertexCount = 3) {
  Submesh s;
  s.vertexBufferId = buffer;
  s.faceListId = faces;
  s.triangleInfoBufferId = info;
  s.materialId = material;
  s.diffuseTextureId = diffuseTexture;
  s.envTextureId = envTexture;
  s.vertexCount = vertexCount;
  return s;
}

// A vertex as mesh extraction builds it: the buffer's flags copied in.
inline Vertex MakeVertex(uint32_t flags, uint32_t sourceVertex, float x, float y, float z) {
  Vertex v;
  v.flags = flags;
  v.sourceVertex = sourceVertex;
  v.position[0] = x;
  v.position[1] = y;
  v.position[2] = z;
  v.smoothingGroup = 1;
  return v;
}

inline Vertex WithNormal(Vertex v, float x, float y, float z) {
  v.normal[0] = x;
  v.normal[1] = y;
  v.normal[2] = z;
  return v;
}

inline Vertex WithUV(Vertex v, float u, float vCoord) {
  v.u = u;
  v.v = vCoord;
  return v;
}

// A buffer with `listCount` lists that all carry the buffer's flags.
inline VertexBufferNode& AddBuffer(RootedScene& scene, uint32_t id, uint32_t flags, size_t listCount = 1) {
  VertexBufferNode& buffer = scene.Add<VertexBufferNode>(id);
  buffer.flags = flags;
  buffer.lists.resize(listCount);
  for (VertexList& list : buffer.lists) list.flags = flags;
  return buffer;
}

inline std::vector<uint32_t> SourcesOf(const VertexList& list) {
  std::vector<uint32_t> sources;
  for (const Vertex& v : list.vertices) sources.push_back(v.sourceVertex);
  return sources;
}

}  // namespace kvl::optimize_test
