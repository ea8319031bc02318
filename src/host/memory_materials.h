// The materials of the in-memory scene: standard materials with bitmap
// maps, and multi-materials whose sub-materials are standard ones.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "host/material.h"

namespace kvl::host {

class MemoryBitmapTex : public BitmapTex {
 public:
  explicit MemoryBitmapTex(std::string file) : mapName(std::move(file)) {}
  const char* GetMapName() override { return mapName.c_str(); }
  std::string mapName;
};

struct MemoryMapSlot {
  int state = 0;  // 0 for a slot without a map
  std::unique_ptr<MemoryBitmapTex> map;
};

class MemoryStdMtl : public StdMat2 {
 public:
  const char* GetName() override { return name.c_str(); }
  Texmap* GetSubTexmap(int slot) override;

  Color GetAmbient(TimeValue) override { return ambient; }
  Color GetDiffuse(TimeValue) override { return diffuse; }
  Color GetSpecular(TimeValue) override { return specular; }
  Color GetSelfIllumColor(TimeValue) override { return selfIllumColor; }
  float GetSelfIllum(TimeValue) override { return selfIllum; }
  float GetShinStr(TimeValue) override { return shinStr; }
  float GetOpacity(TimeValue) override { return opacity; }
  float GetWireSize(TimeValue) override { return wireSize; }
  bool GetWire() override { return wire; }
  bool GetWireUnits() override { return wireUnits; }
  bool GetTwoSided() override { return twoSided; }
  bool GetFalloffOut() override { return falloffOut; }
  int GetTransparencyType() override { return transparencyType; }
  int GetMapState(int slot) override;

  std::string name;
  Color ambient{0.5f, 0.5f, 0.5f};
  Color diffuse{0.5f, 0.5f, 0.5f};
  Color specular{0.5f, 0.5f, 0.5f};
  Color selfIllumColor{0, 0, 0};
  float selfIllum = 0.0f;
  float shinStr = 0.0f;
  float opacity = 1.0f;
  float wireSize = 1.0f;
  bool wire = false;
  bool wireUnits = false;
  bool twoSided = false;
  bool falloffOut = false;
  int transparencyType = TRANSP_FILTER;
  std::array<MemoryMapSlot, STD_NUM_MAPS> maps;
};

class MemoryMultiMtl : public Mtl {
 public:
  Class_ID ClassID() override { return MULTI_CLASS_ID; }
  const char* GetName() override { return name.c_str(); }
  int NumSubMtls() override { return static_cast<int>(subMaterials.size()); }
  Mtl* GetSubMtl(int i) override;

  std::string name;
  std::vector<Mtl*> subMaterials;  // owned by the scene; null for an empty slot
};

}  // namespace kvl::host
