// One decoder per chunk type, the reverse of the encoders. Each reads the
// payload in the order the file holds it and leaves the head (id,
// reachable) to its caller. A decoder reads on after a failed field (the
// cursor gives zeros then); the caller keeps the record only if the cursor
// is still ok.
#pragma once

#include <memory>

#include "output/read/kvl_payload.h"
#include "scene/scene_nodes.h"

namespace kvl {

// Objects of the scene.
std::unique_ptr<GroupNode> DecodeGroup(PayloadReader& r, uint32_t customType);
std::unique_ptr<GeometryNode> DecodeGeometry(PayloadReader& r);
std::unique_ptr<MeshNode> DecodeMesh(PayloadReader& r);
std::unique_ptr<CameraNode> DecodeCamera(PayloadReader& r);
std::unique_ptr<LightNode> DecodeLight(PayloadReader& r);
std::unique_ptr<HelperNode> DecodeHelper(PayloadReader& r);
std::unique_ptr<ParticleSystemNode> DecodeParticleSystem(PayloadReader& r);
std::unique_ptr<SpriteNode> DecodeSprite(PayloadReader& r);
std::unique_ptr<SoundSourceNode> DecodeSoundSource(PayloadReader& r);
std::unique_ptr<MicrophoneNode> DecodeMicrophone(PayloadReader& r);
std::unique_ptr<ColliderNode> DecodeCollider(PayloadReader& r);
std::unique_ptr<PRSAnimationGroup> DecodePRSAnimation(PayloadReader& r);
std::unique_ptr<LoaderNode> DecodeLoader(PayloadReader& r);
std::unique_ptr<SpringNode> DecodeSpring(PayloadReader& r);
std::unique_ptr<NodeAttributeNode> DecodeAttribute(PayloadReader& r);

// Buffers and resources.
std::unique_ptr<VertexBufferNode> DecodeVertexBuffer(PayloadReader& r, uint16_t version);
std::unique_ptr<FaceListNode> DecodeFaceList(PayloadReader& r);
std::unique_ptr<MaterialNode> DecodeMaterial(PayloadReader& r);
std::unique_ptr<TextureNode> DecodeTexture(PayloadReader& r);
std::unique_ptr<TriangleInfoBufferNode> DecodeTriangleInfoBuffer(PayloadReader& r);

}  // namespace kvl
