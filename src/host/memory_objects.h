// The objects of the in-memory scene: a mesh with optional deformation
// (keyed vertex positions, a skin, morph targets), a camera, and objects
// that only have a super class.
#pragma once

#include <vector>

#include "host/memory_deformers.h"
#include "host/object.h"

namespace kvl::host {

// The mesh's vertex positions from a tick on.
struct MeshFrame {
  TimeValue tick = 0;
  std::vector<Point3> vertices;
};

class MemoryMeshObject;

// A mesh under its skin and morph targets: what FindBaseObject gives, the
// rest pose. Keyed vertex positions are the mesh's own and stay.
class MemoryRestPose : public GeomObject {
 public:
  explicit MemoryRestPose(MemoryMeshObject& owner) : owner_(owner) {}
  Mesh* GetRenderMesh(TimeValue t, INode* node, View& view, bool& needDelete) override;
  Interval ObjectValidity(TimeValue t) override;

 private:
  MemoryMeshObject& owner_;
};

class MemoryMeshObject : public GeomObject {
 public:
  MemoryMeshObject() = default;
  // The rest pose refers back to its mesh object, which therefore stays
  // where it was made.
  MemoryMeshObject(const MemoryMeshObject&) = delete;
  MemoryMeshObject& operator=(const MemoryMeshObject&) = delete;

  // The positions of the last frame at or before t (the base mesh before the
  // first frame), then moved by the morph targets and the skin at t; faces
  // and channels never change. No mesh at all when renderMesh is false.
  Mesh* GetRenderMesh(TimeValue t, INode* node, View& view, bool& needDelete) override;
  Interval ObjectValidity(TimeValue t) override;
  // Itself when nothing but frames deforms it, else its rest pose.
  Object* FindBaseObject() override;

  // The mesh at t from its frames alone.
  Mesh* FramedMesh(TimeValue t, bool& needDelete);
  Interval FramesValidity(TimeValue t) const;

  Mesh mesh;
  std::vector<MeshFrame> frames;  // ascending ticks, each with mesh.verts.size() vertices
  MeshSkin skin;
  std::vector<MorphTarget> morphTargets;
  bool renderMesh = true;
  // Set by a host that loaded the scene for one export (HandOverMeshes): the
  // first request for a mesh that nothing animates gets the mesh itself, to
  // delete, and the object has no mesh from then on. Its memory goes as soon
  // as the exporter has translated it instead of lasting to the end.
  bool handOver = false;

 private:
  bool Deformed() const { return !skin.Empty() || !morphTargets.empty(); }
  // The skin's nodes, looked up once, on first use.
  const SkinBinding& Binding();

  MemoryRestPose restPose_{*this};
  SkinBinding binding_;
  bool bound_ = false;
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
