#include "cli/inspect_command.h"

#include <cstdio>
#include <ostream>
#include <vector>

#include "cli/exit_codes.h"
#include "output/read/kvl_summary.h"
#include "output/read/kvl_reader.h"
#include "platform/text_escapes.h"

namespace kvl::cli {
namespace {

// A JSON writer escapes the control characters below 0x20 but lets DEL and
// the C1 range (U+0080 to U+009F, which some terminals obey as commands)
// through as they are. They can only stand inside strings, where the \u
// form reads back as the same character.
std::string WithEveryControlEscaped(const std::string& json) {
  std::string out;
  out.reserve(json.size());
  for (size_t i = 0; i < json.size(); ++i) {
    const auto byte = static_cast<unsigned char>(json[i]);
    const auto next = i + 1 < json.size() ? static_cast<unsigned char>(json[i + 1]) : 0;
    if (byte == 0x7F) {
      out += "\\u007f";
    } else if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {
      char escape[7];
      std::snprintf(escape, sizeof escape, "\\u%04x", next);
      out += escape;
      ++i;
    } else {
      out += json[i];
    }
  }
  return out;
}

}  // namespace

int RunInspect(const InspectRequest& request, std::ostream& out, std::ostream& err) {
  // The path is shown as the summary shows it: whatever bytes it holds.
  const std::string shownPath = text::EscapedForTerminal(request.path);
  std::vector<uint8_t> bytes;
  std::string error;
  if (!ReadFileBytes(request.path, bytes, error)) {
    err << "kvlexp: " << shownPath << ": " << error << "\n";
    return EXIT_UNREADABLE;
  }
  const KvlDocument doc = ReadKvl(bytes);
  const nlohmann::json value = request.chunks ? ChunkListing(doc, request.path) : InspectSummary(doc, request.path);
  if (request.json) {
    // Every text of the file is valid UTF-8 in the summary already; were one
    // missed, a replacement character is still better than an abort.
    out << WithEveryControlEscaped(value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace)) << "\n";
  } else if (request.chunks) {
    PrintChunkListing(value, out);
  } else {
    PrintSummary(value, out);
  }
  const size_t errors = doc.Count(Severity::ERROR);
  if (errors == 0) return EXIT_OK;
  err << "kvlexp: " << shownPath << ": the file has " << errors
      << " errors while reading; what could be read is shown (kvlexp validate lists them)\n";
  return EXIT_FAILED;
}

}  // namespace kvl::cli
