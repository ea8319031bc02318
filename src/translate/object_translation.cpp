// The nodes of the two object classes that have a translation of their own:
// geometry objects and cameras.
#include <cmath>

#include "translate/translation.h"
#include "translate/coordinates.h"
#include "translate/node_visit.h"
#include "translate/render_view.h"

namespace kvl {
namespace {

// A camera of the host looks down its -Z axis; the engine's camera is turned
// by a quarter turn about X. The half angle is the one the format has always
// used (a hair short of pi/4), so every camera turns by exactly this much.
void ApplyCameraCorrection(float q[4]) {
  constexpr double kHalfAngle = 0.7853975296020508;
  const float s = static_cast<float>(std::sin(kHalfAngle));
  const float c = static_cast<float>(std::cos(kHalfAngle));
  const float x = q[0], y = q[1], z = q[2], w = q[3];
  q[0] = w * s + x * c;
  q[1] = y * c + z * s;
  q[2] = z * c - y * s;
  q[3] = w * c - x * s;
}

}  // namespace

GeometryNode& MakeGeometryNode(Translation& t, NodeVisit& visit) {
  auto geometry = std::make_unique<GeometryNode>();
  geometry->id = visit.wrapped ? t.AllocateId() : t.IdForHandle(visit.node->GetHandle());
  geometry->name = visit.node->GetName();
  HangUnder(*visit.parent, *geometry);
  // Inside a wrapper the wrapper carries the transform.
  if (visit.wrapped) {
    geometry->transform = PRSTransform::Identity();
  } else {
    LocalTransform(visit.node, 0, geometry->transform, t.table.settings);
  }
  GeometryNode& made = *geometry;
  t.table.Insert(std::move(geometry));
  if (!visit.attributeOwner) visit.attributeOwner = &made;
  return made;
}

void TranslateGeometry(Translation& t, NodeVisit& visit, host::Object& object) {
  // Geometry without a material makes nothing at all.
  host::Mtl* material = visit.node->GetMtl();
  if (!material) return;
  GeometryNode& geometry = MakeGeometryNode(t, visit);

  auto mesh = std::make_unique<MeshNode>();
  mesh->id = t.AllocateId();
  mesh->parentId = geometry.id;
  mesh->name = std::string("mesh_") + visit.node->GetName();
  geometry.objects.push_back(mesh.get());

  const bool useTriangleInfo = visit.properties.GetInt("notib", 0) == 0;
  // With vertex animation the mesh goes out as the host evaluates it, as
  // frames if it deforms over the animation. Without, it goes out in its
  // rest pose, as it is before a skin or morph targets move it: a pose at
  // tick 0 would be one frame of an animation taken for the whole mesh.
  const bool animate =
      t.vertexAnimation && host::ChangesWithin(object, host::Interval(t.animStart, t.animEnd));
  host::Object* shape = t.vertexAnimation ? &object : object.FindBaseObject();
  if (!shape) shape = &object;
  bool needDelete = false;
  host::Mesh* hostMesh = shape->GetRenderMesh(0, visit.node, ExporterRenderView(), needDelete);
  if (!hostMesh) {
    // No mesh: the geometry stays, the mesh node goes again so that nothing
    // points at a record that no table owns. Its id stays used.
    geometry.objects.pop_back();
    return;
  }
  // The key is only used up here, so its line does not become an attribute.
  visit.properties.GetInt("morph", 0);
  ExtractMesh(t, visit.node, *hostMesh, *mesh, useTriangleInfo, animate);
  t.table.Insert(std::move(mesh));
  if (needDelete) delete hostMesh;
}

void TranslateCamera(Translation& t, NodeVisit& visit, host::CameraObject& object) {
  auto camera = std::make_unique<CameraNode>();
  camera->id = visit.wrapped ? t.AllocateId() : t.IdForHandle(visit.node->GetHandle());
  camera->name = visit.node->GetName();
  HangUnder(*visit.parent, *camera);
  if (visit.wrapped) {
    camera->transform = PRSTransform::Identity();
  } else {
    LocalTransform(visit.node, 0, camera->transform, t.table.settings);
  }
  if (!visit.attributeOwner) visit.attributeOwner = camera.get();
  ApplyCameraCorrection(camera->transform.rotation);

  host::Interval valid(0, 0);
  camera->fov = object.GetFOV(0, valid);
  camera->nearClip = object.GetClipDist(0, host::CAM_HITHER_CLIP, valid) * t.table.settings.scale;
  camera->farClip = object.GetClipDist(0, host::CAM_YON_CLIP, valid) * t.table.settings.scale;
  camera->targetId = NODE_ID_NONE;
  t.table.Insert(std::move(camera));
}

}  // namespace kvl
