// The exporter object: the host creates one through the class descriptor and
// calls DoExport for one export. It owns everything an export builds.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "host/inode.h"
#include "host/plugin_bases.h"
#include "scene/node_table.h"
#include "settings/config_store.h"
#include "settings/export_log.h"

namespace kvl {

struct NodeVisit;

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

  // Id sources. Ids count up from 0 and are never reused within an export;
  // a host node keeps the id it was first given.
  uint32_t AllocateId() { return nextNodeId_++; }
  uint32_t IdForHandle(uint32_t handle);

  // Walks one host node and everything below it, hanging what it makes
  // under `parent` (a group-like node).
  void ParseNode(host::INode* node, GroupNode& parent);

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
  GroupNode* RootNode() const { return rootNode_; }
  ExportLog& Log() { return log_; }

 private:
  // Settings, options dialog and save; false when the user cancelled.
  bool ConfirmSettings(const std::string& name);
  GroupNode& CreateSceneRoot();
  void ParseTopLevelNodes(host::INode* hostRoot, GroupNode& sceneRoot);
  // Counts the node whose walk begins and moves the bar for it.
  void AdvanceWalkProgress();

  // The walk's steps for one host node, in the order ParseNode runs them.
  void MakeAnimationGroup(NodeVisit& visit);
  void MakeGroupIfWanted(NodeVisit& visit);
  void TranslateObject(NodeVisit& visit, host::Object& object);
  GeometryNode& MakeGeometryNode(NodeVisit& visit);
  void TranslateGeometry(NodeVisit& visit, host::Object& object);
  void TranslateCamera(NodeVisit& visit, host::CameraObject& camera);
  void MakeParticleSystem(NodeVisit& visit);
  // Fills the mesh node's submeshes from the host mesh, with its buffers,
  // materials and textures; the triangle layout keeps per-corner data in
  // triangle info buffers, the vertex layout in the vertices.
  void ExtractMesh(host::INode* node, host::Mesh& mesh, MeshNode& meshNode, bool useTriangleInfo, bool morph);
  // The id of the material node of a host material, made with its textures
  // on first use; one node per host material however many meshes use it.
  uint32_t MaterialNodeId(host::StdMat2& material);
  uint32_t TranslateMaterial(host::StdMat2& material);
  void MakeAttributeNodes(ConfigStore& properties, uint32_t ownerId);
  void FinishLog();
  // Splits the meshes the file cannot hold whole, with a log line each.
  void SplitMeshes();
  void ReportCounts(host::ExpInterface& host) const;
  void WriteOutput(const std::string& name, host::ExpInterface& host);

  uint32_t nextNodeId_ = 0;
  std::map<uint32_t, uint32_t> hostNodeIds_;  // host handle -> node id
  std::map<const void*, uint32_t> materialIds_;  // host material -> node id
  host::TimeValue animStart_ = 0;
  host::TimeValue animEnd_ = 0;
  host::TimeValue ticksPerFrame_ = 0;
  uint64_t nodesToWalk_ = 0;  // host nodes below the root
  uint64_t nodesWalked_ = 0;  // of those, begun, or passed over below a hidden node
  NodeTable table_;
  ConfigStore settingsStore_{"=", false};
  ExportLog log_;
  bool splitMeshes_ = true;  // the host's preference for this run
  bool vertexAnimation_ = false;  // deforming meshes as vertex animation (DoExport's options)
  GroupNode* rootNode_ = nullptr;  // owned by the table; the sceneroot node may replace it
};

}  // namespace kvl
