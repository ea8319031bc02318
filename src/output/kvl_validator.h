// The checks on a file that was read: everything the reader found while
// decoding, plus what only shows across records (ids, references, indices,
// counts that must agree, the hierarchy).
#pragma once

#include <span>
#include <vector>

#include "output/kvl_reader.h"

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

}  // namespace kvl
