#include "cli/validate_command.h"

#include <nlohmann/json.hpp>
#include <ostream>
#include <vector>

#include "cli/exit_codes.h"
#include "output/read/kvl_validator.h"

namespace kvl::cli {
namespace {

nlohmann::json ProblemJson(const FileProblem& p) {
  nlohmann::json entry = {{"offset", p.offset},
                          {"severity", p.severity == Severity::ERROR ? "error" : "warning"},
                          {"message", p.message},
                          {"text", FormatProblem(p)}};
  if (p.inChunk) {
    entry["chunkType"] = p.chunkType;
    entry["chunkName"] = ChunkTypeName(p.chunkType);
    entry["id"] = p.id;
  } else {
    entry["chunkType"] = nullptr;
    entry["chunkName"] = nullptr;
    entry["id"] = nullptr;
  }
  return entry;
}

}  // namespace

int RunValidate(const ValidateRequest& request, std::ostream& out, std::ostream& err) {
  std::vector<uint8_t> bytes;
  std::string error;
  if (!ReadFileBytes(request.path, bytes, error)) {
    if (request.json) {
      out << nlohmann::json{{"file", request.path}, {"readable", false}, {"error", error}}.dump(2) << "\n";
    }
    err << "kvlexp: " << request.path << ": " << error << "\n";
    return EXIT_UNREADABLE;
  }
  // Another kind of file would only give a chunk header made of its first
  // bytes and a size that runs past its end: say what it is instead.
  if (const std::string wrongKind = NotKvlReason(bytes); !wrongKind.empty()) {
    if (request.json) {
      out << nlohmann::json{{"file", request.path}, {"readable", true}, {"valid", false}, {"error", wrongKind}}.dump(2)
          << "\n";
    }
    err << "kvlexp: " << request.path << ": " << wrongKind << "\n";
    return EXIT_FAILED;
  }
  const Validation v = ValidateKvl(bytes);
  if (request.json) {
    nlohmann::json problems = nlohmann::json::array();
    for (const FileProblem& p : v.problems) problems.push_back(ProblemJson(p));
    out << nlohmann::json{{"file", request.path},
                          {"readable", true},
                          {"valid", v.Valid()},
                          {"errors", v.errors},
                          {"warnings", v.warnings},
                          {"chunks", v.document.chunks.size()},
                          {"problems", problems}}
               .dump(2)
        << "\n";
  } else {
    for (const FileProblem& p : v.problems) out << FormatProblem(p) << "\n";
    out << request.path << ": " << (v.Valid() ? "valid" : "not valid") << ", " << v.document.chunks.size()
        << " chunks, " << v.errors << " errors, " << v.warnings << " warnings\n";
  }
  return v.Valid() ? EXIT_OK : EXIT_FAILED;
}

bool VerifyWrittenFile(const std::string& path, std::ostream& err, size_t maxLines) {
  return VerifyWrittenFile(path, path, err, maxLines);
}

bool VerifyWrittenFile(const std::string& file, const std::string& path, std::ostream& err, size_t maxLines) {
  std::vector<uint8_t> bytes;
  std::string error;
  if (!ReadFileBytes(file, bytes, error)) {
    err << "kvlexp: " << path << ": --verify: " << error << "\n";
    return false;
  }
  const Validation v = ValidateKvl(bytes);
  if (v.Valid()) return true;
  size_t shown = 0;
  for (const FileProblem& p : v.problems) {
    if (p.severity != Severity::ERROR) continue;
    if (shown++ == maxLines) {
      err << "kvlexp: " << path << ": ... and " << (v.errors - maxLines) << " more errors\n";
      break;
    }
    err << "kvlexp: " << path << ": " << FormatProblem(p) << "\n";
  }
  return false;
}

}  // namespace kvl::cli
