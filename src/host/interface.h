// The host application as the exporter sees it: the scene, its time range,
// and the progress display.
#pragma once

#include "host/inode.h"
#include "host/max_types.h"

namespace kvl::host {

// The work function handed to ProgressStart; the exporter's does no work.
using ProgressFunction = unsigned long (*)(void* arg);

class Interface {
 public:
  virtual ~Interface() = default;

  virtual Interval GetAnimRange() = 0;
  virtual TimeValue GetTicksPerFrame() = 0;
  virtual INode* GetRootNode() = 0;

  virtual bool ProgressStart(const char* title, bool showBar, ProgressFunction fn, void* arg) = 0;
  virtual void ProgressUpdate(int percent, bool showPercent = true, const char* title = nullptr) = 0;
  virtual void ProgressEnd() = 0;
};

// The host's one interface object. The host installs it before it calls
// into the plug-in; null before that.
Interface* GetCOREInterface();
void SetCOREInterface(Interface* core);

// Ticks per frame of the scene behind the core interface.
TimeValue GetTicksPerFrame();

}  // namespace kvl::host
