// Colour packing and texture file names over values no test scene needs:
// the edges of each channel and the names' odd shapes.
#include <gtest/gtest.h>

#include "translate/material_translation.h"

namespace kvl {
namespace {

TEST(PackColor, TruncatesEachChannelIntoAARRGGBB) {
  EXPECT_EQ(PackColor(1.0f, 0.5f, 0.0f, 1.0f), 0xFFFF7F00u);
  EXPECT_EQ(PackColor(0.999f, 0.999f, 0.999f, 0.999f), 0xFEFEFEFEu);  // no rounding
  EXPECT_EQ(PackColor(0.0f, 0.0f, 1.0f, 0.25f), 0x3F0000FFu);
  // No clamp: 2.0 gives 510 = 0x1FE, whose ninth bit spills into red.
  EXPECT_EQ(PackColor(0.0f, 0.0f, 2.0f, 0.0f), 0x000001FEu);
  EXPECT_EQ(PackColor(host::Color(1.0f, 0.0f, 0.0f), 1.0f), 0xFFFF0000u);
}

TEST(TextureFileName, KeepsTgaMakesTheRestPcxAndCutsAtTheLastBackslash) {
  const std::pair<const char*, const char*> cases[] = {
      {"C:\\maps\\Wood.BMP", "Wood.pcx"}, {"C:\\maps\\Sky.TGA", "Sky.TGA"}, {"stone.PCX", "stone.pcx"},
      {"brick.jpeg", "brick.jpcx"},       {"maps/leaf.tga", "maps/leaf.tga"}, {"a\\b\\c.tGa", "c.tGa"},
      {"ab", "ab"},                       {"", ""}};  // too short to have an ending: kept
  for (const auto& [path, name] : cases) EXPECT_EQ(TextureFileName(path), name) << path;
}

}  // namespace
}  // namespace kvl
