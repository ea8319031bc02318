// The readers of the scene description's parts. Each fills the memory scene
// from one part of the JSON tree, or refuses it with a LoadError.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/memory_scene.h"
#include "sources/json/json_values.h"

namespace kvl::sources {

// What the readers share while one document is read.
struct LoadContext {
  std::map<std::string, host::Mtl*> materials;  // by name
  std::map<uint32_t, std::string> handles;      // each explicit handle, with the path where it was given
  std::vector<host::MemoryNode*> withoutHandle; // in depth-first pre-order
};

// The document's "materials" object, into scene.materials and context.materials.
void ReadMaterials(const Json& materials, const std::string& path, host::MemoryScene& scene, LoadContext& context);

// An array of nodes, appended as children of parent.
void ReadNodeList(const Json& nodes, const std::string& path, host::MemoryNode& parent, LoadContext& context);
// Gives each node without an explicit handle the next value from 1 on that
// no node of the document has.
void AssignDefaultHandles(LoadContext& context);

// A TRS or a matrix.
host::Matrix3 ReadTransform(const Json& value, const std::string& path);
// A non-empty array of keys in ascending ticks.
std::vector<host::TransformKey> ReadKeys(const Json& value, const std::string& path);

std::unique_ptr<host::Object> ReadObject(const Json& value, const std::string& path);

}  // namespace kvl::sources
