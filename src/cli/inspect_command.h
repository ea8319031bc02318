// `kvlexp inspect`: a summary of a KVL file at a glance.
#pragma once

#include <iosfwd>
#include <string>

namespace kvl::cli {

struct InspectRequest {
  std::string path;
  bool chunks = false;  // list every chunk instead of the summary
  bool json = false;    // one JSON document instead of text
};

// Prints the summary (or the chunk list) on `out`. Returns EXIT_OK for a
// file without errors, EXIT_FAILED when the file has errors (what could be
// read is still shown, and the count of errors is on `err`), and
// EXIT_UNREADABLE when the file cannot be opened.
int RunInspect(const InspectRequest& request, std::ostream& out, std::ostream& err);

}  // namespace kvl::cli
