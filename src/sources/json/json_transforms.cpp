// Transforms: a TRS or a matrix, and keys over time.
#include <cmath>

#include "sources/json/json_readers.h"

namespace kvl::sources {
namespace {

host::Quat ReadRotation(const Json& value, const std::string& path) {
  RequireArraySize(value, path, 4);
  const host::Quat q(ReadFloat(value[0], IndexPath(path, 0)), ReadFloat(value[1], IndexPath(path, 1)),
                     ReadFloat(value[2], IndexPath(path, 2)), ReadFloat(value[3], IndexPath(path, 3)));
  if (q.x == 0.0f && q.y == 0.0f && q.z == 0.0f && q.w == 0.0f) {
    Fail(path, "a rotation of length zero has no direction");
  }
  const host::Quat unit = q.Normalized();
  // Components near the float limit overflow when squared.
  if (!std::isfinite(unit.x) || !std::isfinite(unit.y) || !std::isfinite(unit.z) || !std::isfinite(unit.w)) {
    Fail(path, "a rotation this large cannot be normalised");
  }
  return unit;
}

// The TRS keys of value, into key; the caller has checked the keys' names.
void ReadTrs(const Json& value, const std::string& path, host::TransformKey& key) {
  if (const Json* v = Member(value, "position")) key.position = ReadPoint3(*v, KeyPath(path, "position"));
  if (const Json* v = Member(value, "rotation")) key.rotation = ReadRotation(*v, KeyPath(path, "rotation"));
  if (const Json* v = Member(value, "scale")) key.scale = ReadPoint3(*v, KeyPath(path, "scale"));
}

}  // namespace

host::Matrix3 ReadTransform(const Json& value, const std::string& path) {
  RequireObject(value, path);
  if (const Json* rows = Member(value, "matrix")) {
    CheckKeys(value, path, {"matrix"});
    const std::string rowsPath = KeyPath(path, "matrix");
    RequireArraySize(*rows, rowsPath, 4);
    host::Matrix3 m;
    for (size_t r = 0; r < 4; ++r) m[static_cast<int>(r)] = ReadPoint3((*rows)[r], IndexPath(rowsPath, r));
    m.ValidateFlags();
    return m;
  }
  CheckKeys(value, path, {"position", "rotation", "scale", "matrix"});
  host::TransformKey trs;
  ReadTrs(value, path, trs);
  return host::TrsMatrix(trs.position, trs.rotation, trs.scale);
}

std::vector<host::TransformKey> ReadKeys(const Json& value, const std::string& path) {
  RequireArray(value, path);
  if (value.empty()) Fail(path, "needs at least one key (leave \"keys\" out for a fixed transform)");
  std::vector<host::TransformKey> keys;
  for (size_t i = 0; i < value.size(); ++i) {
    const std::string keyPath = IndexPath(path, i);
    const Json& item = value[i];
    RequireObject(item, keyPath);
    CheckKeys(item, keyPath, {"tick", "position", "rotation", "scale"});
    const Json* tick = Member(item, "tick");
    if (!tick) Fail(keyPath, "missing \"tick\"");
    host::TransformKey key;
    key.tick = ReadTick(*tick, KeyPath(keyPath, "tick"));
    if (!keys.empty() && key.tick <= keys.back().tick) {
      Fail(KeyPath(keyPath, "tick"), "keys not ascending: tick " + std::to_string(key.tick) +
                                         " is not after the previous key's tick " +
                                         std::to_string(keys.back().tick));
    }
    ReadTrs(item, keyPath, key);
    keys.push_back(key);
  }
  return keys;
}

}  // namespace kvl::sources
