// The walk over the host's node tree. For each host node the steps run in a
// fixed order, and since ids are handed out as nodes are made, that order
// is also the order of the file: a node's children come before its object.
#include <optional>
#include <vector>

#include "translate/sample_reduction.h"
#include "translate/transform_sampling.h"
#include "translate/translation.h"
#include "translate/coordinates.h"
#include "translate/node_visit.h"

namespace kvl {

uint32_t Translation::IdForHandle(uint32_t handle) {
  auto [it, inserted] = hostNodeIds.try_emplace(handle, 0);
  if (inserted) it->second = AllocateId();
  return it->second;
}

uint64_t CountNodesBelow(host::INode* node) {
  // Without recursion: a hierarchy may be deeper than the stack is safe for.
  uint64_t count = 0;
  std::vector<host::INode*> pending{node};
  while (!pending.empty()) {
    host::INode* current = pending.back();
    pending.pop_back();
    const int childCount = current->NumberOfChildren();
    for (int k = 0; k < childCount; ++k) {
      if (host::INode* child = current->GetChildNode(k)) {
        ++count;
        pending.push_back(child);
      }
    }
  }
  return count;
}

namespace {

// Counts the node whose walk begins and moves the bar for it. The walk runs
// from 10 to 50 %. A node shows the share of the nodes before the previous
// one: the bar trails the walk by one node, so that after top-level node k
// of n a flat scene shows 10 + 40k/n. Counting every node rather than the
// top-level ones keeps the bar moving through a deep hierarchy, where
// sampling each node is most of the work.
void AdvanceWalkProgress(Translation& t) {
  if (t.nodesWalked > 0 && t.nodesToWalk > 0) {
    t.log.progress = static_cast<int32_t>(10 + 40 * (t.nodesWalked - 1) / t.nodesToWalk);
  }
  ++t.nodesWalked;
}

}  // namespace

void ParseNode(Translation& t, host::INode* node, GroupNode& parent) {
  if (!node) return;
  AdvanceWalkProgress(t);
  const ExportSettings& settings = t.table.settings;
  t.log.Log(std::string("Exporting node ") + node->GetName());
  if (node->IsHidden(0, false) && !settings.exporthidden) {
    // The whole subtree goes, whatever its members are.
    t.log.Log("(hidden node, discarded because of export options)");
    t.nodesWalked += CountNodesBelow(node);
    return;
  }

  NodeVisit visit(node, parent);
  host::CStr propertyText;
  node->GetUserPropBuffer(propertyText);
  visit.properties.Parse(propertyText.data());
  visit.isSceneRoot = visit.properties.GetInt("sceneroot", 0) == 1;

  // Scene data is read at tick 0, not at the start of the animation range.
  const host::ObjectState state = node->EvalWorldState(0, true);

  if (node->GetTMController() && settings.exportanims) MakeAnimationGroup(t, visit);
  MakeGroupIfWanted(t, visit);

  const int childCount = node->NumberOfChildren();
  for (int k = 0; k < childCount; ++k) ParseNode(t, node->GetChildNode(k), *visit.parent);

  if (state.obj) TranslateObject(t, visit, *state.obj);

  if (visit.attributeOwner && propertyText.Length() > 0 && settings.exportnodeattributes) {
    MakeAttributeNodes(t, visit.properties, visit.attributeOwner->id);
  }
}

void MakeAnimationGroup(Translation& t, NodeVisit& visit) {
  const ExportSettings& settings = t.table.settings;
  const SampleGrid grid = MakeSampleGrid(t.animStart, t.animEnd, t.ticksPerFrame, settings.samplerate);
  std::optional<PRSSequence> sequence = SampleTransform(visit.node, grid, settings);
  // A controller alone does not make a node animated: it must really move.
  if (!sequence) return;
  TrimSequence(*sequence);

  // Both kinds of animation group stand where a group would, with the host
  // node's id and its transform at tick 0; channels that do not change are
  // taken from that transform.
  auto place = [&](GroupNode& group) {
    group.id = t.IdForHandle(visit.node->GetHandle());
    group.customType = CUSTOM_TYPE_GROUP;
    group.name = std::string("anim_") + visit.node->GetName();
    HangUnder(*visit.parent, group);
    LocalTransform(visit.node, 0, group.transform, settings);
  };
  GroupNode* made = nullptr;
  if (settings.enableadaptivesampling) {
    auto group = std::make_unique<PRSKeyAnimationGroup>();
    group->keySequences.push_back(MakeKeySequence(*sequence, settings));
    place(*group);
    made = group.get();
    t.table.Insert(std::move(group));
  } else {
    auto group = std::make_unique<PRSAnimationGroup>();
    group->sequences.push_back(std::move(*sequence));
    place(*group);
    made = group.get();
    t.table.Insert(std::move(group));
  }
  t.log.Log("Node is animated, creating a PRSAnimationGroup");
  visit.parent = made;
  visit.attributeOwner = made;
  visit.wrapped = true;
}

void MakeGroupIfWanted(Translation& t, NodeVisit& visit) {
  host::INode* node = visit.node;
  const std::string name = node->GetName();
  const bool prefixed = HasPrefix(name, "GR_");
  // Inside an animation group, the group is made only when the artist asked
  // for one; otherwise the animation group holds the children itself.
  const bool animated = visit.wrapped;
  const bool wanted = prefixed || visit.isSceneRoot || (!animated && node->NumberOfChildren() > 0);
  if (!wanted) return;

  t.log.Log("Creating a group from the node");
  auto group = std::make_unique<GroupNode>();
  group->id = visit.wrapped ? t.AllocateId() : t.IdForHandle(node->GetHandle());
  group->name = prefixed ? name.substr(3) : "gr_" + name;
  HangUnder(*visit.parent, *group);
  LocalTransform(node, 0, group->transform, t.table.settings);
  GroupNode& made = *group;
  t.table.Insert(std::move(group));
  visit.parent = &made;
  visit.attributeOwner = &made;
  visit.wrapped = true;
  if (visit.isSceneRoot) {
    // The new root keeps its place among its parent's children, but has no
    // parent in the file; the last one made wins.
    made.parentId = NODE_ID_NONE;
    t.rootNode = &made;
  }
}

void TranslateObject(Translation& t, NodeVisit& visit, host::Object& object) {
  switch (object.SuperClassID()) {
    case host::GEOMOBJECT_CLASS_ID:
      TranslateGeometry(t, visit, object);
      break;
    case host::CAMERA_CLASS_ID:
      TranslateCamera(t, visit, static_cast<host::CameraObject&>(object));
      break;
    case host::HELPER_CLASS_ID:
      MakeParticleSystem(t, visit);
      break;
    default:
      // Lights, shapes and everything else have no translation of their own.
      break;
  }
}

}  // namespace kvl
