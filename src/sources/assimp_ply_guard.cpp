#include "sources/assimp_ply_guard.h"

#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <sstream>
#include <vector>

#include "sources/assimp_build.h"

namespace kvl::sources {
namespace {

// A header is text; anything longer than this is not one.
constexpr size_t kLongestHeader = 1 << 20;

size_t TypeSize(const std::string& type) {
  static const std::map<std::string, size_t> sizes = {
      {"char", 1},  {"uchar", 1},  {"int8", 1},  {"uint8", 1},  {"short", 2},   {"ushort", 2},  {"int16", 2},
      {"uint16", 2}, {"int", 4},   {"uint", 4},  {"int32", 4},  {"uint32", 4},  {"float", 4},   {"float32", 4},
      {"double", 8}, {"float64", 8}};
  auto found = sizes.find(type);
  return found == sizes.end() ? 0 : found->second;
}

struct Element {
  std::string name;
  unsigned long long count = 0;
  size_t leastBytes = 0;  // per item: fixed properties, and a list's count
};

// A header line for a message: printable, and not too long to read.
std::string Shown(const std::string& line) {
  std::string shown;
  for (char c : line.substr(0, 60)) shown += (c >= ' ' && c <= '~') ? c : '?';
  return "\"" + shown + (line.size() > 60 ? "...\"" : "\"");
}

bool IsCount(const std::string& word) {
  return !word.empty() && word.size() <= 18 && word.find_first_not_of("0123456789") == std::string::npos;
}

// One line of the header, added to `elements`; the problem, or "".
std::string ReadHeaderLine(const std::string& line, std::string& format, std::vector<Element>& elements) {
  std::istringstream words(line);
  std::string keyword, a, b, c, extra;
  words >> keyword;
  if (keyword.empty() || keyword == "comment" || keyword == "obj_info") return "";
  if (keyword == "format") {
    words >> format >> a;
    const bool known = format == "ascii" || format == "binary_little_endian" || format == "binary_big_endian";
    return known && !a.empty() && !(words >> extra) ? "" : "is not a format line";
  }
  if (keyword == "element") {
    Element e;
    words >> e.name >> a;
    if (e.name.empty() || !IsCount(a) || (words >> extra)) return "is not an element line";
    e.count = std::stoull(a);
    elements.push_back(e);
    return "";
  }
  if (keyword == "property") {
    if (elements.empty()) return "is a property before any element";
    words >> a >> b >> c;
    if (a == "list") {
      if (TypeSize(b) == 0 || TypeSize(c) == 0 || !(words >> extra) || (words >> extra)) return "is not a list property";
      elements.back().leastBytes += TypeSize(b);
      return "";
    }
    if (TypeSize(a) == 0 || b.empty() || !c.empty()) return "is not a property line";
    elements.back().leastBytes += TypeSize(a);
    return "";
  }
  return "is not a PLY header line";
}

}  // namespace

std::string CheckPlyFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return "";  // Assimp reports a file it cannot open
  // Assimp picks its PLY reader by the first bytes as well as by the name.
  char magic[3] = {};
  in.read(magic, 3);
  if (FormatOf(path) != "ply" && std::string(magic, in.gcount()) != "ply") return "";
  in.seekg(0);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());

  // Assimp's reader loses its way on lines it does not know (it loops, or
  // reads past its buffers), so the header is read here first, line by line,
  // and only PLY's own grammar passes.
  std::string format;
  std::vector<Element> elements;
  size_t bodyStart = std::string::npos;
  size_t lineStart = 0;
  for (int number = 1; lineStart < bytes.size() && lineStart < kLongestHeader; ++number) {
    const size_t newline = bytes.find('\n', lineStart);
    if (newline == std::string::npos) break;
    std::string line = bytes.substr(lineStart, newline - lineStart);
    lineStart = newline + 1;
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t')) line.pop_back();
    if (number == 1) {
      if (line != "ply") return "cannot import: a PLY file starts with a line \"ply\", not " + Shown(line);
      continue;
    }
    if (line == "end_header") {
      bodyStart = lineStart;
      break;
    }
    const std::string problem = ReadHeaderLine(line, format, elements);
    if (!problem.empty()) return "cannot import: PLY header line " + std::to_string(number) + " " + Shown(line) + " " + problem;
  }
  if (bodyStart == std::string::npos) return "cannot import: PLY header has no end_header line";
  if (format.empty()) return "cannot import: PLY header has no format line";

  const std::string body = bytes.substr(bodyStart);
  // Every item takes at least a byte, so a count beyond the body's size is
  // cut short; checked first, the sums below cannot overflow.
  for (const Element& e : elements) {
    if (e.count > body.size()) {
      return "cannot import: PLY body is cut short: element " + Shown(e.name) + " wants " + std::to_string(e.count) +
             " items in " + std::to_string(body.size()) + " bytes";
    }
  }
  if (format == "ascii") {
    // One item per line.
    std::string line;
    unsigned long long want = 0, lines = 0;
    for (const Element& e : elements) want += e.count;
    std::istringstream text(body);
    while (lines < want && std::getline(text, line)) {
      if (line.find_first_not_of(" \t\r") != std::string::npos) ++lines;
    }
    if (lines < want) {
      return "cannot import: PLY body is cut short: " + std::to_string(lines) + " of " + std::to_string(want) +
             " element lines";
    }
  } else {
    unsigned long long least = 0;
    for (const Element& e : elements) least += e.count * e.leastBytes;
    if (body.size() < least) {
      return "cannot import: PLY body is cut short: " + std::to_string(body.size()) + " bytes where at least " +
             std::to_string(least) + " are needed";
    }
  }
  return "";
}

}  // namespace kvl::sources
