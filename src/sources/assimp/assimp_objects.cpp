#include "sources/assimp/assimp_objects.h"

#include <cmath>

#include <assimp/matrix3x3.h>

#include "host/memory_objects.h"

namespace kvl::sources {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr float kDefaultFov = 0.785398f;  // 45 degrees, the host's new camera

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

// 3DS keeps a camera's position and target in the file's own axes, Z up,
// and its roll about the line of sight. Assimp turns the roll into an up
// vector from +Y, which is not up in such a file: the same roll is taken
// back out of Assimp's vector and applied to +Z.
aiVector3D ThreeDsUp(const aiCamera& camera) {
  const aiVector3D look = aiVector3D(camera.mLookAt).Normalize();
  const aiVector3D plusY(0, 1, 0);
  const aiVector3D across = plusY - look * (look * plusY);
  const aiVector3D turned = look ^ plusY;
  const float size = across.SquareLength();
  float roll = 0.0f;
  if (size > 1e-12f) roll = std::atan2((camera.mUp * turned) / size, (camera.mUp * across) / size);
  aiMatrix3x3 turn;
  aiMatrix3x3::Rotation(roll, look, turn);
  return turn * aiVector3D(0, 0, 1);
}

// What a format's camera says, as a frame in its node. Assimp's camera
// vectors are relative to the node, but some importers get them wrong.
aiCamera OwnFrame(const std::string& format, const aiCamera& camera, const host::Matrix3& nodeTransform) {
  aiCamera own = camera;
  // Assimp 5.2's glTF importer copies the node's translation into the
  // camera as well: the node already places it.
  if (format == "gltf" || format == "glb") own.mPosition = aiVector3D(0, 0, 0);
  // An ASE camera's node matrix aims it as the host's cameras are aimed,
  // down its -Z; Assimp's importer says +Z, which looks away from the target.
  if (format == "ase" || format == "ask") {
    own.mLookAt = aiVector3D(0, 0, -1);
    own.mUp = aiVector3D(0, 1, 0);
  }
  if (format == "3ds" || format == "prj") {
    own.mUp = ThreeDsUp(camera);
    // With a keyframer section the node is placed at the camera already;
    // without one it stays at the origin and the camera's own position
    // places it.
    const host::Point3 at = nodeTransform.GetRow(3);
    if (at.x != 0.0f || at.y != 0.0f || at.z != 0.0f) own.mPosition = aiVector3D(0, 0, 0);
  }
  return own;
}

// Collada's <lookat> comes from Assimp with the up vector as the Y axis
// as given, not square to the line of sight. The line of sight is what the
// camera is for: Y is made square to it, and X to both, lengths kept.
void SquareAimedAxes(host::Matrix3& m) {
  const host::Point3 x = m.GetRow(0), y = m.GetRow(1), z = m.GetRow(2);
  const float yLength = y.Length(), zLength = z.Length();
  if (zLength == 0.0f || yLength == 0.0f) return;
  const host::Point3 aim = z * (1.0f / zLength);
  if (std::fabs(host::DotProd(y, aim)) <= 1e-6f * yLength) return;
  host::Point3 up = y - aim * host::DotProd(y, aim);
  if (up.Length() == 0.0f) return;
  up = up * (1.0f / up.Length());
  const host::Point3 across = host::CrossProd(up, aim);
  const float side = host::DotProd(across, x) < 0.0f ? -1.0f : 1.0f;
  m.SetRow(0, across * (side * x.Length()));
  m.SetRow(1, up * yLength);
  m.ValidateFlags();
}

// A KVL camera is a perspective one. An orthographic camera becomes the
// perspective camera that shows the same width where the scene is, at its
// origin; a camera standing there gets the host's default angle.
float NearestPerspectiveFov(const aiCamera& camera, const host::Point3& standsAt) {
  const double distance = standsAt.Length();
  if (!(distance > 0.0)) return kDefaultFov;
  // Assimp's width is half the width shown.
  return static_cast<float>(2.0 * std::atan(camera.mOrthographicWidth / distance));
}

bool IsDefaultFrame(const aiCamera& camera) {
  return camera.mPosition == aiVector3D(0, 0, 0) && camera.mLookAt == aiVector3D(0, 0, -1) &&
         camera.mUp == aiVector3D(0, 1, 0);
}

}  // namespace

float FullHorizontalFov(const std::string& format, float assimpValue, float aspect) {
  // Checked against cameras of known angle. The glTF importer multiplies
  // the vertical angle by the aspect ratio, which is not the horizontal
  // angle: that is undone and done right. Without a ratio it hands on the
  // vertical angle, which is the nearest the file says.
  if (format == "gltf" || format == "glb") {
    if (!(aspect > 0.0f)) return assimpValue;
    const double vertical = assimpValue / aspect;
    return static_cast<float>(2.0 * std::atan(aspect * std::tan(vertical / 2.0)));
  }
  // 3DS stores the lens in millimetres, and Assimp takes that number for an
  // angle in degrees; the lens of a 3DS camera is 2400 / angle.
  if (format == "3ds" || format == "prj") {
    const double lens = assimpValue * 180.0 / kPi;
    return lens > 0.0 ? static_cast<float>(2400.0 / lens * kPi / 180.0) : assimpValue;
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
      if (camera.mOrthographicWidth > 0.0f) {
        object->fov = NearestPerspectiveFov(camera, node->GetNodeTM(0).GetRow(3));
        build.LeaveBehind("orthographic cameras are exported as perspective cameras that show their width at the "
                          "scene's origin",
                          name);
      }
      object->nearDist = camera.mClipPlaneNear;
      object->farDist = camera.mClipPlaneFar;
      node->object = std::move(object);
      SquareAimedAxes(node->transform);
      const aiCamera own = OwnFrame(build.format, camera, node->transform);
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
      build.LeaveBehind("lights are not exported (a KVL file holds none)", name);
    }
  }
}

}  // namespace kvl::sources
