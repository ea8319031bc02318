#include "cli/progress_bar.h"

#include <algorithm>
#include <ostream>

namespace kvl::cli {

std::string TerminalProgress::Line(int percent, const std::string& title, int width) {
  const int clamped = std::clamp(percent, 0, 100);
  const int filled = clamped * width / 100;
  std::string line = "[" + std::string(static_cast<size_t>(filled), '#') +
                     std::string(static_cast<size_t>(width - filled), '.') + "] ";
  const std::string number = std::to_string(clamped);
  line += std::string(3 - std::min<size_t>(3, number.size()), ' ') + number + "%  " + title;
  // Keep one terminal line: a long message is cut rather than wrapped.
  constexpr size_t kMaxLine = 100;
  if (line.size() > kMaxLine) line.resize(kMaxLine);
  return line;
}

void TerminalProgress::Draw() {
  // Clear to the end of the line so a shorter message leaves nothing behind.
  out_ << '\r' << Line(percent_, title_, width_) << "\x1b[K" << std::flush;
  shown_ = true;
}

void TerminalProgress::Start(const char* title) {
  percent_ = 0;
  title_ = title;
  Draw();
}

void TerminalProgress::Update(int percent, bool, const char* title) {
  percent_ = percent;
  title_ = title;
  Draw();
}

void TerminalProgress::End() {
  if (shown_) out_ << "\r\x1b[K" << std::flush;
  shown_ = false;
}

}  // namespace kvl::cli
