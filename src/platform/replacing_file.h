// Writing a file so that no reader ever sees half of it: the text goes to a
// temporary file beside the target, which replaces the target only once it
// is complete. A failed or abandoned write leaves the old file as it was.
#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

namespace kvl {

class ReplacingFile {
 public:
  // Opens the file that stands in for `path` until Commit. A target that
  // exists and is no regular file (a device, a pipe) is written in place; a
  // symbolic link is followed, so its target is replaced and the link
  // stays. Null if nothing could be opened; `error` then says why.
  static std::unique_ptr<ReplacingFile> Open(const std::string& path, const char* mode, std::string* error = nullptr);

  ~ReplacingFile();  // without Commit: the temporary file is removed
  ReplacingFile(const ReplacingFile&) = delete;
  ReplacingFile& operator=(const ReplacingFile&) = delete;

  std::FILE* get() const { return file_; }

  // Flushes and closes the file and puts it in place. False if any write,
  // the close or the rename failed; `error` says why, the target is as it
  // was (unless it was written in place), and the temporary file is gone.
  bool Commit(std::string* error = nullptr);
  // The same, with `check` asked about the complete temporary file before
  // it replaces the target: a non-empty answer says what is wrong with it,
  // and the file is then kept as "<path>.invalid" instead, the target
  // untouched, and `error` says so. A file written in place is not checked.
  bool Commit(std::string* error, const std::function<std::string(const std::string&)>& check);

  // The temporary files of process `pid` for `path` have this name; a host
  // whose child died can remove them.
  static std::string TemporaryName(const std::string& path, long pid);

 private:
  ReplacingFile() = default;

  std::FILE* file_ = nullptr;
  std::string target_;     // where the file ends up
  std::string temporary_;  // empty when writing in place
};

// Puts `text` at `path` through a ReplacingFile, unless the regular file
// there already holds exactly `text`: that one is left untouched, its time
// included, so that a build that lists it as an input sees no change. False,
// with `error`, if it could not be written.
bool ReplaceFileText(const std::string& path, const std::string& text, std::string* error = nullptr);

}  // namespace kvl
