// Checked reading of JSON values for the scene loader. Every reader names
// the JSON path of the value it looks at, checks its type and range before
// it takes it, and refuses with a LoadError that carries "PATH: problem".
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "host/point3.h"

namespace kvl::sources {

using Json = nlohmann::json;

// The one way out of a refused document; caught where loading starts.
struct LoadError {
  std::string message;
};

[[noreturn]] void Fail(const std::string& path, const std::string& problem);

// Paths: "nodes[0].children[2].name", "materials[\"wood\"].diffuse".
std::string KeyPath(const std::string& path, std::string_view key);
std::string EntryPath(const std::string& path, const std::string& key);
// KeyPath for a plain identifier, EntryPath for any other key.
std::string MemberPath(const std::string& path, const std::string& key);
std::string IndexPath(const std::string& path, size_t index);

// A text with its quotes and escapes, as it would stand in JSON.
std::string Quoted(const std::string& text);
// "a string", "an array", ... for messages.
std::string Describe(const Json& value);

void RequireObject(const Json& value, const std::string& path);
void RequireArray(const Json& value, const std::string& path);
void RequireArraySize(const Json& value, const std::string& path, size_t size);
// Refuses the first key of object that is not in allowed.
void CheckKeys(const Json& object, const std::string& path, std::initializer_list<std::string_view> allowed);
// The member, or null if the object does not have it.
const Json* Member(const Json& object, std::string_view key);

bool ReadBool(const Json& value, const std::string& path);
int64_t ReadInteger(const Json& value, const std::string& path, int64_t min, int64_t max);
int32_t ReadTick(const Json& value, const std::string& path);
// Any JSON number that a 32-bit float can hold.
float ReadFloat(const Json& value, const std::string& path);
std::string ReadString(const Json& value, const std::string& path);
// An object key that names a number: "1", "-2". Refuses any other spelling
// and values outside min..max.
int ReadNumberKey(const std::string& key, const std::string& path, int min, int max);
// [x, y, z]
host::Point3 ReadPoint3(const Json& value, const std::string& path);

}  // namespace kvl::sources
