#include "sources/assimp/assimp_axes.h"

#include <assimp/metadata.h>

namespace kvl::sources {
namespace {

bool ReadInt(const aiMetadata* data, const char* key, int& value) {
  if (!data) return false;
  int32_t i = 0;
  if (data->Get(key, i)) {
    value = i;
    return true;
  }
  uint64_t u = 0;
  if (data->Get(key, u)) {
    value = static_cast<int>(u);
    return true;
  }
  return false;
}

host::Point3 Axis(int index, float sign) {
  host::Point3 p(0, 0, 0);
  p[index] = sign;
  return p;
}

}  // namespace

host::Matrix3 AxesFromDeclaration(int up, int upSign, int front, int frontSign, int coord, int coordSign) {
  // The file's right axis becomes the host's +X, its up +Z, and its front
  // (the side a viewer looks at) -Y, as in the host's front view.
  host::Matrix3 m(true);
  m.SetRow(coord, Axis(0, coordSign < 0 ? -1.0f : 1.0f));
  m.SetRow(up, Axis(2, upSign < 0 ? -1.0f : 1.0f));
  m.SetRow(front, Axis(1, frontSign < 0 ? 1.0f : -1.0f));
  m.ValidateFlags();
  return m;
}

host::Matrix3 SourceToHostAxes(const AssimpBuild& build) {
  // Y up, Z toward the viewer, X to the right: what Assimp makes of every
  // format but FBX, whose importer leaves the declared axes as they are.
  int up = 1, upSign = 1, front = 2, frontSign = 1, coord = 0, coordSign = 1;
  if (build.format == "fbx") {
    const aiMetadata* data = build.ai.mMetaData;
    int u = up, us = upSign, f = front, fs = frontSign, c = coord, cs = coordSign;
    ReadInt(data, "UpAxis", u);
    ReadInt(data, "UpAxisSign", us);
    ReadInt(data, "FrontAxis", f);
    ReadInt(data, "FrontAxisSign", fs);
    ReadInt(data, "CoordAxis", c);
    ReadInt(data, "CoordAxisSign", cs);
    // Three different axes, or the declaration is not usable.
    if (u >= 0 && u < 3 && f >= 0 && f < 3 && c >= 0 && c < 3 && u != f && f != c && u != c) {
      up = u, upSign = us, front = f, frontSign = fs, coord = c, coordSign = cs;
    }
  }
  return AxesFromDeclaration(up, upSign, front, frontSign, coord, coordSign);
}

}  // namespace kvl::sources
