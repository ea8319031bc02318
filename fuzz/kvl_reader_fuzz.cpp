// Any bytes as a KVL file: read, validated, and every chunk that was read
// without a problem encoded again, which must give its bytes back.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <vector>

#include "output/write/binary_writer.h"
#include "output/read/kvl_reader.h"
#include "output/read/kvl_validator.h"

namespace {

bool HasProblemInside(const kvl::KvlDocument& doc, const kvl::ChunkEntry& entry) {
  const size_t end = entry.offset + kvl::Chunk::HEADER_SIZE + entry.size;
  return std::any_of(doc.problems.begin(), doc.problems.end(), [&](const kvl::FileProblem& p) {
    return p.offset >= entry.offset && p.offset < end;
  });
}

void CheckReencoding(std::span<const uint8_t> bytes, const kvl::KvlDocument& doc) {
  for (const auto& [id, node] : doc.table) {
    const kvl::ChunkEntry* entry = doc.ChunkOf(id);
    if (!entry) std::abort();  // a record that came from no chunk
    if (!entry->complete || !entry->decoded || HasProblemInside(doc, *entry)) continue;
    std::unique_ptr<kvl::Chunk> chunk = kvl::EncodeNode(*node);
    if (!chunk) std::abort();
    const std::vector<uint8_t> again = chunk->Bytes();
    const std::span<const uint8_t> original = bytes.subspan(entry->offset, kvl::Chunk::HEADER_SIZE + entry->size);
    if (!std::equal(again.begin(), again.end(), original.begin(), original.end())) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::span<const uint8_t> bytes(data, size);
  // The validation reads the file itself; its document is the reader's.
  const kvl::Validation validation = kvl::ValidateKvl(bytes);
  const kvl::KvlDocument& doc = validation.document;
  if (doc.fileSize != size) std::abort();
  CheckReencoding(bytes, doc);
  if (validation.errors + validation.warnings != validation.problems.size()) std::abort();
  for (const kvl::FileProblem& problem : validation.problems) {
    if (problem.message.empty() || kvl::FormatProblem(problem).empty()) std::abort();
  }
  return 0;
}
