// Makes every submesh fit the file's 16-bit fields: a face list holds at
// most 65535 indices, each below 65536, and a triangle info buffer 65535
// triangles. A submesh beyond them becomes consecutive pieces of at most
// 21845 triangles, each with a block of the vertex lists of its own that its
// 32-bit vertexOffset points at.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "scene/node_table.h"

namespace kvl {

inline constexpr uint32_t FILE_LIMIT = 65535;
inline constexpr uint32_t TRIANGLES_PER_PIECE = FILE_LIMIT / 3;  // 21845

struct SplitReport {
  std::string meshName;
  uint64_t triangles = 0;
  uint64_t pieces = 0;
  bool refused = false;  // more pieces than a mesh chunk can count: left out
};

// True if a submesh of `mesh` is beyond what the file can hold.
bool NeedsSplit(const NodeTable& table, const MeshNode& mesh);

// Splits each written mesh that needs it; a mesh that fits keeps every byte.
// New face lists and triangle info buffers take their ids from `allocateId`.
// `maxSubmeshes` is the mesh chunk's limit, lowered only by tests.
std::vector<SplitReport> SplitOversizedMeshes(NodeTable& table, const std::function<uint32_t()>& allocateId,
                                              uint64_t maxSubmeshes = FILE_LIMIT);

// A sequence count is a 16-bit field too, and sequences cannot be split: an
// animation group beyond it loses its sequences, so that no file claims to
// hold them. Reports carry the group's name and its sequence count.
std::vector<SplitReport> DropOversizedAnimations(NodeTable& table, uint64_t maxSequences = FILE_LIMIT);

}  // namespace kvl
