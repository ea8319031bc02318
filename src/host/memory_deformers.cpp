#include "host/memory_deformers.h"

#include <algorithm>
#include <set>
#include <unordered_map>

#include "host/memory_node.h"

namespace kvl::host {
namespace {

bool SameKey(const TransformKey& a, const TransformKey& b) {
  return a.position == b.position && a.rotation == b.rotation && a.scale == b.scale;
}

// The spans between neighbouring keys that differ: only there does the
// node's transform move.
void AddMovingSpans(const MemoryNode& node, std::vector<Interval>& spans) {
  for (size_t k = 1; k < node.keys.size(); ++k) {
    if (!SameKey(node.keys[k - 1], node.keys[k])) spans.emplace_back(node.keys[k - 1].tick, node.keys[k].tick);
  }
}

std::vector<const MemoryNode*> NodeAndAncestors(const MemoryNode* node) {
  std::vector<const MemoryNode*> chain;
  for (; node; node = node->parent) chain.push_back(node);
  return chain;
}

}  // namespace

Interval Intersect(Interval a, Interval b) {
  return Interval(std::max(a.Start(), b.Start()), std::min(a.End(), b.End()));
}

Interval QuietInterval(std::vector<Interval> changing, TimeValue t) {
  if (changing.empty()) return Interval(TIME_NegInfinity, TIME_PosInfinity);
  std::sort(changing.begin(), changing.end(),
            [](const Interval& a, const Interval& b) { return a.Start() < b.Start(); });
  TimeValue quietFrom = TIME_NegInfinity;
  size_t i = 0;
  while (i < changing.size()) {
    // Spans that overlap or touch move as one.
    TimeValue start = changing[i].Start(), end = changing[i].End();
    for (++i; i < changing.size() && changing[i].Start() <= end; ++i) end = std::max(end, changing[i].End());
    if (t <= start) return Interval(quietFrom, start);
    if (t < end) return Interval(t, t);
    quietFrom = end;
  }
  return Interval(quietFrom, TIME_PosInfinity);
}

float MorphTarget::WeightAt(TimeValue t) const {
  if (keys.empty()) return weight;
  if (t <= keys.front().tick) return keys.front().weight;
  if (t >= keys.back().tick) return keys.back().weight;
  const auto next = std::upper_bound(keys.begin(), keys.end(), t,
                                     [](TimeValue tick, const MorphWeightKey& key) { return tick < key.tick; });
  const auto prev = next - 1;
  const float u = static_cast<float>(t - prev->tick) / static_cast<float>(next->tick - prev->tick);
  return prev->weight + (next->weight - prev->weight) * u;
}

void ApplyMorphTargets(const std::vector<MorphTarget>& targets, TimeValue t, std::vector<Point3>& positions) {
  for (const MorphTarget& target : targets) {
    const float w = target.WeightAt(t);
    if (w == 0.0f) continue;
    for (size_t i = 0; i < target.vertices.size(); ++i) {
      Point3& p = positions[target.vertices[i]];
      p = p + target.offsets[i] * w;
    }
  }
}

Interval MorphValidity(const std::vector<MorphTarget>& targets, TimeValue t) {
  std::vector<Interval> changing;
  for (const MorphTarget& target : targets) {
    for (size_t k = 1; k < target.keys.size(); ++k) {
      if (target.keys[k - 1].weight != target.keys[k].weight) {
        changing.emplace_back(target.keys[k - 1].tick, target.keys[k].tick);
      }
    }
  }
  return QuietInterval(std::move(changing), t);
}

SkinBinding BindSkin(const MeshSkin& skin, const Object* meshObject) {
  SkinBinding binding;
  binding.bones.assign(skin.bones.size(), nullptr);
  if (!skin.sceneRoot) return binding;
  std::unordered_map<std::string, std::vector<size_t>> wanted;
  for (size_t b = 0; b < skin.bones.size(); ++b) wanted[skin.bones[b].nodeName].push_back(b);
  // Pre-order, so that of two nodes with one name the first in the tree is
  // the bone, as it is for the scene's other lookups by name.
  std::vector<MemoryNode*> stack{skin.sceneRoot};
  while (!stack.empty()) {
    MemoryNode* node = stack.back();
    stack.pop_back();
    if (node->object.get() == meshObject && !binding.meshNode) binding.meshNode = node;
    auto found = wanted.find(node->name);
    if (found != wanted.end() && !node->isRoot) {
      for (size_t b : found->second) binding.bones[b] = node;
      wanted.erase(found);
    }
    for (auto it = node->children.rbegin(); it != node->children.rend(); ++it) stack.push_back(it->get());
  }
  return binding;
}

void ApplySkin(const MeshSkin& skin, const SkinBinding& binding, INode& meshNode, TimeValue t,
               std::vector<Point3>& positions) {
  const Matrix3 toMesh = Inverse(meshNode.GetNodeTM(t));
  std::vector<Matrix3> boneMatrices(skin.bones.size(), Matrix3(true));
  for (size_t b = 0; b < skin.bones.size(); ++b) {
    if (binding.bones[b]) boneMatrices[b] = skin.bones[b].offset * binding.bones[b]->GetNodeTM(t) * toMesh;
  }
  const size_t count = std::min(positions.size(), skin.first.empty() ? 0 : skin.first.size() - 1);
  for (size_t v = 0; v < count; ++v) {
    if (skin.first[v] == skin.first[v + 1]) continue;
    Point3 moved(0, 0, 0);
    for (uint32_t i = skin.first[v]; i < skin.first[v + 1]; ++i) {
      const SkinInfluence& influence = skin.influences[i];
      moved = moved + boneMatrices[influence.bone].PointTransform(positions[v]) * influence.weight;
    }
    positions[v] = moved;
  }
}

Interval SkinValidity(const SkinBinding& binding, TimeValue t) {
  // Nodes above the mesh's node and above every bone move the mesh and its
  // bones together; they cancel out of the skin.
  std::vector<std::vector<const MemoryNode*>> chains;
  chains.push_back(NodeAndAncestors(binding.meshNode));
  for (const MemoryNode* bone : binding.bones) {
    if (bone) chains.push_back(NodeAndAncestors(bone));
  }
  std::set<const MemoryNode*> shared(chains.front().begin(), chains.front().end());
  for (const auto& chain : chains) {
    std::set<const MemoryNode*> both;
    for (const MemoryNode* node : chain) {
      if (shared.count(node)) both.insert(node);
    }
    shared = std::move(both);
  }
  std::set<const MemoryNode*> moving;
  for (const auto& chain : chains) {
    for (const MemoryNode* node : chain) {
      if (!shared.count(node)) moving.insert(node);
    }
  }
  std::vector<Interval> changing;
  for (const MemoryNode* node : moving) AddMovingSpans(*node, changing);
  return QuietInterval(std::move(changing), t);
}

}  // namespace kvl::host
