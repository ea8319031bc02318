#include "sources/assimp_objects.h"

#include <cmath>

#include "host/memory_objects.h"

namespace kvl::sources {
namespace {

NodeOrigin* OriginOf(std::vector<std::pair<host::MemoryNode*, NodeOrigin>>& origins, host::MemoryNode* node) {
  for (auto& [n, origin] : origins) {
    if (n == node) return &origin;
  }
  return nullptr;
}

// The camera's own frame in its node: the host's camera looks down -Z with
// +Y up, at the camera's position.
host::Matrix3 CameraFrame(const aiCamera& camera) {
  aiVector3D look = camera.mLookAt;
  aiVector3D up = camera.mUp;
  if (look.Length() == 0.0f) look = aiVector3D(0, 0, -1);
  if (up.Length() == 0.0f) up = aiVector3D(0, 1, 0);
  const aiVector3D z = (-look).Normalize();
  aiVector3D x = up ^ z;
  if (x.Length() == 0.0f) x = aiVector3D(0, 1, 0) ^ z;  // up along the view: any side will do
  if (x.Length() == 0.0f) x = aiVector3D(1, 0, 0);
  x.Normalize();
  const aiVector3D y = z ^ x;
  host::Matrix3 frame(host::Point3(x.x, x.y, x.z), host::Point3(y.x, y.y, y.z), host::Point3(z.x, z.y, z.z),
                      host::Point3(camera.mPosition.x, camera.mPosition.y, camera.mPosition.z));
  frame.ValidateFlags();
  return frame;
}

bool IsDefaultFrame(const aiCamera& camera) {
  return camera.mPosition == aiVector3D(0, 0, 0) && camera.mLookAt == aiVector3D(0, 0, -1) &&
         camera.mUp == aiVector3D(0, 1, 0);
}

}  // namespace

float FullHorizontalFov(const std::string& format, float assimpValue, float aspect) {
  // Checked against cameras of known angle. The glTF importer multiplies
  // the vertical angle by the aspect ratio, which is not the horizontal
  // angle: that is undone and done right.
  if ((format == "gltf" || format == "glb") && aspect > 0.0f) {
    const double vertical = assimpValue / aspect;
    return static_cast<float>(2.0 * std::atan(aspect * std::tan(vertical / 2.0)));
  }
  // These importers store the full angle, whatever Assimp's documentation
  // says.
  if (format == "dae" || format == "fbx" || format == "ase" ||
      format == "ask") {
    return assimpValue;
  }
  return 2.0f * assimpValue;
}

void BuildCamerasAndLights(AssimpBuild& build, std::vector<std::pair<host::MemoryNode*, NodeOrigin>>& origins) {
  for (unsigned i = 0; i < build.ai.mNumCameras; ++i) {
    const aiCamera& camera = *build.ai.mCameras[i];
    const std::string name = Text(camera.mName);
    auto [first, last] = build.nodesByName.equal_range(name);
    if (first == last) {
      build.notes.push_back("camera " + Quote(name) + ": no node of that name; the camera is left out");
      continue;
    }
    for (auto it = first; it != last; ++it) {
      host::MemoryNode* node = it->second;
      if (node->object && node->object->SuperClassID() != host::HELPER_CLASS_ID) continue;
      auto object = std::make_unique<host::MemoryCameraObject>();
      object->fov = FullHorizontalFov(build.format, camera.mHorizontalFOV, camera.mAspect);
      object->nearDist = camera.mClipPlaneNear;
      object->farDist = camera.mClipPlaneFar;
      node->object = std::move(object);
      aiCamera own = camera;
      // Assimp 5.2's glTF importer copies the node's translation into the
      // camera as well: the node already places it.
      if (build.format == "gltf" || build.format == "glb") own.mPosition = aiVector3D(0, 0, 0);
      if (!IsDefaultFrame(own)) {
        NodeOrigin* origin = OriginOf(origins, node);
        const host::Matrix3 frame = CameraFrame(own);
        origin->before = frame * origin->before;
        // Children stay where they were: they are placed under the frame's
        // inverse.
        if (!node->children.empty()) {
          const host::Matrix3 undo = Inverse(frame);
          for (auto& child : node->children) {
            NodeOrigin* childOrigin = OriginOf(origins, child.get());
            childOrigin->after = childOrigin->after * undo;
          }
        }
      }
    }
  }
  for (unsigned i = 0; i < build.ai.mNumLights; ++i) {
    const std::string name = Text(build.ai.mLights[i]->mName);
    auto [first, last] = build.nodesByName.equal_range(name);
    if (first == last) build.notes.push_back("light " + Quote(name) + ": no node of that name; it is left out");
    for (auto it = first; it != last; ++it) {
      host::MemoryNode* node = it->second;
      if (node->object && node->object->SuperClassID() != host::HELPER_CLASS_ID) continue;
      node->object = std::make_unique<host::MemoryPlainObject>(host::LIGHT_CLASS_ID);
    }
  }
}

}  // namespace kvl::sources
