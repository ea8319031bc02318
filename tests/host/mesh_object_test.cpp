// The mesh object: channel lookups, deformation frames by tick, and no mesh
// when rendering is off.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "host/memory_objects.h"

namespace kvl::host {
namespace {

// A unit square in the xy plane as two faces, with texture coordinates.
std::unique_ptr<MemoryMeshObject> Square() {
  auto object = std::make_unique<MemoryMeshObject>();
  Mesh& mesh = object->mesh;
  mesh.verts = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  mesh.faces.resize(2);
  mesh.faces[0].v[0] = 0, mesh.faces[0].v[1] = 1, mesh.faces[0].v[2] = 2;
  mesh.faces[0].smGroup = 1;
  mesh.faces[1].v[0] = 0, mesh.faces[1].v[1] = 2, mesh.faces[1].v[2] = 3;
  mesh.faces[1].smGroup = 6;
  mesh.faces[1].setMatID(3);
  MeshMap& uv = mesh.Map(MAP_TEXCOORD);
  uv.tv = {{0, 0, 0}, {1, 0, 0}, {0.5f, 1, 0}};
  uv.tf.resize(2);
  uv.tf[0].t[0] = 0, uv.tf[0].t[1] = 1, uv.tf[0].t[2] = 2;
  uv.tf[1].t[0] = 2, uv.tf[1].t[1] = 1, uv.tf[1].t[2] = 0;
  object->frames = {MeshFrame{100, {{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}},
                    MeshFrame{200, {{0, 0, 2}, {2, 0, 2}, {2, 2, 2}, {0, 2, 2}}}};
  return object;
}

TEST(MeshObject, FacesAndChannels) {
  auto object = Square();
  NullRenderView view;
  bool needDelete = true;
  Mesh* mesh = object->GetRenderMesh(0, nullptr, view, needDelete);
  ASSERT_NE(mesh, nullptr);
  EXPECT_FALSE(needDelete);
  EXPECT_EQ(object->SuperClassID(), GEOMOBJECT_CLASS_ID);
  EXPECT_EQ(mesh->getNumVerts(), 4);
  EXPECT_EQ(mesh->getNumFaces(), 2);
  EXPECT_EQ(mesh->faces[1].v[2], 3u);
  EXPECT_EQ(mesh->faces[1].smGroup, 6u);
  EXPECT_EQ(mesh->getFaceMtlIndex(0), 0);
  EXPECT_EQ(mesh->getFaceMtlIndex(1), 3);
  EXPECT_EQ(mesh->getNumMapVerts(MAP_TEXCOORD), 3);
  EXPECT_EQ(mesh->getNumMapVerts(MAP_COLOR), 0);
  EXPECT_EQ(mesh->getNumMapVerts(MAP_ALPHA), 0);
  EXPECT_EQ(mesh->mapFaces(MAP_COLOR), nullptr);
  EXPECT_EQ(mesh->mapVerts(MAP_COLOR), nullptr);
  // Corner 0 of face 1 in the texture channel is map vertex 2.
  const TVFace* tf = mesh->mapFaces(MAP_TEXCOORD);
  ASSERT_NE(tf, nullptr);
  EXPECT_EQ(tf[1].t[0], 2u);
  EXPECT_EQ(mesh->mapVerts(MAP_TEXCOORD)[tf[1].t[0]], Point3(0.5f, 1, 0));
}

TEST(MeshObject, FramesByTick) {
  auto object = Square();
  NullRenderView view;
  const struct {
    TimeValue t;
    float z;       // of every vertex
    float right;   // x of vertex 1
    bool deformed;
  } cases[] = {{-100, 0, 1, false}, {99, 0, 1, false}, {100, 1, 1, true}, {199, 1, 1, true},
               {200, 2, 2, true},   {5000, 2, 2, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.t);
    bool needDelete = !c.deformed;
    Mesh* mesh = object->GetRenderMesh(c.t, nullptr, view, needDelete);
    ASSERT_NE(mesh, nullptr);
    EXPECT_EQ(needDelete, c.deformed);
    EXPECT_EQ(mesh == &object->mesh, !c.deformed);
    for (int v = 0; v < mesh->getNumVerts(); ++v) EXPECT_EQ(mesh->getVert(v).z, c.z);
    EXPECT_EQ(mesh->getVert(1).x, c.right);
    // Faces and channels never change with the frame.
    EXPECT_EQ(mesh->getNumFaces(), 2);
    EXPECT_EQ(mesh->getFaceMtlIndex(1), 3);
    EXPECT_EQ(mesh->getNumMapVerts(MAP_TEXCOORD), 3);
    if (needDelete) delete mesh;
  }
  // The base mesh is untouched by handing out frames.
  EXPECT_EQ(object->mesh.verts[2], Point3(1, 1, 0));
}

TEST(MeshObject, NoMeshWhenRenderingIsOff) {
  auto object = Square();
  object->renderMesh = false;
  NullRenderView view;
  for (TimeValue t : {0, 150, 300}) {
    bool needDelete = true;
    EXPECT_EQ(object->GetRenderMesh(t, nullptr, view, needDelete), nullptr);
    EXPECT_FALSE(needDelete);
  }
}

TEST(MeshObject, BuildNormals) {
  auto object = Square();
  Mesh& mesh = object->mesh;
  mesh.verts[3] = {0, 1, 1};  // lift one corner: face 1 tilts
  mesh.buildNormals();
  EXPECT_EQ(mesh.getFaceNormal(0), Point3(0, 0, 1));
  // Face 1: (1,1,0) x (0,1,1) = (1, -1, 1), unit length.
  const float k = 1.0f / std::sqrt(3.0f);
  EXPECT_NEAR(mesh.getFaceNormal(1).x, k, 1e-6f);
  EXPECT_NEAR(mesh.getFaceNormal(1).y, -k, 1e-6f);
  EXPECT_NEAR(mesh.getFaceNormal(1).z, k, 1e-6f);
  // Vertex 1 only touches face 0; vertex 3 only face 1.
  EXPECT_EQ(mesh.getNormal(1), Point3(0, 0, 1));
  EXPECT_NEAR(mesh.getNormal(3).y, -k, 1e-6f);
  // Vertex 0 touches both: the normalised sum (k, -k, 1 + k).
  const float len = std::sqrt(2 * k * k + (1 + k) * (1 + k));
  EXPECT_NEAR(mesh.getNormal(0).x, k / len, 1e-6f);
  EXPECT_NEAR(mesh.getNormal(0).z, (1 + k) / len, 1e-6f);
}

}  // namespace
}  // namespace kvl::host
