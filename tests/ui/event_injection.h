// Drives FLTK windows the way a person at the screen would: mouse clicks and
// keystrokes are handed to FLTK's own event dispatch, so they reach widgets
// through the same path (modal grab, focus, shortcuts, navigation) as real
// input, and a widget that is inactive or hidden ignores them.
#pragma once

#include <functional>
#include <string_view>
#include <vector>

class Fl_Widget;
class Fl_Window;

namespace kvl::ui::testing {

// Presses and releases the left mouse button over the middle of `widget`.
void Click(Fl_Widget* widget);
// One key press (and its release) for the widget that has the keyboard
// focus; `text` is what the key types, empty for keys such as Tab.
void PressKey(int keysym, std::string_view text = "", int state = 0);
// Clicks into `input`, clears it with Backspace, and types `text`.
void TypeInto(Fl_Widget* input, std::string_view text);

// The innermost modal window (a dialog, or a message box over it).
Fl_Window* ModalWindow();
// The first label under `window` that contains `text`, or null.
Fl_Widget* FindLabel(Fl_Window* window, std::string_view text);

// Runs steps one after the other from the event loop, a little time apart,
// so that a step may open a nested modal loop (a message box) and the next
// step still runs, inside it. If the steps leave a window open for too
// long, every window is closed so that the test ends, and `timedOut` says so.
class Script {
 public:
  explicit Script(std::vector<std::function<void()>> steps) : steps_(std::move(steps)) {}
  ~Script();
  void Start();
  bool Finished() const { return next_ == steps_.size(); }
  bool TimedOut() const { return timedOut_; }

 private:
  static void Tick(void* self);
  static void Watchdog(void* self);
  std::vector<std::function<void()>> steps_;
  size_t next_ = 0;
  bool timedOut_ = false;
};

}  // namespace kvl::ui::testing
