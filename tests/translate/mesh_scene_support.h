// Whole exports of the mesh and material test scenes, and lookups of what
// one host node's mesh became.
#pragma once

#include <fstream>
#include <sstream>
#include <string>

#include "../support/export_harness.h"

namespace kvl::testing {

inline std::string SceneText(const std::string& fileName) {
  std::ifstream in(std::string(KVL_TEST_DIR) + "/scenes/" + fileName, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Settings for tests that read records: no optimisation pass changes them.
inline constexpr const char* kPlainSettings = "optimize = 0\ndisplaylog = 0\n";

// The mesh node made for the host node `name`; fails the test if missing.
inline const MeshNode& MeshOf(const ExportHarness& harness, const std::string& name) {
  const SceneNode* node = harness.Named("mesh_" + name);
  if (!node || node->type != NODE_MESH) throw std::runtime_error("no mesh for " + name);
  return As<MeshNode>(*node);
}

inline bool LogHasWarning(KVLExp& exporter, const std::string& part1, const std::string& part2) {
  for (const LogEntry& entry : exporter.Log().Entries()) {
    if (entry.level == LOG_WARNING && entry.text.find(part1) != std::string::npos &&
        entry.text.find(part2) != std::string::npos) {
      return true;
    }
  }
  return false;
}

inline int WarningCount(KVLExp& exporter) {
  int count = 0;
  for (const LogEntry& entry : exporter.Log().Entries()) count += entry.level == LOG_WARNING;
  return count;
}

}  // namespace kvl::testing
