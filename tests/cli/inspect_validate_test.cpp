// Reading KVL files back where no case can: files broken by one change each
// and cut at every byte, records the exporter never writes, and a written
// file that --verify must reject (a case keeps only files that validate).
// The commands' own output is in tests/data/cases (inspect-*, validate-*).
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli/exit_codes.h"
#include "cli/export_command.h"
#include "output/read/kvl_summary.h"
#include "export_harness.h"
#include "kvl_compare.h"
#include "output/write/binary_writer.h"
#include "output/read/kvl_reader.h"
#include "output/read/kvl_validator.h"
#include "working_folder.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

std::string FileText(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string Listing(const std::vector<FileProblem>& problems) {
  std::string text;
  for (const FileProblem& p : problems) text += FormatProblem(p) + "\n";
  return text;
}

void Put(Bytes& bytes, size_t at, uint32_t value, int width) {
  for (int i = 0; i < width; ++i) bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

// One change to a valid file, and the error it must give: in which chunk
// (type and id), at which offset (or anywhere inside that chunk), saying what.
struct Breakage {
  std::string what;
  std::function<void(Bytes&)> change;
  uint16_t chunkType;
  uint32_t id;
  size_t offset;  // kAnywhere: inside the chunk `within`
  std::string words;
  const ChunkEntry* within = nullptr;
};
constexpr size_t kAnywhere = ~size_t{0};

TEST(BrokenFiles, EachOneChangeIsCaughtWithItsChunkAndOffset) {
  testing::ExportHarness run("broken");
  ASSERT_EQ(run.Export(FileText(fs::path(KVL_EXAMPLES_DIR) / "demo.json")), "");
  const Bytes valid = run.file;
  ASSERT_TRUE(ValidateKvl(valid).Valid());
  const KvlDocument doc = ReadKvl(valid);
  auto first = [&](uint16_t type) -> const ChunkEntry& {
    for (const ChunkEntry& c : doc.chunks) {
      if (c.chunkType == type) return c;
    }
    throw std::runtime_error("no chunk of type " + std::to_string(type));
  };
  const ChunkEntry& mesh = first(CHUNK_MESH);
  const ChunkEntry& material = first(CHUNK_MATERIAL);
  const ChunkEntry& faces = first(CHUNK_FACE_LIST);
  const ChunkEntry& buffer = first(CHUNK_VERTEX_BUFFER);
  const ChunkEntry& geometry = first(CHUNK_GEOMETRY);
  const ChunkEntry& texture = first(CHUNK_TEXTURE);
  const ChunkEntry& second = doc.chunks[1];
  const ChunkEntry& next = doc.chunks[&mesh - doc.chunks.data() + 1];
  // Header, parentId, the name with its length byte, the submesh count.
  const size_t firstEntry = mesh.offset + 12 + 4 + 1 + As<MeshNode>(*doc.table.Find(mesh.id)).name.size() + 2;
  const size_t nextSize = 12 + next.size;
  const uint32_t firstId = doc.chunks[0].id;

  const std::vector<Breakage> table = {
      {"size one too large", [&](Bytes& b) { Put(b, material.offset + 8, material.size + 1, 4); }, CHUNK_MATERIAL,
       material.id, kAnywhere, "1 bytes left over", &material},
      {"size one too small", [&](Bytes& b) { Put(b, material.offset + 8, material.size - 1, 4); }, CHUNK_MATERIAL,
       material.id, kAnywhere, "payload ends inside polygonOffset", &material},
      {"duplicate id", [&](Bytes& b) { Put(b, second.offset + 4, firstId, 4); }, second.chunkType, firstId,
       second.offset + 4, "is taken by the chunk"},
      {"ids out of order",  // the mesh chunk and the one behind it change places
       [&](Bytes& b) {
         const Bytes meshBytes(b.begin() + mesh.offset, b.begin() + next.offset);
         const Bytes nextBytes(b.begin() + next.offset, b.begin() + next.offset + nextSize);
         std::copy(nextBytes.begin(), nextBytes.end(), b.begin() + mesh.offset);
         std::copy(meshBytes.begin(), meshBytes.end(), b.begin() + mesh.offset + nextSize);
       },
       CHUNK_MESH, mesh.id, mesh.offset + nextSize + 4, "ids out of order"},
      {"missing parent", [&](Bytes& b) { Put(b, geometry.offset + 12, 9999, 4); }, CHUNK_GEOMETRY, geometry.id,
       geometry.offset + 12, "parent 9999 is not in the file"},
      {"material naming a texture", [&](Bytes& b) { Put(b, firstEntry + 12, texture.id, 4); }, CHUNK_MESH, mesh.id,
       firstEntry + 12, "(expected a material, found texture)"},
      {"index past the vertex list", [&](Bytes& b) { Put(b, faces.offset + 12 + 2 + 2 * 4, 0xFFFF, 2); },
       CHUNK_FACE_LIST, faces.id, faces.offset + 12 + 2 + 2 * 4, "is past the vertex list"},
      {"stride against flags", [&](Bytes& b) { Put(b, buffer.offset + 12 + 4, 36, 2); }, CHUNK_VERTEX_BUFFER,
       buffer.id, buffer.offset + 12 + 4, "vertex stride disagrees with the flags"},
      {"NaN position", [&](Bytes& b) { Put(b, buffer.offset + 12 + 10, 0x7FC00000, 4); }, CHUNK_VERTEX_BUFFER,
       buffer.id, buffer.offset + 12 + 10, "vertex position is not a finite number"},
      {"unknown chunk type", [&](Bytes& b) { Put(b, material.offset, 77, 2); }, 77, material.id, material.offset,
       "not a type of the format"},
  };
  for (const Breakage& row : table) {
    SCOPED_TRACE(row.what);
    Bytes b = valid;
    row.change(b);
    const Validation v = ValidateKvl(b);
    EXPECT_FALSE(v.Valid());
    bool found = false;
    for (const FileProblem& p : v.problems) {
      if (p.severity != Severity::ERROR || !p.inChunk || p.chunkType != row.chunkType || p.id != row.id) continue;
      if (row.offset != kAnywhere && p.offset != row.offset) continue;
      if (row.within && (p.offset < row.within->offset || p.offset > row.within->offset + 12 + row.within->size)) {
        continue;
      }
      found |= p.message.find(row.words) != std::string::npos;
    }
    EXPECT_TRUE(found) << "no error saying \"" << row.words << "\"; found:\n" << Listing(v.problems);
  }
}

const char* const kOneTriangle = R"({"format": "kvl-scene", "version": 1,
  "materials": {"paint": {"type": "standard", "diffuse": [1, 0, 0]}},
  "nodes": [{"name": "Tri", "material": "paint",
             "object": {"type": "mesh", "vertices": [[0, 0, 0], [1, 0, 0], [0, 1, 0]], "faces": [{"v": [0, 1, 2]}]}}]})";

// A cut inside a chunk is always an error. A cut between chunks leaves whole
// chunks, and shows where a record left in the file names one that was cut
// off: at least every cut behind the mesh chunk and before its last buffer.
TEST(KvlTruncation, EveryCutIsAnErrorOrLosesAReferencedChunk) {
  testing::ExportHarness run("truncate");
  ASSERT_EQ(run.Export(kOneTriangle), "");
  const Bytes& file = run.file;
  const KvlDocument whole = ReadKvl(file);
  ASSERT_GE(whole.chunks.size(), 5u);
  std::set<size_t> boundaries;
  for (const ChunkEntry& c : whole.chunks) boundaries.insert(c.offset);
  size_t boundaryCutsCaught = 0;
  for (size_t cut = 0; cut < file.size(); ++cut) {
    const bool valid = ValidateKvl(std::span<const uint8_t>(file.data(), cut)).Valid();
    if (!boundaries.count(cut) || cut == 0) {
      EXPECT_FALSE(valid) << "cut at " << cut;
    } else {
      boundaryCutsCaught += !valid;
    }
  }
  size_t meshOffset = 0, behindTheMesh = 0;
  for (const ChunkEntry& c : whole.chunks) {
    if (c.chunkType == CHUNK_MESH) meshOffset = c.offset;
  }
  for (const ChunkEntry& c : whole.chunks) behindTheMesh += c.offset > meshOffset;
  EXPECT_GT(behindTheMesh, 0u);
  EXPECT_GE(boundaryCutsCaught, behindTheMesh);
}

// The reach of a buffer's vertices does not depend on the order its
// submeshes come in: pieces at 70 000 and at 0 over 140 000 vertices reach
// 0 to 65 535 and 70 000 to 135 535, and leave 65 536 to 69 999 and 135 536
// to 139 999 (4 464 each) out of reach, whichever is listed first.
TEST(ValidateKvl, VerticesOutOfReachWhateverTheOrderOfTheOffsets) {
  for (const std::vector<uint32_t>& offsets : {std::vector<uint32_t>{70000, 0}, std::vector<uint32_t>{0, 70000}}) {
    NodeTable table;
    auto mesh = std::make_unique<MeshNode>();
    mesh->id = 0, mesh->parentId = NODE_ID_NONE, mesh->name = "pieces";
    auto buffer = std::make_unique<VertexBufferNode>();
    buffer->id = 1;
    buffer->lists.emplace_back().vertices.resize(140000);
    for (uint32_t offset : offsets) {
      Submesh piece;
      piece.vertexBufferId = 1, piece.vertexOffset = offset, piece.vertexCount = 0;
      mesh->submeshes.push_back(piece);
    }
    ASSERT_TRUE(table.Insert(std::move(mesh)) && table.Insert(std::move(buffer)));
    table.settings.optimize = false;
    const std::string file = testing::WrittenKvl(table);
    const Validation v = ValidateKvl(std::span(reinterpret_cast<const uint8_t*>(file.data()), file.size()));
    const std::string listing = Listing(v.problems);
    EXPECT_NE(listing.find("8928 of the 140000 vertices lie out of reach"), std::string::npos)
        << "offsets " << offsets[0] << ", " << offsets[1] << ":\n" << listing;
    EXPECT_NE(listing.find("found vertex 65536 outside"), std::string::npos) << listing;
  }
}

// Lights and loaders are records of the format that the exporter does not
// make; inspect still places them in the tree. A mesh without submeshes has
// no buffer, so no vertices and no vertex lists.
TEST(InspectSummary, RecordsTheExporterNeverWritesAreShown) {
  NodeTable table;
  auto root = std::make_unique<GroupNode>();
  root->name = "root";
  auto light = std::make_unique<LightNode>();
  light->id = 1, light->parentId = 0, light->name = "lamp", light->transform.position[1] = 2;
  auto loader = std::make_unique<LoaderNode>();
  loader->id = 2, loader->parentId = 0, loader->name = "more", loader->fileName = "more.kvl";
  loader->transform.position[0] = 3;
  auto mesh = std::make_unique<MeshNode>();
  mesh->id = 3, mesh->parentId = 0, mesh->name = "bare";
  ASSERT_TRUE(table.Insert(std::move(root)) && table.Insert(std::move(light)) && table.Insert(std::move(loader)) &&
              table.Insert(std::move(mesh)));
  table.settings.optimize = false;
  char* buffer = nullptr;
  size_t size = 0;
  std::FILE* memory = ::open_memstream(&buffer, &size);
  ASSERT_TRUE(memory && WriteBinaryScene(memory, table));
  std::fclose(memory);
  const Bytes file(buffer, buffer + size);
  std::free(buffer);

  const nlohmann::json s = InspectSummary(ReadKvl(file), "made.kvl");
  ASSERT_EQ(s["hierarchy"].size(), 1u);
  const nlohmann::json& children = s["hierarchy"][0]["children"];
  ASSERT_EQ(children.size(), 3u);
  EXPECT_EQ(children[0]["type"], "light");
  EXPECT_EQ(children[0]["name"], "lamp");
  EXPECT_EQ(children[0]["position"], nlohmann::json::array({0.0, 2.0, 0.0}));
  EXPECT_EQ(children[1]["type"], "loader");
  EXPECT_EQ(children[1]["name"], "more");
  EXPECT_EQ(children[1]["position"], nlohmann::json::array({3.0, 0.0, 0.0}));
  EXPECT_EQ(children[2]["name"], "bare");
  ASSERT_EQ(s["meshes"].size(), 1u);
  EXPECT_EQ(s["meshes"][0]["frames"], 0);
  EXPECT_EQ(s["meshes"][0]["bufferVertices"], 0);
  // The reader takes every record; the totals are the validator's, which
  // finds the mesh hung straight under a group.
  EXPECT_EQ(ReadKvl(file).Count(Severity::ERROR), 0u);
  EXPECT_EQ(s["totals"]["errors"], 1);
}

// With adaptive sampling on, an animated node's group becomes a key
// animation group, which the format has no chunk for. With the optimiser off
// everything else is written, so its child's parent is missing from the
// file: --verify reports each error in one line and fails, and the file is
// left for the user to look at.
TEST(Verify, AFileWithAParentTheFormatCannotCarryFails) {
  testing::WorkingFolder folder("verify_test");
  std::ofstream(folder.path() / "kvlexp.ini") << "enableadaptivesampling = 1\noptimize = 0\n";
  std::ofstream(folder.path() / "anim.json") << R"({"format": "kvl-scene", "version": 1,
    "animationRange": [0, 800], "materials": {"paint": {"type": "standard", "diffuse": [1, 0, 0]}},
    "nodes": [{"name": "Mover", "material": "paint",
               "keys": [{"tick": 0, "position": [0, 5, 0]}, {"tick": 160, "position": [0, 5, 0]},
                        {"tick": 320, "position": [1, 5, 0]}, {"tick": 480, "position": [2, 5, 0]}],
               "object": {"type": "mesh", "vertices": [[0, 0, 0], [1, 0, 0], [0, 1, 0]],
                          "faces": [{"v": [0, 1, 2], "smoothing": 1}]}}]})";
  cli::ExportRequest request;
  request.scenePath = (folder.path() / "anim.json").string();
  request.outputPath = (folder.path() / "anim.kvl").string();
  request.driveFolder = (folder.path() / "c").string();
  request.pluginPath = KVL_PLUGIN_PATH;
  request.verify = true;
  request.edits = {{"displaylog", "0"}};
  // A good file from before, which the failing one must not replace.
  const std::string before = "the previous output";
  std::ofstream(request.outputPath, std::ios::binary) << before;
  std::ostringstream out, err;
  EXPECT_EQ(cli::RunExport(request, out, err), cli::EXIT_FAILED) << err.str();
  const std::string prefix = "kvlexp: " + request.outputPath + ": ";
  EXPECT_EQ(err.str().rfind(prefix, 0), 0u) << err.str();
  EXPECT_NE(err.str().find("is not in the file"), std::string::npos) << err.str();
  EXPECT_NE(err.str().find("kept as " + request.outputPath + ".invalid"), std::string::npos) << err.str();
  EXPECT_EQ(err.str().find("more errors"), std::string::npos) << err.str();
  EXPECT_EQ(err.str().find(".tmp"), std::string::npos) << err.str();  // told under the user's name
  std::ifstream kept(request.outputPath, std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), before);
  std::ifstream invalid(request.outputPath + ".invalid", std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(invalid)), {});
  EXPECT_FALSE(ValidateKvl(std::span(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size())).Valid());
}

}  // namespace
}  // namespace kvl
