#include "cli/inspect_command.h"

#include <ostream>
#include <vector>

#include "cli/exit_codes.h"
#include "cli/inspect_summary.h"
#include "output/kvl_reader.h"

namespace kvl::cli {

int RunInspect(const InspectRequest& request, std::ostream& out, std::ostream& err) {
  std::vector<uint8_t> bytes;
  std::string error;
  if (!ReadFileBytes(request.path, bytes, error)) {
    err << "kvlexp: " << request.path << ": " << error << "\n";
    return EXIT_UNREADABLE;
  }
  const KvlDocument doc = ReadKvl(bytes);
  const nlohmann::json value = request.chunks ? ChunkListing(doc, request.path) : InspectSummary(doc, request.path);
  if (request.json) {
    out << value.dump(2) << "\n";
  } else if (request.chunks) {
    PrintChunkListing(value, out);
  } else {
    PrintSummary(value, out);
  }
  const size_t errors = doc.Count(Severity::ERROR);
  if (errors == 0) return EXIT_OK;
  err << "kvlexp: " << request.path << ": the file has " << errors
      << " errors while reading; what could be read is shown (kvlexp validate lists them)\n";
  return EXIT_FAILED;
}

}  // namespace kvl::cli
