// Names are whatever bytes a scene or a file holds. What the program shows
// of them must stay valid JSON and valid HTML and must not drive the
// terminal; what it stores must stay whole characters. The commands' own
// output for such names is in tests/data/cases (cli-names-*, inspect-names-*);
// here are the files no export writes, the preview page, which is too large
// to keep, and the properties over many byte strings.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "output/write/binary_writer.h"
#include "output/write/chunk.h"
#include "output/read/kvl_reader.h"
#include "platform/text_escapes.h"
#include "run_command.h"
#include "working_folder.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// Standard output only: the JSON must stand alone there.
using ProgramRun = kvl::testing::CommandRun;

std::string ShellQuoted(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

// The real program, as a user runs it.
ProgramRun RunProgram(const std::vector<std::string>& arguments) {
  // HOME is the test's folder, as for the cases: the program's drive C and
  // its settings stay inside it.
  std::string command = "HOME=\"$PWD\" " + ShellQuoted(KVLEXP_PROGRAM);
  for (const std::string& a : arguments) command += " " + ShellQuoted(a);
  command += " 2>/dev/null";
  return kvl::testing::RunCommand(command);
}

std::string ReadAll(const fs::path& path) { return kvl::testing::ReadWholeFile(path); }

// A scene of meshes with the given names, as the JSON scene format has it.
void WriteScene(const fs::path& path, const std::vector<std::string>& names) {
  json nodes = json::array();
  for (const std::string& name : names) {
    nodes.push_back({{"name", name},
                     {"material", "M"},
                     {"object",
                      {{"type", "mesh"},
                       {"vertices", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}},
                       {"faces", {{{"v", {0, 1, 2}}}}}}}});
  }
  std::ofstream(path) << json{{"format", "kvl-scene"},
                              {"version", 1},
                              {"materials", {{"M", {{"type", "standard"}}}}},
                              {"nodes", nodes}}
                             .dump();
}

// Byte strings made mostly of what breaks text: control characters, lone
// continuation bytes, lead bytes without their continuation, Latin-1.
std::string RandomBytes(std::mt19937& random) {
  static const std::vector<std::string> pieces = {
      "a", "\\", "\r\n", "\n", "\r", "\t", "\x1b[2J", std::string(1, '\0'), "\x7f", "\xc2\x9b", "\xc2\xa0",
      "\xc3\xa9", "\xe9", "\xe2\x82\xac", "\xe2\x82", "\x80", "\xbf", "\xc0\xaf", "\xed\xa0\x80", "\xef\xbf\xbf",
      "\xf0\x9f\x98\x80", "\xf4\x90\x80\x80", "\xf8", "\xff"};
  std::string text;
  const size_t count = random() % 12;
  for (size_t i = 0; i < count; ++i) text += pieces[random() % pieces.size()];
  return text;
}

// The JSON library's own check of UTF-8, independent of the program's.
bool JsonTakes(const std::string& text) {
  try {
    (void)json(text).dump();
    return true;
  } catch (const json::exception&) {
    return false;
  }
}

bool HasControlCharacter(const std::string& text, bool lineEndsAllowed) {
  for (size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (lineEndsAllowed && byte == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
      ++i;
      continue;
    }
    const bool c1 = byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
    if (byte < 0x20 || byte == 0x7F || c1) return true;
  }
  return false;
}

TEST(ShownNames, AnyBytesShowAsValidUtf8AndNoneDrivesTheTerminal) {
  std::mt19937 random(23);
  for (int i = 0; i < 20000; ++i) {
    const std::string bytes = RandomBytes(random);
    const std::string inJson = text::WithInvalidBytesEscaped(bytes);
    const std::string onTerminal = text::EscapedForTerminal(bytes);
    const std::string logLines = text::EscapedForTerminal(bytes, true);
    ASSERT_EQ(text::IsValidUtf8(bytes), JsonTakes(bytes)) << json(inJson).dump();
    ASSERT_TRUE(JsonTakes(inJson)) << inJson;
    ASSERT_TRUE(JsonTakes(onTerminal)) << onTerminal;
    // Text that is valid already is shown as it is, to a JSON writer.
    if (JsonTakes(bytes)) {
      ASSERT_EQ(inJson, bytes);
    }
    ASSERT_FALSE(HasControlCharacter(onTerminal, false)) << json(onTerminal).dump();
    ASSERT_FALSE(HasControlCharacter(logLines, true)) << json(logLines).dump();
  }
}

// The characters of a UTF-8 name, each 1 to 4 bytes, so that where they
// begin is known without decoding the result.
std::vector<std::string> RandomCharacters(std::mt19937& random, size_t bytes) {
  static const std::vector<std::string> characters = {"a", "\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x98\x80"};
  std::vector<std::string> chosen;
  for (size_t total = 0; total < bytes;) {
    chosen.push_back(characters[random() % characters.size()]);
    total += chosen.back().size();
  }
  return chosen;
}

std::string StoredString(std::string_view name) {
  Chunk chunk(0, 0, 0);
  chunk.PutString(name);
  const std::span<const uint8_t> payload = chunk.payload();
  EXPECT_EQ(payload.size(), 1u + payload[0]);
  return std::string(payload.begin() + 1, payload.end());
}

TEST(ShownNames, ALongUtf8NameIsStoredAsTheWholeCharactersThatFit) {
  std::mt19937 random(11);
  for (int i = 0; i < 2000; ++i) {
    const std::vector<std::string> characters = RandomCharacters(random, 240 + random() % 40);
    std::string name, fitting;
    for (const std::string& c : characters) {
      if (name.size() + c.size() <= Chunk::MAX_STRING && name == fitting) fitting += c;
      name += c;
    }
    ASSERT_EQ(StoredString(name), fitting) << name.size() << " bytes";
  }
  // Bytes that are no UTF-8 have no characters: they are cut at the limit.
  const std::string latin1 = std::string(250, 'x') + std::string(10, '\xe9');
  EXPECT_EQ(StoredString(latin1), latin1.substr(0, Chunk::MAX_STRING));
}

// A name as a writer that cut bytes, not characters, left it: 255 bytes
// ending in the first two bytes of a euro sign.
const std::string kCutInsideACharacter = "a" + [] {
  std::string euros;
  for (int i = 0; i < 84; ++i) euros += "\xe2\x82\xac";
  return euros;
}() + "\xe2\x82";
const std::string kDrivesTheTerminal = "\x1b[2J Caf\xe9\n\x9b";

// An exported file whose geometry names are then set to any bytes, encoded
// as the exporter encodes records.
fs::path FileWithNames(const fs::path& folder) {
  WriteScene(folder / "scene.json", {"first", "second"});
  EXPECT_EQ(RunProgram({"export", (folder / "scene.json").string(), (folder / "names.kvl").string()}).status, 0);
  const std::string written = ReadAll(folder / "names.kvl");
  const KvlDocument doc = ReadKvl(std::span(reinterpret_cast<const uint8_t*>(written.data()), written.size()));
  std::string bytes;
  for (const auto& [id, node] : doc.table) {
    if (node->type == NODE_GEOMETRY) {
      std::string& name = As<GeometryNode>(*node).name;
      name = name == "first" ? kCutInsideACharacter : kDrivesTheTerminal;
    }
    const std::vector<uint8_t> chunk = EncodeNode(*node)->Bytes();
    bytes.append(chunk.begin(), chunk.end());
  }
  std::ofstream(folder / "broken.kvl", std::ios::binary) << bytes;
  return folder / "broken.kvl";
}

std::vector<std::string> GeometryNames(const json& nodes) {
  std::vector<std::string> names;
  for (const json& node : nodes) {
    if (node["type"] == "geometry") names.push_back(node["name"]);
    for (const std::string& name : GeometryNames(node["children"])) names.push_back(name);
  }
  return names;
}

TEST(ShownNames, InspectShowsNamesOfAnyBytesAsJsonAndTextWithoutAborting) {
  testing::WorkingFolder folder("shown_names_inspect");
  const fs::path file = FileWithNames(folder.path());

  const ProgramRun asJson = RunProgram({"inspect", file.string(), "--json"});
  ASSERT_EQ(asJson.status, 0) << asJson.out;
  json summary;
  ASSERT_NO_THROW(summary = json::parse(asJson.out)) << asJson.out;
  // Control characters come back whole through JSON's escapes; bytes that
  // are no UTF-8 are spelled out.
  const std::string euros = kCutInsideACharacter.substr(0, kCutInsideACharacter.size() - 2);
  EXPECT_EQ(GeometryNames(summary["hierarchy"]),
            (std::vector<std::string>{euros + "\\xE2\\x82", "\x1b[2J Caf\\xE9\n\\x9B"}));

  const ProgramRun asText = RunProgram({"inspect", file.string()});
  ASSERT_EQ(asText.status, 0) << asText.out;
  for (size_t start = 0, end; (end = asText.out.find('\n', start)) != std::string::npos; start = end + 1) {
    EXPECT_FALSE(HasControlCharacter(asText.out.substr(start, end - start), false)) << start;
  }
  EXPECT_NE(asText.out.find("geometry \"" + euros + "\\xE2\\x82\""), std::string::npos) << asText.out;
  EXPECT_NE(asText.out.find("geometry \"\\x1B[2J Caf\\xE9\\x0A\\x9B\""), std::string::npos) << asText.out;
}

// What stands between <script ...> and </script> in the page.
std::string ScriptContent(const std::string& page, const std::string& openTag) {
  const size_t start = page.find(openTag);
  if (start == std::string::npos) return "";
  const size_t from = start + openTag.size();
  return page.substr(from, page.find("</script", from) - from);
}

size_t Count(const std::string& text, const std::string& what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

TEST(ShownNames, APreviewOfNamesLikeMarkupHasNoMarkupOfThem) {
  testing::WorkingFolder folder("shown_names_preview");
  const std::string markupName = "<!--<script>.kvl";
  WriteScene("scene.json", {"</script><script>alert(1)</script>", "a & b"});
  for (const std::string& name : {markupName, std::string("plain.kvl")}) {
    ASSERT_EQ(RunProgram({"export", "scene.json", name}).status, 0) << name;
    ASSERT_EQ(RunProgram({"preview", name}).status, 0) << name;
  }
  const std::string page = ReadAll(markupName + ".html");
  const std::string plain = ReadAll("plain.kvl.html");
  const std::string pageJson = ScriptContent(page, "<script type=\"application/json\" id=\"kvl-page\">");
  ASSERT_FALSE(pageJson.empty());
  EXPECT_EQ(pageJson.find_first_of("<>&"), std::string::npos) << pageJson;
  json value;
  ASSERT_NO_THROW(value = json::parse(pageJson)) << pageJson;
  EXPECT_EQ(value["file"], markupName);
  // The file's name adds no element: the page has the tags of any other.
  for (const char* tag : {"<script", "</script", "<!--", "<title>"}) {
    EXPECT_EQ(Count(page, tag), Count(plain, tag)) << tag;
  }
  EXPECT_NE(page.find("<title>&lt;!--&lt;script&gt;.kvl - kvlexp preview</title>"), std::string::npos);
  EXPECT_EQ(page.find("alert(1)"), std::string::npos);
}

}  // namespace
}  // namespace kvl
