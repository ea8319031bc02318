// Folding each material into an earlier one equal to it. What is folded
// stays in the table, unmarked, and is not written.
#include <vector>

#include "optimize/optimize.h"

namespace kvl {

bool SameMaterial(const MaterialNode& a, const MaterialNode& b, bool compareColours) {
  if (a.flags != b.flags) return false;
  if (a.polygonOffset != b.polygonOffset) return false;
  if (a.shadingMode != b.shadingMode || a.sourceBlend != b.sourceBlend || a.targetBlend != b.targetBlend) {
    return false;
  }
  if (!compareColours) return true;
  if (a.diffuse != b.diffuse || a.specular != b.specular || a.ambient != b.ambient || a.emissive != b.emissive) {
    return false;
  }
  return a.specularPower == b.specularPower;
}

void MergeMaterials(NodeTable& table) {
  std::vector<MaterialNode*> materials;
  for (const auto& [id, node] : table) {
    if (node->type == NODE_MATERIAL) materials.push_back(&As<MaterialNode>(*node));
  }
  const bool compareColours = table.settings.exportlights;
  // The lowest id of equal materials survives; a folded one folds nothing.
  for (size_t i = 0; i < materials.size(); ++i) {
    MaterialNode& kept = *materials[i];
    if (!kept.reachable) continue;
    for (size_t j = i + 1; j < materials.size(); ++j) {
      MaterialNode& folded = *materials[j];
      if (!folded.reachable || !SameMaterial(kept, folded, compareColours)) continue;
      for (Submesh* user : folded.referrers) {
        user->materialId = kept.id;
        kept.referrers.push_back(user);
      }
      folded.referrers.clear();
      folded.reachable = 0;
    }
  }
}

}  // namespace kvl
