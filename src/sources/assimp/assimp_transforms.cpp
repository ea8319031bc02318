#include "sources/assimp/assimp_transforms.h"

#include <assimp/matrix4x4.h>
#include <assimp/quaternion.h>
#include <assimp/vector3.h>

#include "sources/assimp/assimp_build.h"

namespace kvl::sources {

host::TransformKey KeyFromMatrix(host::TimeValue tick, const host::Matrix3& m) {
  aiVector3D scaling, position;
  aiQuaternion rotation;
  ToAiMatrix(m).Decompose(scaling, rotation, position);
  host::TransformKey key;
  key.tick = tick;
  key.position = host::Point3(position.x, position.y, position.z);
  key.rotation = host::Quat(rotation.x, rotation.y, rotation.z, rotation.w).Normalized();
  key.scale = host::Point3(scaling.x, scaling.y, scaling.z);
  return key;
}

}  // namespace kvl::sources
