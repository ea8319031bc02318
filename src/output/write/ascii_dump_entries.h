// One formatting function per record type for the text dump, and the two line
// groups that many entries share. Each function writes the lines of its entry
// behind the common head; the dispatch over `type` is in ascii_dump_writer.cpp.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "scene/scene_nodes.h"

namespace kvl::dump {

// The dump prints every id and count as a signed 32-bit value, so that
// NODE_ID_NONE reads -1.
inline int Signed(uint32_t value) { return static_cast<int32_t>(value); }
inline int Count(size_t count) { return Signed(static_cast<uint32_t>(count)); }

// "Name:" and "Parent Id:" of a node that has a name.
void NameLines(std::FILE* out, const std::string& name, uint32_t parentId);

// Position, rotation, scale and the three rows of the rotation matrix.
void TransformBlock(std::FILE* out, const PRSTransform& transform);

// Rows of the rotation matrix of the quaternion (x, y, z, w), computed in
// single precision. A quaternion of any length gives the matrix of its
// normalised form.
void RotationAxes(const float rotation[4], float axes[3][3]);

// Objects of the scene.
void Group(std::FILE* out, const GroupNode& group);
void PRSAnimation(std::FILE* out, const PRSAnimationGroup& group);
void PRSKeyAnimation(std::FILE* out, const PRSKeyAnimationGroup& group);
void Mesh(std::FILE* out, const MeshNode& mesh);
void Camera(std::FILE* out, const CameraNode& camera);
void Geometry(std::FILE* out, const GeometryNode& geometry);
void Helper(std::FILE* out, const HelperNode& helper);
void Sprite(std::FILE* out, const SpriteNode& sprite);
void ParticleSystem(std::FILE* out, const ParticleSystemNode& system);
void Loader(std::FILE* out, const LoaderNode& loader);
void Attribute(std::FILE* out, const NodeAttributeNode& attribute);
void SoundSource(std::FILE* out, const SoundSourceNode& sound);
void Microphone(std::FILE* out, const MicrophoneNode& microphone);
void Spring(std::FILE* out, const SpringNode& spring);
void Collider(std::FILE* out, const ColliderNode& collider);

// Buffers and resources.
void Material(std::FILE* out, const MaterialNode& material);
void VertexBuffer(std::FILE* out, const VertexBufferNode& buffer);
void TriangleInfoBuffer(std::FILE* out, const TriangleInfoBufferNode& buffer);
void FaceList(std::FILE* out, const FaceListNode& faces);
void Texture(std::FILE* out, const TextureNode& texture);

}  // namespace kvl::dump
