#include "host/memory_scene.h"

namespace kvl::host {

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
