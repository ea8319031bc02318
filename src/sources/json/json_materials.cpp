// Materials by name: standard materials with their maps, and
// multi-materials made of standard ones.
#include "host/memory_materials.h"
#include "sources/json/json_readers.h"

namespace kvl::sources {
namespace {

host::Color ReadColor(const Json& value, const std::string& path) {
  const host::Point3 p = ReadPoint3(value, path);
  return {p.x, p.y, p.z};
}

void ReadMaps(const Json& value, const std::string& path, host::MemoryStdMtl& material) {
  RequireObject(value, path);
  for (auto it = value.begin(); it != value.end(); ++it) {
    const std::string slotPath = EntryPath(path, it.key());
    const int slot = ReadNumberKey(it.key(), slotPath, 0, host::STD_NUM_MAPS - 1);
    const Json& entry = it.value();
    RequireObject(entry, slotPath);
    CheckKeys(entry, slotPath, {"state", "file"});
    host::MemoryMapSlot& target = material.maps[static_cast<size_t>(slot)];
    target.state = 2;
    if (const Json* state = Member(entry, "state")) {
      target.state = static_cast<int>(ReadInteger(*state, KeyPath(slotPath, "state"), INT32_MIN, INT32_MAX));
    }
    const Json* file = Member(entry, "file");
    if (!file) Fail(slotPath, "missing \"file\", the bitmap's file name");
    target.map = std::make_unique<host::MemoryBitmapTex>(ReadString(*file, KeyPath(slotPath, "file")));
  }
}

std::unique_ptr<host::Mtl> ReadStandard(const Json& value, const std::string& path, const std::string& name) {
  CheckKeys(value, path,
            {"type", "ambient", "diffuse", "specular", "selfIllumColor", "selfIllum", "shinStr", "opacity", "wire",
             "wireUnits", "twoSided", "falloffOut", "wireSize", "transparencyType", "maps"});
  auto material = std::make_unique<host::MemoryStdMtl>();
  material->name = name;
  const std::pair<const char*, host::Color*> colors[] = {{"ambient", &material->ambient},
                                                         {"diffuse", &material->diffuse},
                                                         {"specular", &material->specular},
                                                         {"selfIllumColor", &material->selfIllumColor}};
  for (const auto& [key, target] : colors) {
    if (const Json* v = Member(value, key)) *target = ReadColor(*v, KeyPath(path, key));
  }
  const std::pair<const char*, float*> amounts[] = {{"selfIllum", &material->selfIllum},
                                                    {"shinStr", &material->shinStr},
                                                    {"opacity", &material->opacity},
                                                    {"wireSize", &material->wireSize}};
  for (const auto& [key, target] : amounts) {
    if (const Json* v = Member(value, key)) *target = ReadFloat(*v, KeyPath(path, key));
  }
  const std::pair<const char*, bool*> switches[] = {{"wire", &material->wire},
                                                    {"wireUnits", &material->wireUnits},
                                                    {"twoSided", &material->twoSided},
                                                    {"falloffOut", &material->falloffOut}};
  for (const auto& [key, target] : switches) {
    if (const Json* v = Member(value, key)) *target = ReadBool(*v, KeyPath(path, key));
  }
  if (const Json* v = Member(value, "transparencyType")) {
    material->transparencyType =
        static_cast<int>(ReadInteger(*v, KeyPath(path, "transparencyType"), INT32_MIN, INT32_MAX));
  }
  if (const Json* v = Member(value, "maps")) ReadMaps(*v, KeyPath(path, "maps"), *material);
  return material;
}

// Sub-materials are looked up by name once every standard material exists.
void ReadSubMaterials(const Json& value, const std::string& path, host::MemoryMultiMtl& multi,
                      const LoadContext& context) {
  CheckKeys(value, path, {"type", "subMaterials"});
  const Json* subs = Member(value, "subMaterials");
  if (!subs) return;
  const std::string subsPath = KeyPath(path, "subMaterials");
  RequireArray(*subs, subsPath);
  for (size_t i = 0; i < subs->size(); ++i) {
    const std::string subPath = IndexPath(subsPath, i);
    const Json& entry = (*subs)[i];
    if (entry.is_null()) {
      multi.subMaterials.push_back(nullptr);
      continue;
    }
    const std::string name = ReadString(entry, subPath);
    const auto it = context.materials.find(name);
    if (it == context.materials.end()) Fail(subPath, "no material named " + Quoted(name) + " in \"materials\"");
    if (it->second->ClassID() == host::MULTI_CLASS_ID) {
      Fail(subPath, Quoted(name) + " is a multi-material; a multi-material's sub-materials must be standard materials");
    }
    multi.subMaterials.push_back(it->second);
  }
}

}  // namespace

void ReadMaterials(const Json& materials, const std::string& path, host::MemoryScene& scene, LoadContext& context) {
  RequireObject(materials, path);
  std::vector<std::pair<host::MemoryMultiMtl*, const Json*>> multis;
  for (auto it = materials.begin(); it != materials.end(); ++it) {
    const std::string materialPath = EntryPath(path, it.key());
    const Json& value = it.value();
    RequireObject(value, materialPath);
    const Json* type = Member(value, "type");
    if (!type) Fail(materialPath, "missing \"type\" (standard or multi)");
    const std::string kind = ReadString(*type, KeyPath(materialPath, "type"));
    std::unique_ptr<host::Mtl> material;
    if (kind == "standard") {
      material = ReadStandard(value, materialPath, it.key());
    } else if (kind == "multi") {
      auto multi = std::make_unique<host::MemoryMultiMtl>();
      multi->name = it.key();
      multis.emplace_back(multi.get(), &value);
      material = std::move(multi);
    } else {
      Fail(KeyPath(materialPath, "type"), "unknown material type " + Quoted(kind) + " (standard or multi)");
    }
    context.materials[it.key()] = material.get();
    scene.materials.push_back(std::move(material));
  }
  for (const auto& [multi, value] : multis) {
    ReadSubMaterials(*value, EntryPath(path, multi->name), *multi, context);
  }
}

}  // namespace kvl::sources
