// One record of the binary scene file while it is being built: a 12-byte
// header (type, version, id, payload size) and the payload. Every value is
// appended byte by byte, least significant first, so the file is the same on
// any host, whatever its own byte order.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string_view>
#include <vector>

namespace kvl {

class Chunk {
 public:
  static constexpr size_t HEADER_SIZE = 12;
  // The length byte of a string caps it; longer texts are cut silently, a
  // UTF-8 one before the first character that would not fit whole.
  static constexpr size_t MAX_STRING = 255;

  Chunk(uint16_t chunkType, uint16_t version, uint32_t id)
      : chunkType_(chunkType), version_(version), id_(id) {}
  virtual ~Chunk() = default;

  void PutBytes(int32_t count, const void* data);  // nothing for count <= 0
  void PutU8(uint32_t value);                      // the low 8 bits
  void PutU16(uint32_t value);                     // the low 16 bits
  void PutU32(uint32_t value);
  void PutF32(float value);  // the value's IEEE 754 bits, as PutU32 would write them
  void PutVec2(const float p[2]);
  void PutVec3(const float p[3]);
  void PutQuat(const float p[4]);  // x, y, z, w
  void PutString(std::string_view text);  // length byte, then at most 255 bytes

  // Header and payload, as the file holds them.
  std::vector<uint8_t> Bytes() const;
  // Writes header and payload; stream errors are the caller's to detect.
  void WriteTo(std::FILE* file) const;

  uint16_t chunkType() const { return chunkType_; }
  uint16_t version() const { return version_; }
  uint32_t id() const { return id_; }
  const std::vector<uint8_t>& payload() const { return payload_; }

 private:
  std::vector<uint8_t> HeaderBytes() const;

  uint16_t chunkType_;
  uint16_t version_;
  uint32_t id_;
  std::vector<uint8_t> payload_;
};

}  // namespace kvl
