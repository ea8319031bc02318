// Whole exports read back: round trips of every test scene and the demo,
// broken files made from a valid export by one change each, and the
// inspect, validate and export --verify commands.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli/exit_codes.h"
#include "cli/export_command.h"
#include "cli/inspect_command.h"
#include "cli/validate_command.h"
#include "export_harness.h"
#include "output/binary_writer.h"
#include "output/kvl_reader.h"
#include "output/kvl_validator.h"
#include "record_compare.h"
#include "working_folder.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;

std::string FileText(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<fs::path> AllScenes() {
  std::vector<fs::path> scenes;
  for (const auto& entry : fs::directory_iterator(fs::path(KVL_TEST_DIR) / "scenes")) {
    if (entry.path().extension() == ".json") scenes.push_back(entry.path());
  }
  std::sort(scenes.begin(), scenes.end());
  scenes.push_back(fs::path(KVL_EXAMPLES_DIR) / "demo.json");
  return scenes;
}


std::string Listing(const std::vector<FileProblem>& problems) {
  std::string text;
  for (const FileProblem& p : problems) text += FormatProblem(p) + "\n";
  return text;
}

void ExpectRoundTrip(const fs::path& scene, const std::string& settings) {
  SCOPED_TRACE(scene.filename().string() + " with settings [" + settings + "]");
  testing::ExportHarness run("roundtrip");
  ASSERT_EQ(run.Export(FileText(scene), settings), "");
  ASSERT_FALSE(run.file.empty());
  const Validation v = ValidateKvl(run.file);
  EXPECT_TRUE(v.Valid()) << Listing(v.problems);
  EXPECT_EQ(v.warnings, 0u) << Listing(v.problems);

  const NodeTable& written = run.exporter.Table();
  size_t carried = 0;
  for (const auto& [id, node] : written) {
    if (!written.ShouldWrite(*node) || node->type == NODE_PRS_KEY_ANIMATION) {
      EXPECT_EQ(v.document.table.Find(id), nullptr) << "record " << id << " was not written";
      continue;
    }
    ++carried;
    const SceneNode* read = v.document.table.Find(id);
    ASSERT_NE(read, nullptr) << "record " << id;
    testing::ExpectSameRecord(*node, *read);
  }
  EXPECT_EQ(v.document.table.Size(), carried);
  EXPECT_EQ(v.document.chunks.size(), carried);
  // Writing what was read gives the same bytes again.
  EXPECT_TRUE(testing::FileOf(v.document.table) == run.file);
}

TEST(KvlRoundTrip, EveryTestSceneAndTheDemoComeBackRecordForRecord) {
  const std::vector<fs::path> scenes = AllScenes();
  ASSERT_GE(scenes.size(), 10u);
  for (const fs::path& scene : scenes) {
    ExpectRoundTrip(scene, "");
    // Without the optimiser every record is written, unreachable ones too.
    ExpectRoundTrip(scene, "optimize = 0\n");
  }
}

// A valid export of the demo scene and the places in it that the broken
// files change.
class BrokenFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(run.Export(FileText(fs::path(KVL_EXAMPLES_DIR) / "demo.json")), "");
    valid = run.file;
    doc = std::make_unique<KvlDocument>(ReadKvl(valid));
    ASSERT_TRUE(ValidateKvl(valid).Valid());
  }
  // The first chunk of `chunkType` in the file.
  const ChunkEntry& First(uint16_t chunkType) {
    for (const ChunkEntry& c : doc->chunks) {
      if (c.chunkType == chunkType) return c;
    }
    throw std::runtime_error("no chunk of type " + std::to_string(chunkType));
  }
  static void Put32(std::vector<uint8_t>& bytes, size_t at, uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
  }
  static void Put16(std::vector<uint8_t>& bytes, size_t at, uint16_t value) {
    bytes[at] = static_cast<uint8_t>(value);
    bytes[at + 1] = static_cast<uint8_t>(value >> 8);
  }
  // Fails unless `bytes` has an error in a chunk of `chunkType` with `id`,
  // at `offset` (or anywhere inside the chunk for SIZE_ANYWHERE), whose
  // message holds `words`.
  static constexpr size_t ANYWHERE = ~size_t{0};
  void ExpectError(const std::string& what, const std::vector<uint8_t>& bytes, uint16_t chunkType, uint32_t id,
                   size_t offset, const std::string& words, const ChunkEntry* within = nullptr) {
    SCOPED_TRACE(what);
    const Validation v = ValidateKvl(bytes);
    EXPECT_FALSE(v.Valid());
    bool found = false;
    for (const FileProblem& p : v.problems) {
      if (p.severity != Severity::ERROR || !p.inChunk || p.chunkType != chunkType || p.id != id) continue;
      if (offset != ANYWHERE && p.offset != offset) continue;
      if (within && (p.offset < within->offset || p.offset >= within->offset + 12 + within->size + 1)) continue;
      found |= p.message.find(words) != std::string::npos;
    }
    EXPECT_TRUE(found) << "no error in chunk " << chunkType << " id " << id << " at " << offset << " saying \""
                       << words << "\"; found:\n"
                       << Listing(v.problems);
  }

  testing::ExportHarness run{"broken"};
  std::vector<uint8_t> valid;
  std::unique_ptr<KvlDocument> doc;
};

TEST_F(BrokenFiles, EachOneChangeIsCaughtWithItsChunkAndOffset) {
  const ChunkEntry& mesh = First(CHUNK_MESH);
  const ChunkEntry& material = First(CHUNK_MATERIAL);
  const ChunkEntry& faces = First(CHUNK_FACE_LIST);
  const ChunkEntry& buffer = First(CHUNK_VERTEX_BUFFER);
  const ChunkEntry& geometry = First(CHUNK_GEOMETRY);
  const ChunkEntry& texture = First(CHUNK_TEXTURE);
  const auto& meshRecord = As<MeshNode>(*doc->table.Find(mesh.id));
  const size_t firstEntry = mesh.offset + 12 + 4 + 1 + meshRecord.name.size() + 2;

  std::vector<uint8_t> b = valid;
  Put32(b, material.offset + 8, material.size + 1);
  ExpectError("size one too large", b, CHUNK_MATERIAL, material.id, ANYWHERE, "1 bytes left over", &material);

  b = valid;
  Put32(b, material.offset + 8, material.size - 1);
  ExpectError("size one too small", b, CHUNK_MATERIAL, material.id, ANYWHERE, "payload ends inside polygonOffset",
              &material);

  b = valid;
  const ChunkEntry& second = doc->chunks[1];
  Put32(b, second.offset + 4, doc->chunks[0].id);
  ExpectError("duplicate id", b, second.chunkType, doc->chunks[0].id, second.offset + 4, "is taken by the chunk");

  b = valid;  // the mesh chunk and the buffer behind it change places
  const ChunkEntry& next = doc->chunks[&mesh - doc->chunks.data() + 1];
  std::vector<uint8_t> meshBytes(b.begin() + mesh.offset, b.begin() + next.offset);
  std::vector<uint8_t> nextBytes(b.begin() + next.offset, b.begin() + next.offset + 12 + next.size);
  std::copy(nextBytes.begin(), nextBytes.end(), b.begin() + mesh.offset);
  std::copy(meshBytes.begin(), meshBytes.end(), b.begin() + mesh.offset + nextBytes.size());
  ExpectError("ids out of order", b, CHUNK_MESH, mesh.id, mesh.offset + nextBytes.size() + 4, "ids out of order");

  b = valid;
  Put32(b, geometry.offset + 12, 9999);
  ExpectError("missing parent", b, CHUNK_GEOMETRY, geometry.id, geometry.offset + 12, "parent 9999 is not in the file");

  b = valid;
  Put32(b, firstEntry + 12, texture.id);
  ExpectError("material naming a texture", b, CHUNK_MESH, mesh.id, firstEntry + 12,
              "(expected a material, found texture)");

  b = valid;
  Put16(b, faces.offset + 12 + 2 + 2 * 4, 0xFFFF);
  ExpectError("index past the vertex list", b, CHUNK_FACE_LIST, faces.id, faces.offset + 12 + 2 + 2 * 4,
              "is past the vertex list");

  b = valid;
  Put16(b, buffer.offset + 12 + 4, 36);
  ExpectError("stride against flags", b, CHUNK_VERTEX_BUFFER, buffer.id, buffer.offset + 12 + 4,
              "vertex stride disagrees with the flags");

  b = valid;
  Put32(b, buffer.offset + 12 + 10, 0x7FC00000);
  ExpectError("NaN position", b, CHUNK_VERTEX_BUFFER, buffer.id, buffer.offset + 12 + 10,
              "vertex position is not a finite number");

  b = valid;
  Put16(b, material.offset, 77);
  ExpectError("unknown chunk type", b, 77, material.id, material.offset, "not a type of the format");
}

TEST(KvlTruncation, EveryCutOfASmallExportIsAnErrorOrLosesAReferencedChunk) {
  testing::ExportHarness run("truncate");
  ASSERT_EQ(run.Export(FileText(fs::path(KVL_TEST_DIR) / "scenes" / "mesh_cube.json")), "");
  const std::vector<uint8_t> file = run.file;
  const KvlDocument whole = ReadKvl(file);
  ASSERT_GE(whole.chunks.size(), 5u);
  std::set<size_t> boundaries;
  for (const ChunkEntry& c : whole.chunks) boundaries.insert(c.offset);
  size_t boundaryCutsCaught = 0;
  for (size_t cut = 0; cut < file.size(); ++cut) {
    const Validation v = ValidateKvl(std::span<const uint8_t>(file.data(), cut));
    if (!boundaries.count(cut) || cut == 0) {
      EXPECT_FALSE(v.Valid()) << "cut at " << cut;
    } else if (!v.Valid()) {
      ++boundaryCutsCaught;
    }
  }
  // A cut between chunks leaves whole chunks; it shows where a record left
  // in the file names one that was cut off: every cut behind the mesh chunk
  // and before its last buffer.
  const ChunkEntry* mesh = nullptr;
  for (const ChunkEntry& c : whole.chunks) {
    if (c.chunkType == CHUNK_MESH) mesh = &c;
  }
  ASSERT_NE(mesh, nullptr);
  size_t expected = 0;
  for (const ChunkEntry& c : whole.chunks) {
    if (c.offset > mesh->offset && (c.chunkType == CHUNK_VERTEX_BUFFER || c.chunkType == CHUNK_FACE_LIST ||
                                    c.chunkType == CHUNK_MATERIAL || c.chunkType == CHUNK_TEXTURE ||
                                    c.chunkType == CHUNK_TRIANGLE_INFO_BUFFER)) {
      ++expected;
    }
  }
  EXPECT_GE(boundaryCutsCaught, expected);
  EXPECT_GT(expected, 0u);
}

class Commands : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(run.Export(FileText(fs::path(KVL_EXAMPLES_DIR) / "demo.json")), "");
    path = (fs::temp_directory_path() / ("kvl_commands_" + std::to_string(::getpid()) + ".kvl")).string();
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(run.file.data()),
                                                static_cast<std::streamsize>(run.file.size()));
  }
  void TearDown() override { fs::remove(path); }
  testing::ExportHarness run{"commands"};
  std::string path;
  std::ostringstream out, err;
};

// Names in the demo scene description that the export keeps as they are.
const char* const DEMO_NAMES[] = {"Tower", "Roof", "Shed", "Windmill", "MainCamera"};

TEST_F(Commands, InspectShowsTheDemoSceneAndItsJsonAgrees) {
  ASSERT_EQ(cli::RunInspect({path, false, true}, out, err), cli::EXIT_OK) << err.str();
  const nlohmann::json summary = nlohmann::json::parse(out.str());
  out.str("");
  ASSERT_EQ(cli::RunInspect({path, false, false}, out, err), cli::EXIT_OK) << err.str();
  const std::string text = out.str();

  // The tree: one root, and every node of the description that is not
  // hidden; the hidden "Scaffolding" is not there.
  ASSERT_EQ(summary["hierarchy"].size(), 1u);
  EXPECT_EQ(summary["hierarchy"][0]["name"], "scene_root");
  std::set<std::string> names;
  std::vector<const nlohmann::json*> stack = {&summary["hierarchy"][0]};
  size_t treeNodes = 0;
  while (!stack.empty()) {
    const nlohmann::json& node = *stack.back();
    stack.pop_back();
    ++treeNodes;
    if (node.contains("name")) names.insert(node["name"].get<std::string>());
    // Every tree line of the text form carries the same id, type and name.
    std::string line = std::to_string(node["id"].get<uint32_t>()) + " " + node["type"].get<std::string>();
    if (node.contains("name")) line += " \"" + node["name"].get<std::string>() + "\"";
    EXPECT_NE(text.find(line), std::string::npos) << line;
    for (const nlohmann::json& child : node["children"]) stack.push_back(&child);
  }
  for (const char* name : DEMO_NAMES) EXPECT_TRUE(names.count(name)) << name;
  EXPECT_FALSE(names.count("Scaffolding"));
  // Every record of the file that has a place in the hierarchy is in the tree.
  std::ostringstream listing;
  ASSERT_EQ(cli::RunInspect({path, true, true}, listing, err), cli::EXIT_OK);
  const nlohmann::json chunks = nlohmann::json::parse(listing.str());
  size_t resources = 0;
  for (const nlohmann::json& c : chunks["chunks"]) {
    const std::string type = c["typeName"];
    resources += type == "vertex buffer" || type == "face list" || type == "triangle info buffer" ||
                 type == "material" || type == "texture";
  }
  EXPECT_EQ(treeNodes, chunks["chunks"].size() - resources);

  // Counts of the description: four meshes with 6 + 12 + 12 + 2 faces; the
  // materials Wood, Stone and Glass; the maps wood and sky; one animated node.
  const nlohmann::json& totals = summary["totals"];
  EXPECT_EQ(totals["meshes"], 4);
  EXPECT_EQ(totals["triangles"], 32);
  EXPECT_EQ(totals["materials"], 3);
  EXPECT_EQ(totals["textures"], 2);
  EXPECT_EQ(totals["animations"], 1);
  EXPECT_EQ(totals["errors"], 0);
  std::map<std::string, size_t> triangles;
  for (const nlohmann::json& mesh : summary["meshes"]) {
    size_t n = 0;
    for (const nlohmann::json& s : mesh["submeshes"]) n += s["triangles"].get<size_t>();
    triangles[mesh["name"]] = n;
  }
  EXPECT_EQ(triangles["mesh_Tower"], 12u);
  EXPECT_EQ(triangles["mesh_Roof"], 6u);
  EXPECT_EQ(triangles["mesh_Shed"], 12u);
  EXPECT_EQ(triangles["mesh_Windmill"], 2u);
  // The text's totals line says the same as the JSON.
  std::ostringstream line;
  line << "Totals: " << totals["nodes"] << " nodes in " << totals["chunks"] << " chunks (" << totals["bytes"]
       << " bytes); " << totals["meshes"] << " meshes, " << totals["submeshes"] << " submeshes, "
       << totals["triangles"] << " triangles; 3 materials, 2 textures; 1 animation groups, " << totals["samples"]
       << " samples; 0 errors, 0 warnings";
  EXPECT_NE(text.find(line.str()), std::string::npos) << text;

  // --chunks lists every chunk.
  EXPECT_EQ(chunks["chunks"].size(), totals["chunks"].get<size_t>());
  EXPECT_EQ(chunks["chunks"][1]["offset"], 67);
}

TEST_F(Commands, ValidateExitsByWhatItFinds) {
  EXPECT_EQ(cli::RunValidate({path, false}, out, err), cli::EXIT_OK);
  EXPECT_NE(out.str().find(": valid, "), std::string::npos) << out.str();

  // One NaN in the first vertex buffer's first position.
  const KvlDocument doc = ReadKvl(run.file);
  size_t buffer = 0;
  for (const ChunkEntry& c : doc.chunks) {
    if (c.chunkType == CHUNK_VERTEX_BUFFER) {
      buffer = c.offset;
      break;
    }
  }
  std::vector<uint8_t> broken = run.file;
  const uint32_t nan = 0x7FC00000;
  std::memcpy(&broken[buffer + 22], &nan, 4);
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(broken.data()),
                                              static_cast<std::streamsize>(broken.size()));
  out.str("");
  EXPECT_EQ(cli::RunValidate({path, false}, out, err), cli::EXIT_FAILED);
  char expected[96];
  std::snprintf(expected, sizeof expected, "offset 0x%08zX: chunk 1001 (vertex buffer) id", buffer + 22);
  EXPECT_EQ(out.str().rfind(expected, 0), 0u) << out.str();
  EXPECT_NE(out.str().find(": not valid, "), std::string::npos);

  out.str("");
  EXPECT_EQ(cli::RunValidate({path, true}, out, err), cli::EXIT_FAILED);
  const nlohmann::json report = nlohmann::json::parse(out.str());
  EXPECT_EQ(report["valid"], false);
  EXPECT_EQ(report["errors"], 1);
  ASSERT_EQ(report["problems"].size(), 1u);
  EXPECT_EQ(report["problems"][0]["offset"], buffer + 22);
  EXPECT_EQ(report["problems"][0]["chunkType"], 1001);
  EXPECT_EQ(report["problems"][0]["severity"], "error");

  err.str("");
  EXPECT_EQ(cli::RunValidate({path + ".missing", false}, out, err), cli::EXIT_UNREADABLE);
  EXPECT_NE(err.str().find("cannot open"), std::string::npos);
  EXPECT_EQ(cli::RunInspect({path + ".missing", false, false}, out, err), cli::EXIT_UNREADABLE);
}

class Verify : public ::testing::Test {
 protected:
  testing::WorkingFolder folder{"verify_test"};
  const fs::path& dir = folder.path();
  int Run(const std::string& scene, const std::string& output) {
    cli::ExportRequest request;
    request.scenePath = scene;
    request.outputPath = (dir / output).string();
    request.driveFolder = (dir / "c").string();
    request.pluginPath = KVL_PLUGIN_PATH;
    request.verify = true;
    return cli::RunExport(request, out, err);
  }
  std::ostringstream out, err;
};

TEST_F(Verify, AGoodExportPassesAndATextDumpIsRefused) {
  EXPECT_EQ(Run((fs::path(KVL_EXAMPLES_DIR) / "demo.json").string(), "demo.kvl"), cli::EXIT_OK) << err.str();
  EXPECT_EQ(Run((fs::path(KVL_EXAMPLES_DIR) / "demo.json").string(), "demo.txt"), cli::EXIT_USAGE);
  EXPECT_NE(err.str().find("only a KVL file can be read back"), std::string::npos);
  EXPECT_FALSE(fs::exists(dir / "demo.txt"));
}

// With adaptive sampling on, the animated node's group becomes a key
// animation group, which the format has no chunk for. With the optimiser off
// everything else is written, so its children's parent is missing from the
// file, and --verify says so.
TEST_F(Verify, AFileWithAParentTheFormatCannotCarryFails) {
  std::ofstream(dir / "kvlexp.ini") << "enableadaptivesampling = 1\noptimize = 0\n";
  const int status = Run((fs::path(KVL_TEST_DIR) / "scenes" / "anim_parent.json").string(), "anim.kvl");
  EXPECT_EQ(status, cli::EXIT_FAILED) << err.str();
  EXPECT_NE(err.str().find("is not in the file"), std::string::npos) << err.str();
  EXPECT_NE(err.str().find("left in place"), std::string::npos) << err.str();
  EXPECT_TRUE(fs::exists(dir / "anim.kvl"));
}

}  // namespace
}  // namespace kvl
