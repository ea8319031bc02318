// The text dump: the same records that the binary file carries, written as
// readable lines for a person to check an export by eye. Nothing reads it
// back, so the wording and order of the lines are the format.
#pragma once

#include <cstdio>
#include <string>

#include "output/write/scene_writer.h"

namespace kvl {

// Writes the head and one entry per record that passes the table's write
// filter, in ascending id order. Numbers follow the process's C locale, which
// the export sets to "C" before anything is written. Returns false if the
// stream reported a write error.
bool WriteAsciiDump(std::FILE* out, const NodeTable& table);

// The entry of one record, separator and id lines included, as WriteAsciiDump
// writes it. The write filter is not applied here.
void WriteAsciiDumpEntry(std::FILE* out, const SceneNode& node);

// The whole dump as text, for callers that want no file.
std::string AsciiDumpText(const NodeTable& table);

class AsciiDumpWriter : public SceneWriter {
 public:
  // Opens the path in text mode; false if that fails, and nothing is written.
  bool Write(const std::string& path, const NodeTable& table) override;
};

}  // namespace kvl
