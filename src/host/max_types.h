// Small value types of the host's interface: times, intervals, text.
#pragma once

#include <cstdint>
#include <string>

namespace kvl::host {

// Host time, in ticks: 4800 to the second.
using TimeValue = int32_t;
inline constexpr TimeValue TICKS_PER_SECOND = 4800;

class Interval {
 public:
  Interval() = default;
  Interval(TimeValue start, TimeValue end) : start_(start), end_(end) {}
  TimeValue Start() const { return start_; }
  TimeValue End() const { return end_; }

 private:
  TimeValue start_ = 0;
  TimeValue end_ = 0;
};

// The host's narrow text.
class CStr {
 public:
  CStr() = default;
  CStr(const char* text) : text_(text ? text : "") {}
  CStr(std::string text) : text_(std::move(text)) {}
  const char* data() const { return text_.c_str(); }
  int Length() const { return static_cast<int>(text_.size()); }
  const std::string& str() const { return text_; }

 private:
  std::string text_;
};

}  // namespace kvl::host
