#include "event_injection.h"

#include <FL/Fl.H>
#include <FL/Fl_Group.H>
#include <FL/Fl_Window.H>

#include <string>

namespace kvl::ui::testing {
namespace {

constexpr double kStepSeconds = 0.05;
constexpr double kWatchdogSeconds = 20.0;

// FLTK keeps the current event in these; dispatch reads them from here.
void SetPointer(Fl_Widget* widget) {
  Fl_Window* window = widget->window();
  Fl::e_x = widget->x() + widget->w() / 2;
  Fl::e_y = widget->y() + widget->h() / 2;
  Fl::e_x_root = window->x_root() + Fl::e_x;
  Fl::e_y_root = window->y_root() + Fl::e_y;
}

std::string g_keyText;  // FLTK points into it while a key event is handled

}  // namespace

void Click(Fl_Widget* widget) {
  Fl_Window* window = widget->as_window() ? widget->as_window() : widget->window();
  SetPointer(widget);
  Fl::e_keysym = FL_Button + FL_LEFT_MOUSE;
  Fl::e_state = FL_BUTTON1;
  Fl::e_clicks = 0;
  Fl::e_is_click = 1;
  Fl::handle(FL_PUSH, window);
  Fl::e_state = 0;
  Fl::handle(FL_RELEASE, window);
}

void PressKey(int keysym, std::string_view text, int state) {
  Fl_Window* window = Fl::focus() ? Fl::focus()->window() : ModalWindow();
  if (Fl::focus() && Fl::focus()->as_window()) window = Fl::focus()->as_window();
  g_keyText.assign(text);
  Fl::e_keysym = keysym;
  Fl::e_original_keysym = keysym;
  Fl::e_state = state;
  Fl::e_text = g_keyText.data();
  Fl::e_length = static_cast<int>(g_keyText.size());
  Fl::handle(FL_KEYBOARD, window);
  Fl::e_length = 0;
  Fl::handle(FL_KEYUP, window);
  Fl::e_state = 0;
}

void TypeInto(Fl_Widget* input, std::string_view text) {
  Click(input);
  PressKey(FL_End);
  for (int i = 0; i < 64; ++i) PressKey(FL_BackSpace);
  for (char c : text) PressKey(static_cast<unsigned char>(c), std::string(1, c));
}

Fl_Window* ModalWindow() { return Fl::modal(); }

Fl_Widget* FindLabel(Fl_Window* window, std::string_view text) {
  if (!window) return nullptr;
  for (int i = 0; i < window->children(); ++i) {
    Fl_Widget* child = window->child(i);
    if (child->label() && std::string_view(child->label()).find(text) != std::string_view::npos) return child;
  }
  return nullptr;
}

Script::~Script() {
  Fl::remove_timeout(Tick, this);
  Fl::remove_timeout(Watchdog, this);
}

void Script::Start() {
  Fl::add_timeout(kStepSeconds, Tick, this);
  Fl::add_timeout(kWatchdogSeconds, Watchdog, this);
}

void Script::Tick(void* self) {
  auto* script = static_cast<Script*>(self);
  if (script->next_ >= script->steps_.size()) return;
  // The next step is due even while this one waits in a nested loop.
  const std::function<void()>& step = script->steps_[script->next_++];
  if (script->next_ < script->steps_.size()) Fl::add_timeout(kStepSeconds, Tick, self);
  step();
}

void Script::Watchdog(void* self) {
  static_cast<Script*>(self)->timedOut_ = true;
  while (Fl_Window* window = Fl::first_window()) window->hide();
}

}  // namespace kvl::ui::testing
