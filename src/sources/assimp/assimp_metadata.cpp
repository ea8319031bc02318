#include "sources/assimp/assimp_metadata.h"

#include <assimp/metadata.h>

#include <cstdio>
#include <set>

namespace kvl::sources {
namespace {

// Entries that Assimp's importers add about the node's make-up rather than
// the user's own values.
const std::set<std::string>& BookkeepingKeys() {
  static const std::set<std::string> keys = {"IsNull", "DefaultAttributeIndex", "InheritType", "ScalingMax",
                                             "RotationActive", "RotationOrder", "PreRotation", "PostRotation",
                                             "ScalingPivot", "RotationPivot", "ScalingOffset", "RotationOffset",
                                             "GeometricTranslation", "GeometricRotation", "GeometricScaling",
                                             "Lcl Translation", "Lcl Rotation", "Lcl Scaling", "currentUVSet",
                                             "MaxHandle", "Collada_id", "Collada_sid"};
  return keys;
}

// FBX's user-defined text comes as "UserProperties", and in some files as
// "UDP3DSMAX" beside it (the same text): the first one found is used.
bool IsUserPropertyText(const std::string& key) { return key == "UserProperties" || key == "UDP3DSMAX"; }
bool IsVisibility(const std::string& key) { return key == "Visibility" || key == "Show"; }

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.9g", value);
  return text;
}

// The entry as text; false for kinds that have no single line.
bool EntryText(const aiMetadataEntry& entry, std::string& text) {
  if (!entry.mData) return false;
  switch (entry.mType) {
    case AI_BOOL: text = *static_cast<const bool*>(entry.mData) ? "1" : "0"; return true;
    case AI_INT32: text = std::to_string(*static_cast<const int32_t*>(entry.mData)); return true;
    case AI_UINT64: text = std::to_string(*static_cast<const uint64_t*>(entry.mData)); return true;
    case AI_FLOAT: text = Number(*static_cast<const float*>(entry.mData)); return true;
    case AI_DOUBLE: text = Number(*static_cast<const double*>(entry.mData)); return true;
    case AI_AISTRING: text = Text(*static_cast<const aiString*>(entry.mData)); return true;
    case AI_AIVECTOR3D: {
      const auto& v = *static_cast<const aiVector3D*>(entry.mData);
      text = Number(v.x) + "," + Number(v.y) + "," + Number(v.z);
      return true;
    }
    default: return false;
  }
}

}  // namespace

void ApplyNodeMetadata(const AssimpBuild& /*build*/, const aiNode& source, host::MemoryNode& node) {
  const aiMetadata* data = source.mMetaData;
  if (!data) return;
  std::string lines;
  bool haveText = false;
  for (unsigned i = 0; i < data->mNumProperties; ++i) {
    const std::string key = Text(data->mKeys[i]);
    std::string value;
    if (!EntryText(data->mValues[i], value)) continue;
    if (IsUserPropertyText(key)) {
      if (!haveText) node.userProperties = value + node.userProperties;
      haveText = true;
    } else if (IsVisibility(key)) {
      node.hidden = value == "0" || value == "0.0";
    } else if (BookkeepingKeys().count(key) == 0 && key.find('\n') == std::string::npos &&
               value.find('\n') == std::string::npos) {
      lines += key + ": " + value + "\r\n";
    }
  }
  if (lines.empty()) return;
  if (!node.userProperties.empty() && node.userProperties.back() != '\n') node.userProperties += "\r\n";
  node.userProperties += lines;
}

}  // namespace kvl::sources
