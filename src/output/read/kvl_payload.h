// A cursor over one chunk's payload that checks every read against the
// bytes left. The first read that does not fit is reported and stops the
// cursor: every later read gives zero, so a decoder can read on without a
// check after each field and look at ok() once at the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "output/read/kvl_reader.h"

namespace kvl {

// Upper-case hexadecimal digits of a value, without a prefix.
std::string HexText(uint32_t value);

class PayloadReader {
 public:
  PayloadReader(std::span<const uint8_t> payload, const ChunkEntry& chunk,
                std::vector<FileProblem>& problems);

  bool ok() const { return ok_; }
  size_t Left() const { return payload_.size() - pos_; }
  size_t Offset() const { return payloadOffset_ + pos_; }  // file offset of the next byte

  uint8_t U8(const char* field);
  uint16_t U16(const char* field);
  uint32_t U32(const char* field);
  // A float that is not finite is reported and kept as it is.
  float F32(const char* field);
  void Floats(float* out, int count, const char* field);
  // A quaternion far from unit length is reported as a warning.
  void Quat(float out[4], const char* field);
  std::string String(const char* field);
  std::string Bytes(size_t count, const char* field);

  // Whether `count` items of `bytesEach` bytes fit in what is left; reports
  // and stops the cursor if not. An item of no bytes cannot be counted by
  // the space it takes, so such counts are held to the 16-bit range.
  bool CountFits(uint64_t count, uint64_t bytesEach, const char* what);

  void Report(Severity severity, size_t offset, const std::string& message);
  // Stops the cursor with an error at the current offset.
  void Fail(const std::string& message);
  // Reports bytes left over behind the last field and how many value
  // problems were not listed one by one.
  void Finish();

 private:
  bool Need(size_t bytes, const char* field);
  void ReportValue(size_t offset, Severity severity, const std::string& message);

  std::span<const uint8_t> payload_;
  const ChunkEntry& chunk_;
  std::vector<FileProblem>& problems_;
  size_t payloadOffset_;
  size_t pos_ = 0;
  bool ok_ = true;
  int valueProblems_ = 0;  // non-finite floats and odd quaternions
  bool unlistedErrors_ = false;
};

}  // namespace kvl
