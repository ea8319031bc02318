#include "host/memory_scene.h"

namespace kvl::host {

INode* MemoryNode::GetChildNode(int index) {
  if (index < 0 || index >= NumberOfChildren()) return nullptr;
  return children[static_cast<size_t>(index)].get();
}

MemoryNode& MemoryNode::AddChild(std::unique_ptr<MemoryNode> child) {
  child->parent = this;
  children.push_back(std::move(child));
  return *children.back();
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
