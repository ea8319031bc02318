#include "sources/assimp/assimp_ply_guard.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <sstream>
#include <vector>

#include "sources/assimp/assimp_build.h"

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

// The largest count a list's count type can hold, as Assimp's text reader
// does not check it.
unsigned long long CountLimit(const std::string& type) {
  if (type == "char" || type == "int8") return 127;
  if (type == "uchar" || type == "uint8") return 255;
  if (type == "short" || type == "int16") return 32767;
  if (type == "ushort" || type == "uint16") return 65535;
  if (type == "int" || type == "int32") return 2147483647;
  return 4294967295;
}

struct Property {
  bool list = false;
  size_t size = 0;       // of the value, or of each list entry
  std::string countType;  // a list's
};

struct Element {
  std::string name;
  unsigned long long count = 0;
  size_t leastBytes = 0;  // per item: fixed properties, and a list's count
  std::vector<Property> properties;
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
      if (TypeSize(b) == 0 || TypeSize(c) == 0 || !(words >> extra) || (words >> extra)) {
        return "is not a list property";
      }
      elements.back().leastBytes += TypeSize(b);
      elements.back().properties.push_back({true, TypeSize(c), b});
      return "";
    }
    if (TypeSize(a) == 0 || b.empty() || !c.empty()) return "is not a property line";
    elements.back().leastBytes += TypeSize(a);
    elements.back().properties.push_back({false, TypeSize(a), ""});
    return "";
  }
  return "is not a PLY header line";
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

// Text: one item a line, as PLY writes them. A list's count must fit its
// type and its line must hold that many values: Assimp's reader takes any
// number as a count and reads on across lines, which has cost gigabytes.
std::string CheckTextBody(const std::string& body, const std::vector<Element>& elements, int firstLine) {
  size_t at = 0;
  int number = firstLine - 1;
  unsigned long long want = 0, seen = 0;
  for (const Element& e : elements) want += e.count;
  for (const Element& e : elements) {
    for (unsigned long long item = 0; item < e.count; ++item) {
      // The next line with something on it.
      size_t lineStart = 0, lineEnd = 0;
      for (bool blank = true; blank;) {
        if (at >= body.size()) {
          return "PLY body is cut short: " + std::to_string(seen) + " of " + std::to_string(want) + " element lines";
        }
        lineStart = at;
        lineEnd = std::min(body.find('\n', at), body.size());
        at = lineEnd + 1;
        ++number;
        for (size_t i = lineStart; i < lineEnd && blank; ++i) blank = IsBlank(body[i]);
      }
      size_t word = lineStart;
      auto nextWord = [&](std::string& out) {
        while (word < lineEnd && IsBlank(body[word])) ++word;
        const size_t from = word;
        while (word < lineEnd && !IsBlank(body[word])) ++word;
        out.assign(body, from, word - from);
        return !out.empty();
      };
      std::string value;
      for (const Property& property : e.properties) {
        if (!property.list) {
          nextWord(value);
          continue;
        }
        if (!nextWord(value) || !IsCount(value) || std::stoull(value) > CountLimit(property.countType)) {
          return "PLY line " + std::to_string(number) + ": list count " + Shown(value) + " is not a count of type " +
                 property.countType;
        }
        const unsigned long long count = std::stoull(value);
        for (unsigned long long k = 0; k < count; ++k) {
          if (!nextWord(value)) {
            return "PLY line " + std::to_string(number) + ": a list of " + std::to_string(count) +
                   " values does not fit its line";
          }
        }
      }
      ++seen;
    }
  }
  return "";
}

uint64_t ReadUnsigned(const std::string& body, size_t at, size_t size, bool bigEndian) {
  uint64_t value = 0;
  for (size_t i = 0; i < size; ++i) {
    const size_t byte = bigEndian ? i : size - 1 - i;
    value = (value << 8) | static_cast<unsigned char>(body[at + byte]);
  }
  return value;
}

// Binary: item by item, every list's entries within the body.
std::string CheckBinaryBody(const std::string& body, const std::vector<Element>& elements, bool bigEndian) {
  unsigned long long least = 0;
  for (const Element& e : elements) least += e.count * e.leastBytes;
  if (body.size() < least) {
    return "PLY body is cut short: " + std::to_string(body.size()) + " bytes where at least " + std::to_string(least) +
           " are needed";
  }
  size_t at = 0;
  for (const Element& e : elements) {
    for (unsigned long long item = 0; item < e.count; ++item) {
      for (const Property& property : e.properties) {
        const size_t countSize = property.list ? TypeSize(property.countType) : 0;
        if (body.size() - at < countSize) return "PLY body is cut short inside element " + Shown(e.name);
        uint64_t count = 1;
        if (property.list) {
          count = ReadUnsigned(body, at, countSize, bigEndian);
          if (count > CountLimit(property.countType)) count = UINT64_MAX;  // a negative count of a signed type
          at += countSize;
        }
        if (count == UINT64_MAX || count > (body.size() - at) / property.size) {
          return "PLY body is cut short inside element " + Shown(e.name) + " item " + std::to_string(item);
        }
        at += count * property.size;
      }
    }
  }
  return "";
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
  int bodyLine = 0;
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
      bodyLine = number + 1;
      break;
    }
    const std::string problem = ReadHeaderLine(line, format, elements);
    if (!problem.empty()) {
      return "cannot import: PLY header line " + std::to_string(number) + " " + Shown(line) + " " + problem;
    }
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
  const std::string problem = format == "ascii" ? CheckTextBody(body, elements, bodyLine)
                                                : CheckBinaryBody(body, elements, format == "binary_big_endian");
  return problem.empty() ? "" : "cannot import: " + problem;
}

}  // namespace kvl::sources
