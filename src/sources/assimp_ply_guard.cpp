#include "sources/assimp_ply_guard.h"

#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <vector>

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

}  // namespace

std::string CheckPlyFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return "";  // Assimp reports a file it cannot open
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const size_t end = bytes.find("end_header");
  if (end == std::string::npos || end > kLongestHeader) return "cannot import: PLY header has no end_header line";
  size_t bodyStart = bytes.find('\n', end);
  if (bodyStart == std::string::npos) return "cannot import: PLY file ends right after its header";
  ++bodyStart;

  std::istringstream header(bytes.substr(0, end));
  std::string line, format;
  std::vector<Element> elements;
  while (std::getline(header, line)) {
    std::istringstream words(line);
    std::string keyword;
    words >> keyword;
    if (keyword == "format") {
      words >> format;
    } else if (keyword == "element") {
      Element e;
      if (!(words >> e.name >> e.count)) return "cannot import: PLY header line \"" + line + "\" is not an element";
      elements.push_back(e);
    } else if (keyword == "property" && !elements.empty()) {
      std::string type, countType;
      words >> type;
      if (type == "list") {
        words >> countType;
        elements.back().leastBytes += TypeSize(countType);
      } else {
        elements.back().leastBytes += TypeSize(type);
      }
    }
  }

  const std::string body = bytes.substr(bodyStart);
  if (format == "ascii") {
    // One item per line.
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
