#include "host/message_box.h"

namespace kvl::host {
namespace {
MessageBoxHandler& Handler() {
  static MessageBoxHandler handler;
  return handler;
}
}  // namespace

void SetMessageBoxHandler(MessageBoxHandler handler) { Handler() = std::move(handler); }

int MessageBoxA(HWND /*owner*/, const char* text, const char* caption, unsigned int /*style*/) {
  if (Handler()) Handler()(text ? text : "", caption ? caption : "");
  return 1;
}

}  // namespace kvl::host
