// Colour packing and texture file names: the pure parts of turning host
// materials into material and texture nodes.
#pragma once

#include <cstdint>
#include <string>

#include "host/point3.h"

namespace kvl {

// 0xAARRGGBB, each channel times 255 truncated toward zero. No rounding and
// no clamp: 0.999 gives 254, and a channel above 1.0 spills into the one
// above it.
uint32_t PackColor(float red, float green, float blue, float alpha);
inline uint32_t PackColor(const host::Color& rgb, float alpha) { return PackColor(rgb.r, rgb.g, rgb.b, alpha); }
inline uint32_t PackColor(const host::Point3& rgb, float alpha) { return PackColor(rgb.x, rgb.y, rgb.z, alpha); }

// A float times 255 truncated toward zero, as the colour packing does it.
int32_t ColorChannel(float value);

// The name the engine loads a map under: the file part after the last
// backslash, with the last three characters made "pcx" unless they spell
// "tga" in any case. Names shorter than three characters keep their end.
std::string TextureFileName(const std::string& mapName);

}  // namespace kvl
