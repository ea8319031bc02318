// What deforms a memory mesh over time besides its own keyed vertices: a
// skin over bones that are nodes of the scene, and morph targets whose
// weights are keyed. The host applies them where a modelling application
// does, when the mesh is evaluated at a time; the mesh itself keeps its
// rest pose.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/matrix3.h"
#include "host/max_types.h"
#include "host/point3.h"

namespace kvl::host {

class INode;
class MemoryNode;
class Object;

// A bone: a node of the scene, by name, and the matrix that takes the
// mesh's space to the bone's space as it was when the skin was bound.
struct SkinBone {
  std::string nodeName;
  Matrix3 offset{true};
};

struct SkinInfluence {
  uint32_t bone = 0;  // index into MeshSkin::bones
  float weight = 0;
};

// Linear blend skinning: at t a vertex v of a mesh on node N goes to the sum
// over its influences of weight * (v * offset * world(bone, t) *
// inverse(world(N, t))). A vertex no bone holds stays where it is.
struct MeshSkin {
  std::vector<SkinBone> bones;
  // The influences of vertex v are influences[first[v]] up to
  // influences[first[v + 1]]; empty for a mesh without a skin.
  std::vector<uint32_t> first;
  std::vector<SkinInfluence> influences;
  // Where the bones are looked up by name when the mesh is first
  // evaluated: a scene source may build the bones after the mesh.
  MemoryNode* sceneRoot = nullptr;

  bool Empty() const { return bones.empty(); }
};

struct MorphWeightKey {
  TimeValue tick = 0;
  float weight = 0;
};

// A morph target: offsets from the base positions of some vertices, added
// in proportion to the target's weight at the time.
struct MorphTarget {
  std::string name;
  std::vector<uint32_t> vertices;
  std::vector<Point3> offsets;       // one per entry of `vertices`
  float weight = 0;                  // the weight when there are no keys
  std::vector<MorphWeightKey> keys;  // ascending ticks; linear between, the ends held

  float WeightAt(TimeValue t) const;
};

// The overlap of two intervals.
Interval Intersect(Interval a, Interval b);

// Where a value changes: it moves over each span (ends included, where it
// has its keys' values) and holds still everywhere else. The interval around
// t over which it holds still, or [t, t] inside a span.
Interval QuietInterval(std::vector<Interval> changing, TimeValue t);

// Adds every target's offsets, at its weight at t, to `positions`.
void ApplyMorphTargets(const std::vector<MorphTarget>& targets, TimeValue t, std::vector<Point3>& positions);
// The interval around t over which no target's weight changes.
Interval MorphValidity(const std::vector<MorphTarget>& targets, TimeValue t);

// The bone nodes of a skin, found by name from its scene root, and the node
// that carries the mesh; null where there is none.
struct SkinBinding {
  std::vector<MemoryNode*> bones;
  MemoryNode* meshNode = nullptr;
};
SkinBinding BindSkin(const MeshSkin& skin, const Object* meshObject);

// Moves `positions` by the skin at t; `meshNode` is the node that carries
// the mesh. A bone that the scene does not have keeps its vertices where
// the other bones leave them.
void ApplySkin(const MeshSkin& skin, const SkinBinding& binding, INode& meshNode, TimeValue t,
               std::vector<Point3>& positions);
// The interval around t over which the bones keep their places relative to
// the mesh's node: only the keys of nodes that are not above the mesh's node
// and every bone alike can move a bone against the mesh.
Interval SkinValidity(const SkinBinding& binding, TimeValue t);

}  // namespace kvl::host
