// Key-value text: the settings file ("key = value") and a node's property
// text ("key: value"). Any text is accepted; a malformed line yields the
// tokens it holds. For property text, the store remembers which lines no read
// has touched, because those become attribute nodes.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace kvl {

class ConfigStore {
 public:
  ConfigStore(std::string separators, bool consumeOnRead)
      : separators_(std::move(separators)), consumeOnRead_(consumeOnRead) {}
  virtual ~ConfigStore() = default;

  // Adds the key-value pairs of `text`. Line numbers count data lines (not
  // blank, not a comment) from 0.
  void Parse(const char* text);

  // The value for `key` (case folded), or `fallback` as it came. With
  // consumeOnRead, a hit removes the whole line the key was first found on.
  const char* GetString(const std::string& key, const char* fallback);
  // The value converted as the C runtime's atoi/atof would: as much of a
  // number as the text starts with, 0 for none.
  int32_t GetInt(const std::string& key, int32_t fallback);
  double GetFloat(const std::string& key, double fallback);

  // Data lines that no read has consumed, by line number, trimmed.
  const std::map<int, std::string>& RemainingLines() const { return lines_; }
  // Per key (case folded), the line of the text (from 1, every line
  // counted) where it first stands: for messages that point there.
  const std::map<std::string, int>& TextLines() const { return keyTextLines_; }

 private:
  std::map<std::string, std::string> values_;
  std::map<int, std::string> lines_;
  std::map<std::string, int> keyLines_;
  std::map<std::string, int> keyTextLines_;
  std::string separators_;
  bool consumeOnRead_;
};

// Removes blanks, CRs and LFs from both ends; tabs stay.
std::string TrimConfigText(const std::string& text);

}  // namespace kvl
