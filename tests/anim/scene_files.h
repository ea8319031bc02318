// Test scenes of the animation tests, and KVL files split back into chunks.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace kvl::testing {

// The text of a scene under tests/scenes; fails the test if it is missing.
inline std::string SceneText(const std::string& name) {
  std::ifstream in(std::string(KVL_TEST_DIR) + "/scenes/" + name, std::ios::binary);
  EXPECT_TRUE(in.good()) << "missing scene " << name;
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// One chunk of a KVL file as read back.
struct ReadChunk {
  uint16_t type = 0;
  uint16_t version = 0;
  uint32_t id = 0;
  std::vector<uint8_t> payload;
};

inline uint32_t ReadU32(const std::vector<uint8_t>& bytes, size_t at) {
  return uint32_t{bytes[at]} | uint32_t{bytes[at + 1]} << 8 | uint32_t{bytes[at + 2]} << 16 |
         uint32_t{bytes[at + 3]} << 24;
}

// Splits a file into its chunks by the size field of each header.
inline std::vector<ReadChunk> SplitChunks(const std::vector<uint8_t>& file) {
  std::vector<ReadChunk> chunks;
  size_t at = 0;
  while (at + 12 <= file.size()) {
    ReadChunk c;
    c.type = static_cast<uint16_t>(file[at] | file[at + 1] << 8);
    c.version = static_cast<uint16_t>(file[at + 2] | file[at + 3] << 8);
    c.id = ReadU32(file, at + 4);
    const uint32_t size = ReadU32(file, at + 8);
    if (at + 12 + size > file.size()) break;
    c.payload.assign(file.begin() + static_cast<std::ptrdiff_t>(at + 12),
                     file.begin() + static_cast<std::ptrdiff_t>(at + 12 + size));
    chunks.push_back(std::move(c));
    at += 12 + size;
  }
  EXPECT_EQ(at, file.size()) << "the file does not end with a whole chunk";
  return chunks;
}

}  // namespace kvl::testing
