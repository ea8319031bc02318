#include "scene/record_kinds.h"

namespace kvl {
namespace {

// In the order of the record types, so that a type is its own index.
constexpr RecordKind kRecordKinds[] = {
    {NODE_GROUP, "group", static_cast<uint16_t>(CUSTOM_TYPE_GROUP), 1, 1, true},
    {NODE_PRS_ANIMATION, "animation group", CHUNK_PRS_ANIMATION, 3, 3, true},
    {NODE_MESH, "mesh", CHUNK_MESH, 3, 3, true},
    {NODE_MATERIAL, "material", CHUNK_MATERIAL, 2, 2, false},
    {NODE_CAMERA, "camera", CHUNK_CAMERA, 1, 1, true},
    {NODE_GEOMETRY, "geometry", CHUNK_GEOMETRY, 1, 1, true},
    {NODE_VERTEX_BUFFER, "vertex buffer", CHUNK_VERTEX_BUFFER, 1, 2, false},
    {NODE_TRIANGLE_INFO_BUFFER, "triangle info buffer", CHUNK_TRIANGLE_INFO_BUFFER, 1, 1, false},
    {NODE_FACE_LIST, "face list", CHUNK_FACE_LIST, 2, 2, false},
    {NODE_HELPER, "helper", CHUNK_HELPER, 1, 1, true},
    {NODE_TEXTURE, "texture", CHUNK_TEXTURE, 1, 1, false},
    {NODE_SPRITE, "sprite", CHUNK_SPRITE, 1, 1, true},
    {NODE_PARTICLE_SYSTEM, "particle system", CHUNK_PARTICLE_SYSTEM, 1, 1, true},
    {NODE_LOADER, "loader", CHUNK_LOADER, 1, 1, true},
    {NODE_LIGHT, "light", CHUNK_LIGHT, 2, 2, true},
    {NODE_ATTRIBUTE, "attribute", CHUNK_ATTRIBUTE, 1, 1, true},
    {NODE_MICROPHONE, "microphone", CHUNK_MICROPHONE, 1, 1, true},
    {NODE_SOUND_SOURCE, "sound source", CHUNK_SOUND_SOURCE, 1, 1, true},
    {NODE_COLLIDER, "collider", CHUNK_COLLIDER, 1, 1, true},
    {NODE_SPRING, "spring", CHUNK_SPRING, 2, 2, false},
    // Written as the animation group its keys are sampled into, never as
    // a chunk of its own.
    {NODE_PRS_KEY_ANIMATION, "key animation group", 0, 0, 0, true},
};

template <class T>
Placement PlacedAt(const T& record, const float* position) {
  return {record.parentId, &record.name, position};
}

}  // namespace

const RecordKind* RecordKindOf(uint32_t nodeType) {
  if (nodeType >= std::size(kRecordKinds)) return nullptr;
  return &kRecordKinds[nodeType];
}

const RecordKind* RecordKindOfChunk(uint16_t chunkType) {
  for (const RecordKind& kind : kRecordKinds) {
    if (kind.chunkType != 0 && kind.chunkType == chunkType) return &kind;
  }
  return nullptr;
}

std::string NodeTypeName(uint32_t nodeType) {
  const RecordKind* kind = RecordKindOf(nodeType);
  return kind ? kind->name : "node of type " + std::to_string(nodeType);
}

std::optional<Placement> PlacementOf(const SceneNode& node) {
  if (IsGroupLike(node.type)) {
    const auto& group = As<GroupNode>(node);
    return PlacedAt(group, group.transform.position);
  }
  switch (node.type) {
    case NODE_MESH: return PlacedAt(As<MeshNode>(node), nullptr);
    case NODE_CAMERA: return PlacedAt(As<CameraNode>(node), As<CameraNode>(node).transform.position);
    case NODE_GEOMETRY: return PlacedAt(As<GeometryNode>(node), As<GeometryNode>(node).transform.position);
    case NODE_HELPER: return PlacedAt(As<HelperNode>(node), As<HelperNode>(node).position);
    case NODE_SPRITE: return PlacedAt(As<SpriteNode>(node), nullptr);
    case NODE_PARTICLE_SYSTEM: return PlacedAt(As<ParticleSystemNode>(node), nullptr);
    case NODE_LOADER: return PlacedAt(As<LoaderNode>(node), As<LoaderNode>(node).transform.position);
    case NODE_LIGHT: return PlacedAt(As<LightNode>(node), As<LightNode>(node).transform.position);
    case NODE_ATTRIBUTE: {
      const auto& attribute = As<NodeAttributeNode>(node);
      return Placement{attribute.parentId, &attribute.data, nullptr};
    }
    case NODE_MICROPHONE: return PlacedAt(As<MicrophoneNode>(node), As<MicrophoneNode>(node).transform.position);
    case NODE_SOUND_SOURCE:
      return PlacedAt(As<SoundSourceNode>(node), As<SoundSourceNode>(node).transform.position);
    case NODE_COLLIDER: return PlacedAt(As<ColliderNode>(node), As<ColliderNode>(node).transform.position);
    default: return std::nullopt;
  }
}

}  // namespace kvl
