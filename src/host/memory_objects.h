// The objects of the in-memory scene: a mesh with optional deformation
// frames, a camera, and objects that only have a super class.
#pragma once

#include <vector>

#include "host/object.h"

namespace kvl::host {

// The mesh's vertex positions from a tick on.
struct MeshFrame {
  TimeValue tick = 0;
  std::vector<Point3> vertices;
};

class MemoryMeshObject : public GeomObject {
 public:
  // The positions of the last frame at or before t (the base mesh before the
  // first frame); faces and channels never change. No mesh at all when
  // renderMesh is false.
  Mesh* GetRenderMesh(TimeValue t, INode* node, View& view, bool& needDelete) override;

  Mesh mesh;
  std::vector<MeshFrame> frames;  // ascending ticks, each with mesh.verts.size() vertices
  bool renderMesh = true;
};

class MemoryCameraObject : public CameraObject {
 public:
  float GetFOV(TimeValue, Interval&) override { return fov; }
  float GetClipDist(TimeValue t, int which, Interval& valid) override;

  float fov = 0.785398f;
  float nearDist = 1.0f;
  float farDist = 1000.0f;
};

// Lights, shapes, helpers and anything else the exporter does not translate.
class MemoryPlainObject : public Object {
 public:
  explicit MemoryPlainObject(SClass_ID superClass) : superClass_(superClass) {}
  SClass_ID SuperClassID() override { return superClass_; }

 private:
  SClass_ID superClass_;
};

}  // namespace kvl::host
