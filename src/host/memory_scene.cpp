#include "host/memory_scene.h"

#include "host/memory_objects.h"

namespace kvl::host {
namespace {

// Every node below the root, without recursion: a hierarchy may be deeper
// than the stack is safe for.
template <class Visit>
void ForEachNodeBelow(MemoryNode& root, Visit visit) {
  std::vector<MemoryNode*> pending{&root};
  while (!pending.empty()) {
    MemoryNode* node = pending.back();
    pending.pop_back();
    for (auto& child : node->children) {
      visit(*child);
      pending.push_back(child.get());
    }
  }
}

}  // namespace

HeldStill::HeldStill(MemoryScene& scene) : scene_(scene) {
  ForEachNodeBelow(scene_.root, [](MemoryNode& node) { node.KeepWorldTransforms(!node.children.empty()); });
}

HeldStill::~HeldStill() {
  ForEachNodeBelow(scene_.root, [](MemoryNode& node) { node.KeepWorldTransforms(false); });
}

void HandOverMeshes(MemoryScene& scene) {
  ForEachNodeBelow(scene.root, [](MemoryNode& node) {
    if (auto* meshObject = dynamic_cast<MemoryMeshObject*>(node.object.get())) meshObject->handOver = true;
  });
}

bool MemoryInterface::ProgressStart(const char* title, bool showBar, ProgressFunction fn, void* arg) {
  if (progress_ && showBar) progress_->Start(title ? title : "");
  // As in the host, the work function runs once; the exporter's returns at once.
  if (fn) fn(arg);
  return true;
}

void MemoryInterface::ProgressUpdate(int percent, bool showPercent, const char* title) {
  if (progress_) progress_->Update(percent, showPercent, title ? title : "");
}

void MemoryInterface::ProgressEnd() {
  if (progress_) progress_->End();
}

}  // namespace kvl::host
