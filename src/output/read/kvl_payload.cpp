#include "output/read/kvl_payload.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <sstream>

namespace kvl {
namespace {

// A big buffer full of bad floats would otherwise bury everything else.
constexpr int MAX_VALUE_PROBLEMS = 8;
// How far a rotation may stray from unit length before it is reported.
constexpr double QUATERNION_TOLERANCE = 0.01;

std::string FloatText(float value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

}  // namespace

std::string HexText(uint32_t value) {
  char text[9];
  std::snprintf(text, sizeof text, "%X", static_cast<unsigned>(value));
  return text;
}

PayloadReader::PayloadReader(std::span<const uint8_t> payload, const ChunkEntry& chunk,
                             std::vector<FileProblem>& problems)
    : payload_(payload), chunk_(chunk), problems_(problems),
      payloadOffset_(chunk.offset + 12) {}

void PayloadReader::Report(Severity severity, size_t offset, const std::string& message) {
  problems_.push_back(ChunkProblem(chunk_, offset, severity, message));
}

void PayloadReader::Fail(const std::string& message) {
  if (!ok_) return;
  Report(Severity::ERROR, Offset(), message);
  ok_ = false;
}

bool PayloadReader::Need(size_t bytes, const char* field) {
  if (!ok_) return false;
  if (Left() >= bytes) return true;
  Fail(std::string("payload ends inside ") + field + " (expected " + std::to_string(bytes) +
       " bytes, found " + std::to_string(Left()) + ")");
  return false;
}

uint8_t PayloadReader::U8(const char* field) {
  if (!Need(1, field)) return 0;
  return payload_[pos_++];
}

uint16_t PayloadReader::U16(const char* field) {
  if (!Need(2, field)) return 0;
  const uint16_t value = static_cast<uint16_t>(payload_[pos_] | (payload_[pos_ + 1] << 8));
  pos_ += 2;
  return value;
}

uint32_t PayloadReader::U32(const char* field) {
  if (!Need(4, field)) return 0;
  uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = (value << 8) | payload_[pos_ + i];
  pos_ += 4;
  return value;
}

void PayloadReader::ReportValue(size_t offset, Severity severity, const std::string& message) {
  if (++valueProblems_ <= MAX_VALUE_PROBLEMS) {
    Report(severity, offset, message);
  } else if (severity == Severity::ERROR) {
    unlistedErrors_ = true;
  }
}

float PayloadReader::F32(const char* field) {
  const size_t at = Offset();
  const float value = std::bit_cast<float>(U32(field));
  if (ok_ && !std::isfinite(value)) {
    ReportValue(at, Severity::ERROR,
                std::string(field) + " is not a finite number (expected a finite float, found " +
                    FloatText(value) + ")");
  }
  return value;
}

void PayloadReader::Floats(float* out, int count, const char* field) {
  for (int i = 0; i < count; ++i) out[i] = F32(field);
}

void PayloadReader::Quat(float out[4], const char* field) {
  const size_t at = Offset();
  Floats(out, 4, field);
  if (!ok_) return;
  double squares = 0;
  for (int i = 0; i < 4; ++i) squares += static_cast<double>(out[i]) * out[i];
  const double length = std::sqrt(squares);
  if (std::isfinite(length) && std::fabs(length - 1.0) > QUATERNION_TOLERANCE) {
    ReportValue(at, Severity::WARNING,
                std::string(field) + " is not a unit quaternion (expected length 1, found " +
                    FloatText(static_cast<float>(length)) + ")");
  }
}

std::string PayloadReader::Bytes(size_t count, const char* field) {
  if (!Need(count, field)) return {};
  std::string text(reinterpret_cast<const char*>(payload_.data() + pos_), count);
  pos_ += count;
  return text;
}

std::string PayloadReader::String(const char* field) {
  const uint8_t length = U8(field);
  return Bytes(length, field);
}

bool PayloadReader::CountFits(uint64_t count, uint64_t bytesEach, const char* what) {
  if (!ok_) return false;
  if (bytesEach == 0) {
    if (count <= 0xFFFF) return true;
    Fail(std::string(what) + " count is not believable for items that take no bytes (expected at most 65535, found " +
         std::to_string(count) + ")");
    return false;
  }
  if (count <= Left() / bytesEach) return true;
  Fail(std::string(what) + " count does not fit in the payload (expected at most " +
       std::to_string(Left() / bytesEach) + " of " + std::to_string(bytesEach) + " bytes, found " +
       std::to_string(count) + ")");
  return false;
}

void PayloadReader::Finish() {
  if (valueProblems_ > MAX_VALUE_PROBLEMS) {
    Report(unlistedErrors_ ? Severity::ERROR : Severity::WARNING, payloadOffset_,
           std::to_string(valueProblems_ - MAX_VALUE_PROBLEMS) +
               " further bad values in this chunk are not listed");
  }
  if (ok_ && Left() > 0) {
    Report(Severity::ERROR, Offset(),
           std::to_string(Left()) + " bytes left over behind the last field (expected payload size " +
               std::to_string(pos_) + ", found " + std::to_string(payload_.size()) + ")");
  }
}

}  // namespace kvl
