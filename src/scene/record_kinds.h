// Every kind of record in one table: its chunk in the file, the name
// messages and inspect give it, and whether it has a place in the
// hierarchy. The writer, the reader, the dump, the validator and inspect
// all look a kind up here, so a new kind is one row, not seven switches.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "scene/scene_nodes.h"

namespace kvl {

// Chunk ids of the format. A group's chunk id is its custom type
// (CUSTOM_TYPE_GROUP unless a tool chose another).
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

struct RecordKind {
  NodeType type;
  const char* name;       // "mesh", "animation group", ...
  uint16_t chunkType;     // 0: the file has no chunk for it
  uint16_t firstVersion;  // the chunk versions the writer gives it; a
  uint16_t lastVersion;   // vertex buffer of frames is the one with two
  bool placed;            // has a parent and a place in the hierarchy
};

// The row of a record type, or of a chunk type; null for none.
const RecordKind* RecordKindOf(uint32_t nodeType);
const RecordKind* RecordKindOfChunk(uint16_t chunkType);

// The record type's name, or "node of type N" for a number that is none.
std::string NodeTypeName(uint32_t nodeType);

// Where a placed record stands: its parent, its name (an attribute's text),
// and its position where the record has one.
struct Placement {
  uint32_t parentId = NODE_ID_NONE;
  const std::string* name = nullptr;
  const float* position = nullptr;
};

// Nothing for buffers, resources and springs, which have no place.
std::optional<Placement> PlacementOf(const SceneNode& node);

}  // namespace kvl
