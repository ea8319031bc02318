// kvl_to_txt FILE.kvl: the text dump of a KVL file, read back, on standard
// output. A program made of the reader and the writers alone: if either of
// them needed the host, the dialogs, the log or a scene source, it would
// not link, and the test beside it checks that it loads no library of
// theirs either.
#include <cstdio>
#include <string>
#include <vector>

#include "output/read/kvl_reader.h"
#include "output/write/ascii_dump_writer.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: kvl_to_txt FILE.kvl\n");
    return 2;
  }
  std::vector<uint8_t> bytes;
  std::string error;
  if (!kvl::ReadFileBytes(argv[1], bytes, error)) {
    std::fprintf(stderr, "kvl_to_txt: %s: %s\n", argv[1], error.c_str());
    return 1;
  }
  kvl::KvlDocument doc = kvl::ReadKvl(bytes);
  if (doc.Count(kvl::Severity::ERROR) > 0) {
    std::fprintf(stderr, "kvl_to_txt: %s: the file has errors\n", argv[1]);
    return 1;
  }
  // Everything read is written, as it was in the file.
  doc.table.settings.optimize = false;
  return kvl::WriteAsciiDump(stdout, doc.table) ? 0 : 1;
}
