// `kvlexp validate`: every problem of a KVL file, one per line.
#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace kvl::cli {

struct ValidateRequest {
  std::string path;
  bool json = false;  // the report as one JSON document
};

// Prints the problems on `out`, then a summary line. Returns EXIT_OK for a
// valid file (warnings allowed), EXIT_FAILED when there are errors and
// EXIT_UNREADABLE when the file cannot be opened or read.
int RunValidate(const ValidateRequest& request, std::ostream& out, std::ostream& err);

// The check behind `export --verify`: reads the file at `path` and validates
// it. Returns true if it has no errors; otherwise writes the errors, one per
// line and at most `maxLines` of them, to `err`.
bool VerifyWrittenFile(const std::string& path, std::ostream& err, size_t maxLines = 20);
// The same for a file that is still under a temporary name: its problems
// are told under `shownAs`, the name the user gave.
bool VerifyWrittenFile(const std::string& path, const std::string& shownAs, std::ostream& err, size_t maxLines = 20);

}  // namespace kvl::cli
