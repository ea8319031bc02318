// The chunk record and its primitive encoders, byte for byte.
#include <bit>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "byte_builder.h"
#include "output/chunk.h"

namespace kvl {
namespace {

using test::ByteBuilder;
using test::SameBytes;

TEST(ChunkTest, HeaderIsTypeVersionIdSizeLittleEndian) {
  Chunk empty(7, 3, 0x01020304);
  EXPECT_TRUE(SameBytes(ByteBuilder().hex({0x07, 0x00, 0x03, 0x00, 0x04, 0x03, 0x02, 0x01, 0x00, 0x00, 0x00, 0x00}).bytes(),
                        empty.Bytes()));
  EXPECT_TRUE(empty.payload().empty());

  Chunk one(0x1234, 0xABCD, 0xDEADBEEF);
  one.PutU8(0x5A);
  EXPECT_TRUE(SameBytes(
      ByteBuilder().hex({0x34, 0x12, 0xCD, 0xAB, 0xEF, 0xBE, 0xAD, 0xDE, 0x01, 0x00, 0x00, 0x00, 0x5A}).bytes(),
      one.Bytes()));

  // A payload past 255 bytes needs the second byte of the size field.
  Chunk big(1, 1, 0);
  for (int i = 0; i < 0x123; ++i) big.PutU8(static_cast<uint32_t>(i));
  std::vector<uint8_t> bytes = big.Bytes();
  ASSERT_EQ(bytes.size(), 12u + 0x123u);
  EXPECT_TRUE(SameBytes(ByteBuilder().hex({0x01, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x23, 0x01, 0x00, 0x00}).bytes(),
                        std::vector<uint8_t>(bytes.begin(), bytes.begin() + 12)));
}

TEST(ChunkTest, WriteToPutsTheSameBytesOnDisk) {
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  Chunk empty(2, 1, 0);
  empty.WriteTo(file);
  EXPECT_TRUE(SameBytes(ByteBuilder().hex({0x02, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}).bytes(),
                        test::ReadAll(file)));
  std::fclose(file);

  file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  Chunk filled(1004, 1, 9);
  filled.PutString("ab");
  filled.WriteTo(file);
  EXPECT_TRUE(SameBytes(ByteBuilder().header(1004, 1, 9, 3).hex({0x02, 'a', 'b'}).bytes(), test::ReadAll(file)));
  std::fclose(file);
}

TEST(ChunkTest, IntegersGoOutLowByteFirstAndAreCutToTheirWidth) {
  Chunk chunk(1, 1, 0);
  chunk.PutU16(70000);  // 0x11170: only 0x1170 is kept
  chunk.PutU8(0x1FF);
  chunk.PutU16(0xBEEF);
  chunk.PutU32(0x01020304);
  chunk.PutU32(0xFFFFFFFF);
  EXPECT_TRUE(SameBytes(
      ByteBuilder().hex({0x70, 0x11, 0xFF, 0xEF, 0xBE, 0x04, 0x03, 0x02, 0x01, 0xFF, 0xFF, 0xFF, 0xFF}).bytes(),
      chunk.payload()));
}

TEST(ChunkTest, FloatsGoOutAsTheirBitPattern) {
  Chunk chunk(1, 1, 0);
  chunk.PutF32(1.0f);
  chunk.PutU32(std::bit_cast<uint32_t>(1.0f));  // the same field written through the integer path
  chunk.PutF32(-2.0f);
  const float pair[2] = {1.0f, 2.0f};
  const float triple[3] = {0.5f, -1.0f, 0.25f};
  const float quat[4] = {0.0f, 1.0f, 2.0f, 3.0f};
  chunk.PutVec2(pair);
  chunk.PutVec3(triple);
  chunk.PutQuat(quat);
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .hex({0x00, 0x00, 0x80, 0x3F})
                            .hex({0x00, 0x00, 0x80, 0x3F})
                            .hex({0x00, 0x00, 0x00, 0xC0})
                            .hex({0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x00, 0x40})
                            .hex({0x00, 0x00, 0x00, 0x3F, 0x00, 0x00, 0x80, 0xBF, 0x00, 0x00, 0x80, 0x3E})
                            .hex({0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x00, 0x40, 0x00, 0x00,
                                  0x40, 0x40})
                            .bytes(),
                        chunk.payload()));
}

TEST(ChunkTest, StringsTakeALengthByteAndAreCutAt255) {
  Chunk empty(1, 1, 0);
  empty.PutString("");
  EXPECT_TRUE(SameBytes(ByteBuilder().hex({0x00}).bytes(), empty.payload()));

  Chunk shortText(1, 1, 0);
  shortText.PutString("abc");
  EXPECT_TRUE(SameBytes(ByteBuilder().hex({0x03, 'a', 'b', 'c'}).bytes(), shortText.payload()));

  const std::string exactly255(255, 'q');
  Chunk full(1, 1, 0);
  full.PutString(exactly255);
  EXPECT_EQ(full.payload().size(), 256u);
  EXPECT_TRUE(SameBytes(ByteBuilder().u8(0xFF).repeat('q', 255).bytes(), full.payload()));

  // 256 bytes: the last one, here a distinct 'Z', is dropped.
  const std::string over = std::string(255, 'q') + "Z";
  Chunk cut(1, 1, 0);
  cut.PutString(over);
  EXPECT_EQ(cut.payload().size(), 256u);
  EXPECT_TRUE(SameBytes(ByteBuilder().u8(0xFF).repeat('q', 255).bytes(), cut.payload()));

  // No terminator: the next field follows the last character directly.
  Chunk followed(1, 1, 0);
  followed.PutString("x");
  followed.PutU8(0x7E);
  EXPECT_TRUE(SameBytes(ByteBuilder().hex({0x01, 'x', 0x7E}).bytes(), followed.payload()));
}

TEST(ChunkTest, PutBytesAppendsNothingForZeroOrNegativeCounts) {
  const uint8_t data[3] = {0xAA, 0xBB, 0xCC};
  Chunk chunk(1, 1, 0);
  chunk.PutU8(0x11);
  chunk.PutBytes(0, data);
  EXPECT_TRUE(SameBytes(ByteBuilder().hex({0x11}).bytes(), chunk.payload()));
  chunk.PutBytes(-1, data);
  EXPECT_TRUE(SameBytes(ByteBuilder().hex({0x11}).bytes(), chunk.payload()));
  chunk.PutBytes(3, data);
  EXPECT_TRUE(SameBytes(ByteBuilder().hex({0x11, 0xAA, 0xBB, 0xCC}).bytes(), chunk.payload()));
  EXPECT_TRUE(SameBytes(ByteBuilder().header(1, 1, 0, 4).hex({0x11, 0xAA, 0xBB, 0xCC}).bytes(), chunk.Bytes()));
}

}  // namespace
}  // namespace kvl
