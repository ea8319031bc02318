// One record of the binary scene file while it is being built: a 12-byte
// header (type, version, id, payload size) and the payload. Every value is
// appended byte by byte, least significant first, so the file is the same on
// any host, whatever its own byte order.
#pragma once

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>
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

  // Room for `bytes` more payload bytes in one allocation: an encoder that
  // knows its size saves the doubling on tens of megabytes.
  void Reserve(size_t bytes) {
    if (capacity_ - size_ < bytes) Grow(size_ + bytes);
  }

  void PutBytes(int32_t count, const void* data);  // nothing for count <= 0
  void PutU8(uint32_t value) { PutLittleEndian(value, 1); }  // the low 8 bits
  void PutU16(uint32_t value) { PutLittleEndian(value, 2); }                       // the low 16 bits
  void PutU32(uint32_t value) { PutLittleEndian(value, 4); }
  // The value's IEEE 754 bits, as PutU32 would write them.
  void PutF32(float value) { PutU32(std::bit_cast<uint32_t>(value)); }
  void PutVec2(const float p[2]) {
    PutF32(p[0]);
    PutF32(p[1]);
  }
  void PutVec3(const float p[3]) {
    PutVec2(p);
    PutF32(p[2]);
  }
  void PutQuat(const float p[4]) {  // x, y, z, w
    PutVec3(p);
    PutF32(p[3]);
  }
  void PutString(std::string_view text);  // length byte, then at most 255 bytes

  // From here on the chunk goes straight to `file`: the header at once, with
  // `payloadSize` as the size the encoder is about to write, and the payload
  // in slices as it is made, so that a buffer of tens of megabytes is never
  // held twice. Finish writes the last slice; false if the payload did not
  // come to `payloadSize` bytes (the file is then wrong, and must not stand).
  void StreamTo(std::FILE* file, uint32_t payloadSize);
  bool Finish();
  // For an encoder that knows its payload's size: streams it to `file` when
  // one is given, else makes room for it in memory.
  void Prepare(std::FILE* file, uint64_t payloadSize) {
    if (file) {
      StreamTo(file, static_cast<uint32_t>(payloadSize));
    } else {
      Reserve(payloadSize);
    }
  }

  // Header and payload, as the file holds them.
  std::vector<uint8_t> Bytes() const;
  // Writes header and payload; stream errors are the caller's to detect.
  void WriteTo(std::FILE* file) const;

  uint16_t chunkType() const { return chunkType_; }
  uint16_t version() const { return version_; }
  uint32_t id() const { return id_; }
  std::span<const uint8_t> payload() const { return {data_.get(), size_}; }

 private:
  // The 12 header bytes, least significant first.
  void HeaderBytes(uint8_t header[HEADER_SIZE]) const;
  // `count` bytes of `value`, least significant first. A vertex buffer is
  // tens of millions of these, so the common case is a bounds check and
  // one store, inline.
  void PutLittleEndian(uint32_t value, int count) {
    if (capacity_ - size_ < 4) Grow(size_ + 4);
    uint8_t* at = data_.get() + size_;
    at[0] = static_cast<uint8_t>(value);
    at[1] = static_cast<uint8_t>(value >> 8);
    at[2] = static_cast<uint8_t>(value >> 16);
    at[3] = static_cast<uint8_t>(value >> 24);
    size_ += static_cast<size_t>(count);
    if (stream_ && size_ >= STREAM_SLICE) WriteSlice();
  }
  // At least `needed` bytes of room, at least doubling.
  void Grow(size_t needed);
  void WriteSlice();

  static constexpr size_t STREAM_SLICE = 1 << 20;

  uint16_t chunkType_;
  uint16_t version_;
  uint32_t id_;
  // The payload made so far (while streaming, what is not yet written).
  std::unique_ptr<uint8_t[]> data_;
  size_t size_ = 0;
  size_t capacity_ = 0;
  std::FILE* stream_ = nullptr;  // set while streaming
  uint32_t declaredSize_ = 0;    // what the streamed header says
  uint64_t streamed_ = 0;        // payload bytes written so far
};

}  // namespace kvl
