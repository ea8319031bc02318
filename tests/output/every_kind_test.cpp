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

#include "kvl_compare.h"
#include "output/write/ascii_dump_writer.h"
#include "output/write/binary_writer.h"
#include "output/read/kvl_reader.h"

namespace kvl {
namespace {

const std::filesystem::path kFormatDir = std::filesystem::path(KVL_TEST_DIR) / "data" / "format";

std::vector<uint8_t> FileBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
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
  const std::string file(bytes.begin(), bytes.end());
  const std::string again = testing::WrittenKvl(doc.table);
  EXPECT_EQ(again, file) << "written back, " << testing::FirstDifference("every-kind.kvl", file, again);

  const std::string dump = AsciiDumpText(doc.table);
  const std::filesystem::path keptDump = kFormatDir / "every-kind.txt";
  if (const char* update = std::getenv("KVL_UPDATE_GOLDEN"); update && std::string(update) == "1") {
    std::ofstream(keptDump, std::ios::binary) << dump;
  }
  const std::vector<uint8_t> kept = FileBytes(keptDump);
  const std::string keptText(kept.begin(), kept.end());
  EXPECT_EQ(dump, keptText) << testing::FirstDifference("every-kind.txt", keptText, dump);
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
