#include "output/write/chunk.h"

#include <bit>

#include "platform/text_escapes.h"

namespace kvl {

void Chunk::PutBytes(int32_t count, const void* data) {
  if (count <= 0) return;
  const auto* bytes = static_cast<const uint8_t*>(data);
  payload_.insert(payload_.end(), bytes, bytes + count);
}

void Chunk::PutU8(uint32_t value) { payload_.push_back(static_cast<uint8_t>(value)); }

void Chunk::PutU16(uint32_t value) {
  PutU8(value);
  PutU8(value >> 8);
}

void Chunk::PutU32(uint32_t value) {
  PutU8(value);
  PutU8(value >> 8);
  PutU8(value >> 16);
  PutU8(value >> 24);
}

void Chunk::PutF32(float value) { PutU32(std::bit_cast<uint32_t>(value)); }

void Chunk::PutVec2(const float p[2]) {
  PutF32(p[0]);
  PutF32(p[1]);
}

void Chunk::PutVec3(const float p[3]) {
  PutVec2(p);
  PutF32(p[2]);
}

void Chunk::PutQuat(const float p[4]) {
  PutVec3(p);
  PutF32(p[3]);
}

void Chunk::PutString(std::string_view text) {
  // A UTF-8 name is cut before the character that would not fit whole:
  // half a character would make the stored name invalid text.
  const size_t n = text::CutLength(text, MAX_STRING);
  PutU8(static_cast<uint32_t>(n));
  PutBytes(static_cast<int32_t>(n), text.data());
}

std::vector<uint8_t> Chunk::HeaderBytes() const {
  Chunk header(0, 0, 0);
  header.PutU16(chunkType_);
  header.PutU16(version_);
  header.PutU32(id_);
  header.PutU32(static_cast<uint32_t>(payload_.size()));
  return std::move(header.payload_);
}

std::vector<uint8_t> Chunk::Bytes() const {
  std::vector<uint8_t> bytes = HeaderBytes();
  bytes.insert(bytes.end(), payload_.begin(), payload_.end());
  return bytes;
}

void Chunk::WriteTo(std::FILE* file) const {
  const std::vector<uint8_t> header = HeaderBytes();
  std::fwrite(header.data(), 1, header.size(), file);
  if (!payload_.empty()) std::fwrite(payload_.data(), 1, payload_.size(), file);
}

}  // namespace kvl
