// The log dialog as a model: the whole log text, read-only.
#pragma once

#include <string>

namespace kvl {

class LogDialog {
 public:
  // The text control takes at most this many characters; a toolkit shows
  // the start of a longer log.
  static constexpr size_t MAX_TEXT = 1000000;

  LogDialog(std::string text, void* /*parentWindow*/) : text_(std::move(text)) {}
  // Runs the dialog on the installed toolkit; the end code means nothing.
  int DoModal();
  const std::string& Text() const { return text_; }

 private:
  std::string text_;
};

}  // namespace kvl
