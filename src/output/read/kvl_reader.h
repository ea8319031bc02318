// Reads a binary scene file back into node records.
//
// The reader trusts nothing in the file: every length is checked against the
// bytes that are left before anything is read, and no count is believed
// until the bytes it claims are there. What it cannot read it reports, with
// the file offset and the chunk, and skips by the chunk's size field where
// that is possible. The records it fills are those of the writer, so what
// was read can be encoded again and compared byte for byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "scene/node_table.h"
#include "scene/record_kinds.h"

namespace kvl {

enum class Severity { WARNING, ERROR };

// One thing wrong with a file, and where it is.
struct FileProblem {
  size_t offset = 0;      // file offset of the faulty bytes (or of their chunk)
  bool inChunk = false;   // false for problems of the file as a whole
  uint16_t chunkType = 0;
  uint32_t id = 0;        // the chunk header's id
  Severity severity = Severity::ERROR;
  std::string message;    // what is wrong, with "(expected ..., found ...)" where it helps
};

// A chunk as the file holds it, whether or not it could be decoded.
struct ChunkEntry {
  size_t offset = 0;  // of the header
  uint16_t chunkType = 0;
  uint16_t version = 0;
  uint32_t id = 0;
  uint32_t size = 0;      // payload size from the header
  bool complete = false;  // the whole payload lies inside the file
  bool decoded = false;   // a record was made from it
};

struct KvlDocument {
  // The records read, under their ids. A second chunk with an id that is
  // taken already is reported and not filed.
  NodeTable table;
  std::vector<ChunkEntry> chunks;  // in file order
  std::vector<FileProblem> problems;
  size_t fileSize = 0;

  // The chunk whose record is filed under `id`, or else the first chunk
  // with that id; null if no chunk has it.
  const ChunkEntry* ChunkOf(uint32_t id) const;
  size_t Count(Severity severity) const;

  std::map<uint32_t, size_t> chunkById;  // id -> index into `chunks` (see ChunkOf)
};

// Decodes every chunk of `bytes`. Never fails: what cannot be read is in
// `problems`.
// A problem found inside `chunk`, at byte `offset` of the file.
FileProblem ChunkProblem(const ChunkEntry& chunk, size_t offset, Severity severity, std::string message);

KvlDocument ReadKvl(std::span<const uint8_t> bytes);

// The whole file, or false with a reason in `error`.
bool ReadFileBytes(const std::string& path, std::vector<uint8_t>& bytes, std::string& error);

// A readable name for a chunk type of the format ("vertex buffer"), empty
// for a type the format does not have. NodeTypeName (scene/record_kinds.h)
// names a record type.
std::string ChunkTypeName(uint16_t chunkType);

// "offset 0x0000001C: chunk 1001 (vertex buffer) id 5: error: ..."
std::string FormatProblem(const FileProblem& problem);

}  // namespace kvl
