// Materials and maps: the standard material with its colours, amounts,
// switches and map slots, the multi-material, and the bitmap map.
#pragma once

#include "host/max_types.h"
#include "host/class_id.h"
#include "host/point3.h"

namespace kvl::host {

// Class ids: only the first word tells these apart.
inline const Class_ID DMTL_CLASS_ID(2, 0);
inline const Class_ID MULTI_CLASS_ID(0x200, 0);
inline const Class_ID BMTEX_CLASS_ID(0x240, 0);

// Map slots of the standard material.
inline constexpr int ID_AM = 0;
inline constexpr int ID_DI = 1;
inline constexpr int ID_SP = 2;
inline constexpr int ID_SH = 3;
inline constexpr int ID_SS = 4;
inline constexpr int ID_SI = 5;
inline constexpr int ID_OP = 6;
inline constexpr int ID_FI = 7;
inline constexpr int ID_BU = 8;
inline constexpr int ID_RL = 9;
inline constexpr int ID_RR = 10;
inline constexpr int ID_DP = 11;
inline constexpr int STD_NUM_MAPS = 12;

// Transparency types of the standard material.
inline constexpr int TRANSP_SUBTRACTIVE = 0;
inline constexpr int TRANSP_ADDITIVE = 1;
inline constexpr int TRANSP_FILTER = 2;

class Texmap {
 public:
  virtual ~Texmap() = default;
  virtual Class_ID ClassID() = 0;
};

class BitmapTex : public Texmap {
 public:
  Class_ID ClassID() override { return BMTEX_CLASS_ID; }
  virtual const char* GetMapName() = 0;
};

class Mtl {
 public:
  virtual ~Mtl() = default;
  virtual Class_ID ClassID() = 0;
  virtual const char* GetName() = 0;
  virtual int NumSubMtls() { return 0; }
  virtual Mtl* GetSubMtl(int /*i*/) { return nullptr; }
  virtual Texmap* GetSubTexmap(int /*i*/) { return nullptr; }
};

class StdMat2 : public Mtl {
 public:
  Class_ID ClassID() override { return DMTL_CLASS_ID; }

  virtual Color GetAmbient(TimeValue t) = 0;
  virtual Color GetDiffuse(TimeValue t) = 0;
  virtual Color GetSpecular(TimeValue t) = 0;
  virtual Color GetSelfIllumColor(TimeValue t) = 0;
  virtual float GetSelfIllum(TimeValue t) = 0;
  virtual float GetShinStr(TimeValue t) = 0;
  virtual float GetOpacity(TimeValue t) = 0;
  virtual float GetWireSize(TimeValue t) = 0;
  virtual bool GetWire() = 0;
  virtual bool GetWireUnits() = 0;
  virtual bool GetTwoSided() = 0;
  virtual bool GetFalloffOut() = 0;
  virtual int GetTransparencyType() = 0;
  // 0 no map, 1 map present but off, 2 map on.
  virtual int GetMapState(int slot) = 0;
};

}  // namespace kvl::host
