// Expected file bytes for the writer tests, spelled out piece by piece.
//
// The expectations are built from literal values only: integers go in least
// significant byte first, floats go in as their IEEE 754 bit patterns written
// out by hand (the F_ constants below), and strings go in as a length byte the
// test writes itself followed by the raw characters. Nothing here calls the
// encoders, so a test compares the writer against an independent account of
// the format.
#pragma once

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "output/binary_writer.h"

namespace kvl::test {

// Bit patterns of the floats used in the tests.
inline constexpr uint32_t F_0 = 0x00000000;
inline constexpr uint32_t F_QUARTER = 0x3E800000;   // 0.25
inline constexpr uint32_t F_HALF = 0x3F000000;      // 0.5
inline constexpr uint32_t F_3_4 = 0x3F400000;       // 0.75
inline constexpr uint32_t F_1 = 0x3F800000;         // 1.0
inline constexpr uint32_t F_1_5 = 0x3FC00000;       // 1.5
inline constexpr uint32_t F_2 = 0x40000000;         // 2.0
inline constexpr uint32_t F_2_5 = 0x40200000;       // 2.5
inline constexpr uint32_t F_3 = 0x40400000;         // 3.0
inline constexpr uint32_t F_4 = 0x40800000;         // 4.0
inline constexpr uint32_t F_5 = 0x40A00000;         // 5.0
inline constexpr uint32_t F_10 = 0x41200000;        // 10.0
inline constexpr uint32_t F_20 = 0x41A00000;        // 20.0
inline constexpr uint32_t F_25 = 0x41C80000;        // 25.0
inline constexpr uint32_t F_50 = 0x42480000;        // 50.0
inline constexpr uint32_t F_100 = 0x42C80000;       // 100.0
inline constexpr uint32_t F_1000 = 0x447A0000;      // 1000.0
inline constexpr uint32_t F_MINUS_1 = 0xBF800000;   // -1.0
inline constexpr uint32_t F_MINUS_2 = 0xC0000000;   // -2.0

class ByteBuilder {
 public:
  ByteBuilder& hex(std::initializer_list<uint8_t> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
  }
  ByteBuilder& u8(uint8_t value) {
    bytes_.push_back(value);
    return *this;
  }
  ByteBuilder& u16(uint16_t value) {
    bytes_.push_back(static_cast<uint8_t>(value & 0xFF));
    bytes_.push_back(static_cast<uint8_t>(value >> 8));
    return *this;
  }
  ByteBuilder& u32(uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) bytes_.push_back(static_cast<uint8_t>((value >> shift) & 0xFF));
    return *this;
  }
  // Several 32-bit words in a row: float vectors, quaternions, id lists.
  ByteBuilder& words(std::initializer_list<uint32_t> values) {
    for (uint32_t v : values) u32(v);
    return *this;
  }
  // Raw characters, with no length byte: the test writes that itself.
  ByteBuilder& text(std::string_view chars) {
    bytes_.insert(bytes_.end(), chars.begin(), chars.end());
    return *this;
  }
  ByteBuilder& repeat(uint8_t byte, size_t count) {
    bytes_.insert(bytes_.end(), count, byte);
    return *this;
  }
  ByteBuilder& append(const std::vector<uint8_t>& more) {
    bytes_.insert(bytes_.end(), more.begin(), more.end());
    return *this;
  }
  // The 12-byte chunk header: type, version, node id, payload size.
  ByteBuilder& header(uint16_t chunkType, uint16_t version, uint32_t id, uint32_t payloadSize) {
    return u16(chunkType).u16(version).u32(id).u32(payloadSize);
  }

  const std::vector<uint8_t>& bytes() const { return bytes_; }
  size_t size() const { return bytes_.size(); }

 private:
  std::vector<uint8_t> bytes_;
};

// Compares byte vectors and, on a mismatch, names the sizes and the first
// differing offset, with a few bytes of both sides around it.
inline ::testing::AssertionResult SameBytes(const std::vector<uint8_t>& expected,
                                            const std::vector<uint8_t>& found) {
  if (expected == found) return ::testing::AssertionSuccess();
  size_t at = 0;
  while (at < expected.size() && at < found.size() && expected[at] == found[at]) ++at;
  auto dump = [at](const std::vector<uint8_t>& bytes) {
    std::ostringstream out;
    size_t from = at >= 8 ? at - 8 : 0;
    for (size_t i = from; i < bytes.size() && i < at + 8; ++i) {
      char cell[8];
      std::snprintf(cell, sizeof cell, i == at ? "[%02X]" : " %02X ", bytes[i]);
      out << cell;
    }
    return out.str();
  };
  return ::testing::AssertionFailure() << "expected " << expected.size() << " bytes, found " << found.size()
                                       << "; first difference at offset " << at << "\n  expected:" << dump(expected)
                                       << "\n  found:   " << dump(found);
}

inline std::vector<uint8_t> ReadFileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline std::vector<uint8_t> ReadAll(std::FILE* file) {
  std::vector<uint8_t> bytes;
  std::rewind(file);
  for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) bytes.push_back(static_cast<uint8_t>(c));
  return bytes;
}

// The whole chunk (header and payload) that the writer makes for `node`.
inline std::vector<uint8_t> Encoded(const SceneNode& node) {
  std::unique_ptr<Chunk> chunk = EncodeNode(node);
  if (!chunk) {
    ADD_FAILURE() << "no chunk for node type " << node.type;
    return {};
  }
  return chunk->Bytes();
}

}  // namespace kvl::test
