#include "host/memory_materials.h"

namespace kvl::host {

Texmap* MemoryStdMtl::GetSubTexmap(int slot) {
  if (slot < 0 || slot >= STD_NUM_MAPS) return nullptr;
  return maps[static_cast<size_t>(slot)].map.get();
}

int MemoryStdMtl::GetMapState(int slot) {
  if (slot < 0 || slot >= STD_NUM_MAPS) return 0;
  return maps[static_cast<size_t>(slot)].state;
}

Mtl* MemoryMultiMtl::GetSubMtl(int i) {
  if (i < 0 || i >= NumSubMtls()) return nullptr;
  return subMaterials[static_cast<size_t>(i)];
}

}  // namespace kvl::host
