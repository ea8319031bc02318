#include "dialogs/data_exchange.h"

#include <cstdio>
#include <cstdlib>

namespace kvl {
namespace {

const char* SkipBlanks(const char* p) {
  while (*p == ' ' || *p == '\t') ++p;
  return p;
}

// Whole text must be one unsigned decimal number, blanks around allowed.
bool ParseUint(const std::string& text, uint64_t& value) {
  const char* p = SkipBlanks(text.c_str());
  if (*p < '0' || *p > '9') return false;
  char* end = nullptr;
  // Too many digits saturate, and so fail the range check that follows.
  value = std::strtoull(p, &end, 10);
  return *SkipBlanks(end) == '\0';
}

bool ParseFloat(const std::string& text, double& value) {
  const char* p = SkipBlanks(text.c_str());
  if (*p == '\0') return false;
  char* end = nullptr;
  value = std::strtod(p, &end);
  return end != p && *SkipBlanks(end) == '\0';
}

}  // namespace

std::string FormatUint(uint32_t value) { return std::to_string(value); }

std::string FormatFloat(float value) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.6g", static_cast<double>(value));
  return buffer;
}

bool DataExchange::Fail(int id, const char* label, const std::string& message) {
  failed_ = true;
  failedControl_ = id;
  message_ = std::string(label) + ": " + message;
  return false;
}

bool DataExchange::Check(int id, int32_t& value) {
  if (!save_) {
    controls_[id].checked = value;
  } else {
    value = controls_[id].checked;
  }
  return true;
}

bool DataExchange::Uint(int id, uint32_t& value, uint32_t min, uint32_t max, const char* label) {
  if (!save_) {
    controls_[id].text = FormatUint(value);
    return true;
  }
  uint64_t parsed = 0;
  if (!ParseUint(controls_[id].text, parsed)) return Fail(id, label, "Please enter a positive integer.");
  if (parsed < min || parsed > max) {
    return Fail(id, label,
                "Please enter an integer between " + FormatUint(min) + " and " + FormatUint(max) + ".");
  }
  value = static_cast<uint32_t>(parsed);
  return true;
}

bool DataExchange::Float(int id, float& value, float min, float max, const char* label) {
  if (!save_) {
    controls_[id].text = FormatFloat(value);
    return true;
  }
  double parsed = 0;
  if (!ParseFloat(controls_[id].text, parsed)) return Fail(id, label, "Please enter a number.");
  const float narrowed = static_cast<float>(parsed);
  // The limits are 32-bit floats and inclusive.
  if (!(narrowed >= min && narrowed <= max)) {
    return Fail(id, label, "Please enter a number between " + FormatFloat(min) + " and " + FormatFloat(max) + ".");
  }
  value = narrowed;
  return true;
}

bool DataExchange::Text(int id, std::string& value, size_t maxChars, const char* label) {
  if (!save_) {
    controls_[id].text = value;
    return true;
  }
  value = controls_[id].text;
  if (value.size() > maxChars) {
    return Fail(id, label, "Enter no more than " + std::to_string(maxChars) + " characters.");
  }
  return true;
}

}  // namespace kvl
