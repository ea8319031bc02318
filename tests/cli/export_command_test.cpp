#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "cli/exit_codes.h"
#include "cli/export_command.h"
#include "working_folder.h"

namespace kvl::cli {
namespace {

namespace fs = std::filesystem;

class ExportCommandTest : public ::testing::Test {
 protected:
  // Each test runs in a folder of its own: an output path with forward
  // slashes puts the settings file in the working folder.
  testing::WorkingFolder folder{"cli_test"};
  const fs::path& dir = folder.path();

  fs::path WriteScene(const std::string& name, const std::string& text) {
    const fs::path path = dir / name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }

  int Run(const fs::path& scene, const fs::path& output, std::vector<ui::ControlEdit> edits = {},
          bool cancel = false) {
    out.str("");
    err.str("");
    ExportRequest request;
    request.scenePath = scene.string();
    request.outputPath = output.string();
    request.edits = std::move(edits);
    request.cancel = cancel;
    request.driveFolder = (dir / "c").string();
    request.pluginPath = KVL_PLUGIN_PATH;
    return RunExport(request, out, err);
  }

  // Every report is one line.
  std::string Message() const {
    const std::string text = err.str();
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
    return text;
  }

  std::ostringstream out, err;
};

const char* const kEmptyScene = R"({"format": "kvl-scene", "version": 1})";

TEST_F(ExportCommandTest, WritesTheFileAndSucceeds) {
  const fs::path out = dir / "empty.kvl";
  EXPECT_EQ(Run(WriteScene("empty.json", kEmptyScene), out), EXIT_OK);
  EXPECT_TRUE(err.str().empty()) << err.str();
  EXPECT_EQ(fs::file_size(out), 67u);
}

TEST_F(ExportCommandTest, MalformedJsonIsRefusedWithoutOutput) {
  const fs::path out = dir / "out.kvl";
  EXPECT_EQ(Run(WriteScene("bad.json", R"({"format": "kvl-scene", "version": )"), out), EXIT_FAILED);
  const std::string message = Message();
  EXPECT_EQ(message.rfind("kvlexp: " + (dir / "bad.json").string() + ": ", 0), 0u) << message;
  EXPECT_FALSE(fs::exists(out));
}

TEST_F(ExportCommandTest, FormatErrorNamesTheJsonPath) {
  const fs::path out = dir / "out.kvl";
  const std::string scene =
      R"({"format": "kvl-scene", "version": 1, "nodes": [{"name": "a", "children": [{"nmae": "typo"}]}]})";
  EXPECT_EQ(Run(WriteScene("typo.json", scene), out), EXIT_FAILED);
  const std::string message = Message();
  EXPECT_NE(message.find("nodes[0].children[0]"), std::string::npos) << message;
  EXPECT_NE(message.find("nmae"), std::string::npos) << message;
  EXPECT_FALSE(fs::exists(out));
}

TEST_F(ExportCommandTest, FailedLoadLeavesAnExistingOutputAlone) {
  const fs::path out = dir / "keep.kvl";
  std::ofstream(out) << "precious";
  EXPECT_EQ(Run(WriteScene("wrong.json", R"({"format": "other", "version": 1})"), out), EXIT_FAILED);
  std::ifstream in(out);
  std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(content, "precious");
}

TEST_F(ExportCommandTest, MissingSceneFileIsNamed) {
  EXPECT_EQ(Run(dir / "nowhere.json", dir / "out.kvl"), EXIT_FAILED);
  EXPECT_NE(Message().find("nowhere.json"), std::string::npos);
}

TEST_F(ExportCommandTest, UnknownExtensionIsReportedAndWritesNothing) {
  const fs::path out = dir / "scene.xml";
  EXPECT_EQ(Run(WriteScene("empty.json", kEmptyScene), out), EXIT_FAILED);
  const std::string message = Message();
  EXPECT_NE(message.find("KVL"), std::string::npos) << message;
  EXPECT_NE(message.find("TXT"), std::string::npos) << message;
  EXPECT_FALSE(fs::exists(out));
}

TEST_F(ExportCommandTest, UnwritableOutputIsReportedWithTheReason) {
  const fs::path scene = WriteScene("empty.json", kEmptyScene);
  EXPECT_EQ(Run(scene, dir / "no-such-folder" / "out.kvl"), EXIT_FAILED);
  EXPECT_NE(Message().find("does not exist"), std::string::npos) << err.str();

  fs::create_directories(dir / "taken.kvl");
  EXPECT_EQ(Run(scene, dir / "taken.kvl"), EXIT_FAILED);
  EXPECT_NE(Message().find("is a directory"), std::string::npos) << err.str();
}

TEST_F(ExportCommandTest, EditsGoThroughTheOptionsDialog) {
  const fs::path scene = WriteScene("empty.json", kEmptyScene);
  // A value the dialog refuses ends as Cancel: nothing written or saved.
  EXPECT_EQ(Run(scene, dir / "out.kvl", {{"scale", "0"}}), EXIT_CANCELLED);
  EXPECT_NE(Message().find("Export scale"), std::string::npos) << err.str();
  EXPECT_FALSE(fs::exists(dir / "out.kvl"));
  EXPECT_FALSE(fs::exists(dir / "kvlexp.ini"));

  // Disabled controls and settings without a control are refused up front.
  EXPECT_EQ(Run(scene, dir / "out.kvl", {{"exportlights", "1"}}), EXIT_USAGE);
  EXPECT_NE(Message().find("disabled"), std::string::npos) << err.str();
  EXPECT_EQ(Run(scene, dir / "out.kvl", {{"iniPath", "x"}}), EXIT_USAGE);
  EXPECT_NE(Message().find("iniPath"), std::string::npos) << err.str();
  EXPECT_EQ(Run(scene, dir / "out.kvl", {{"optimize", "maybe"}}), EXIT_USAGE);
  EXPECT_FALSE(fs::exists(dir / "kvlexp.ini"));

  EXPECT_EQ(Run(scene, dir / "out.kvl", {}, true), EXIT_CANCELLED);
  EXPECT_NE(Message().find("cancelled"), std::string::npos) << err.str();
  EXPECT_FALSE(fs::exists(dir / "out.kvl"));

  // Accepted edits are saved, and the log dialog prints the log.
  EXPECT_EQ(Run(scene, dir / "out.kvl", {{"samplerate", "4"}, {"displaylog", "on"}}), EXIT_OK) << err.str();
  std::ifstream in(dir / "kvlexp.ini");
  const std::string settings((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(settings.find("\nsamplerate = 4\n"), std::string::npos) << settings;
  EXPECT_EQ(out.str().rfind("Initializing export\r\n", 0), 0u) << out.str();
}

TEST_F(ExportCommandTest, MissingOrWrongPluginIsNamed) {
  const fs::path scene = WriteScene("empty.json", kEmptyScene);
  ExportRequest request;
  request.scenePath = scene.string();
  request.outputPath = (dir / "out.kvl").string();
  request.pluginPath = (dir / "nowhere.dle").string();
  EXPECT_EQ(RunExport(request, out, err), EXIT_FAILED);
  EXPECT_NE(Message().find("nowhere.dle: no such file"), std::string::npos) << err.str();
  // A file that is no library at all.
  std::ofstream(dir / "fake.dle") << "not a library";
  request.pluginPath = (dir / "fake.dle").string();
  err.str("");
  EXPECT_EQ(RunExport(request, out, err), EXIT_FAILED);
  EXPECT_NE(Message().find("cannot load it"), std::string::npos) << err.str();
  EXPECT_FALSE(fs::exists(dir / "out.kvl"));
}

TEST_F(ExportCommandTest, DemoSceneExports) {
  const fs::path out = dir / "demo.kvl";
  EXPECT_EQ(Run(fs::path(KVL_EXAMPLES_DIR) / "demo.json", out), EXIT_OK) << err.str();
  EXPECT_TRUE(fs::exists(out));
}

}  // namespace
}  // namespace kvl::cli
