#include <cmath>

#include "output/write/binary_writer.h"
#include "output/write/chunk_encoders.h"

namespace kvl {

std::unique_ptr<Chunk> ChunkOfKind(NodeType type, uint32_t id) {
  const RecordKind& kind = *RecordKindOf(type);
  return std::make_unique<Chunk>(kind.chunkType, kind.firstVersion, id);
}
namespace {

void PutTransform(Chunk& c, const PRSTransform& t) {
  c.PutVec3(t.position);
  c.PutQuat(t.rotation);
  c.PutVec3(t.scale);
}

// Groups and geometries share one form: parent, name, transform.
std::unique_ptr<Chunk> EncodePlacedNode(uint16_t chunkType, uint32_t id, uint32_t parentId,
                                        const std::string& name, const PRSTransform& transform) {
  auto c = std::make_unique<Chunk>(chunkType, 1, id);
  c->PutU32(parentId);
  c->PutString(name);
  PutTransform(*c, transform);
  return c;
}

void PutSequence(Chunk& c, const PRSSequence& s, const PRSTransform& constant) {
  c.PutU32(static_cast<uint32_t>(s.startTime));
  c.PutU32(static_cast<uint32_t>(s.endTime));
  c.PutF32(s.sampleRate);
  c.PutU16(s.flags);
  // A component that does not change is written once, ahead of the samples,
  // from the group's own transform.
  if (!(s.flags & PRS_POSITION)) c.PutVec3(constant.position);
  if (!(s.flags & PRS_ROTATION)) c.PutQuat(constant.rotation);
  if (!(s.flags & PRS_SCALE)) c.PutVec3(constant.scale);
  c.PutU32(static_cast<uint32_t>(s.samples.size()));
  for (const PRSTransform& sample : s.samples) {
    if (s.flags & PRS_POSITION) c.PutVec3(sample.position);
    if (s.flags & PRS_ROTATION) c.PutQuat(sample.rotation);
    if (s.flags & PRS_SCALE) c.PutVec3(sample.scale);
  }
}

}  // namespace

std::unique_ptr<Chunk> EncodeGroup(const GroupNode& group) {
  // A group's chunk id is its custom type, cut to the header's 16 bits.
  return EncodePlacedNode(static_cast<uint16_t>(group.customType), group.id, group.parentId,
                          group.name, group.transform);
}

std::unique_ptr<Chunk> EncodeGeometry(const GeometryNode& geometry) {
  return EncodePlacedNode(CHUNK_GEOMETRY, geometry.id, geometry.parentId, geometry.name,
                          geometry.transform);
}

std::unique_ptr<Chunk> EncodeMesh(const MeshNode& mesh) {
  auto c = ChunkOfKind(NODE_MESH, mesh.id);
  c->PutU32(mesh.parentId);
  c->PutString(mesh.name);
  c->PutU16(static_cast<uint32_t>(mesh.submeshes.size()));
  for (const Submesh& s : mesh.submeshes) {
    c->PutU32(s.vertexBufferId);
    c->PutU32(s.faceListId);
    c->PutU32(s.triangleInfoBufferId);
    c->PutU32(s.materialId);
    c->PutU32(s.diffuseTextureId);
    c->PutU32(s.envTextureId);
    c->PutU32(s.vertexOffset);
    c->PutU32(s.vertexCount);
    c->PutU8(s.primitiveType);
  }
  return c;
}

std::unique_ptr<Chunk> EncodeCamera(const CameraNode& camera) {
  auto c = ChunkOfKind(NODE_CAMERA, camera.id);
  c->PutU32(camera.parentId);
  c->PutU32(camera.targetId);
  c->PutString(camera.name);
  c->PutVec3(camera.transform.position);
  c->PutQuat(camera.transform.rotation);
  c->PutF32(camera.fov);
  c->PutF32(camera.nearClip);
  c->PutF32(camera.farClip);
  return c;
}

std::unique_ptr<Chunk> EncodeLight(const LightNode& light) {
  auto c = ChunkOfKind(NODE_LIGHT, light.id);
  c->PutU32(light.parentId);
  c->PutString(light.name);
  c->PutVec3(light.transform.position);
  c->PutQuat(light.transform.rotation);
  c->PutU8(light.lightType);
  for (uint32_t v : light.lightValuesA) c->PutU32(v);
  for (uint32_t v : light.lightValuesB) c->PutU32(v);
  for (uint32_t v : light.lightValuesC) c->PutU32(v);
  return c;
}

std::unique_ptr<Chunk> EncodeHelper(const HelperNode& helper) {
  auto c = ChunkOfKind(NODE_HELPER, helper.id);
  c->PutU32(helper.parentId);
  c->PutString(helper.name);
  c->PutVec3(helper.position);
  return c;
}

std::unique_ptr<Chunk> EncodeParticleSystem(const ParticleSystemNode& system) {
  auto c = ChunkOfKind(NODE_PARTICLE_SYSTEM, system.id);
  c->PutU32(system.parentId);
  c->PutString(system.name);
  c->PutF32(system.scale);
  c->PutString(system.fileName);
  return c;
}

std::unique_ptr<Chunk> EncodeSprite(const SpriteNode& sprite) {
  auto c = ChunkOfKind(NODE_SPRITE, sprite.id);
  c->PutU32(sprite.parentId);
  c->PutString(sprite.name);
  c->PutF32(sprite.width);
  c->PutF32(sprite.height);
  c->PutString(sprite.fileName);
  c->PutU8(sprite.spriteType);
  c->PutU8(sprite.sourceBlend);
  c->PutU8(sprite.destBlend);
  c->PutU32(sprite.color);
  return c;
}

std::unique_ptr<Chunk> EncodeSoundSource(const SoundSourceNode& sound) {
  auto c = ChunkOfKind(NODE_SOUND_SOURCE, sound.id);
  c->PutU32(sound.parentId);
  c->PutString(sound.name);
  c->PutVec3(sound.transform.position);
  c->PutQuat(sound.transform.rotation);
  c->PutU8(sound.soundType);
  c->PutF32(sound.multiplier);
  c->PutF32(sound.attenuationStart);
  c->PutF32(sound.attenuationEnd);
  // The file's byte says "does not loop".
  c->PutU8(sound.looping == 0 ? 1 : 0);
  c->PutString(sound.fileName);
  return c;
}

std::unique_ptr<Chunk> EncodeMicrophone(const MicrophoneNode& microphone) {
  auto c = ChunkOfKind(NODE_MICROPHONE, microphone.id);
  c->PutU32(microphone.parentId);
  c->PutString(microphone.name);
  c->PutVec3(microphone.transform.position);
  c->PutQuat(microphone.transform.rotation);
  c->PutU8(microphone.microphoneType);
  // The file holds the multiplier as a whole number in one byte. Out-of-range
  // values are folded through a wide integer so the conversion is defined.
  const double truncated = std::trunc(static_cast<double>(microphone.multiplier));
  const int64_t whole = std::isfinite(truncated) && std::fabs(truncated) < 9.0e18
                            ? static_cast<int64_t>(truncated)
                            : 0;
  c->PutU8(static_cast<uint32_t>(whole));
  c->PutF32(microphone.range);
  return c;
}

std::unique_ptr<Chunk> EncodeCollider(const ColliderNode& collider) {
  auto c = ChunkOfKind(NODE_COLLIDER, collider.id);
  c->PutU32(collider.parentId);
  c->PutU16(collider.colliderType);
  c->PutString(collider.name);
  // The full 32-bit type selects the variant; any other type ends here.
  switch (collider.colliderType) {
    case COLLIDER_BOUNDING_VOLUME:
      c->PutU8(collider.boundingVolumeType);
      c->PutVec3(collider.boundsMin);
      c->PutVec3(collider.boundsMax);
      PutTransform(*c, collider.transform);
      break;
    case COLLIDER_CONSTRUCTION:
      c->PutVec3(collider.boundsMin);
      c->PutVec3(collider.boundsMax);
      PutTransform(*c, collider.transform);
      c->PutU32(collider.constructionStartId);
      c->PutU16(collider.width);
      c->PutU16(collider.height);
      c->PutU8(collider.baseLevel);
      c->PutU8(collider.flags);
      break;
    case COLLIDER_GEOMETRY:
      c->PutU8(collider.boundingVolumeType);
      c->PutU32(collider.geometryId);
      break;
    default:
      break;
  }
  return c;
}

std::unique_ptr<Chunk> EncodePRSAnimation(const PRSAnimationGroup& group) {
  auto c = ChunkOfKind(NODE_PRS_ANIMATION, group.id);
  c->PutU32(group.parentId);
  c->PutString(group.name);
  c->PutU16(static_cast<uint32_t>(group.sequences.size()));
  for (const PRSSequence& s : group.sequences) PutSequence(*c, s, group.transform);
  return c;
}

std::unique_ptr<Chunk> EncodeLoader(const LoaderNode& loader) {
  auto c = ChunkOfKind(NODE_LOADER, loader.id);
  c->PutU32(loader.parentId);
  c->PutString(loader.name);
  PutTransform(*c, loader.transform);
  c->PutString(loader.fileName);
  c->PutU8(loader.mergeMode);
  return c;
}

std::unique_ptr<Chunk> EncodeSpring(const SpringNode& spring) {
  auto c = ChunkOfKind(NODE_SPRING, spring.id);
  c->PutU32(spring.parentId1);
  c->PutU32(spring.parentId2);
  c->PutF32(spring.springConstant);
  c->PutF32(spring.dampingConstant);
  c->PutF32(spring.length);
  c->PutF32(spring.minLengthScale);
  c->PutF32(spring.maxLengthScale);
  return c;
}

std::unique_ptr<Chunk> EncodeAttribute(const NodeAttributeNode& attribute) {
  auto c = ChunkOfKind(NODE_ATTRIBUTE, attribute.id);
  c->PutU32(attribute.parentId);
  // The one text of the file that is not cut at 255 bytes: a 32-bit length
  // that counts the terminator, the bytes, then the terminator.
  c->PutU32(static_cast<uint32_t>(attribute.data.size() + 1));
  c->PutBytes(static_cast<int32_t>(attribute.data.size()), attribute.data.data());
  c->PutU8(0);
  return c;
}

}  // namespace kvl
