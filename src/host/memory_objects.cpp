#include "host/memory_objects.h"

#include "host/memory_node.h"

namespace kvl::host {
namespace {

const MeshFrame* FrameAt(const std::vector<MeshFrame>& frames, TimeValue t) {
  const MeshFrame* current = nullptr;
  for (const MeshFrame& frame : frames) {
    if (frame.tick > t) break;
    current = &frame;
  }
  return current;
}

}  // namespace

Mesh* MemoryRestPose::GetRenderMesh(TimeValue t, INode*, View&, bool& needDelete) {
  return owner_.FramedMesh(t, needDelete);
}

Interval MemoryRestPose::ObjectValidity(TimeValue t) { return owner_.FramesValidity(t); }

Mesh* MemoryMeshObject::FramedMesh(TimeValue t, bool& needDelete) {
  needDelete = false;
  if (!renderMesh) return nullptr;
  const MeshFrame* current = FrameAt(frames, t);
  if (!current || current->vertices.size() != mesh.verts.size()) return &mesh;
  // A deformed copy, handed to the caller.
  auto* deformed = new Mesh(mesh);
  deformed->verts = current->vertices;
  needDelete = true;
  return deformed;
}

Interval MemoryMeshObject::FramesValidity(TimeValue t) const {
  // Each frame holds from its tick to the next frame's.
  TimeValue from = TIME_NegInfinity, to = TIME_PosInfinity;
  for (const MeshFrame& frame : frames) {
    if (frame.tick > t) {
      to = frame.tick - 1;
      break;
    }
    from = frame.tick;
  }
  return Interval(from, to);
}

Mesh* MemoryMeshObject::GetRenderMesh(TimeValue t, INode* node, View&, bool& needDelete) {
  if (handOver && renderMesh && frames.empty() && !Deformed()) {
    handOver = false;
    renderMesh = false;
    needDelete = true;
    return new Mesh(std::move(mesh));
  }
  Mesh* framed = FramedMesh(t, needDelete);
  if (!framed || !Deformed()) return framed;
  Mesh* deformed = needDelete ? framed : new Mesh(*framed);
  needDelete = true;
  ApplyMorphTargets(morphTargets, t, deformed->verts);
  if (!skin.Empty()) {
    const SkinBinding& binding = Binding();
    // The node that asks is the mesh's node; without one, the node that
    // carries the mesh in the scene.
    INode* meshNode = node ? node : binding.meshNode;
    if (meshNode) ApplySkin(skin, binding, *meshNode, t, deformed->verts);
  }
  return deformed;
}

Interval MemoryMeshObject::ObjectValidity(TimeValue t) {
  Interval valid = FramesValidity(t);
  if (!morphTargets.empty()) valid = Intersect(valid, MorphValidity(morphTargets, t));
  if (!skin.Empty()) valid = Intersect(valid, SkinValidity(Binding(), t));
  return valid;
}

Object* MemoryMeshObject::FindBaseObject() { return Deformed() ? static_cast<Object*>(&restPose_) : this; }

const SkinBinding& MemoryMeshObject::Binding() {
  if (!bound_) {
    binding_ = BindSkin(skin, this);
    bound_ = true;
  }
  return binding_;
}

float MemoryCameraObject::GetClipDist(TimeValue, int which, Interval&) {
  if (which == CAM_HITHER_CLIP) return nearDist;
  if (which == CAM_YON_CLIP) return farDist;
  return 0.0f;
}

}  // namespace kvl::host
