#include "sources/json/json_values.h"

#include <cfloat>
#include <cmath>
#include <limits>
#include <vector>

namespace kvl::sources {

namespace {

// A path that deep nesting has made long shows its first and last steps:
// where the trouble starts and where it is, not kilobytes of "children[0]".
std::string ShortPath(const std::string& path) {
  constexpr size_t kStepsShown = 4;
  std::vector<size_t> starts;  // the dot before each member after the first
  for (size_t i = 1; i < path.size(); ++i) {
    if (path[i] == '.') starts.push_back(i);
  }
  if (starts.size() <= 2 * kStepsShown) return path;
  const size_t headEnd = starts[kStepsShown - 1];
  const size_t tailStart = starts[starts.size() - kStepsShown];
  const size_t hidden = starts.size() - 2 * kStepsShown + 1;
  return path.substr(0, headEnd) + ".(" + std::to_string(hidden) + " more)" + path.substr(tailStart);
}

}  // namespace

void Fail(const std::string& path, const std::string& problem) { throw LoadError{ShortPath(path) + ": " + problem}; }

std::string KeyPath(const std::string& path, std::string_view key) {
  return path.empty() ? std::string(key) : path + "." + std::string(key);
}

std::string EntryPath(const std::string& path, const std::string& key) { return path + "[" + Quoted(key) + "]"; }

std::string MemberPath(const std::string& path, const std::string& key) {
  bool plain = !key.empty() && !(key[0] >= '0' && key[0] <= '9');
  for (char ch : key) {
    plain = plain && ((ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9') || ch == '_');
  }
  return plain ? KeyPath(path, key) : EntryPath(path, key);
}

std::string IndexPath(const std::string& path, size_t index) { return path + "[" + std::to_string(index) + "]"; }

std::string Quoted(const std::string& text) {
  return Json(text).dump(-1, ' ', true, Json::error_handler_t::replace);
}

std::string Describe(const Json& value) {
  switch (value.type()) {
    case Json::value_t::null: return "null";
    case Json::value_t::object: return "an object";
    case Json::value_t::array: return "an array";
    case Json::value_t::string: return "a string";
    case Json::value_t::boolean: return value.get<bool>() ? "true" : "false";
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned:
    case Json::value_t::number_float: return "the number " + value.dump();
    default: return "a value of another kind";
  }
}

void RequireObject(const Json& value, const std::string& path) {
  if (!value.is_object()) Fail(path, "expected an object, found " + Describe(value));
}

void RequireArray(const Json& value, const std::string& path) {
  if (!value.is_array()) Fail(path, "expected an array, found " + Describe(value));
}

void RequireArraySize(const Json& value, const std::string& path, size_t size) {
  RequireArray(value, path);
  if (value.size() != size) {
    Fail(path, "expected " + std::to_string(size) + " elements, found " + std::to_string(value.size()));
  }
}

void CheckKeys(const Json& object, const std::string& path, std::initializer_list<std::string_view> allowed) {
  for (auto it = object.begin(); it != object.end(); ++it) {
    bool known = false;
    for (std::string_view key : allowed) known = known || it.key() == key;
    if (known) continue;
    std::string list;
    for (std::string_view key : allowed) list += (list.empty() ? "" : ", ") + std::string(key);
    Fail(MemberPath(path, it.key()), "unknown key (allowed here: " + list + ")");
  }
}

const Json* Member(const Json& object, std::string_view key) {
  auto it = object.find(key);
  return it == object.end() ? nullptr : &*it;
}

bool ReadBool(const Json& value, const std::string& path) {
  if (!value.is_boolean()) Fail(path, "expected true or false, found " + Describe(value));
  return value.get<bool>();
}

int64_t ReadInteger(const Json& value, const std::string& path, int64_t min, int64_t max) {
  if (!value.is_number_integer()) Fail(path, "expected an integer, found " + Describe(value));
  const std::string range = "(" + std::to_string(min) + " to " + std::to_string(max) + ")";
  if (value.is_number_unsigned()) {
    const uint64_t u = value.get<uint64_t>();
    if (u > static_cast<uint64_t>(max) || (min > 0 && u < static_cast<uint64_t>(min))) Fail(path, value.dump() + " is out of range " + range);
    return static_cast<int64_t>(u);
  }
  const int64_t i = value.get<int64_t>();
  if (i < min || i > max) Fail(path, value.dump() + " is out of range " + range);
  return i;
}

int32_t ReadTick(const Json& value, const std::string& path) {
  return static_cast<int32_t>(
      ReadInteger(value, path, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}

float ReadFloat(const Json& value, const std::string& path) {
  if (!value.is_number()) Fail(path, "expected a number, found " + Describe(value));
  const double d = value.get<double>();
  if (!std::isfinite(d) || std::fabs(d) > FLT_MAX) Fail(path, value.dump() + " is out of range of a 32-bit float");
  return static_cast<float>(d);
}

std::string ReadString(const Json& value, const std::string& path) {
  if (!value.is_string()) Fail(path, "expected a string, found " + Describe(value));
  return value.get<std::string>();
}

int ReadNumberKey(const std::string& key, const std::string& path, int min, int max) {
  const std::string range = "(" + std::to_string(min) + " to " + std::to_string(max) + ")";
  const size_t digitsFrom = !key.empty() && key[0] == '-' ? 1 : 0;
  const std::string digits = key.substr(digitsFrom);
  bool canonical = !digits.empty() && digits.size() <= 9 && (digits == "0" || digits[0] != '0');
  for (char ch : digits) canonical = canonical && ch >= '0' && ch <= '9';
  if (!canonical || key == "-0") Fail(path, "key must be a whole number " + range);
  const int value = std::stoi(key);
  if (value < min || value > max) Fail(path, key + " is out of range " + range);
  return value;
}

host::Point3 ReadPoint3(const Json& value, const std::string& path) {
  RequireArraySize(value, path, 3);
  return {ReadFloat(value[0], IndexPath(path, 0)), ReadFloat(value[1], IndexPath(path, 1)),
          ReadFloat(value[2], IndexPath(path, 2))};
}

}  // namespace kvl::sources
