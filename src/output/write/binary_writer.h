// The binary scene file: one chunk per written node, in ascending id order,
// with no file header and no trailer.
#pragma once

#include <cstdio>
#include <memory>

#include "output/write/chunk.h"
#include "output/write/scene_writer.h"

namespace kvl {

// Chunk ids of the format.
enum ChunkType : uint16_t {
  CHUNK_GEOMETRY = 3,
  CHUNK_MESH = 4,
  CHUNK_CAMERA = 5,
  CHUNK_LIGHT = 6,
  CHUNK_HELPER = 7,
  CHUNK_PARTICLE_SYSTEM = 8,
  CHUNK_SPRITE = 9,
  CHUNK_SOUND_SOURCE = 10,
  CHUNK_MICROPHONE = 11,
  CHUNK_COLLIDER = 12,
  CHUNK_VERTEX_BUFFER = 1001,
  CHUNK_FACE_LIST = 1002,
  CHUNK_MATERIAL = 1003,
  CHUNK_TEXTURE = 1004,
  CHUNK_PRS_ANIMATION = 1005,
  CHUNK_LOADER = 1006,
  CHUNK_SPRING = 1007,
  CHUNK_TRIANGLE_INFO_BUFFER = 1008,
  CHUNK_ATTRIBUTE = 1009,
};

// Size in the file of one vertex of the given format.
uint16_t VertexStride(uint32_t vertexFlags);

// The chunk of one record, or null for a type the file has no chunk for
// (key animation groups, and anything above them).
std::unique_ptr<Chunk> EncodeNode(const SceneNode& node);

// Writes every record that passes the table's write filter. Returns false if
// a write failed.
bool WriteBinaryScene(std::FILE* file, const NodeTable& table);

class BinaryWriter : public SceneWriter {
 public:
  bool Write(const std::string& path, const NodeTable& table) override;
};

}  // namespace kvl
