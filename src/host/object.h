// The objects that nodes carry, as evaluated at a time: geometry, cameras,
// lights, shapes, helpers. SuperClassID tells them apart.
#pragma once

#include <cstdint>

#include "host/max_types.h"
#include "host/mesh.h"
#include "host/class_id.h"
#include "host/view.h"

namespace kvl::host {

class INode;

inline constexpr SClass_ID GEOMOBJECT_CLASS_ID = 0x10;
inline constexpr SClass_ID CAMERA_CLASS_ID = 0x20;
inline constexpr SClass_ID LIGHT_CLASS_ID = 0x30;
inline constexpr SClass_ID SHAPE_CLASS_ID = 0x40;
inline constexpr SClass_ID HELPER_CLASS_ID = 0x50;

// The ends of time, and the interval of an object that never changes.
inline constexpr TimeValue TIME_NegInfinity = INT32_MIN;
inline constexpr TimeValue TIME_PosInfinity = INT32_MAX;
inline const Interval FOREVER{TIME_NegInfinity, TIME_PosInfinity};

// Selectors of CameraObject::GetClipDist.
inline constexpr int CAM_HITHER_CLIP = 1;
inline constexpr int CAM_YON_CLIP = 2;

class Object {
 public:
  virtual ~Object() = default;
  virtual SClass_ID SuperClassID() = 0;

  // The mesh to render at t, or null if the object has none. When needDelete
  // comes back true the caller owns the mesh and deletes it.
  virtual Mesh* GetRenderMesh(TimeValue /*t*/, INode* /*node*/, View& /*view*/, bool& needDelete) {
    needDelete = false;
    return nullptr;
  }

  // The interval around t over which the object stays as it is at t. A
  // skin, morph targets or keyed vertices make it shorter.
  virtual Interval ObjectValidity(TimeValue /*t*/) { return FOREVER; }

  // The object under whatever deforms it over time (a skin, morph targets):
  // the mesh in its rest pose. An object that nothing deforms is its own.
  virtual Object* FindBaseObject() { return this; }
};

// Whether the object changes anywhere in `range`: its validity at the
// range's start does not reach over the whole range.
inline bool ChangesWithin(Object& object, Interval range) {
  const Interval valid = object.ObjectValidity(range.Start());
  return valid.Start() > range.Start() || valid.End() < range.End();
}

class GeomObject : public Object {
 public:
  SClass_ID SuperClassID() override { return GEOMOBJECT_CLASS_ID; }
};

class CameraObject : public Object {
 public:
  SClass_ID SuperClassID() override { return CAMERA_CLASS_ID; }
  // Field of view in radians.
  virtual float GetFOV(TimeValue t, Interval& valid) = 0;
  // which: CAM_HITHER_CLIP (near) or CAM_YON_CLIP (far).
  virtual float GetClipDist(TimeValue t, int which, Interval& valid) = 0;
};

// What EvalWorldState gives: the object at a time, or none.
class ObjectState {
 public:
  ObjectState() = default;
  explicit ObjectState(Object* object) : obj(object) {}
  Object* obj = nullptr;
};

}  // namespace kvl::host
