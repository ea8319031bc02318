// Host standard materials into material nodes and their texture nodes, one
// per host material however many meshes use it.
#include "translate/material_translation.h"

#include <cctype>
#include <memory>

#include "translate/translation.h"
#include "host/material.h"

namespace kvl {
namespace {

// The codes the engine knows for its blend factors.
struct BlendCodes {
  uint32_t source;
  uint32_t target;
};

BlendCodes BlendCodesFor(int transparencyType) {
  switch (transparencyType) {
    case host::TRANSP_SUBTRACTIVE: return {1, 4};
    case host::TRANSP_ADDITIVE: return {2, 2};
    case host::TRANSP_FILTER: return {5, 6};
    default: return {1, 1};
  }
}

constexpr BlendCodes kOpaqueBlend = {2, 1};

// The map of a slot that is switched on, as a texture node; the field keeps
// NODE_ID_NONE when the slot has none.
void TranslateTextureSlot(Translation& t, host::StdMat2& material, int slot, uint32_t& textureId) {
  if (material.GetMapState(slot) != 2) return;
  auto* bitmap = dynamic_cast<host::BitmapTex*>(material.GetSubTexmap(slot));
  if (!bitmap) {
    // Only bitmaps have a file the engine could load.
    t.log.Log(std::string("material \"") + material.GetName() + "\": the map in slot " +
                           std::to_string(slot) + " is not a bitmap and is left out",
                       LOG_WARNING);
    return;
  }
  auto texture = std::make_unique<TextureNode>();
  texture->id = t.AllocateId();
  const char* mapName = bitmap->GetMapName();
  texture->fileName = TextureFileName(mapName ? mapName : "");
  textureId = texture->id;
  t.table.Insert(std::move(texture));
}

}  // namespace

int32_t ColorChannel(float value) {
  const float scaled = value * 255.0f;
  // Beyond the range of a 32-bit integer (and for NaN) the conversion the
  // exporter has always run on gives the lowest integer; C++ leaves it
  // undefined, so it is spelled out.
  if (!(scaled > -2147483648.0f && scaled < 2147483648.0f)) return INT32_MIN;
  return static_cast<int32_t>(scaled);
}

uint32_t PackColor(float red, float green, float blue, float alpha) {
  const uint32_t a = static_cast<uint32_t>(ColorChannel(alpha));
  const uint32_t r = static_cast<uint32_t>(ColorChannel(red));
  const uint32_t g = static_cast<uint32_t>(ColorChannel(green));
  const uint32_t b = static_cast<uint32_t>(ColorChannel(blue));
  return ((a * 256u | r) * 256u | g) * 256u | b;
}

std::string TextureFileName(const std::string& mapName) {
  std::string name = mapName;
  if (name.size() >= 3) {
    std::string ending = name.substr(name.size() - 3);
    for (char& c : ending) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    // The engine reads TGA and PCX only; every other image is expected to
    // have been converted to PCX beside the original.
    if (ending != "tga") name.replace(name.size() - 3, 3, "pcx");
  }
  const size_t slash = name.find_last_of('\\');
  if (slash != std::string::npos) name.erase(0, slash + 1);
  return name;
}

uint32_t MaterialNodeId(Translation& t, host::StdMat2& material) {
  auto found = t.materialIds.find(static_cast<host::Mtl*>(&material));
  if (found != t.materialIds.end()) return found->second;
  return TranslateMaterial(t, material);
}

uint32_t TranslateMaterial(Translation& t, host::StdMat2& material) {
  auto node = std::make_unique<MaterialNode>();
  node->id = t.AllocateId();
  t.materialIds[static_cast<host::Mtl*>(&material)] = node->id;

  const float o = material.GetOpacity(0);
  node->opacity = o <= 0.0f ? 0.0f : (o >= 1.0f ? 1.0f : o);
  node->ambient = PackColor(material.GetAmbient(0), node->opacity);
  node->diffuse = PackColor(material.GetDiffuse(0), node->opacity);
  node->specular = PackColor(material.GetSpecular(0), node->opacity);
  const host::Color glow = material.GetSelfIllumColor(0);
  const float amount = material.GetSelfIllum(0);
  node->emissive = PackColor(glow.r * amount, glow.g * amount, glow.b * amount, node->opacity);
  node->specularPower = material.GetShinStr(0);

  node->flags = 0;
  if (material.GetWireUnits()) node->flags |= MATERIAL_WIRE_UNITS;
  // A wire size of 1 draws with no offset.
  node->polygonOffset = material.GetWireSize(0) - 1.0f;
  node->shadingMode = material.GetFalloffOut() ? 4 : 1;

  // Fully opaque and fully clear materials both draw unblended; the host is
  // asked for the transparency type only when it matters.
  BlendCodes blend = kOpaqueBlend;
  if (o > 0.0f && o < 1.0f) {
    node->flags |= MATERIAL_BLENDED;
    blend = BlendCodesFor(material.GetTransparencyType());
  }
  node->sourceBlend = blend.source;
  node->targetBlend = blend.target;
  if (material.GetWire()) node->flags |= MATERIAL_WIRE;
  if (material.GetTwoSided()) node->flags |= MATERIAL_TWO_SIDED;

  node->diffuseTextureId = NODE_ID_NONE;
  node->envTextureId = NODE_ID_NONE;
  TranslateTextureSlot(t, material, host::ID_DI, node->diffuseTextureId);
  TranslateTextureSlot(t, material, host::ID_RL, node->envTextureId);

  const uint32_t id = node->id;
  t.table.Insert(std::move(node));
  return id;
}

}  // namespace kvl
