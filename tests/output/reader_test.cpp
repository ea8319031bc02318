// Reading binary scene files back: every chunk type and version the writer
// makes, hand-made bytes, hostile counts, truncation, and the checks across
// records.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "byte_builder.h"
#include "output/binary_writer.h"
#include "output/kvl_reader.h"
#include "output/kvl_validator.h"
#include "../support/record_compare.h"

namespace kvl {
namespace {

using test::ByteBuilder;


template <class T>
T& Add(NodeTable& table, uint32_t id) {
  auto record = std::make_unique<T>();
  record->id = id;
  T& ref = *record;
  table.Insert(std::move(record));
  return ref;
}

PRSTransform Placed(float x, float y, float z) {
  PRSTransform t = PRSTransform::Identity();
  t.position[0] = x, t.position[1] = y, t.position[2] = z;
  t.rotation[0] = 0.6f, t.rotation[3] = 0.8f;
  t.scale[1] = 2.5f;
  return t;
}

Vertex MakeVertex(float x, uint32_t flags) {
  Vertex v;
  v.position[0] = x, v.position[1] = -x, v.position[2] = 0.5f;
  v.normal[2] = 1, v.color = 0x80FF4020u + static_cast<uint32_t>(x), v.u = x / 4, v.v = 1 - x / 4;
  v.flags = flags;
  return v;
}

// One record of every type the file carries, with values that tell fields
// apart, over both vertex buffer versions and every collider variant.
void FillEveryType(NodeTable& t) {
  auto& root = Add<GroupNode>(t, 0);
  root.name = "scene_root";
  root.transform = PRSTransform::Identity();
  auto& geometry = Add<GeometryNode>(t, 1);
  geometry.parentId = 0, geometry.name = std::string(300, 'g'), geometry.transform = Placed(1, 2, 3);
  auto& mesh = Add<MeshNode>(t, 2);
  mesh.parentId = 1, mesh.name = "mesh_box";
  Submesh s;
  s.vertexBufferId = 3, s.faceListId = 5, s.triangleInfoBufferId = 6, s.materialId = 7;
  s.diffuseTextureId = 8, s.envTextureId = NODE_ID_NONE, s.vertexCount = 3, s.primitiveType = 1;
  mesh.submeshes = {s, s};
  mesh.submeshes[1].faceListId = 21, mesh.submeshes[1].triangleInfoBufferId = 22;
  auto& vb = Add<VertexBufferNode>(t, 3);
  vb.flags = VERTEX_NORMAL | VERTEX_COLOR | VERTEX_UV;
  vb.lists.resize(1);
  vb.lists[0].flags = vb.flags;
  for (int i = 0; i < 3; ++i) vb.lists[0].vertices.push_back(MakeVertex(static_cast<float>(i), vb.flags));
  auto& morph = Add<VertexBufferNode>(t, 4);
  morph.flags = VERTEX_UV;
  morph.lists.resize(3);
  for (int f = 0; f < 3; ++f) {
    morph.lists[f].flags = VERTEX_UV;
    for (int i = 0; i < 2; ++i) morph.lists[f].vertices.push_back(MakeVertex(static_cast<float>(f * 10 + i), VERTEX_UV));
  }
  Add<FaceListNode>(t, 5).indices = {0, 1, 2};
  auto& tib = Add<TriangleInfoBufferNode>(t, 6);
  tib.flags = TRIANGLE_COLORS | TRIANGLE_NORMAL | TRIANGLE_UVS;
  TriangleInfo info;
  info.color1 = 1, info.color2 = 2, info.color3 = 3, info.normal[1] = 1;
  for (int i = 0; i < 6; ++i) info.cornerUVs[i] = 0.125f * i;
  tib.triangles = {info};
  auto& material = Add<MaterialNode>(t, 7);
  material.diffuse = 0xFF102030, material.specular = 0x80405060, material.ambient = 1, material.emissive = 2;
  material.specularPower = 12.5f, material.flags = MATERIAL_TWO_SIDED | MATERIAL_BLENDED;
  material.shadingMode = 4, material.sourceBlend = 5, material.targetBlend = 6, material.polygonOffset = -0.5f;
  Add<TextureNode>(t, 8).fileName = std::string(256, 't');
  auto& camera = Add<CameraNode>(t, 9);
  camera.parentId = 0, camera.targetId = 1, camera.name = "cam", camera.transform = Placed(0, -5, 1);
  camera.fov = 0.75f, camera.nearClip = 1, camera.farClip = 1000;
  auto& light = Add<LightNode>(t, 10);
  light.parentId = 0, light.name = "light", light.transform = Placed(3, 3, 3), light.lightType = 2;
  light.lightValuesA[0] = 7, light.lightValuesB[2] = 9, light.lightValuesC[1] = 0xDEADBEEF;
  auto& helper = Add<HelperNode>(t, 11);
  helper.parentId = 0, helper.name = "helper", helper.position[2] = 4;
  auto& particles = Add<ParticleSystemNode>(t, 12);
  particles.parentId = 1, particles.name = "ps_fire", particles.scale = 2, particles.fileName = "fire.prt";
  auto& sprite = Add<SpriteNode>(t, 13);
  sprite.parentId = 0, sprite.name = "sprite", sprite.width = 2, sprite.height = 3, sprite.fileName = "s.tga";
  sprite.spriteType = 1, sprite.sourceBlend = 2, sprite.destBlend = 3, sprite.color = 0x11223344;
  auto& sound = Add<SoundSourceNode>(t, 14);
  sound.parentId = 0, sound.name = "sound", sound.transform = Placed(1, 1, 1), sound.soundType = 3;
  sound.multiplier = 0.5f, sound.attenuationStart = 1, sound.attenuationEnd = 10, sound.looping = 1;
  sound.fileName = "a.wav";
  auto& microphone = Add<MicrophoneNode>(t, 15);
  microphone.parentId = 0, microphone.name = "mic", microphone.transform = Placed(0, 0, 2);
  microphone.microphoneType = 1, microphone.multiplier = 2, microphone.range = 50;
  const uint32_t colliderTypes[] = {COLLIDER_BOUNDING_VOLUME, COLLIDER_CONSTRUCTION, COLLIDER_GEOMETRY, 7};
  for (uint32_t i = 0; i < 4; ++i) {
    auto& collider = Add<ColliderNode>(t, 16 + i);
    collider.parentId = 0, collider.colliderType = colliderTypes[i], collider.name = "collider";
    collider.boundingVolumeType = 2, collider.boundsMin[0] = -1, collider.boundsMax[0] = 1;
    collider.transform = Placed(5, 0, 0), collider.geometryId = 1, collider.constructionStartId = 0;
    collider.width = 640, collider.height = 480, collider.baseLevel = 3, collider.flags = 5;
  }
  auto& spring = Add<SpringNode>(t, 20);
  spring.parentId1 = 11, spring.parentId2 = 11, spring.springConstant = 1, spring.dampingConstant = 0.5f;
  spring.length = 2, spring.minLengthScale = 0.5f, spring.maxLengthScale = 1.5f;
  Add<FaceListNode>(t, 21).indices = {2, 1, 0};
  auto& tib2 = Add<TriangleInfoBufferNode>(t, 22);
  tib2.flags = TRIANGLE_NORMAL;
  tib2.triangles = {info};
  auto& anim = Add<PRSAnimationGroup>(t, 23);
  anim.parentId = 0, anim.name = "anim_mover", anim.transform = Placed(9, 8, 7);
  PRSSequence moving;
  moving.startTime = -40, moving.endTime = 1000, moving.sampleRate = 30, moving.flags = 0x1 | PRS_POSITION;
  for (int i = 0; i < 4; ++i) {
    PRSTransform sample = anim.transform;
    sample.position[0] = static_cast<float>(i);
    moving.samples.push_back(sample);
  }
  PRSSequence everything = moving;
  everything.flags = 0xF;
  anim.sequences = {moving, everything};
  auto& attribute = Add<NodeAttributeNode>(t, 24);
  attribute.parentId = 1, attribute.data = std::string(300, 'a') + "\r\nlevel: 3";
  Add<VertexBufferNode>(t, 25);  // a buffer without lists
  auto& loader = Add<LoaderNode>(t, 26);
  loader.parentId = 0, loader.name = "loader", loader.transform = Placed(0, 1, 0);
  loader.fileName = "other.kvl", loader.mergeMode = 2;
}

TEST(KvlReader, EveryChunkTypeComesBackAsTheRecordThatWasWritten) {
  NodeTable written;
  FillEveryType(written);
  const std::vector<uint8_t> file = testing::FileOf(written);
  const KvlDocument doc = ReadKvl(file);

  for (const FileProblem& p : doc.problems) ADD_FAILURE() << FormatProblem(p);
  ASSERT_EQ(doc.table.Size(), written.Size());
  EXPECT_EQ(doc.chunks.size(), written.Size());
  for (const auto& [id, node] : written) {
    const SceneNode* read = doc.table.Find(id);
    ASSERT_NE(read, nullptr) << id;
    testing::ExpectSameRecord(*node, *read);
  }
  // Writing what was read gives the same bytes again.
  EXPECT_TRUE(test::SameBytes(file, testing::FileOf(doc.table)));

  // The chunk list holds every header as the file has it.
  const ChunkEntry* morph = doc.ChunkOf(4);
  ASSERT_NE(morph, nullptr);
  EXPECT_EQ(morph->chunkType, 1001);
  EXPECT_EQ(morph->version, 2);
  EXPECT_EQ(doc.ChunkOf(3)->version, 1);
  // Two morph frames of two vertices with uv: 4 + 4 + 2 + 4 + 3 * 2 * 20.
  EXPECT_EQ(morph->size, 134u);
  // The checks across records find nothing in this document either.
  for (const FileProblem& p : CheckDocument(doc)) ADD_FAILURE() << FormatProblem(p);
}

TEST(KvlReader, HandMadeRootFileAndItsFields) {
  ByteBuilder b;
  b.header(2, 1, 0, 55).u32(0xFFFFFFFF).u8(10).text("scene_root");
  b.repeat(0, 12).repeat(0, 12).u32(test::F_1).u32(test::F_1).u32(test::F_1).u32(test::F_1);
  // A face list: three indices 2, 0, 65535.
  b.header(1002, 2, 1, 8).u16(3).u16(2).u16(0).u16(0xFFFF);
  const KvlDocument doc = ReadKvl(b.bytes());
  ASSERT_TRUE(doc.problems.empty()) << FormatProblem(doc.problems.front());
  const auto* root = doc.table.FindAs<GroupNode>(0, NODE_GROUP);
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->name, "scene_root");
  EXPECT_EQ(root->parentId, NODE_ID_NONE);
  EXPECT_EQ(root->customType, 2u);
  EXPECT_EQ(root->transform.rotation[3], 1.0f);
  EXPECT_EQ(root->transform.scale[0], 1.0f);
  const auto* faces = doc.table.FindAs<FaceListNode>(1, NODE_FACE_LIST);
  ASSERT_NE(faces, nullptr);
  EXPECT_EQ(faces->indices, (std::vector<uint32_t>{2, 0, 65535}));
  ASSERT_EQ(doc.chunks.size(), 2u);
  EXPECT_EQ(doc.chunks[1].offset, 67u);
}

// The reader must neither allocate nor loop by what a count claims.
TEST(KvlReader, CountsAreNotBelievedBeyondThePayload) {
  struct Case {
    const char* what;
    std::vector<uint8_t> bytes;
    const char* expected;  // a piece of the message
  };
  std::vector<Case> cases;
  {
    ByteBuilder b;  // four billion vertices in twelve bytes
    b.header(1001, 1, 0, 22).u32(0).u16(12).u32(0xFFFFFFFF).repeat(0, 12);
    cases.push_back({"vertex count", b.bytes(), "vertex count does not fit"});
  }
  {
    ByteBuilder b;  // four billion empty morph frames
    b.header(1001, 2, 0, 14).u32(0xFFFFFFFF).u32(0).u16(12).u32(0);
    cases.push_back({"empty lists", b.bytes(), "vertex list count is not believable"});
  }
  {
    ByteBuilder b;  // a sequence claiming four billion samples of nothing
    b.header(1005, 3, 0, 4 + 1 + 2 + 18 + 40).u32(0xFFFFFFFF).u8(0).u16(1);
    b.u32(0).u32(0).u32(test::F_1).u16(0x1).repeat(0, 12).u32(0).u32(0).u32(0).u32(test::F_1).repeat(0, 12);
    b.u32(0xFFFFFFFF);
    cases.push_back({"samples", b.bytes(), "sample count is not believable"});
  }
  {
    ByteBuilder b;  // an attribute text of four billion bytes
    b.header(1009, 1, 0, 9).u32(0).u32(0xFFFFFFFF).u8(0);
    cases.push_back({"attribute", b.bytes(), "attribute byte count does not fit"});
  }
  {
    ByteBuilder b;  // 65535 submeshes in a payload that holds none
    b.header(4, 3, 0, 7).u32(0xFFFFFFFF).u8(0).u16(0xFFFF);
    cases.push_back({"submeshes", b.bytes(), "submesh count does not fit"});
  }
  {
    ByteBuilder b;  // a chunk whose size runs past the end
    b.header(1004, 1, 0, 0xFFFFFFF0).u8(0);
    cases.push_back({"chunk size", b.bytes(), "chunk size runs past the end"});
  }
  for (const Case& c : cases) {
    const auto start = std::chrono::steady_clock::now();
    const KvlDocument doc = ReadKvl(c.bytes);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1)) << c.what;
    ASSERT_FALSE(doc.problems.empty()) << c.what;
    EXPECT_EQ(doc.problems.front().severity, Severity::ERROR) << c.what;
    EXPECT_NE(doc.problems.front().message.find(c.expected), std::string::npos)
        << c.what << ": " << doc.problems.front().message;
    EXPECT_EQ(doc.table.Size(), 0u) << c.what;
  }
}

TEST(KvlReader, UnknownTypesAndVersionsAreReportedAndSkippedBySize) {
  ByteBuilder b;
  b.header(77, 1, 0, 3).u8(1).u8(2).u8(3);     // a type the format does not have
  b.header(1004, 9, 1, 2).u8(1).text("x");     // a texture of an unknown version
  b.header(1001, 3, 2, 0);                     // a vertex buffer of version 3
  b.header(1004, 1, 3, 2).u8(1).text("y");     // a good texture behind them
  const KvlDocument doc = ReadKvl(b.bytes());
  ASSERT_EQ(doc.problems.size(), 3u);
  EXPECT_EQ(doc.problems[0].chunkType, 77);
  EXPECT_EQ(doc.problems[0].offset, 0u);
  EXPECT_NE(doc.problems[0].message.find("not a type of the format"), std::string::npos);
  EXPECT_EQ(doc.problems[1].chunkType, 1004);
  EXPECT_EQ(doc.problems[1].offset, 15u + 2);
  EXPECT_NE(doc.problems[1].message.find("(expected 1, found 9)"), std::string::npos);
  EXPECT_NE(doc.problems[2].message.find("(expected 1 or 2, found 3)"), std::string::npos);
  ASSERT_EQ(doc.table.Size(), 1u);
  EXPECT_EQ(doc.table.FindAs<TextureNode>(3, NODE_TEXTURE)->fileName, "y");
  EXPECT_FALSE(doc.chunks[0].decoded);
  EXPECT_TRUE(doc.chunks[3].decoded);
}

TEST(KvlReader, ValueProblemsNameTheFieldAndItsOffset) {
  ByteBuilder b;
  // Vertex buffer: flags 1 (normal) wants stride 24; the file says 32.
  b.header(1001, 1, 4, 10 + 24).u32(VERTEX_NORMAL).u16(32).u32(1);
  b.u32(0x7FC00000).u32(0).u32(0).u32(0).u32(0).u32(test::F_1);  // x is a NaN
  // A group whose rotation has length 2 and whose payload has a byte too many.
  b.header(2, 1, 5, 4 + 1 + 40 + 1).u32(0xFFFFFFFF).u8(0).repeat(0, 12);
  b.u32(0).u32(0).u32(0).u32(test::F_2).repeat(0, 12).u8(0xAB);
  const KvlDocument doc = ReadKvl(b.bytes());
  ASSERT_EQ(doc.problems.size(), 4u);
  EXPECT_EQ(doc.problems[0].offset, 12u + 4);  // the stride
  EXPECT_NE(doc.problems[0].message.find("(expected 24, found 32)"), std::string::npos);
  EXPECT_EQ(doc.problems[1].offset, 12u + 10);  // the NaN
  EXPECT_EQ(doc.problems[1].severity, Severity::ERROR);
  EXPECT_NE(doc.problems[1].message.find("vertex position is not a finite number"), std::string::npos);
  const size_t group = 12 + 34;
  EXPECT_EQ(doc.problems[2].offset, group + 12 + 4 + 1 + 12);  // the rotation
  EXPECT_EQ(doc.problems[2].severity, Severity::WARNING);
  EXPECT_NE(doc.problems[2].message.find("found 2"), std::string::npos);
  EXPECT_EQ(doc.problems[3].offset, group + 12 + 45);  // the byte left over
  EXPECT_NE(doc.problems[3].message.find("1 bytes left over"), std::string::npos);
  EXPECT_EQ(FormatProblem(doc.problems[0]).rfind("offset 0x00000010: chunk 1001 (vertex buffer) id 4: error: ", 0), 0u)
      << FormatProblem(doc.problems[0]);
}

TEST(KvlReader, EveryTruncationIsAnErrorAndNothingHangs) {
  NodeTable written;
  FillEveryType(written);
  const std::vector<uint8_t> file = testing::FileOf(written);
  const KvlDocument whole = ReadKvl(file);
  std::vector<size_t> boundaries;
  for (const ChunkEntry& c : whole.chunks) boundaries.push_back(c.offset);
  for (size_t cut = 0; cut < file.size(); ++cut) {
    const std::vector<uint8_t> part(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(cut));
    const KvlDocument doc = ReadKvl(part);
    const bool atBoundary = std::find(boundaries.begin(), boundaries.end(), cut) != boundaries.end();
    // A file cut between chunks is a shorter file of whole chunks: with no
    // count or end marker in the format, only the empty file shows it here.
    if (atBoundary && cut > 0) continue;
    ASSERT_GT(doc.Count(Severity::ERROR), 0u) << "cut at " << cut;
    // The error lies in the chunk that the cut went through.
    const FileProblem& last = doc.problems.back();
    EXPECT_LE(last.offset, cut) << "cut at " << cut;
  }
}

// Checks across records, on tables made for the purpose.
class Checks : public ::testing::Test {
 protected:
  void SetUp() override {
    auto& root = Add<GroupNode>(table, 0);
    root.name = "scene_root";
    root.transform = PRSTransform::Identity();
    auto& geometry = Add<GeometryNode>(table, 1);
    geometry.parentId = 0, geometry.transform = PRSTransform::Identity();
    auto& mesh = Add<MeshNode>(table, 2);
    mesh.parentId = 1, mesh.name = "m";
    Submesh s;
    s.vertexBufferId = 3, s.faceListId = 4, s.materialId = 5, s.vertexCount = 3;
    mesh.submeshes = {s};
    auto& vb = Add<VertexBufferNode>(table, 3);
    vb.lists.resize(1);
    for (int i = 0; i < 4; ++i) vb.lists[0].vertices.push_back(MakeVertex(static_cast<float>(i), 0));
    Add<FaceListNode>(table, 4).indices = {0, 1, 2};
    Add<MaterialNode>(table, 5);
    Add<TextureNode>(table, 6).fileName = "t.bmp";
  }
  std::vector<FileProblem> Errors() {
    const Validation v = ValidateKvl(testing::FileOf(table));
    std::vector<FileProblem> errors;
    for (const FileProblem& p : v.problems) {
      if (p.severity == Severity::ERROR) errors.push_back(p);
    }
    return errors;
  }
  MeshNode& Mesh() { return As<MeshNode>(*table.Find(2)); }
  NodeTable table;
};

TEST_F(Checks, AValidTableHasNoProblems) {
  const Validation v = ValidateKvl(testing::FileOf(table));
  EXPECT_TRUE(v.Valid());
  EXPECT_EQ(v.warnings, 0u);
  for (const FileProblem& p : v.problems) ADD_FAILURE() << FormatProblem(p);
}

TEST_F(Checks, ReferencesMustNameARecordOfTheRightType) {
  Mesh().submeshes[0].materialId = 6;          // a texture
  Mesh().submeshes[0].diffuseTextureId = 5;    // a material
  Mesh().submeshes[0].triangleInfoBufferId = 40;  // nothing
  As<GeometryNode>(*table.Find(1)).parentId = 3;  // a vertex buffer
  const std::vector<FileProblem> errors = Errors();
  ASSERT_EQ(errors.size(), 4u);
  // In file order: the geometry's parent, then the mesh's fields.
  EXPECT_EQ(errors[0].id, 1u);
  EXPECT_NE(errors[0].message.find("parent 3 names a node of the wrong type (expected a group, found vertex buffer)"),
            std::string::npos);
  const size_t entry = 67 + (12 + 4 + 1 + 40) + 12 + 4 + 2 + 2;  // root, geometry, then the mesh's first entry
  EXPECT_EQ(errors[1].offset, entry + 8);
  EXPECT_NE(errors[1].message.find("triangleInfoBufferId 40 is not in the file"), std::string::npos);
  EXPECT_EQ(errors[2].offset, entry + 12);
  EXPECT_NE(errors[2].message.find("(expected a material, found texture)"), std::string::npos);
  EXPECT_EQ(errors[3].offset, entry + 16);
}

TEST_F(Checks, IndicesCountsAndOffsets) {
  Mesh().submeshes[0].vertexOffset = 2;  // 2 + 2 = 4 is past the four vertices
  Mesh().submeshes[0].vertexCount = 6;
  auto& tib = Add<TriangleInfoBufferNode>(table, 7);
  tib.triangles.resize(2);
  Mesh().submeshes[0].triangleInfoBufferId = 7;
  const std::vector<FileProblem> errors = Errors();
  ASSERT_EQ(errors.size(), 3u);
  EXPECT_EQ(errors[0].chunkType, CHUNK_MESH);
  EXPECT_NE(errors[0].message.find("vertexCount disagrees with face list 4 (expected its index count 3, found 6)"),
            std::string::npos);
  EXPECT_EQ(errors[1].chunkType, CHUNK_FACE_LIST);
  EXPECT_NE(errors[1].message.find("index 2 plus vertexOffset 2"), std::string::npos);
  EXPECT_NE(errors[1].message.find("(expected below 4, found 4)"), std::string::npos);
  // Root 67 bytes, geometry 57, mesh 53, vertex buffer 12 + 10 + 4 * 12;
  // then the face list's header, its count and two indices.
  EXPECT_EQ(errors[1].offset, 67u + 57 + 53 + 70 + 12 + 2 + 2 * 2);
  EXPECT_EQ(errors[2].chunkType, CHUNK_TRIANGLE_INFO_BUFFER);
  EXPECT_NE(errors[2].message.find("(expected 1, found 2)"), std::string::npos);
}

TEST_F(Checks, IdsMustAscendOnceEach) {
  std::vector<uint8_t> file = testing::FileOf(table);
  const KvlDocument doc = ReadKvl(file);
  // The texture chunk (the last) takes the material's id 5, and the root
  // chunk (the first) id 9, above the geometry's id 1 behind it.
  file[doc.ChunkOf(6)->offset + 4] = 5;
  file[doc.ChunkOf(0)->offset + 4] = 9;
  const Validation v = ValidateKvl(file);
  std::string all;
  for (const FileProblem& p : v.problems) {
    if (p.severity == Severity::ERROR) all += FormatProblem(p) + "\n";
  }
  EXPECT_NE(all.find("offset 0x00000047: chunk 3 (geometry) id 1: error: ids out of order (expected an id above 9, "
                     "found 1)"),
            std::string::npos)
      << all;
  char duplicate[160];
  std::snprintf(duplicate, sizeof duplicate,
                "chunk 1004 (texture) id 5: error: id 5 is taken by the chunk at offset 0x%08zX already",
                doc.ChunkOf(5)->offset);
  EXPECT_NE(all.find(duplicate), std::string::npos) << all;
  // The geometry's parent 0 is gone with the root's id.
  EXPECT_NE(all.find("parent 0 is not in the file"), std::string::npos) << all;
}

TEST_F(Checks, HierarchyCyclesAndRoots) {
  auto& a = Add<GroupNode>(table, 7);
  auto& b = Add<GroupNode>(table, 8);
  a.parentId = 8, b.parentId = 7;
  a.transform = b.transform = PRSTransform::Identity();
  std::vector<FileProblem> errors = Errors();
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].id, 7u);
  EXPECT_NE(errors[0].message.find("cycle: 7 -> 8 -> 7"), std::string::npos) << errors[0].message;

  // With the root in the cycle too, no node is a root at all.
  As<GroupNode>(*table.Find(0)).parentId = 1;
  errors = Errors();
  bool noRoot = false;
  for (const FileProblem& p : errors) noRoot |= p.message.find("expected one root, found none") != std::string::npos;
  EXPECT_TRUE(noRoot);
}

}  // namespace
}  // namespace kvl
