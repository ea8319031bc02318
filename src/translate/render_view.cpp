#include "translate/render_view.h"

namespace kvl {

host::View& ExporterRenderView() {
  static host::NullRenderView view;
  return view;
}

}  // namespace kvl
