#include "settings/config_store.h"

#include <cctype>
#include <cstdlib>
#include <vector>

namespace kvl {
namespace {

bool IsTrimmed(char c) { return c == ' ' || c == '\r' || c == '\n'; }

// Cuts at every character of `set`; runs of them never make empty tokens.
std::vector<std::string> Split(const std::string& text, const std::string& set) {
  std::vector<std::string> tokens;
  std::string current;
  for (char c : text) {
    if (set.find(c) != std::string::npos) {
      if (!current.empty()) tokens.push_back(std::move(current));
      current.clear();
    } else {
      current += c;
    }
  }
  if (!current.empty()) tokens.push_back(std::move(current));
  return tokens;
}

std::string FoldCase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace

std::string TrimConfigText(const std::string& text) {
  size_t begin = 0, end = text.size();
  while (begin < end && IsTrimmed(text[begin])) ++begin;
  while (end > begin && IsTrimmed(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

void ConfigStore::Parse(const char* text) {
  if (!text) return;
  // Where each non-empty line of the text starts, counting every line from
  // 1: the pieces below skip the empty ones.
  std::vector<int> textLines;
  int textLine = 1;
  bool inPiece = false;
  for (const char* c = text; *c; ++c) {
    if (*c == '\n') {
      ++textLine;
      inPiece = false;
    } else if (!inPiece) {
      textLines.push_back(textLine);
      inPiece = true;
    }
  }
  int lineNumber = 0;
  size_t pieceIndex = 0;
  for (const std::string& piece : Split(text, "\n")) {
    const int pieceTextLine = pieceIndex < textLines.size() ? textLines[pieceIndex] : 0;
    ++pieceIndex;
    const std::string line = TrimConfigText(piece);
    // A "#" starts a comment only at the start of a trimmed line.
    if (line.empty() || line[0] == '#') continue;
    lines_.emplace(lineNumber, line);
    const std::vector<std::string> tokens = Split(line, separators_);
    for (size_t i = 0; i < tokens.size(); i += 2) {
      const std::string key = FoldCase(TrimConfigText(tokens[i]));
      // A key without a value counts as switched on.
      const std::string value = i + 1 < tokens.size() ? TrimConfigText(tokens[i + 1]) : "1";
      // The first occurrence of a key wins.
      if (values_.emplace(key, value).second) {
        keyLines_.emplace(key, lineNumber);
        keyTextLines_.emplace(key, pieceTextLine);
      }
    }
    ++lineNumber;
  }
}

const char* ConfigStore::GetString(const std::string& key, const char* fallback) {
  auto it = values_.find(FoldCase(key));
  if (it == values_.end()) return fallback;
  if (consumeOnRead_) {
    auto line = keyLines_.find(it->first);
    if (line != keyLines_.end()) lines_.erase(line->second);
  }
  return it->second.c_str();
}

int32_t ConfigStore::GetInt(const std::string& key, int32_t fallback) {
  const char* text = GetString(key, nullptr);
  if (!text) return fallback;
  // atoi's result for numbers beyond 32 bits is the low 32 bits of the long
  // value on this platform; strtol gives the same without undefined behaviour.
  return static_cast<int32_t>(static_cast<uint32_t>(std::strtol(text, nullptr, 10)));
}

double ConfigStore::GetFloat(const std::string& key, double fallback) {
  const char* text = GetString(key, nullptr);
  if (!text) return fallback;
  return std::strtod(text, nullptr);
}

}  // namespace kvl
