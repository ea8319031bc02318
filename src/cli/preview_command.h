// `kvlexp preview`: a page that shows a KVL file in the browser.
#pragma once

#include <iosfwd>
#include <string>

namespace kvl::cli {

struct PreviewRequest {
  std::string path;        // the KVL file
  std::string outputPath;  // the page; empty: the file's path with ".html" added
};

// Writes the page. Returns EXIT_OK when it was written (also for a file
// with errors, which the page lists), EXIT_UNREADABLE when the KVL file
// cannot be read and EXIT_FAILED when the page cannot be written.
int RunPreview(const PreviewRequest& request, std::ostream& out, std::ostream& err);

// The page's default path: "scene.kvl" gives "scene.kvl.html".
std::string DefaultPreviewPath(const std::string& kvlPath);

}  // namespace kvl::cli
