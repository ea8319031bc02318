// The view through which the host evaluates render meshes, and the plain one
// that an exporter hands over: no camera, no projection, never aborts.
#pragma once

#include <cstdint>

#include "host/matrix3.h"
#include "host/point3.h"

namespace kvl::host {

class View {
 public:
  virtual ~View() = default;

  virtual void* GetInterface(uint32_t /*id*/) { return nullptr; }
  virtual Point2 ViewToScreen(Point3 p) = 0;
  virtual int CheckForRenderAbort() { return 0; }
  virtual intptr_t Execute(int /*cmd*/, uintptr_t /*arg1*/ = 0, uintptr_t /*arg2*/ = 0, uintptr_t /*arg3*/ = 0) {
    return 0;
  }

  float screenW = 0.0f;
  float screenH = 0.0f;
  Matrix3 worldToView{true};
  int projType = 0;
  int flags = 0;
};

class NullRenderView : public View {
 public:
  NullRenderView() {
    screenW = 640.0f;
    screenH = 480.0f;
    worldToView.IdentityMatrix();
    projType = -1;
    flags = 1;
  }

  void* GetInterface(uint32_t) override { return nullptr; }
  // x and y of the point, with no projection and no scaling to the screen.
  Point2 ViewToScreen(Point3 p) override { return {p.x, p.y}; }
  int CheckForRenderAbort() override { return 0; }
  intptr_t Execute(int, uintptr_t, uintptr_t, uintptr_t) override { return 0; }
};

}  // namespace kvl::host
