// From the bytes of a scene description to a JSON tree, refusing what is not
// JSON, a key given twice in one object, and nesting too deep to walk safely.
#pragma once

#include <string_view>

#include "sources/json/json_values.h"

namespace kvl::sources {

inline constexpr size_t MAX_JSON_NESTING = 1000;

// Throws LoadError.
Json ParseJsonText(std::string_view text);

}  // namespace kvl::sources
