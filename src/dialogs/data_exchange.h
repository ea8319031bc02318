// Moves a dialog's bound values into its controls and, on OK, back out of
// them with their checks, one control at a time. The first value that is no
// number or fails its check stops the exchange with a message for the user.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace kvl {

// What a control holds while a dialog is open.
struct ControlState {
  std::string text;  // edit boxes and labels
  int checked = 0;   // check boxes: 0 or 1
};

using ControlStates = std::map<int, ControlState>;

class DataExchange {
 public:
  // `save` false fills the controls from the values; true reads them back.
  DataExchange(ControlStates& controls, bool save) : controls_(controls), save_(save) {}

  bool Check(int id, int32_t& value);
  bool Uint(int id, uint32_t& value, uint32_t min, uint32_t max, const char* label);
  bool Float(int id, float& value, float min, float max, const char* label);
  bool Text(int id, std::string& value, size_t maxChars, const char* label);

  bool failed() const { return failed_; }
  int failedControl() const { return failedControl_; }
  const std::string& message() const { return message_; }

 private:
  bool Fail(int id, const char* label, const std::string& message);

  ControlStates& controls_;
  bool save_;
  bool failed_ = false;
  int failedControl_ = 0;
  std::string message_;
};

// Numbers as an edit box shows them.
std::string FormatUint(uint32_t value);
std::string FormatFloat(float value);

}  // namespace kvl
