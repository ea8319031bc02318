// The translation of one export: the walk from host nodes to records in the
// table, and what its steps share. The exporter owns one Translation per
// export and hands it to the plain functions of this folder, as the walk
// hands a NodeVisit to the steps for one host node.
#pragma once

#include <cstdint>
#include <map>

#include "host/inode.h"
#include "host/plugin_bases.h"
#include "log/export_log.h"
#include "scene/node_table.h"
#include "settings/config_store.h"
#include "translate/node_visit.h"

namespace kvl {

struct Translation {
  Translation(NodeTable& filled, ExportLog& messages) : table(filled), log(messages) {}

  NodeTable& table;
  ExportLog& log;
  // Ids count up from 0 and are never reused within an export; a host node
  // keeps the id it was first given.
  uint32_t nextNodeId = 0;
  std::map<uint32_t, uint32_t> hostNodeIds;     // host handle -> node id
  std::map<const void*, uint32_t> materialIds;  // host material -> node id
  host::TimeValue animStart = 0;
  host::TimeValue animEnd = 0;
  host::TimeValue ticksPerFrame = 0;
  bool vertexAnimation = false;  // deforming meshes as vertex animation
  bool splitMeshes = true;  // the host's preference: split what the file cannot hold, or cut it
  GroupNode* rootNode = nullptr;  // owned by the table; a sceneroot node may replace it
  uint64_t nodesToWalk = 0;  // host nodes below the root
  uint64_t nodesWalked = 0;  // of those, begun, or passed over below a hidden node

  uint32_t AllocateId() { return nextNodeId++; }
  uint32_t IdForHandle(uint32_t handle);
};

// Walks one host node and everything below it, hanging what it makes under
// `parent` (a group-like node). The progress bar runs from 10 to 50 % over
// the `nodesToWalk` nodes (CountNodesBelow the root).
void ParseNode(Translation& t, host::INode* node, GroupNode& parent);

// The walk's steps for one host node, in the order ParseNode runs them.
void MakeAnimationGroup(Translation& t, NodeVisit& visit);
void MakeGroupIfWanted(Translation& t, NodeVisit& visit);
void TranslateObject(Translation& t, NodeVisit& visit, host::Object& object);
GeometryNode& MakeGeometryNode(Translation& t, NodeVisit& visit);
void TranslateGeometry(Translation& t, NodeVisit& visit, host::Object& object);
void TranslateCamera(Translation& t, NodeVisit& visit, host::CameraObject& camera);
void MakeParticleSystem(Translation& t, NodeVisit& visit);
void MakeAttributeNodes(Translation& t, ConfigStore& properties, uint32_t ownerId);

// Fills the mesh node's submeshes from the host mesh, with its buffers,
// materials and textures; the triangle layout keeps per-corner data in
// triangle info buffers, the vertex layout in the vertices.
void ExtractMesh(Translation& t, host::INode* node, host::Mesh& mesh, MeshNode& meshNode, bool useTriangleInfo,
                 bool morph);

// The id of the material node of a host material, made with its textures
// on first use; one node per host material however many meshes use it.
uint32_t MaterialNodeId(Translation& t, host::StdMat2& material);
uint32_t TranslateMaterial(Translation& t, host::StdMat2& material);

}  // namespace kvl
