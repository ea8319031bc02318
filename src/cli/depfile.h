// The export's dependencies as a Makefile rule, for Ninja and Make.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace kvl::cli {

// Writes "OUTPUT: DEPENDENCY..." to `path`: the files the scene's load read
// (`sceneFiles`, the scene first), then those the host opened for the
// exporter (the settings file), each once and by its absolute path. False,
// with one line on `err`, if it cannot be written.
bool WriteDepfile(const std::string& path, const std::string& output, const std::vector<std::string>& sceneFiles,
                  std::ostream& err);

}  // namespace kvl::cli
