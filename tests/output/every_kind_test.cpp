// The format as data. every-kind.kvl holds a chunk of every type and version
// the writer makes (both vertex buffer versions, a buffer of exactly two
// frames, a mesh whose second piece starts at a non-zero vertexOffset, every
// collider shape, an animation group that turns), each one's bytes worked
// out by hand from the record's values; every-kind.txt is its dump, whose
// numbers (rotation axes, colours by alpha, flags in hex) were checked on
// paper for the records that carry them. Its references lead anywhere: it
// is a file of records, not a scene.
// Reading the file and writing it again must give it back byte for byte, so
// the reader, the encoders and the dump are pinned together.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "output/ascii_dump_writer.h"
#include "output/binary_writer.h"
#include "output/kvl_reader.h"

namespace kvl {
namespace {

const std::filesystem::path kFormatDir = std::filesystem::path(KVL_TEST_DIR) / "data" / "format";

std::vector<uint8_t> FileBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<uint8_t> Written(const NodeTable& table) {
  char* buffer = nullptr;
  size_t size = 0;
  std::FILE* memory = ::open_memstream(&buffer, &size);
  EXPECT_TRUE(memory && WriteBinaryScene(memory, table));
  std::fclose(memory);
  std::vector<uint8_t> bytes(buffer, buffer + size);
  std::free(buffer);
  return bytes;
}

// The line where two texts part, for a failure that points at one field.
std::string FirstDifferentLine(const std::string& expected, const std::string& found) {
  size_t line = 1, at = 0;
  while (at < expected.size() && at < found.size() && expected[at] == found[at]) line += expected[at++] == '\n';
  const auto lineAt = [&](const std::string& text) {
    const size_t from = text.rfind('\n', at == 0 ? 0 : at - 1);
    const size_t start = from == std::string::npos || at == 0 ? 0 : from + 1;
    return text.substr(start, text.find('\n', start) - start);
  };
  return "line " + std::to_string(line) + ": expected \"" + lineAt(expected) + "\", found \"" + lineAt(found) + "\"";
}

TEST(EveryKind, ReadWrittenBackAndDumpedAsKept) {
  const std::vector<uint8_t> bytes = FileBytes(kFormatDir / "every-kind.kvl");
  ASSERT_FALSE(bytes.empty());
  KvlDocument doc = ReadKvl(bytes);
  for (const FileProblem& p : doc.problems) {
    if (p.severity == Severity::ERROR) ADD_FAILURE() << FormatProblem(p);
  }
  EXPECT_EQ(doc.table.Size(), doc.chunks.size());

  doc.table.settings.optimize = false;  // every record read is written
  const std::vector<uint8_t> again = Written(doc.table);
  size_t at = 0;
  while (at < bytes.size() && at < again.size() && bytes[at] == again[at]) ++at;
  if (at < bytes.size()) {
    const ChunkEntry* chunk = nullptr;
    for (const ChunkEntry& c : doc.chunks) chunk = c.offset <= at ? &c : chunk;
    ADD_FAILURE() << "written back, the file differs at offset " << at << " of " << bytes.size() << ", in chunk id "
                  << (chunk ? chunk->id : 0);
  }
  EXPECT_EQ(again.size(), bytes.size());

  const std::string dump = AsciiDumpText(doc.table);
  const std::filesystem::path keptDump = kFormatDir / "every-kind.txt";
  if (const char* update = std::getenv("KVL_UPDATE_GOLDEN"); update && std::string(update) == "1") {
    std::ofstream(keptDump, std::ios::binary) << dump;
  }
  const std::vector<uint8_t> kept = FileBytes(keptDump);
  const std::string keptText(kept.begin(), kept.end());
  EXPECT_EQ(dump, keptText) << FirstDifferentLine(keptText, dump);
}

// Cut anywhere, the file is read without a crash: cut between chunks it
// gives the chunks before the cut and no error, cut inside one (or before
// the first, an empty file) it gives an error and keeps the whole chunks
// before it.
TEST(EveryKind, EveryPrefixReadsTheWholeChunksBeforeTheCut) {
  const std::vector<uint8_t> bytes = FileBytes(kFormatDir / "every-kind.kvl");
  const KvlDocument whole = ReadKvl(bytes);
  ASSERT_FALSE(whole.chunks.empty());
  size_t chunksBefore = 0;
  for (size_t cut = 0; cut < bytes.size(); ++cut) {
    while (chunksBefore < whole.chunks.size() && whole.chunks[chunksBefore].offset + Chunk::HEADER_SIZE +
                                                         whole.chunks[chunksBefore].size <= cut) {
      ++chunksBefore;
    }
    const bool atBoundary = (chunksBefore > 0 && whole.chunks[chunksBefore - 1].offset +
                                                                 Chunk::HEADER_SIZE +
                                                                 whole.chunks[chunksBefore - 1].size == cut);
    const KvlDocument doc = ReadKvl(std::span<const uint8_t>(bytes.data(), cut));
    ASSERT_EQ(doc.table.Size(), chunksBefore) << "cut at " << cut;
    ASSERT_EQ(doc.Count(Severity::ERROR) == 0, atBoundary) << "cut at " << cut;
  }
}

}  // namespace
}  // namespace kvl
