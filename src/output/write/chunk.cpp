#include "output/write/chunk.h"

#include "platform/text_escapes.h"

namespace kvl {

void Chunk::PutBytes(int32_t count, const void* data) {
  if (count <= 0) return;
  const auto* bytes = static_cast<const uint8_t*>(data);
  payload_.insert(payload_.end(), bytes, bytes + count);
  if (stream_ && payload_.size() >= STREAM_SLICE) WriteSlice();
}

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

void Chunk::HeaderBytes(uint8_t header[HEADER_SIZE]) const {
  const uint32_t size = stream_ ? declaredSize_ : static_cast<uint32_t>(payload_.size());
  const uint32_t fields[3] = {chunkType_ | uint32_t{version_} << 16, id_, size};
  for (int f = 0; f < 3; ++f) {
    for (int b = 0; b < 4; ++b) header[4 * f + b] = static_cast<uint8_t>(fields[f] >> (8 * b));
  }
}

std::vector<uint8_t> Chunk::Bytes() const {
  std::vector<uint8_t> bytes(HEADER_SIZE);
  HeaderBytes(bytes.data());
  bytes.insert(bytes.end(), payload_.begin(), payload_.end());
  return bytes;
}

void Chunk::WriteTo(std::FILE* file) const {
  uint8_t header[HEADER_SIZE];
  HeaderBytes(header);
  std::fwrite(header, 1, HEADER_SIZE, file);
  if (!payload_.empty()) std::fwrite(payload_.data(), 1, payload_.size(), file);
}

void Chunk::StreamTo(std::FILE* file, uint32_t payloadSize) {
  stream_ = file;
  declaredSize_ = payloadSize;
  uint8_t header[HEADER_SIZE];
  HeaderBytes(header);
  std::fwrite(header, 1, HEADER_SIZE, file);
  payload_.reserve(STREAM_SLICE + 64);
  WriteSlice();  // what was put before streaming began
}

void Chunk::WriteSlice() {
  std::fwrite(payload_.data(), 1, payload_.size(), stream_);
  streamed_ += payload_.size();
  payload_.clear();
}

bool Chunk::Finish() {
  if (!stream_) return true;
  WriteSlice();
  return streamed_ == declaredSize_;
}

}  // namespace kvl
