// A writer turns the finished node table into one output file.
#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "scene/node_table.h"

namespace kvl {

class SceneWriter {
 public:
  virtual ~SceneWriter() = default;
  // Returns false if the file could not be opened; nothing is written then.
  virtual bool Write(const std::string& path, const NodeTable& table) = 0;
  // Why the last Write left no complete file at `path`; empty if it did.
  const std::string& Failure() const { return failure_; }
  // Asked about the complete file before it replaces the old one: a
  // non-empty answer keeps it out (see ReplacingFile::Commit).
  void SetCheck(std::function<std::string(const std::string&)> check) { check_ = std::move(check); }

 protected:
  // Writes through a file that replaces `path` only once it is complete, so
  // a failed write never leaves half a file; `write` answers false when it
  // could not write the whole file. Returns whether it opened.
  bool WriteThrough(const std::string& path, const char* mode, const std::function<bool(std::FILE*)>& write);

 private:
  std::string failure_;
  std::function<std::string(const std::string&)> check_;
};

enum class OutputKind { BINARY, TEXT, NONE };

// The writer is chosen by the last three characters of the path alone, folded
// to upper case: no dot is looked for, so "sceneKVL" is a binary file too.
// A path shorter than three characters has no extension and gets no writer.
OutputKind OutputKindForPath(const std::string& path);

// The writer for the kind, or null for NONE.
std::unique_ptr<SceneWriter> MakeWriter(OutputKind kind);

}  // namespace kvl
