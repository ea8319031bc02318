// The one view the exporter hands to the host whenever it asks for a render
// mesh: no camera, no projection, never aborts. Set up once, never changed.
#pragma once

#include "host/view.h"

namespace kvl {

host::View& ExporterRenderView();

}  // namespace kvl
