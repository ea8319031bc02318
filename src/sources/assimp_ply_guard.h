// Assimp 5.2's PLY reader loops for ever on a header without its end, and
// stops the program on some cut-off bodies. PLY files are therefore checked
// here first: a complete header, and a body at least as long as its
// elements need.
#pragma once

#include <string>

namespace kvl::sources {

// Empty if the file may go to Assimp, else what is wrong with it.
std::string CheckPlyFile(const std::string& path);

}  // namespace kvl::sources
