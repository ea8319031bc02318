// The in-memory scene behind the host interface. Scene sources (the JSON
// description, later other formats) fill it; the exporter only ever sees it
// through INode and Interface.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/interface.h"
#include "host/material.h"
#include "host/memory_node.h"

namespace kvl::host {

class MemoryScene {
 public:
  MemoryScene() { root.isRoot = true; }

  TimeValue ticksPerFrame = 160;
  Interval animationRange{0, 16000};
  // Every material of the scene; nodes and multi-materials point into it.
  std::vector<std::unique_ptr<Mtl>> materials;
  // The host's own root: never exported; its children are the top-level nodes.
  MemoryNode root;
};

// Stands while an export runs, and the scene must not change meanwhile, as
// the host's own scene cannot while an exporter has it. Every node with
// children keeps its world transforms as they are worked out, so that a
// node's world transform at a tick is its own times its parent's kept one:
// sampling a hierarchy then costs its nodes times the ticks, instead of that
// times its depth. A leaf is asked by no node below it and keeps nothing.
// All is forgotten when it goes.
class HeldStill {
 public:
  explicit HeldStill(MemoryScene& scene);
  ~HeldStill();
  HeldStill(const HeldStill&) = delete;
  HeldStill& operator=(const HeldStill&) = delete;

 private:
  MemoryScene& scene_;
};

// For a scene loaded for one export only: each mesh that nothing animates
// is handed to the exporter on its first request (MemoryMeshObject::
// handOver), so that the scene's meshes do not outlast their translation.
void HandOverMeshes(MemoryScene& scene);

// What the host shows while an export runs. The command line draws it on a
// terminal; tests record it.
class ProgressDisplay {
 public:
  virtual ~ProgressDisplay() = default;
  virtual void Start(const char* title) = 0;
  virtual void Update(int percent, bool showPercent, const char* title) = 0;
  virtual void End() = 0;
};

// The host's interface over a memory scene.
class MemoryInterface : public Interface {
 public:
  explicit MemoryInterface(MemoryScene& scene, ProgressDisplay* progress = nullptr)
      : scene_(scene), progress_(progress) {}

  Interval GetAnimRange() override { return scene_.animationRange; }
  TimeValue GetTicksPerFrame() override { return scene_.ticksPerFrame; }
  INode* GetRootNode() override { return &scene_.root; }

  bool ProgressStart(const char* title, bool showBar, ProgressFunction fn, void* arg) override;
  void ProgressUpdate(int percent, bool showPercent, const char* title) override;
  void ProgressEnd() override;

 private:
  MemoryScene& scene_;
  ProgressDisplay* progress_;
};

}  // namespace kvl::host
