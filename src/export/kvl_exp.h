// The exporter object: the host creates one through the class descriptor and
// calls DoExport for one export. It owns everything an export builds.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "host/inode.h"
#include "host/plugin_bases.h"
#include "scene/node_table.h"
#include "log/export_log.h"
#include "settings/config_store.h"
#include "translate/translation.h"

namespace kvl {

class KVLExp : public host::SceneExport {
 public:
  KVLExp() = default;
  ~KVLExp() override = default;

  // Descriptive operations the host reads for its file dialog.
  int ExtCount() override { return 2; }
  const char* Ext(int n) override { return n == 0 ? "KVL" : "TXT"; }
  const char* LongDesc() override { return "Kelvane file"; }
  const char* ShortDesc() override { return "Kelvane"; }
  const char* AuthorName() override { return "Varnholtz Ltd."; }
  const char* CopyrightMessage() override { return "Copyright (c) Varnholtz Ltd."; }
  const char* OtherMessage1() override { return ""; }
  const char* OtherMessage2() override { return ""; }
  unsigned int Version() override { return 1; }
  void ShowAbout(host::HWND) override {}
  bool SupportsOptions(int, uint32_t) override { return true; }

  // One whole export. Always returns 1: failures inside an export never end
  // it early and are not reported to the host.
  int DoExport(const char* name, host::ExpInterface* ei, host::Interface* i, bool suppressPrompts = false,
               uint32_t options = 0) override;

  // The translation's steps that other parts of the exporter call; the work
  // is done by the plain functions of translate/ on this export's
  // Translation.
  uint32_t AllocateId() { return translation_.AllocateId(); }
  uint32_t IdForHandle(uint32_t handle) { return translation_.IdForHandle(handle); }
  void ParseNode(host::INode* node, GroupNode& parent) { kvl::ParseNode(translation_, node, parent); }
  GeometryNode& MakeGeometryNode(NodeVisit& visit) { return kvl::MakeGeometryNode(translation_, visit); }
  void ExtractMesh(host::INode* node, host::Mesh& mesh, MeshNode& meshNode, bool useTriangleInfo, bool morph) {
    kvl::ExtractMesh(translation_, node, mesh, meshNode, useTriangleInfo, morph);
  }
  uint32_t MaterialNodeId(host::StdMat2& material) { return kvl::MaterialNodeId(translation_, material); }

  // Lookups by name over the table in ascending id order; null if none.
  SceneNode* FindHelperByName(const std::string& name) const;
  // Tries name, "GR_" + name and "PRS_" + name on each node before moving
  // on, so an earlier prefixed group wins over a later bare one.
  SceneNode* FindGroupByName(const std::string& name) const;
  // Fills the ids that springs and colliders name, from the whole table.
  void ResolveNames();

  // Where the log goes when the settings ask for a log file.
  static constexpr const char* LOG_FILE_PATH = "c:\\kvlexp.log";

  const NodeTable& Table() const { return table_; }
  NodeTable& Table() { return table_; }
  GroupNode* RootNode() const { return translation_.rootNode; }
  ExportLog& Log() { return log_; }

 private:
  // Settings, options dialog and save; false when the user cancelled.
  bool ConfirmSettings(const std::string& name);
  GroupNode& CreateSceneRoot();
  void ParseTopLevelNodes(host::INode* hostRoot, GroupNode& sceneRoot);

  void FinishLog();
  // Splits the meshes the file cannot hold whole, with a log line each.
  void SplitMeshes();
  void ReportCounts(host::ExpInterface& host) const;
  void WriteOutput(const std::string& name, host::ExpInterface& host);

  NodeTable table_;
  ConfigStore settingsStore_{"=", false};
  ExportLog log_;
  Translation translation_{table_, log_};  // after the table and the log it refers to
};

}  // namespace kvl
