#include "host/interface.h"

namespace kvl::host {
namespace {
Interface* g_core = nullptr;
}

Interface* GetCOREInterface() { return g_core; }
void SetCOREInterface(Interface* core) { g_core = core; }

TimeValue GetTicksPerFrame() { return g_core ? g_core->GetTicksPerFrame() : 160; }

}  // namespace kvl::host
