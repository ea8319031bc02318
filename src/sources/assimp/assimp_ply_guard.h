// Assimp 5.2's PLY reader loops for ever or reads past its buffers on
// headers it does not know or that have no end, and stops the program on
// some cut-off bodies. PLY files (by name or by their first bytes) are
// therefore checked here first: a header of PLY's own lines, complete, and a
// body that holds its elements, every list count within its type and its
// entries within their line (text) or the file (binary).
#pragma once

#include <string>

namespace kvl::sources {

// Empty if the file may go to Assimp (or is no PLY file), else what is
// wrong with it.
std::string CheckPlyFile(const std::string& path);

}  // namespace kvl::sources
