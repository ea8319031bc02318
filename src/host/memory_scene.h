// The in-memory scene behind the host interface. Scene sources (the JSON
// description, later other formats) fill it; the exporter only ever sees it
// through INode and Interface.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/inode.h"
#include "host/interface.h"

namespace kvl::host {

class MemoryNode : public INode {
 public:
  const char* GetName() override { return name.c_str(); }
  uint32_t GetHandle() override { return handle; }
  bool IsHidden() override { return hidden; }
  void GetUserPropBuffer(CStr& buffer) override { buffer = CStr(userProperties); }

  int NumberOfChildren() override { return static_cast<int>(children.size()); }
  INode* GetChildNode(int index) override;
  INode* GetParentNode() override { return parent; }
  bool IsRootNode() override { return isRoot; }

  // Appends a child and makes this node its parent.
  MemoryNode& AddChild(std::unique_ptr<MemoryNode> child);

  std::string name;
  uint32_t handle = 0;
  bool hidden = false;
  std::string userProperties;
  bool isRoot = false;
  MemoryNode* parent = nullptr;
  std::vector<std::unique_ptr<MemoryNode>> children;
};

class MemoryScene {
 public:
  MemoryScene() { root.isRoot = true; }

  TimeValue ticksPerFrame = 160;
  Interval animationRange{0, 16000};
  // The host's own root: never exported; its children are the top-level nodes.
  MemoryNode root;
};

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
