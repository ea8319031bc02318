// Any text as a JSON scene description: it is loaded or refused with a
// message, never anything in between.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "sources/json/json_scene.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const kvl::sources::SceneLoadResult result = kvl::sources::LoadJsonScene(text);
  // Exactly one of the two outcomes.
  if ((result.scene == nullptr) == result.error.empty()) std::abort();
  return 0;
}
