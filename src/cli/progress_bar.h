// The host's progress display on a terminal: one line on standard error,
// redrawn in place, with the bar, the percentage and the current message.
#pragma once

#include <iosfwd>
#include <string>

#include "host/memory_scene.h"

namespace kvl::cli {

class TerminalProgress : public host::ProgressDisplay {
 public:
  explicit TerminalProgress(std::ostream& out, int width = 30) : out_(out), width_(width) {}
  void Start(const char* title) override;
  void Update(int percent, bool showPercent, const char* title) override;
  void End() override;

  // The line as drawn, without the carriage return in front.
  static std::string Line(int percent, const std::string& title, int width);

 private:
  void Draw();
  std::ostream& out_;
  int width_;
  int percent_ = 0;
  std::string title_;
  bool shown_ = false;
};

}  // namespace kvl::cli
