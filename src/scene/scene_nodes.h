// The records of the scene document: one plain structure per node type.
//
// Every record starts with the SceneNode head and is told apart by its `type`
// field alone. There are no virtual operations: each consumer (writers,
// passes, the dump) has one switch over `type`. Records that also appear in
// the file refer to each other by 32-bit id; `children`, `objects` and
// `referrers` are non-owning pointers into records that the NodeTable owns.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kvl {

// The id value meaning "no node", in every id field.
inline constexpr uint32_t NODE_ID_NONE = 0xFFFFFFFFu;

enum NodeType : uint32_t {
  NODE_GROUP = 0,
  NODE_PRS_ANIMATION = 1,
  NODE_MESH = 2,
  NODE_MATERIAL = 3,
  NODE_CAMERA = 4,
  NODE_GEOMETRY = 5,
  NODE_VERTEX_BUFFER = 6,
  NODE_TRIANGLE_INFO_BUFFER = 7,
  NODE_FACE_LIST = 8,
  NODE_HELPER = 9,
  NODE_TEXTURE = 10,
  NODE_SPRITE = 11,
  NODE_PARTICLE_SYSTEM = 12,
  NODE_LOADER = 13,
  NODE_LIGHT = 14,
  NODE_ATTRIBUTE = 15,
  NODE_MICROPHONE = 16,
  NODE_SOUND_SOURCE = 17,
  NODE_COLLIDER = 18,
  NODE_SPRING = 19,
  NODE_PRS_KEY_ANIMATION = 20,
};

// Vertex format bits, shared by buffers, lists and the file.
enum VertexFlags : uint32_t {
  VERTEX_NORMAL = 1,
  VERTEX_COLOR = 2,
  VERTEX_UV = 4,
};

// What each triangle of a triangle info buffer carries. Note that colour and
// normal have other bit values than in the vertex format.
enum TriangleFlags : uint32_t {
  TRIANGLE_COLORS = 1,
  TRIANGLE_NORMAL = 2,
  TRIANGLE_UVS = 4,
};

// Which components each animation sample carries. Bit value 1 has no
// consumer but stays set in the file.
enum PRSFlags : uint16_t {
  PRS_POSITION = 2,
  PRS_ROTATION = 4,
  PRS_SCALE = 8,
};

enum MaterialFlags : uint32_t {
  MATERIAL_BLENDED = 1,
  MATERIAL_WIRE_UNITS = 2,
  MATERIAL_WIRE = 4,
  MATERIAL_TWO_SIDED = 8,
};

// The custom type of every group the exporter makes; it is also the group's
// chunk id in the file.
inline constexpr uint32_t CUSTOM_TYPE_GROUP = 2;

// Position, rotation quaternion (x, y, z, w) and scale. A new record holds
// zeros in position and scale until its builder fills it.
struct PRSTransform {
  float position[3] = {0, 0, 0};
  float rotation[4] = {0, 0, 0, 1};
  float scale[3] = {0, 0, 0};

  static PRSTransform Identity() {
    PRSTransform t;
    t.scale[0] = t.scale[1] = t.scale[2] = 1.0f;
    return t;
  }
};

struct SceneNode {
  uint32_t type;
  uint32_t id = 0;
  uint8_t reachable = 0;

 protected:
  explicit SceneNode(NodeType t) : type(t) {}
};

struct GroupNode : SceneNode {
  uint32_t parentId = NODE_ID_NONE;
  std::string name;
  PRSTransform transform;
  uint32_t customType = CUSTOM_TYPE_GROUP;
  std::vector<SceneNode*> children;

  GroupNode() : SceneNode(NODE_GROUP) {}

 protected:
  explicit GroupNode(NodeType t) : SceneNode(t) {}
};

struct PRSSequence {
  int32_t startTime = 0;  // milliseconds; negative after leading samples were dropped
  int32_t endTime = 0;    // milliseconds
  float sampleRate = 0;   // samples per second
  uint16_t flags = 0xF;
  std::vector<PRSTransform> samples;
};

struct PRSKeySequence {
  uint16_t flags = 0xF;
  std::map<uint32_t, PRSTransform> keys;  // milliseconds -> key
};

struct PRSAnimationGroup : GroupNode {
  std::vector<PRSSequence> sequences;
  PRSAnimationGroup() : GroupNode(NODE_PRS_ANIMATION) {}
};

struct PRSKeyAnimationGroup : GroupNode {
  std::vector<PRSKeySequence> keySequences;
  PRSKeyAnimationGroup() : GroupNode(NODE_PRS_KEY_ANIMATION) {}
};

// True for the records that carry a group's fields and a `children` list.
inline bool IsGroupLike(uint32_t type) {
  return type == NODE_GROUP || type == NODE_PRS_ANIMATION || type == NODE_PRS_KEY_ANIMATION;
}

struct Submesh {
  uint32_t vertexBufferId = NODE_ID_NONE;
  uint32_t faceListId = NODE_ID_NONE;
  uint32_t triangleInfoBufferId = NODE_ID_NONE;
  uint32_t materialId = NODE_ID_NONE;
  uint32_t diffuseTextureId = NODE_ID_NONE;
  uint32_t envTextureId = NODE_ID_NONE;
  uint32_t vertexOffset = 0;
  uint32_t vertexCount = 0;  // indices of the submesh: three per triangle
  uint32_t primitiveType = 1;  // 1: indexed triangle list
};

struct MeshNode : SceneNode {
  uint32_t parentId = NODE_ID_NONE;
  std::string name;
  std::vector<Submesh> submeshes;
  MeshNode() : SceneNode(NODE_MESH) {}
};

struct MaterialNode : SceneNode {
  uint32_t diffuse = 0;  // colours are 0xAARRGGBB
  uint32_t specular = 0;
  uint32_t ambient = 0;
  uint32_t emissive = 0;
  float specularPower = 0;
  uint32_t flags = 0;
  uint32_t shadingMode = 0;
  uint32_t sourceBlend = 0;
  uint32_t targetBlend = 0;
  float polygonOffset = 0;
  uint32_t diffuseTextureId = NODE_ID_NONE;
  uint32_t envTextureId = NODE_ID_NONE;
  float opacity = 0;  // kept for merging only; the file has it in the colours' alpha
  std::vector<Submesh*> referrers;
  MaterialNode() : SceneNode(NODE_MATERIAL) {}
};

struct CameraNode : SceneNode {
  uint32_t parentId = NODE_ID_NONE;
  uint32_t targetId = NODE_ID_NONE;
  std::string name;
  PRSTransform transform;
  float fov = 0;
  float nearClip = 0;
  float farClip = 0;
  CameraNode() : SceneNode(NODE_CAMERA) {}
};

struct GeometryNode : SceneNode {
  uint32_t parentId = NODE_ID_NONE;
  std::string name;
  PRSTransform transform;
  std::vector<SceneNode*> objects;  // MeshNode or ParticleSystemNode records
  GeometryNode() : SceneNode(NODE_GEOMETRY) {}
};

struct Vertex {
  float position[3] = {0, 0, 0};
  float normal[3] = {0, 0, 0};
  uint32_t color = 0;
  float u = 0, v = 0;
  // Used only to decide whether two vertices may be shared; never written.
  uint32_t smoothingGroup = 0;
  uint32_t flags = 0;
  uint32_t sourceVertex = 0;
};

struct VertexList {
  uint32_t flags = 0;
  std::vector<Vertex> vertices;
};

struct VertexBufferNode : SceneNode {
  uint32_t flags = 0;
  std::vector<VertexList> lists;  // one per frame for a morphing mesh
  VertexBufferNode() : SceneNode(NODE_VERTEX_BUFFER) {}
};

struct TriangleInfo {
  uint32_t color1 = 0, color2 = 0, color3 = 0;
  float normal[3] = {0, 0, 0};
  float cornerUVs[6] = {0, 0, 0, 0, 0, 0};  // u, v of corner 1, then 2, then 3
};

struct TriangleInfoBufferNode : SceneNode {
  uint32_t flags = 0;
  std::vector<TriangleInfo> triangles;
  TriangleInfoBufferNode() : SceneNode(NODE_TRIANGLE_INFO_BUFFER) {}
};

struct FaceListNode : SceneNode {
  std::vector<uint32_t> indices;  // three per triangle, before vertexOffset
  FaceListNode() : SceneNode(NODE_FACE_LIST) {}
};

struct TextureNode : SceneNode {
  std::string fileName;
  TextureNode() : SceneNode(NODE_TEXTURE) {}
};

struct ParticleSystemNode : SceneNode {
  uint32_t parentId = NODE_ID_NONE;
  std::string name;
  float scale = 0;
  std::string fileName;
  ParticleSystemNode() : SceneNode(NODE_PARTICLE_SYSTEM) {}
};

struct NodeAttributeNode : SceneNode {
  uint32_t parentId = NODE_ID_NONE;
  std::string data;
  NodeAttributeNode() : SceneNode(NODE_ATTRIBUTE) {}
};

struct HelperNode : SceneNode {
  uint32_t parentId = NODE_ID_NONE;
  std::string name;
  float position[3] = {0, 0, 0};
  HelperNode() : SceneNode(NODE_HELPER) {}
};

struct SpriteNode : SceneNode {
  uint32_t parentId = NODE_ID_NONE;
  std::string name;
  float width = 0;
  float height = 0;
  std::string fileName;
  uint32_t spriteType = 0;   // the file holds the low byte
  uint32_t sourceBlend = 0;  // the file holds the low byte
  uint32_t destBlend = 0;    // the file holds the low byte
  uint32_t color = 0;
  SpriteNode() : SceneNode(NODE_SPRITE) {}
};

struct LoaderNode : SceneNode {
  uint32_t parentId = NODE_ID_NONE;
  std::string name;
  PRSTransform transform;
  std::string fileName;
  uint8_t mergeMode = 0;
  LoaderNode() : SceneNode(NODE_LOADER) {}
};

// The meaning of the light values is the engine's; the exporter only carries
// them from the record to the file.
struct LightNode : SceneNode {
  uint32_t parentId = NODE_ID_NONE;
  std::string name;
  PRSTransform transform;  // the file holds position and rotation only
  uint32_t lightType = 0;  // the file holds one byte
  uint32_t lightValuesA[3] = {0, 0, 0};
  uint32_t lightValuesB[3] = {0, 0, 0};
  uint32_t lightValuesC[2] = {0, 0};
  LightNode() : SceneNode(NODE_LIGHT) {}
};

struct MicrophoneNode : SceneNode {
  uint32_t parentId = NODE_ID_NONE;
  std::string name;
  PRSTransform transform;  // the file holds position and rotation only
  uint32_t microphoneType = 0;
  float multiplier = 0;  // the file holds it as a whole-number byte
  float range = 0;
  MicrophoneNode() : SceneNode(NODE_MICROPHONE) {}
};

struct SoundSourceNode : SceneNode {
  uint32_t parentId = NODE_ID_NONE;
  std::string name;
  PRSTransform transform;  // the file holds position and rotation only
  uint32_t soundType = 0;
  float multiplier = 0;
  float attenuationStart = 0;
  float attenuationEnd = 0;
  uint8_t looping = 0;  // the file holds the inverse
  std::string fileName;
  SoundSourceNode() : SceneNode(NODE_SOUND_SOURCE) {}
};

// Collider types that carry fields behind the head in the file.
enum ColliderType : uint32_t {
  COLLIDER_BOUNDING_VOLUME = 1,
  COLLIDER_CONSTRUCTION = 4,
  COLLIDER_GEOMETRY = 101,
};

struct ColliderNode : SceneNode {
  uint32_t parentId = NODE_ID_NONE;
  uint32_t colliderType = 0;  // the file holds the low 16 bits
  std::string name;
  uint32_t boundingVolumeType = 0;  // the file holds the low byte
  float boundsMin[3] = {0, 0, 0};
  float boundsMax[3] = {0, 0, 0};
  PRSTransform transform;
  uint32_t geometryId = NODE_ID_NONE;           // type 101
  uint32_t constructionStartId = NODE_ID_NONE;  // type 4, resolved by name
  uint16_t width = 0;                           // type 4
  uint16_t height = 0;                          // type 4
  uint8_t baseLevel = 0;                        // type 4
  uint8_t flags = 0;                            // type 4
  std::string constructionStartName;            // type 4
  ColliderNode() : SceneNode(NODE_COLLIDER) {}
};

struct SpringNode : SceneNode {
  uint32_t parentId1 = NODE_ID_NONE;
  uint32_t parentId2 = NODE_ID_NONE;  // resolved from parent2Name
  float springConstant = 0;
  float dampingConstant = 0;
  float length = 0;
  float minLengthScale = 0;
  float maxLengthScale = 0;
  std::string parent2Name;
  SpringNode() : SceneNode(NODE_SPRING) {}
};

// Frees a record of any type through its real type (records have no virtual
// destructor, so deleting through SceneNode* would be wrong).
void DestroyNode(SceneNode* node);

struct NodeDeleter {
  void operator()(SceneNode* node) const { DestroyNode(node); }
};

// Downcast for code that has already switched on `type`.
template <class T>
T& As(SceneNode& node) { return static_cast<T&>(node); }
template <class T>
const T& As(const SceneNode& node) { return static_cast<const T&>(node); }

}  // namespace kvl
