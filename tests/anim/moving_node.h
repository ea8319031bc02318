// Host nodes for the animation tests, built in code: a top-level node of a
// memory scene whose transform is given by keys.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/memory_scene.h"

namespace kvl::testing {

inline host::MemoryNode& AddTopLevelNode(host::MemoryScene& scene, const std::string& name, uint32_t handle) {
  auto node = std::make_unique<host::MemoryNode>();
  node->name = name;
  node->handle = handle;
  return scene.root.AddChild(std::move(node));
}

inline host::TransformKey KeyAt(host::TimeValue tick, host::Point3 position) {
  host::TransformKey key;
  key.tick = tick;
  key.position = position;
  return key;
}

// A node whose host x coordinate equals the frame number at every frame from
// 0 to `frames`, so that a sample's x tells which frame it was taken at.
inline host::MemoryNode& AddFrameCounter(host::MemoryScene& scene, int frames) {
  host::MemoryNode& node = AddTopLevelNode(scene, "counter", 1);
  for (int f = 0; f <= frames; ++f) {
    node.keys.push_back(KeyAt(f * scene.ticksPerFrame, {static_cast<float>(f), 0, 0}));
  }
  return node;
}

}  // namespace kvl::testing
