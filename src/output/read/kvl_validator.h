// The checks on a file that was read: everything the reader found while
// decoding, plus what only shows across records (ids, references, indices,
// counts that must agree, the hierarchy).
#pragma once

#include <span>
#include <string>
#include <vector>

#include "output/read/kvl_reader.h"

namespace kvl {

// The problems that show only across records, in no particular order.
std::vector<FileProblem> CheckDocument(const KvlDocument& doc);

struct Validation {
  KvlDocument document;
  std::vector<FileProblem> problems;  // the reader's and the checks', by offset
  size_t errors = 0;
  size_t warnings = 0;
  bool Valid() const { return errors == 0; }
};

Validation ValidateKvl(std::span<const uint8_t> bytes);

// The file has no signature. It is taken for a KVL file when its first two
// bytes name a chunk type of the format: text and the other scene formats
// never start so.
bool StartsLikeKvl(std::span<const uint8_t> bytes);
// One line for a user who gave some other kind of file: "not a KVL file: it
// starts with 'glTF'" (or "... it is empty", or the first bytes in hex for a
// binary file). Empty for a file that starts like a KVL file, or whose first
// chunk is of an unknown type but fits in the file: that one is left to the
// reader, which skips it by its size.
std::string NotKvlReason(std::span<const uint8_t> bytes);

}  // namespace kvl
