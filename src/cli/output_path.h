// What the host can tell of an output path without the exporter: whether an
// exporter takes the file's type, and why no file can be made there.
#pragma once

#include <string>

#include "host/plugin_bases.h"

namespace kvl::cli {

// True if the name ends in KVL, in any case: the one type that can be read
// back, verified and previewed.
bool EndsInKvl(const std::string& path);

// The host offers a file to an exporter whose extensions name its type;
// like the exporter, it looks at the last three characters of the name only.
bool ExporterTakes(host::SceneExport& exporter, const std::string& path);

// Why no file can be made at `path` because of its folder; empty if the
// folder is there.
std::string OutputFolderProblem(const std::string& path);

// Why a path cannot take an output file, as best the host can tell; empty
// if it sees no reason.
std::string WhyNotWritable(const std::string& path);

}  // namespace kvl::cli
