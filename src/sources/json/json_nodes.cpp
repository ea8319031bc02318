// Nodes: names, handles, flags, properties, transforms, material, object and
// children.
#include <limits>

#include "sources/json/json_readers.h"

namespace kvl::sources {
namespace {

void ReadHandle(const Json& value, const std::string& path, host::MemoryNode& node, LoadContext& context) {
  const auto handle =
      static_cast<uint32_t>(ReadInteger(value, path, 1, std::numeric_limits<uint32_t>::max()));
  const auto [it, inserted] = context.handles.emplace(handle, path);
  if (!inserted) Fail(path, "handle " + std::to_string(handle) + " is already used at " + it->second);
  node.handle = handle;
}

void ReadMaterialReference(const Json& value, const std::string& path, host::MemoryNode& node,
                           const LoadContext& context) {
  if (value.is_null()) return;
  const std::string name = ReadString(value, path);
  const auto it = context.materials.find(name);
  if (it == context.materials.end()) Fail(path, "no material named " + Quoted(name) + " in \"materials\"");
  node.material = it->second;
}

void ReadNode(const Json& value, const std::string& path, host::MemoryNode& parent, LoadContext& context) {
  RequireObject(value, path);
  CheckKeys(value, path,
            {"name", "handle", "hidden", "userProperties", "controller", "transform", "keys", "objectOffset",
             "worldSpaceModifier", "material", "object", "children"});

  auto owned = std::make_unique<host::MemoryNode>();
  host::MemoryNode& node = *owned;
  parent.AddChild(std::move(owned));

  if (const Json* v = Member(value, "name")) node.name = ReadString(*v, KeyPath(path, "name"));
  if (const Json* v = Member(value, "handle")) {
    ReadHandle(*v, KeyPath(path, "handle"), node, context);
  } else {
    context.withoutHandle.push_back(&node);
  }
  if (const Json* v = Member(value, "hidden")) node.hidden = ReadBool(*v, KeyPath(path, "hidden"));
  if (const Json* v = Member(value, "userProperties")) {
    node.userProperties = ReadString(*v, KeyPath(path, "userProperties"));
  }
  if (const Json* v = Member(value, "controller")) node.hasController = ReadBool(*v, KeyPath(path, "controller"));
  if (const Json* v = Member(value, "transform")) node.transform = ReadTransform(*v, KeyPath(path, "transform"));
  if (const Json* v = Member(value, "keys")) node.keys = ReadKeys(*v, KeyPath(path, "keys"));
  if (const Json* v = Member(value, "objectOffset")) {
    node.objectOffset = ReadTransform(*v, KeyPath(path, "objectOffset"));
  }
  if (const Json* v = Member(value, "worldSpaceModifier")) {
    node.worldSpaceModifier = ReadBool(*v, KeyPath(path, "worldSpaceModifier"));
  }
  if (const Json* v = Member(value, "material")) ReadMaterialReference(*v, KeyPath(path, "material"), node, context);
  if (const Json* v = Member(value, "object"); v && !v->is_null()) {
    node.object = ReadObject(*v, KeyPath(path, "object"));
  }
  if (const Json* v = Member(value, "children")) ReadNodeList(*v, KeyPath(path, "children"), node, context);
}

}  // namespace

void ReadNodeList(const Json& nodes, const std::string& path, host::MemoryNode& parent, LoadContext& context) {
  RequireArray(nodes, path);
  for (size_t i = 0; i < nodes.size(); ++i) ReadNode(nodes[i], IndexPath(path, i), parent, context);
}

void AssignDefaultHandles(LoadContext& context) {
  uint64_t next = 1;
  for (host::MemoryNode* node : context.withoutHandle) {
    while (context.handles.count(static_cast<uint32_t>(next))) ++next;
    if (next > std::numeric_limits<uint32_t>::max()) Fail("nodes", "more nodes than handles");
    node->handle = static_cast<uint32_t>(next++);
  }
}

}  // namespace kvl::sources
