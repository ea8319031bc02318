// Comparing a file with its kept copy, for the tests that keep outputs as
// data: where two files part (the line of a text, or the offset and chunk
// of a KVL file), and the bytes a table of records writes.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "output/write/binary_writer.h"
#include "output/read/kvl_reader.h"

namespace kvl::testing {

inline bool IsKvl(const std::string& name) { return name.ends_with(".kvl") || name.ends_with(".KVL"); }

// The first differing line of a text, or for a KVL file the first differing
// byte and the expected chunk that holds it.
inline std::string FirstDifference(const std::string& name, const std::string& expected, const std::string& found) {
  if (IsKvl(name)) {
    size_t at = 0;
    while (at < expected.size() && at < found.size() && expected[at] == found[at]) ++at;
    std::ostringstream s;
    s << name << ": first difference at offset 0x" << std::hex << at << std::dec << " (" << expected.size()
      << " bytes expected, " << found.size() << " found)";
    const KvlDocument doc = ReadKvl({reinterpret_cast<const uint8_t*>(expected.data()), expected.size()});
    for (const ChunkEntry& c : doc.chunks) {
      if (at >= c.offset && at < c.offset + Chunk::HEADER_SIZE + c.size) {
        s << ", in the expected chunk " << c.chunkType << " (" << ChunkTypeName(c.chunkType) << ") id " << c.id
          << " at 0x" << std::hex << c.offset;
      }
    }
    return s.str();
  }
  std::istringstream e(expected), f(found);
  std::string le, lf;
  for (int line = 1;; ++line) {
    const bool moreE = static_cast<bool>(std::getline(e, le)), moreF = static_cast<bool>(std::getline(f, lf));
    if (!moreE && !moreF) return name + ": differs only in its line ends";
    if (!moreE || !moreF || le != lf) {
      return name + " line " + std::to_string(line) + ":\n  expected: " + (moreE ? le : "(end of file)") +
             "\n  found:    " + (moreF ? lf : "(end of file)");
    }
  }
}

// The file the binary writer makes of `table` (its write filter applies).
inline std::string WrittenKvl(const NodeTable& table) {
  char* buffer = nullptr;
  size_t size = 0;
  std::FILE* memory = ::open_memstream(&buffer, &size);
  const bool written = memory && WriteBinaryScene(memory, table);
  if (memory) std::fclose(memory);
  std::string bytes = written ? std::string(buffer, size) : "(the writer failed)";
  std::free(buffer);
  return bytes;
}

}  // namespace kvl::testing
