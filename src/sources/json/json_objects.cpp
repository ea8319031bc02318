// Objects: meshes with channels and frames, cameras, and the kinds that
// only carry a super class.
#include "host/memory_objects.h"
#include "sources/json/json_readers.h"

namespace kvl::sources {
namespace {

// Map channel numbers the host knows.
constexpr int kFirstChannel = -2;
constexpr int kLastChannel = 99;

std::string ToHex(uint32_t value) {
  static const char digits[] = "0123456789ABCDEF";
  std::string text;
  do {
    text.insert(text.begin(), digits[value & 0xF]);
    value >>= 4;
  } while (value);
  return text;
}

std::vector<host::Point3> ReadPointList(const Json& value, const std::string& path) {
  RequireArray(value, path);
  std::vector<host::Point3> points;
  points.reserve(value.size());
  for (size_t i = 0; i < value.size(); ++i) points.push_back(ReadPoint3(value[i], IndexPath(path, i)));
  return points;
}

// Three indices into a list of count points.
void ReadCorners(const Json& value, const std::string& path, size_t count, const char* what, uint32_t out[3]) {
  RequireArraySize(value, path, 3);
  for (size_t k = 0; k < 3; ++k) {
    const std::string cornerPath = IndexPath(path, k);
    const int64_t index = ReadInteger(value[k], cornerPath, INT64_MIN, INT64_MAX);
    if (index < 0 || static_cast<uint64_t>(index) >= count) {
      Fail(cornerPath, "index " + std::to_string(index) + " out of range (" + std::to_string(count) + " " + what + ")");
    }
    out[k] = static_cast<uint32_t>(index);
  }
}

void ReadFaces(const Json& value, const std::string& path, host::Mesh& mesh) {
  RequireArray(value, path);
  mesh.faces.resize(value.size());
  for (size_t f = 0; f < value.size(); ++f) {
    const std::string facePath = IndexPath(path, f);
    const Json& item = value[f];
    RequireObject(item, facePath);
    CheckKeys(item, facePath, {"v", "smoothing", "material"});
    host::Face& face = mesh.faces[f];
    const Json* v = Member(item, "v");
    if (!v) Fail(facePath, "missing \"v\", the face's three vertex indices");
    ReadCorners(*v, KeyPath(facePath, "v"), mesh.verts.size(), "vertices", face.v);
    if (const Json* s = Member(item, "smoothing")) {
      face.smGroup = static_cast<uint32_t>(ReadInteger(*s, KeyPath(facePath, "smoothing"), 0, UINT32_MAX));
    }
    if (const Json* m = Member(item, "material")) {
      face.setMatID(static_cast<host::MtlID>(ReadInteger(*m, KeyPath(facePath, "material"), 0, UINT16_MAX)));
    }
  }
}

void ReadChannel(const Json& value, const std::string& path, host::Mesh& mesh, int channel) {
  RequireObject(value, path);
  CheckKeys(value, path, {"vertices", "faces"});
  host::MeshMap& map = mesh.Map(channel);
  if (const Json* v = Member(value, "vertices")) map.tv = ReadPointList(*v, KeyPath(path, "vertices"));
  const std::string facesPath = KeyPath(path, "faces");
  const Json* faces = Member(value, "faces");
  const size_t faceCount = faces ? (RequireArray(*faces, facesPath), faces->size()) : 0;
  if (faceCount != mesh.faces.size()) {
    Fail(facesPath, std::to_string(faceCount) + " faces, but the mesh has " + std::to_string(mesh.faces.size()) +
                        " (a channel has one face per mesh face)");
  }
  std::vector<host::TVFace>& corners = map.Faces();
  corners.resize(faceCount);
  for (size_t f = 0; f < faceCount; ++f) {
    ReadCorners((*faces)[f], IndexPath(facesPath, f), map.tv.size(), "channel vertices", corners[f].t);
  }
}

void ReadFrames(const Json& value, const std::string& path, host::MemoryMeshObject& object) {
  RequireArray(value, path);
  for (size_t i = 0; i < value.size(); ++i) {
    const std::string framePath = IndexPath(path, i);
    const Json& item = value[i];
    RequireObject(item, framePath);
    CheckKeys(item, framePath, {"tick", "vertices"});
    const Json* tick = Member(item, "tick");
    if (!tick) Fail(framePath, "missing \"tick\"");
    const Json* vertices = Member(item, "vertices");
    if (!vertices) Fail(framePath, "missing \"vertices\"");
    host::MeshFrame frame;
    frame.tick = ReadTick(*tick, KeyPath(framePath, "tick"));
    if (!object.frames.empty() && frame.tick <= object.frames.back().tick) {
      Fail(KeyPath(framePath, "tick"), "frames not ascending: tick " + std::to_string(frame.tick) +
                                           " is not after the previous frame's tick " +
                                           std::to_string(object.frames.back().tick));
    }
    frame.vertices = ReadPointList(*vertices, KeyPath(framePath, "vertices"));
    if (frame.vertices.size() != object.mesh.verts.size()) {
      Fail(KeyPath(framePath, "vertices"), std::to_string(frame.vertices.size()) + " vertices, but the mesh has " +
                                               std::to_string(object.mesh.verts.size()));
    }
    object.frames.push_back(std::move(frame));
  }
}

std::unique_ptr<host::Object> ReadMesh(const Json& value, const std::string& path) {
  CheckKeys(value, path, {"type", "vertices", "faces", "channels", "frames", "renderMesh"});
  auto object = std::make_unique<host::MemoryMeshObject>();
  host::Mesh& mesh = object->mesh;
  if (const Json* v = Member(value, "vertices")) mesh.verts = ReadPointList(*v, KeyPath(path, "vertices"));
  if (const Json* v = Member(value, "faces")) ReadFaces(*v, KeyPath(path, "faces"), mesh);
  if (const Json* channels = Member(value, "channels")) {
    const std::string channelsPath = KeyPath(path, "channels");
    RequireObject(*channels, channelsPath);
    for (auto it = channels->begin(); it != channels->end(); ++it) {
      const std::string channelPath = EntryPath(channelsPath, it.key());
      const int channel = ReadNumberKey(it.key(), channelPath, kFirstChannel, kLastChannel);
      ReadChannel(it.value(), channelPath, mesh, channel);
    }
  }
  if (const Json* v = Member(value, "frames")) ReadFrames(*v, KeyPath(path, "frames"), *object);
  if (const Json* v = Member(value, "renderMesh")) object->renderMesh = ReadBool(*v, KeyPath(path, "renderMesh"));
  return object;
}

std::unique_ptr<host::Object> ReadCamera(const Json& value, const std::string& path) {
  CheckKeys(value, path, {"type", "fov", "near", "far"});
  auto camera = std::make_unique<host::MemoryCameraObject>();
  if (const Json* v = Member(value, "fov")) camera->fov = ReadFloat(*v, KeyPath(path, "fov"));
  if (const Json* v = Member(value, "near")) camera->nearDist = ReadFloat(*v, KeyPath(path, "near"));
  if (const Json* v = Member(value, "far")) camera->farDist = ReadFloat(*v, KeyPath(path, "far"));
  return camera;
}

std::unique_ptr<host::Object> ReadOther(const Json& value, const std::string& path) {
  CheckKeys(value, path, {"type", "superClassId"});
  const Json* id = Member(value, "superClassId");
  if (!id) Fail(path, "missing \"superClassId\", which an object of type \"other\" needs");
  const std::string idPath = KeyPath(path, "superClassId");
  const auto superClass = static_cast<host::SClass_ID>(ReadInteger(*id, idPath, 0, UINT32_MAX));
  // The exporter takes an object of these classes for what the class says;
  // they must come with their own type and keys.
  const std::pair<host::SClass_ID, const char*> named[] = {{host::GEOMOBJECT_CLASS_ID, "mesh"},
                                                           {host::CAMERA_CLASS_ID, "camera"},
                                                           {host::LIGHT_CLASS_ID, "light"},
                                                           {host::SHAPE_CLASS_ID, "shape"},
                                                           {host::HELPER_CLASS_ID, "helper"}};
  for (const auto& [sclass, type] : named) {
    if (superClass == sclass) {
      Fail(idPath, "0x" + ToHex(superClass) + " is the super class of type \"" + type + "\"; use that type");
    }
  }
  return std::make_unique<host::MemoryPlainObject>(superClass);
}

}  // namespace

std::unique_ptr<host::Object> ReadObject(const Json& value, const std::string& path) {
  RequireObject(value, path);
  const Json* type = Member(value, "type");
  if (!type) Fail(path, "missing \"type\" (mesh, camera, light, shape, helper or other)");
  const std::string kind = ReadString(*type, KeyPath(path, "type"));
  if (kind == "mesh") return ReadMesh(value, path);
  if (kind == "camera") return ReadCamera(value, path);
  if (kind == "other") return ReadOther(value, path);
  const std::pair<const char*, host::SClass_ID> plain[] = {
      {"light", host::LIGHT_CLASS_ID}, {"shape", host::SHAPE_CLASS_ID}, {"helper", host::HELPER_CLASS_ID}};
  for (const auto& [name, sclass] : plain) {
    if (kind == name) {
      CheckKeys(value, path, {"type"});
      return std::make_unique<host::MemoryPlainObject>(sclass);
    }
  }
  Fail(KeyPath(path, "type"), "unknown object type " + Quoted(kind) + " (mesh, camera, light, shape, helper or other)");
}

}  // namespace kvl::sources
