// The binary scene file: one chunk per written node, in ascending id order,
// with no file header and no trailer.
#pragma once

#include <cstdio>
#include <memory>

#include "output/write/chunk.h"
#include "output/write/scene_writer.h"
#include "scene/record_kinds.h"

namespace kvl {

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
