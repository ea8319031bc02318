// Vertex animation: no export setting switches it on, so it is run here on
// the deforming cube of tests/scenes/anim_morph.json and on host meshes that
// fail part of the way.
#include "translate/vertex_animation.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

#include "host/memory_objects.h"
#include "output/write/chunk.h"
#include "output/write/chunk_encoders.h"
#include "sources/json/json_scene.h"

namespace kvl {
namespace {

// The cube of the test scene, host coordinates at tick 0. Its deformation
// frames lift every vertex by 1 in host z from tick 1600 and by 2 from 3200.
const float kCube[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};

float LiftAt(host::TimeValue t) { return t >= 3200 ? 2.0f : t >= 1600 ? 1.0f : 0.0f; }

struct Scene {
  Scene() {
    std::ifstream in(std::string(KVL_TEST_DIR) + "/scenes/anim_morph.json", std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    sources::SceneLoadResult loaded = sources::LoadJsonScene(text.str());
    EXPECT_EQ(loaded.error, "");
    scene = std::move(loaded.scene);
  }
  host::MemoryNode& Blob() { return *scene->root.children.at(0); }
  std::unique_ptr<host::MemoryScene> scene;
};

// The bake matrix of these tests: a move by 10 along host x, which every
// frame must show.
host::Matrix3 Bake() {
  host::Matrix3 m(true);
  m.SetTrans({10, 0, 0});
  return m;
}

// A base list as the triangle layout builds it: one vertex per host vertex.
VertexBufferNode BufferOfHostVertices() {
  VertexBufferNode buffer;
  buffer.lists.emplace_back();
  for (uint32_t p = 0; p < 8; ++p) {
    Vertex v;
    v.sourceVertex = p;
    v.position[0] = -1;  // never looked at: frames take positions from the host
    buffer.lists[0].vertices.push_back(v);
  }
  return buffer;
}

// Output position of host vertex p lifted by `lift`: through the bake
// matrix, then y and z swapped.
void ExpectPosition(const Vertex& v, uint32_t p, float lift, float scale = 1.0f) {
  EXPECT_EQ(v.position[0], (kCube[p][0] + 10) * scale) << "vertex " << p;
  EXPECT_EQ(v.position[1], (kCube[p][2] + lift) * scale) << "vertex " << p;
  EXPECT_EQ(v.position[2], kCube[p][1] * scale) << "vertex " << p;
}

TEST(AnimateVertices, OneListPerPointOfTheGrid) {
  Scene scene;
  ExportSettings settings;
  ExportLog log;
  VertexBufferNode buffer = BufferOfHostVertices();
  AnimateVertices(&scene.Blob(), buffer, Bake(), MakeSampleGrid(0, 4800, 160, 1), settings, log);
  // 30 frames and no list for tick 0 in front of them.
  ASSERT_EQ(buffer.lists.size(), 30u);
  for (uint32_t k = 0; k < 30; ++k) {
    const VertexList& frame = buffer.lists[k];
    ASSERT_EQ(frame.vertices.size(), 8u) << "frame " << k;
    for (uint32_t p = 0; p < 8; ++p) {
      EXPECT_EQ(frame.vertices[p].sourceVertex, p);
      ExpectPosition(frame.vertices[p], p, LiftAt(static_cast<host::TimeValue>(160 * k)));
    }
  }
  EXPECT_TRUE(log.Entries().empty());

  // Two or more lists: the buffer's chunk takes its second form.
  const std::unique_ptr<Chunk> chunk = EncodeVertexBuffer(buffer);
  EXPECT_EQ(chunk->chunkType(), 1001);
  EXPECT_EQ(chunk->version(), 2);
  EXPECT_EQ(chunk->payload().size(), 4u + 4u + 2u + 4u + 30u * 8u * 12u);
}

TEST(AnimateVertices, SampleRateAndStartOfTheRange) {
  Scene scene;
  ExportSettings settings;
  settings.scale = 2.0f;
  ExportLog log;
  // Every second frame: 15 frames, 320 ticks apart.
  VertexBufferNode every2 = BufferOfHostVertices();
  AnimateVertices(&scene.Blob(), every2, Bake(), MakeSampleGrid(0, 4800, 160, 2), settings, log);
  ASSERT_EQ(every2.lists.size(), 15u);
  ExpectPosition(every2.lists[4].vertices[6], 6, 0.0f, 2.0f);  // tick 1280
  ExpectPosition(every2.lists[5].vertices[6], 6, 1.0f, 2.0f);  // tick 1600

  // A grid of one sample: one list, the frame at the start of the range.
  VertexBufferNode single = BufferOfHostVertices();
  AnimateVertices(&scene.Blob(), single, Bake(), MakeSampleGrid(1600, 1760, 160, 1), settings, log);
  ASSERT_EQ(single.lists.size(), 1u);
  ASSERT_EQ(single.lists[0].vertices.size(), 8u);
  for (uint32_t p = 0; p < 8; ++p) ExpectPosition(single.lists[0].vertices[p], p, 1.0f, 2.0f);

  // No point on the grid: the base list stays, and the chunk its first form.
  VertexBufferNode none = BufferOfHostVertices();
  AnimateVertices(&scene.Blob(), none, Bake(), MakeSampleGrid(0, 100, 160, 1), settings, log);
  ASSERT_EQ(none.lists.size(), 1u);
  EXPECT_EQ(none.lists[0].vertices[3].position[0], -1.0f);
  EXPECT_EQ(EncodeVertexBuffer(none)->version(), 1);
}

TEST(AnimateVertices, SplitVertexStaysSplitInEveryFrame) {
  Scene scene;
  ExportSettings settings;
  ExportLog log;
  // Host vertex 0 is in three faces with three smoothing groups, so the
  // vertex layout holds it three times, with other vertices in between.
  VertexBufferNode buffer;
  buffer.flags = VERTEX_NORMAL | VERTEX_UV;
  VertexList base;
  base.flags = buffer.flags;
  const struct {
    uint32_t source, smoothing;
    float u, normal[3];
  } corners[] = {{0, 1, 0.0f, {0, -1, 0}}, {1, 1, 0.5f, {0, -1, 0}}, {0, 2, 0.0f, {0, 1, 0}},
                 {4, 2, 0.0f, {0, 1, 0}},  {0, 4, 0.0f, {0, 0, -1}}, {5, 4, 1.0f, {0, 0, -1}}};
  for (const auto& c : corners) {
    Vertex v;
    v.sourceVertex = c.source;
    v.smoothingGroup = c.smoothing;
    v.flags = base.flags;
    v.u = c.u;
    v.v = 0.25f;
    for (int k = 0; k < 3; ++k) v.normal[k] = c.normal[k];
    base.vertices.push_back(v);
  }
  buffer.lists.push_back(base);
  AnimateVertices(&scene.Blob(), buffer, Bake(), MakeSampleGrid(0, 4800, 160, 3), settings, log);
  ASSERT_EQ(buffer.lists.size(), 10u);
  for (const VertexList& frame : buffer.lists) {
    EXPECT_EQ(frame.flags, base.flags);
    ASSERT_EQ(frame.vertices.size(), 6u);
    for (size_t i = 0; i < 6; ++i) {
      const Vertex& v = frame.vertices[i];
      EXPECT_EQ(v.sourceVertex, corners[i].source);
      EXPECT_EQ(v.smoothingGroup, corners[i].smoothing);
      EXPECT_EQ(v.u, corners[i].u);
      // Normals stay those of tick 0, and unit length.
      for (int k = 0; k < 3; ++k) EXPECT_EQ(v.normal[k], corners[i].normal[k]);
    }
    // The three copies of host vertex 0 sit at one position in each frame.
    for (int k = 0; k < 3; ++k) {
      EXPECT_EQ(frame.vertices[0].position[k], frame.vertices[2].position[k]);
      EXPECT_EQ(frame.vertices[0].position[k], frame.vertices[4].position[k]);
    }
  }
  // Samples 480 ticks apart: sample 3 at 1440, sample 4 at 1920, sample 9 at 4320.
  ExpectPosition(buffer.lists[3].vertices[4], 0, 0.0f);
  ExpectPosition(buffer.lists[4].vertices[4], 0, 1.0f);
  ExpectPosition(buffer.lists[9].vertices[4], 0, 2.0f);
}

// A mesh object that gives the cube until tick 1600 and then `later`: no
// mesh, or one vertex short of the eight the lists refer to. Meshes are
// handed over for deletion.
class FailingMesh : public host::GeomObject {
 public:
  enum class Later { NOTHING, SEVEN_VERTICES };
  explicit FailingMesh(Later later) : later_(later) {}
  host::Mesh* GetRenderMesh(host::TimeValue t, host::INode*, host::View&, bool& needDelete) override {
    needDelete = false;
    if (t >= 1600 && later_ == Later::NOTHING) return nullptr;
    auto* mesh = new host::Mesh;
    const int count = t >= 1600 ? 7 : 8;
    for (int p = 0; p < count; ++p) mesh->verts.emplace_back(kCube[p][0], kCube[p][1], kCube[p][2]);
    needDelete = true;
    return mesh;
  }

 private:
  Later later_;
};

TEST(AnimateVertices, FramesEndWhereTheHostMeshFails) {
  for (FailingMesh::Later later : {FailingMesh::Later::NOTHING, FailingMesh::Later::SEVEN_VERTICES}) {
    host::MemoryScene scene;
    auto node = std::make_unique<host::MemoryNode>();
    node->name = "Cloth";
    node->handle = 1;
    node->object = std::make_unique<FailingMesh>(later);
    host::MemoryNode& cloth = scene.root.AddChild(std::move(node));
    ExportSettings settings;
    ExportLog log;
    VertexBufferNode buffer = BufferOfHostVertices();
    AnimateVertices(&cloth, buffer, Bake(), MakeSampleGrid(0, 4800, 160, 1), settings, log);
    // The base list, then the ten frames before tick 1600.
    ASSERT_EQ(buffer.lists.size(), 11u);
    EXPECT_EQ(buffer.lists[0].vertices[0].position[0], -1.0f);
    for (size_t k = 1; k < 11; ++k) {
      ASSERT_EQ(buffer.lists[k].vertices.size(), 8u);
      ExpectPosition(buffer.lists[k].vertices[7], 7, 0.0f);
    }
    if (later == FailingMesh::Later::NOTHING) {
      EXPECT_TRUE(log.Entries().empty());
    } else {
      ASSERT_EQ(log.Entries().size(), 1u);
      EXPECT_EQ(log.Entries()[0].level, LOG_WARNING);
      EXPECT_EQ(log.Entries()[0].text,
                "Vertex animation of node Cloth: the mesh at tick 1600 has 7 vertices, the mesh at tick 0 had 8; "
                "the frames end before this tick");
    }
  }
}

}  // namespace
}  // namespace kvl
