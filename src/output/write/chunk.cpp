#include "output/write/chunk.h"

#include <algorithm>

#include "platform/text_escapes.h"

namespace kvl {

void Chunk::Grow(size_t needed) {
  const size_t capacity = std::max(needed, 2 * capacity_);
  auto data = std::make_unique_for_overwrite<uint8_t[]>(capacity);
  if (size_ != 0) std::memcpy(data.get(), data_.get(), size_);
  data_ = std::move(data);
  capacity_ = capacity;
}

void Chunk::PutBytes(int32_t count, const void* data) {
  if (count <= 0) return;
  Reserve(static_cast<size_t>(count));
  std::memcpy(data_.get() + size_, data, static_cast<size_t>(count));
  size_ += static_cast<size_t>(count);
  if (stream_ && size_ >= STREAM_SLICE) WriteSlice();
}

void Chunk::PutString(std::string_view text) {
  // A UTF-8 name is cut before the character that would not fit whole:
  // half a character would make the stored name invalid text.
  const size_t n = text::CutLength(text, MAX_STRING);
  PutU8(static_cast<uint32_t>(n));
  PutBytes(static_cast<int32_t>(n), text.data());
}

void Chunk::HeaderBytes(uint8_t header[HEADER_SIZE]) const {
  const uint32_t size = stream_ ? declaredSize_ : static_cast<uint32_t>(size_);
  const uint32_t fields[3] = {chunkType_ | uint32_t{version_} << 16, id_, size};
  for (int f = 0; f < 3; ++f) {
    for (int b = 0; b < 4; ++b) header[4 * f + b] = static_cast<uint8_t>(fields[f] >> (8 * b));
  }
}

std::vector<uint8_t> Chunk::Bytes() const {
  std::vector<uint8_t> bytes(HEADER_SIZE);
  HeaderBytes(bytes.data());
  bytes.insert(bytes.end(), data_.get(), data_.get() + size_);
  return bytes;
}

void Chunk::WriteTo(std::FILE* file) const {
  uint8_t header[HEADER_SIZE];
  HeaderBytes(header);
  std::fwrite(header, 1, HEADER_SIZE, file);
  if (size_ != 0) std::fwrite(data_.get(), 1, size_, file);
}

void Chunk::StreamTo(std::FILE* file, uint32_t payloadSize) {
  stream_ = file;
  declaredSize_ = payloadSize;
  uint8_t header[HEADER_SIZE];
  HeaderBytes(header);
  std::fwrite(header, 1, HEADER_SIZE, file);
  Reserve(STREAM_SLICE + 64);
  WriteSlice();  // what was put before streaming began
}

void Chunk::WriteSlice() {
  std::fwrite(data_.get(), 1, size_, stream_);
  streamed_ += size_;
  size_ = 0;
}

bool Chunk::Finish() {
  if (!stream_) return true;
  WriteSlice();
  return streamed_ == declaredSize_;
}

}  // namespace kvl
