// Compares a record that was written with the record read back from the
// file, field by field, leaving out what the file does not carry (see
// docs/kvl-tools.md): document-only links and helpers, bits cut off by
// narrow fields, scale where the chunk has none, and the parts of an
// animation group's transform that its samples carry instead.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "output/binary_writer.h"
#include "scene/node_table.h"
#include "scene/scene_nodes.h"

namespace kvl::testing {

// Floats compare by their bits, so that a value comes back exactly.
inline void ExpectSameFloats(const float* a, const float* b, int n, const std::string& what) {
  for (int i = 0; i < n; ++i) {
    EXPECT_EQ(std::bit_cast<uint32_t>(a[i]), std::bit_cast<uint32_t>(b[i])) << what << "[" << i << "]";
  }
}

inline std::string Cut(const std::string& text) { return text.substr(0, 255); }

inline void ExpectSameTransform(const PRSTransform& a, const PRSTransform& b, bool withScale, const std::string& what) {
  ExpectSameFloats(a.position, b.position, 3, what + " position");
  ExpectSameFloats(a.rotation, b.rotation, 4, what + " rotation");
  if (withScale) ExpectSameFloats(a.scale, b.scale, 3, what + " scale");
}

inline void ExpectSameSubmesh(const Submesh& a, const Submesh& b) {
  EXPECT_EQ(a.vertexBufferId, b.vertexBufferId);
  EXPECT_EQ(a.faceListId, b.faceListId);
  EXPECT_EQ(a.triangleInfoBufferId, b.triangleInfoBufferId);
  EXPECT_EQ(a.materialId, b.materialId);
  EXPECT_EQ(a.diffuseTextureId, b.diffuseTextureId);
  EXPECT_EQ(a.envTextureId, b.envTextureId);
  EXPECT_EQ(a.vertexOffset, b.vertexOffset);
  EXPECT_EQ(a.vertexCount, b.vertexCount);
  EXPECT_EQ(a.primitiveType & 0xFF, b.primitiveType);
}

inline void ExpectSameVertexList(const VertexList& a, const VertexList& b, uint32_t flags) {
  ASSERT_EQ(a.vertices.size(), b.vertices.size());
  for (size_t i = 0; i < a.vertices.size(); ++i) {
    const Vertex& x = a.vertices[i];
    const Vertex& y = b.vertices[i];
    const std::string what = "vertex " + std::to_string(i);
    ExpectSameFloats(x.position, y.position, 3, what + " position");
    if (flags & VERTEX_NORMAL) ExpectSameFloats(x.normal, y.normal, 3, what + " normal");
    if (flags & VERTEX_COLOR) {
      EXPECT_EQ(x.color, y.color) << what;
    }
    if (flags & VERTEX_UV) {
      ExpectSameFloats(&x.u, &y.u, 1, what + " u");
      ExpectSameFloats(&x.v, &y.v, 1, what + " v");
    }
  }
}

// The group's own transform reaches the file only in the components its
// sequences hold constant; each sample only in the components it animates.
inline void ExpectSameAnimation(const PRSAnimationGroup& a, const PRSAnimationGroup& b) {
  ASSERT_EQ(a.sequences.size(), b.sequences.size());
  for (size_t i = 0; i < a.sequences.size(); ++i) {
    const PRSSequence& x = a.sequences[i];
    const PRSSequence& y = b.sequences[i];
    EXPECT_EQ(x.startTime, y.startTime);
    EXPECT_EQ(x.endTime, y.endTime);
    ExpectSameFloats(&x.sampleRate, &y.sampleRate, 1, "sampleRate");
    EXPECT_EQ(x.flags, y.flags);
    if (!(x.flags & PRS_POSITION)) ExpectSameFloats(a.transform.position, b.transform.position, 3, "constant position");
    if (!(x.flags & PRS_ROTATION)) ExpectSameFloats(a.transform.rotation, b.transform.rotation, 4, "constant rotation");
    if (!(x.flags & PRS_SCALE)) ExpectSameFloats(a.transform.scale, b.transform.scale, 3, "constant scale");
    ASSERT_EQ(x.samples.size(), y.samples.size());
    for (size_t k = 0; k < x.samples.size(); ++k) {
      const std::string what = "sample " + std::to_string(k);
      if (x.flags & PRS_POSITION) ExpectSameFloats(x.samples[k].position, y.samples[k].position, 3, what);
      if (x.flags & PRS_ROTATION) ExpectSameFloats(x.samples[k].rotation, y.samples[k].rotation, 4, what);
      if (x.flags & PRS_SCALE) ExpectSameFloats(x.samples[k].scale, y.samples[k].scale, 3, what);
    }
  }
}

inline void ExpectSameRecord(const SceneNode& written, const SceneNode& read) {
  SCOPED_TRACE("record " + std::to_string(written.id) + " of type " + std::to_string(written.type));
  EXPECT_EQ(written.id, read.id);
  EXPECT_EQ(read.reachable, 1);
  ASSERT_EQ(written.type, read.type);
  switch (written.type) {
    case NODE_GROUP: case NODE_PRS_ANIMATION: {
      const auto& a = As<GroupNode>(written);
      const auto& b = As<GroupNode>(read);
      EXPECT_EQ(a.parentId, b.parentId);
      EXPECT_EQ(Cut(a.name), b.name);
      if (written.type == NODE_GROUP) {
        EXPECT_EQ(a.customType & 0xFFFF, b.customType);
        ExpectSameTransform(a.transform, b.transform, true, "group");
      } else {
        ExpectSameAnimation(As<PRSAnimationGroup>(written), As<PRSAnimationGroup>(read));
      }
      break;
    }
    case NODE_GEOMETRY: {
      const auto& a = As<GeometryNode>(written);
      const auto& b = As<GeometryNode>(read);
      EXPECT_EQ(a.parentId, b.parentId);
      EXPECT_EQ(Cut(a.name), b.name);
      ExpectSameTransform(a.transform, b.transform, true, "geometry");
      break;
    }
    case NODE_MESH: {
      const auto& a = As<MeshNode>(written);
      const auto& b = As<MeshNode>(read);
      EXPECT_EQ(a.parentId, b.parentId);
      EXPECT_EQ(Cut(a.name), b.name);
      ASSERT_EQ(a.submeshes.size(), b.submeshes.size());
      for (size_t i = 0; i < a.submeshes.size(); ++i) ExpectSameSubmesh(a.submeshes[i], b.submeshes[i]);
      break;
    }
    case NODE_CAMERA: {
      const auto& a = As<CameraNode>(written);
      const auto& b = As<CameraNode>(read);
      EXPECT_EQ(a.parentId, b.parentId);
      EXPECT_EQ(a.targetId, b.targetId);
      EXPECT_EQ(Cut(a.name), b.name);
      ExpectSameTransform(a.transform, b.transform, false, "camera");
      ExpectSameFloats(&a.fov, &b.fov, 1, "fov");
      ExpectSameFloats(&a.nearClip, &b.nearClip, 1, "nearClip");
      ExpectSameFloats(&a.farClip, &b.farClip, 1, "farClip");
      break;
    }
    case NODE_MATERIAL: {
      const auto& a = As<MaterialNode>(written);
      const auto& b = As<MaterialNode>(read);
      EXPECT_EQ(a.diffuse, b.diffuse);
      EXPECT_EQ(a.specular, b.specular);
      EXPECT_EQ(a.ambient, b.ambient);
      EXPECT_EQ(a.emissive, b.emissive);
      ExpectSameFloats(&a.specularPower, &b.specularPower, 1, "specularPower");
      EXPECT_EQ(a.flags, b.flags);
      EXPECT_EQ(a.shadingMode, b.shadingMode);
      EXPECT_EQ(a.sourceBlend & 0xFF, b.sourceBlend);
      EXPECT_EQ(a.targetBlend & 0xFF, b.targetBlend);
      ExpectSameFloats(&a.polygonOffset, &b.polygonOffset, 1, "polygonOffset");
      break;
    }
    case NODE_VERTEX_BUFFER: {
      const auto& a = As<VertexBufferNode>(written);
      const auto& b = As<VertexBufferNode>(read);
      ASSERT_EQ(a.lists.size(), b.lists.size());
      // A morphing buffer states its flags once; a static one has its list's.
      if (a.lists.size() >= 2) {
        EXPECT_EQ(a.flags, b.flags);
      }
      for (size_t i = 0; i < a.lists.size(); ++i) {
        const uint32_t flags = a.lists.size() >= 2 ? a.flags : a.lists[i].flags;
        EXPECT_EQ(flags, b.lists[i].flags);
        ExpectSameVertexList(a.lists[i], b.lists[i], a.lists[i].flags);
      }
      break;
    }
    case NODE_FACE_LIST: {
      const auto& a = As<FaceListNode>(written);
      const auto& b = As<FaceListNode>(read);
      ASSERT_EQ(a.indices.size(), b.indices.size());
      for (size_t i = 0; i < a.indices.size(); ++i) EXPECT_EQ(a.indices[i] & 0xFFFF, b.indices[i]) << i;
      break;
    }
    case NODE_TRIANGLE_INFO_BUFFER: {
      const auto& a = As<TriangleInfoBufferNode>(written);
      const auto& b = As<TriangleInfoBufferNode>(read);
      EXPECT_EQ(a.flags, b.flags);
      ASSERT_EQ(a.triangles.size(), b.triangles.size());
      for (size_t i = 0; i < a.triangles.size(); ++i) {
        const TriangleInfo& x = a.triangles[i];
        const TriangleInfo& y = b.triangles[i];
        if (a.flags & TRIANGLE_COLORS) {
          EXPECT_EQ(x.color1, y.color1);
          EXPECT_EQ(x.color2, y.color2);
          EXPECT_EQ(x.color3, y.color3);
        }
        if (a.flags & TRIANGLE_NORMAL) ExpectSameFloats(x.normal, y.normal, 3, "face normal");
        if (a.flags & TRIANGLE_UVS) ExpectSameFloats(x.cornerUVs, y.cornerUVs, 6, "corner uvs");
      }
      break;
    }
    case NODE_TEXTURE:
      EXPECT_EQ(Cut(As<TextureNode>(written).fileName), As<TextureNode>(read).fileName);
      break;
    case NODE_PARTICLE_SYSTEM: {
      const auto& a = As<ParticleSystemNode>(written);
      const auto& b = As<ParticleSystemNode>(read);
      EXPECT_EQ(a.parentId, b.parentId);
      EXPECT_EQ(Cut(a.name), b.name);
      ExpectSameFloats(&a.scale, &b.scale, 1, "scale");
      EXPECT_EQ(Cut(a.fileName), b.fileName);
      break;
    }
    case NODE_ATTRIBUTE: {
      EXPECT_EQ(As<NodeAttributeNode>(written).parentId, As<NodeAttributeNode>(read).parentId);
      EXPECT_EQ(As<NodeAttributeNode>(written).data, As<NodeAttributeNode>(read).data);
      break;
    }
    case NODE_HELPER: {
      const auto& a = As<HelperNode>(written);
      const auto& b = As<HelperNode>(read);
      EXPECT_EQ(a.parentId, b.parentId);
      EXPECT_EQ(Cut(a.name), b.name);
      ExpectSameFloats(a.position, b.position, 3, "position");
      break;
    }
    case NODE_SPRITE: {
      const auto& a = As<SpriteNode>(written);
      const auto& b = As<SpriteNode>(read);
      EXPECT_EQ(a.parentId, b.parentId);
      EXPECT_EQ(Cut(a.name), b.name);
      ExpectSameFloats(&a.width, &b.width, 1, "width");
      ExpectSameFloats(&a.height, &b.height, 1, "height");
      EXPECT_EQ(Cut(a.fileName), b.fileName);
      EXPECT_EQ(a.spriteType & 0xFF, b.spriteType);
      EXPECT_EQ(a.sourceBlend & 0xFF, b.sourceBlend);
      EXPECT_EQ(a.destBlend & 0xFF, b.destBlend);
      EXPECT_EQ(a.color, b.color);
      break;
    }
    case NODE_LOADER: {
      const auto& a = As<LoaderNode>(written);
      const auto& b = As<LoaderNode>(read);
      EXPECT_EQ(a.parentId, b.parentId);
      EXPECT_EQ(Cut(a.name), b.name);
      ExpectSameTransform(a.transform, b.transform, true, "loader");
      EXPECT_EQ(Cut(a.fileName), b.fileName);
      EXPECT_EQ(a.mergeMode, b.mergeMode);
      break;
    }
    case NODE_LIGHT: {
      const auto& a = As<LightNode>(written);
      const auto& b = As<LightNode>(read);
      EXPECT_EQ(a.parentId, b.parentId);
      EXPECT_EQ(Cut(a.name), b.name);
      ExpectSameTransform(a.transform, b.transform, false, "light");
      EXPECT_EQ(a.lightType & 0xFF, b.lightType);
      for (int i = 0; i < 3; ++i) EXPECT_EQ(a.lightValuesA[i], b.lightValuesA[i]);
      for (int i = 0; i < 3; ++i) EXPECT_EQ(a.lightValuesB[i], b.lightValuesB[i]);
      for (int i = 0; i < 2; ++i) EXPECT_EQ(a.lightValuesC[i], b.lightValuesC[i]);
      break;
    }
    case NODE_MICROPHONE: {
      const auto& a = As<MicrophoneNode>(written);
      const auto& b = As<MicrophoneNode>(read);
      EXPECT_EQ(a.parentId, b.parentId);
      EXPECT_EQ(Cut(a.name), b.name);
      ExpectSameTransform(a.transform, b.transform, false, "microphone");
      EXPECT_EQ(a.microphoneType & 0xFF, b.microphoneType);
      // A whole number in one byte.
      EXPECT_EQ(static_cast<float>(static_cast<uint8_t>(static_cast<int64_t>(std::trunc(a.multiplier)))),
                b.multiplier);
      ExpectSameFloats(&a.range, &b.range, 1, "range");
      break;
    }
    case NODE_SOUND_SOURCE: {
      const auto& a = As<SoundSourceNode>(written);
      const auto& b = As<SoundSourceNode>(read);
      EXPECT_EQ(a.parentId, b.parentId);
      EXPECT_EQ(Cut(a.name), b.name);
      ExpectSameTransform(a.transform, b.transform, false, "sound");
      EXPECT_EQ(a.soundType & 0xFF, b.soundType);
      ExpectSameFloats(&a.multiplier, &b.multiplier, 1, "multiplier");
      ExpectSameFloats(&a.attenuationStart, &b.attenuationStart, 1, "attenuationStart");
      ExpectSameFloats(&a.attenuationEnd, &b.attenuationEnd, 1, "attenuationEnd");
      EXPECT_EQ(a.looping != 0, b.looping != 0);
      EXPECT_EQ(Cut(a.fileName), b.fileName);
      break;
    }
    case NODE_COLLIDER: {
      const auto& a = As<ColliderNode>(written);
      const auto& b = As<ColliderNode>(read);
      EXPECT_EQ(a.parentId, b.parentId);
      EXPECT_EQ(a.colliderType & 0xFFFF, b.colliderType);
      EXPECT_EQ(Cut(a.name), b.name);
      if (a.colliderType == COLLIDER_BOUNDING_VOLUME || a.colliderType == COLLIDER_GEOMETRY) {
        EXPECT_EQ(a.boundingVolumeType & 0xFF, b.boundingVolumeType);
      }
      if (a.colliderType == COLLIDER_BOUNDING_VOLUME || a.colliderType == COLLIDER_CONSTRUCTION) {
        ExpectSameFloats(a.boundsMin, b.boundsMin, 3, "boundsMin");
        ExpectSameFloats(a.boundsMax, b.boundsMax, 3, "boundsMax");
        ExpectSameTransform(a.transform, b.transform, true, "collider");
      }
      if (a.colliderType == COLLIDER_CONSTRUCTION) {
        EXPECT_EQ(a.constructionStartId, b.constructionStartId);
        EXPECT_EQ(a.width, b.width);
        EXPECT_EQ(a.height, b.height);
        EXPECT_EQ(a.baseLevel, b.baseLevel);
        EXPECT_EQ(a.flags, b.flags);
      }
      if (a.colliderType == COLLIDER_GEOMETRY) {
        EXPECT_EQ(a.geometryId, b.geometryId);
      }
      break;
    }
    case NODE_SPRING: {
      const auto& a = As<SpringNode>(written);
      const auto& b = As<SpringNode>(read);
      EXPECT_EQ(a.parentId1, b.parentId1);
      EXPECT_EQ(a.parentId2, b.parentId2);
      ExpectSameFloats(&a.springConstant, &b.springConstant, 1, "springConstant");
      ExpectSameFloats(&a.dampingConstant, &b.dampingConstant, 1, "dampingConstant");
      ExpectSameFloats(&a.length, &b.length, 1, "length");
      ExpectSameFloats(&a.minLengthScale, &b.minLengthScale, 1, "minLengthScale");
      ExpectSameFloats(&a.maxLengthScale, &b.maxLengthScale, 1, "maxLengthScale");
      break;
    }
    default:
      ADD_FAILURE() << "a record of a type the file has no chunk for";
  }
}

// The bytes of every record of `table`, as the writer puts them in a file.
inline std::vector<uint8_t> FileOf(const NodeTable& table) {
  std::vector<uint8_t> bytes;
  for (const auto& [id, node] : table) {
    if (std::unique_ptr<Chunk> chunk = EncodeNode(*node)) {
      const std::vector<uint8_t> more = chunk->Bytes();
      bytes.insert(bytes.end(), more.begin(), more.end());
    }
  }
  return bytes;
}

}  // namespace kvl::testing
