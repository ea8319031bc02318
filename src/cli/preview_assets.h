// The preview page's parts, built into the program from preview/ (the
// generated source comes from preview/embed.cmake), so that `kvlexp preview`
// needs no files at run time.
#pragma once

#include <string_view>

namespace kvl::cli {

std::string_view PageTemplate();
std::string_view DecoderScript();
std::string_view ViewerScript();
std::string_view ThreeModule();          // three.js as an ES module
std::string_view OrbitControlsModule();  // three.js's orbit controls, importing "three"

}  // namespace kvl::cli
