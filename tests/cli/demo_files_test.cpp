// The demo scene's exports, compared in full with files kept under
// tests/expected. Those files were read back chunk by chunk with
// `kvlexp inspect --chunks`, `kvlexp inspect` and `kvlexp validate` and
// checked against the scene description before they were kept; a change in
// any byte of the output shows here.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "cli/exit_codes.h"
#include "cli/export_command.h"
#include "working_folder.h"

namespace kvl::cli {
namespace {

namespace fs = std::filesystem;

std::string ReadAll(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class DemoFilesTest : public ::testing::Test {
 protected:
  testing::WorkingFolder folder{"demo_files"};
  const fs::path& dir = folder.path();
  std::string Export(const std::string& output, std::vector<ui::ControlEdit> edits) {
    ExportRequest request;
    request.scenePath = std::string(KVL_EXAMPLES_DIR) + "/demo.json";
    request.outputPath = (dir / output).string();
    request.edits = std::move(edits);
    request.edits.push_back({"displaylog", "0"});
    request.driveFolder = (dir / "c").string();
    request.pluginPath = KVL_PLUGIN_PATH;
    std::ostringstream out, err;
    EXPECT_EQ(RunExport(request, out, err), EXIT_OK) << err.str();
    return ReadAll(dir / output);
  }
};

TEST_F(DemoFilesTest, OptimizedUnoptimizedAndDumpMatchTheKeptFiles) {
  const fs::path expected = fs::path(KVL_TEST_DIR) / "expected";
  EXPECT_EQ(Export("on.kvl", {{"optimize", "1"}}), ReadAll(expected / "demo-optimized.kvl"));
  EXPECT_EQ(Export("off.kvl", {{"optimize", "0"}}), ReadAll(expected / "demo-unoptimized.kvl"));
  EXPECT_EQ(Export("demo.txt", {}), ReadAll(expected / "demo.txt"));
}

TEST_F(DemoFilesTest, LogFileAndLogDialogShowTheKeptLog) {
  ExportRequest request;
  request.scenePath = std::string(KVL_EXAMPLES_DIR) + "/demo.json";
  request.outputPath = "logged.kvl";  // relative, as the kept log names it
  request.edits = {{"outputlog", "1"}};
  request.driveFolder = (dir / "c").string();
  request.pluginPath = KVL_PLUGIN_PATH;
  std::ostringstream out, err;
  ASSERT_EQ(RunExport(request, out, err), EXIT_OK) << err.str();
  const std::string kept = ReadAll(fs::path(KVL_TEST_DIR) / "expected" / "demo.log");
  // Every line ends in CR LF, the last one too.
  EXPECT_EQ(kept.substr(kept.size() - 31), "Export completed successfully\r\n");
  EXPECT_EQ(ReadAll(dir / "c" / "kvlexp.log"), kept);
  EXPECT_EQ(out.str(), kept);  // the log dialog of the command line
}

}  // namespace
}  // namespace kvl::cli
