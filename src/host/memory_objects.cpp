#include "host/memory_objects.h"

namespace kvl::host {

Mesh* MemoryMeshObject::GetRenderMesh(TimeValue t, INode*, View&, bool& needDelete) {
  needDelete = false;
  if (!renderMesh) return nullptr;
  const MeshFrame* current = nullptr;
  for (const MeshFrame& frame : frames) {
    if (frame.tick > t) break;
    current = &frame;
  }
  if (!current || current->vertices.size() != mesh.verts.size()) return &mesh;
  // A deformed copy, handed to the caller.
  auto* deformed = new Mesh(mesh);
  deformed->verts = current->vertices;
  needDelete = true;
  return deformed;
}

float MemoryCameraObject::GetClipDist(TimeValue, int which, Interval&) {
  if (which == CAM_HITHER_CLIP) return nearDist;
  if (which == CAM_YON_CLIP) return farDist;
  return 0.0f;
}

}  // namespace kvl::host
