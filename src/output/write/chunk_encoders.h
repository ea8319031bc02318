// One encoder per record type. Each fills a chunk with the record's payload
// in the order the file holds its fields.
#pragma once

#include <cstdio>
#include <memory>

#include "output/write/chunk.h"
#include "scene/record_kinds.h"
#include "scene/scene_nodes.h"

namespace kvl {

// An empty chunk for a record of `type`, with the chunk type and the version
// the table of record kinds gives it.
std::unique_ptr<Chunk> ChunkOfKind(NodeType type, uint32_t id);

// Objects of the scene.
std::unique_ptr<Chunk> EncodeGroup(const GroupNode& group);
std::unique_ptr<Chunk> EncodeGeometry(const GeometryNode& geometry);
std::unique_ptr<Chunk> EncodeMesh(const MeshNode& mesh);
std::unique_ptr<Chunk> EncodeCamera(const CameraNode& camera);
std::unique_ptr<Chunk> EncodeLight(const LightNode& light);
std::unique_ptr<Chunk> EncodeHelper(const HelperNode& helper);
std::unique_ptr<Chunk> EncodeParticleSystem(const ParticleSystemNode& system);
std::unique_ptr<Chunk> EncodeSprite(const SpriteNode& sprite);
std::unique_ptr<Chunk> EncodeSoundSource(const SoundSourceNode& sound);
std::unique_ptr<Chunk> EncodeMicrophone(const MicrophoneNode& microphone);
std::unique_ptr<Chunk> EncodeCollider(const ColliderNode& collider);
std::unique_ptr<Chunk> EncodePRSAnimation(const PRSAnimationGroup& group);
std::unique_ptr<Chunk> EncodeLoader(const LoaderNode& loader);
std::unique_ptr<Chunk> EncodeSpring(const SpringNode& spring);
std::unique_ptr<Chunk> EncodeAttribute(const NodeAttributeNode& attribute);

// Buffers and resources that the submesh entries of a mesh point to. The
// three buffers can be big: given a `stream`, each writes its chunk there as
// it goes (Chunk::StreamTo) and the caller finishes it.
std::unique_ptr<Chunk> EncodeVertexBuffer(const VertexBufferNode& buffer, std::FILE* stream = nullptr);
std::unique_ptr<Chunk> EncodeFaceList(const FaceListNode& faces, std::FILE* stream = nullptr);
std::unique_ptr<Chunk> EncodeMaterial(const MaterialNode& material);
std::unique_ptr<Chunk> EncodeTexture(const TextureNode& texture);
std::unique_ptr<Chunk> EncodeTriangleInfoBuffer(const TriangleInfoBufferNode& buffer, std::FILE* stream = nullptr);

}  // namespace kvl
