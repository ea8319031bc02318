// Many scenes at once: `kvlexp export --each SCENES... --out-dir DIR`. Each
// scene is exported by a run of its own, as a single export would be, a
// few at a time; a failure stops nothing else and is said in one line.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace kvl::cli {

struct EachRequest {
  std::vector<std::string> scenes;
  std::string outputFolder;             // each scene goes to FOLDER/STEM.kvl
  unsigned jobs = 0;                    // exports running at once; 0: as many as cores
  std::vector<std::string> exportOptions;  // passed to every export as they are
  bool showProgress = false;            // a bar over the files on standard error
};

// The output a scene gets: its stem with .kvl, in the output folder.
std::string EachOutputPath(const std::string& scene, const std::string& outputFolder);

// 0 when every scene was exported, 1 when any failed (each failure named in
// one line, in the order of the scenes), 2 when the request itself is wrong.
// `program` is this program's own path, run once per scene.
int RunEach(const EachRequest& request, const std::string& program, std::ostream& err);

}  // namespace kvl::cli
