#include "sources/json/json_text.h"

#include <cstdio>
#include <set>
#include <vector>

namespace kvl::sources {
namespace {

// Where the parser stands, so that a duplicate key can be named by its path.
class PathTracker {
 public:
  bool OnEvent(Json::parse_event_t event, const Json& parsed) {
    switch (event) {
      case Json::parse_event_t::object_start: Enter(false); break;
      case Json::parse_event_t::array_start: Enter(true); break;
      case Json::parse_event_t::key: OnKey(parsed.get<std::string>()); break;
      case Json::parse_event_t::object_end:
      case Json::parse_event_t::array_end:
        frames_.pop_back();
        ValueDone();
        break;
      case Json::parse_event_t::value: ValueDone(); break;
    }
    return true;
  }

 private:
  struct Frame {
    bool isArray = false;
    size_t count = 0;  // elements completed so far in an array
    std::string key;   // the member being read in an object
    std::set<std::string> keys;
  };

  void Enter(bool isArray) {
    if (frames_.size() >= MAX_JSON_NESTING) {
      Fail(Path(), "nested deeper than " + std::to_string(MAX_JSON_NESTING) + " levels");
    }
    frames_.push_back(Frame{isArray, 0, {}, {}});
  }

  void OnKey(const std::string& key) {
    Frame& top = frames_.back();
    top.key = key;
    if (!top.keys.insert(key).second) Fail(Path(), "key given twice in one object");
  }

  void ValueDone() {
    if (!frames_.empty() && frames_.back().isArray) ++frames_.back().count;
  }

  std::string Path() const {
    std::string path;
    for (const Frame& frame : frames_) {
      path = frame.isArray ? IndexPath(path, frame.count) : MemberPath(path, frame.key);
    }
    return path.empty() ? "document" : path;
  }

  std::vector<Frame> frames_;
};

// The parser's message without its code, with bytes that would not print
// shown as escapes so that the message stays one readable line.
std::string ParserMessage(const std::string& what) {
  std::string text = what;
  if (!text.empty() && text[0] == '[') {
    const size_t close = text.find("] ");
    if (close != std::string::npos) text = text.substr(close + 2);
  }
  std::string clean;
  for (unsigned char ch : text) {
    if (ch >= 0x20 && ch < 0x7F) {
      clean += static_cast<char>(ch);
    } else {
      char buffer[8];
      std::snprintf(buffer, sizeof buffer, "\\x%02X", ch);
      clean += buffer;
    }
  }
  return clean;
}

}  // namespace

Json ParseJsonText(std::string_view text) {
  PathTracker tracker;
  try {
    return Json::parse(text.begin(), text.end(),
                       [&tracker](int, Json::parse_event_t event, Json& parsed) { return tracker.OnEvent(event, parsed); });
  } catch (const Json::parse_error& e) {
    Fail("document", "not valid JSON: " + ParserMessage(e.what()));
  }
}

}  // namespace kvl::sources
