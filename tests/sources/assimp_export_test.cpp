// Whole exports of the small scenes in tests/scenes/assimp, read back from
// the file written. Every file holds the same model (see make_scenes.py
// there): cube "Body" with materials Red (textured) and Blue, sphere "Head"
// 3 units above it, so the model's top is 4 units up; where the format can
// hold them, camera "Cam" 10 units in front of the model looking at it, and
// animation "Move" that takes Body from x 0 to x 2 in the first second.
#include <gtest/gtest.h>

#include <cmath>
#include <span>

#include "output/kvl_reader.h"
#include "sources/scene_source.h"
#include "support/export_harness.h"

namespace kvl {
namespace {

using testing::ExportHarness;

const std::string kSceneDir = std::string(KVL_TEST_DIR) + "/scenes/assimp/";

struct FormatCase {
  const char* file;
  bool hierarchy;      // Head is a child of Body
  const char* redTexture;  // the texture name in the file, "" for none
  bool camera;
  double cameraFovDegrees;
  bool animation;
};

std::ostream& operator<<(std::ostream& out, const FormatCase& c) { return out << c.file; }

// Loads a scene file, turns the vertex layout on for every node (the layout
// with normals), exports it and reads the file back.
struct ReadBack {
  explicit ReadBack(const std::string& path, const std::string& label, const std::string& properties = "notib: 1")
      : harness(label) {
    sources::SourceOptions options;
    options.textureFolder = harness.Folder().string();  // beside the output, as the command does
    sources::SceneLoadResult loaded = sources::LoadSceneFile(path, options);
    error = loaded.error;
    if (!loaded.scene) return;
    std::vector<host::MemoryNode*> stack;
    for (auto& child : loaded.scene->root.children) stack.push_back(child.get());
    while (!stack.empty()) {
      host::MemoryNode* node = stack.back();
      stack.pop_back();
      if (!properties.empty()) node->userProperties = properties;
      for (auto& child : node->children) stack.push_back(child.get());
    }
    harness.ExportScene(std::move(loaded.scene));
    document = ReadKvl(std::span<const uint8_t>(harness.file.data(), harness.file.size()));
  }

  const SceneNode* Named(const std::string& name) const {
    for (const auto& [id, node] : document.table) {
      if (ExportHarness::NameOf(*node) == name) return node.get();
    }
    return nullptr;
  }
  template <class T>
  const T& Get(uint32_t id) const {
    const SceneNode* node = document.table.Find(id);
    if (!node) throw std::runtime_error("no record " + std::to_string(id));
    return As<T>(*node);
  }
  const VertexList& Vertices(const MeshNode& mesh) const {
    return Get<VertexBufferNode>(mesh.submeshes.at(0).vertexBufferId).lists.at(0);
  }
  size_t Triangles(const MeshNode& mesh) const {
    size_t indices = 0;
    for (const Submesh& s : mesh.submeshes) indices += Get<FaceListNode>(s.faceListId).indices.size();
    return indices / 3;
  }

  ExportHarness harness;
  std::string error;
  KvlDocument document;
};

float Length(const float v[3]) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }

// p turned by the unit quaternion q (x, y, z, w) by the right-hand rule.
void Turn(const float q[4], float p[3]) {
  const float x = q[0], y = q[1], z = q[2], w = q[3];
  const float tx = 2 * (y * p[2] - z * p[1]), ty = 2 * (z * p[0] - x * p[2]), tz = 2 * (x * p[1] - y * p[0]);
  const float r[3] = {p[0] + w * tx + (y * tz - z * ty), p[1] + w * ty + (z * tx - x * tz),
                      p[2] + w * tz + (x * ty - y * tx)};
  for (int i = 0; i < 3; ++i) p[i] = r[i];
}

// A point of a record's space in the file's world: through every parent's
// transform up to the root (samples at the first tick).
void ToWorld(const KvlDocument& document, uint32_t id, float p[3]) {
  while (id != NODE_ID_NONE) {
    const SceneNode* node = document.table.Find(id);
    if (!node) return;
    const PRSTransform* t = nullptr;
    uint32_t parent = NODE_ID_NONE;
    if (node->type == NODE_GEOMETRY) {
      t = &As<GeometryNode>(*node).transform;
      parent = As<GeometryNode>(*node).parentId;
    } else if (IsGroupLike(node->type)) {
      t = &As<GroupNode>(*node).transform;
      parent = As<GroupNode>(*node).parentId;
    }
    if (!t) return;
    for (int i = 0; i < 3; ++i) p[i] *= t->scale[i];
    Turn(t->rotation, p);
    for (int i = 0; i < 3; ++i) p[i] += t->position[i];
    if (parent == id) return;
    id = parent;
  }
}

class AssimpExport : public ::testing::TestWithParam<FormatCase> {};

TEST_P(AssimpExport, ModelComesThroughWhole) {
  const FormatCase& c = GetParam();
  ReadBack back(kSceneDir + c.file, std::string("assimp_") + std::to_string(::getpid()) + "_model");
  ASSERT_EQ(back.error, "");
  ASSERT_FALSE(back.harness.file.empty());
  EXPECT_EQ(back.document.Count(Severity::ERROR), 0u);

  const SceneNode* body = back.Named("Body");
  const SceneNode* head = back.Named("Head");
  ASSERT_NE(body, nullptr);
  ASSERT_NE(head, nullptr);
  ASSERT_EQ(head->type, NODE_GEOMETRY);
  const auto& headGeometry = As<GeometryNode>(*head);
  if (c.hierarchy) {
    // Head hangs under Body, past the animation groups wrapped round them.
    const SceneNode* parent = back.document.table.Find(headGeometry.parentId);
    while (parent && ExportHarness::NameOf(*parent).rfind("anim_Head", 0) == 0) {
      parent = back.document.table.Find(As<GroupNode>(*parent).parentId);
    }
    ASSERT_NE(parent, nullptr);
    EXPECT_TRUE(parent == body || ExportHarness::NameOf(*parent).find("Body") != std::string::npos)
        << ExportHarness::NameOf(*parent);
  }

  // Triangles and one submesh per material used.
  const auto* bodyMesh = back.Named("mesh_Body");
  const auto* headMesh = back.Named("mesh_Head");
  ASSERT_NE(bodyMesh, nullptr);
  ASSERT_NE(headMesh, nullptr);
  const auto& bm = As<MeshNode>(*bodyMesh);
  const auto& hm = As<MeshNode>(*headMesh);
  EXPECT_EQ(back.Triangles(bm), 12u);
  EXPECT_EQ(back.Triangles(hm), 80u);
  ASSERT_EQ(bm.submeshes.size(), 2u);
  EXPECT_EQ(hm.submeshes.size(), 1u);

  // The texture of Red, on the submesh of the sides.
  std::vector<std::string> textures;
  for (const Submesh& s : bm.submeshes) {
    if (s.diffuseTextureId != NODE_ID_NONE) textures.push_back(back.Get<TextureNode>(s.diffuseTextureId).fileName);
  }
  if (*c.redTexture) {
    ASSERT_EQ(textures.size(), 1u);
    EXPECT_EQ(textures[0], c.redTexture);
  }

  // The cube: 24 vertices, each normal along one axis (a face normal).
  const VertexList& cube = back.Vertices(bm);
  EXPECT_EQ(cube.vertices.size(), 24u);
  for (const Vertex& v : cube.vertices) {
    int axes = 0;
    for (float n : v.normal) axes += std::fabs(std::fabs(n) - 1.0f) < 1e-5f;
    EXPECT_EQ(axes, 1) << v.normal[0] << " " << v.normal[1] << " " << v.normal[2];
  }

  // The sphere: welded to its 42 vertices, each normal along its radius
  // (the sphere is centred on its node), all with one sign.
  const VertexList& sphere = back.Vertices(hm);
  EXPECT_EQ(sphere.vertices.size(), 42u);
  float centre[3] = {0, 0, 0};
  for (const Vertex& v : sphere.vertices) {
    for (int i = 0; i < 3; ++i) centre[i] += v.position[i] / sphere.vertices.size();
  }
  int outward = 0;
  for (const Vertex& v : sphere.vertices) {
    const float p[3] = {v.position[0] - centre[0], v.position[1] - centre[1], v.position[2] - centre[2]};
    const float* n = v.normal;
    const float cross[3] = {p[1] * n[2] - p[2] * n[1], p[2] * n[0] - p[0] * n[2], p[0] * n[1] - p[1] * n[0]};
    EXPECT_LT(Length(cross) / Length(p), 1e-3f);
    outward += (p[0] * n[0] + p[1] * n[1] + p[2] * n[2]) > 0;
  }
  EXPECT_TRUE(outward == 0 || outward == 42) << outward;

  // The top of the model is at +Y 4 in the file's world, straight above
  // the origin.
  float top[3] = {0, -1e9f, 0};
  for (const Vertex& v : sphere.vertices) {
    float p[3] = {v.position[0], v.position[1], v.position[2]};
    ToWorld(back.document, headGeometry.id, p);
    if (p[1] > top[1]) std::copy(p, p + 3, top);
  }
  EXPECT_NEAR(top[0], 0.0f, 1e-4f);
  EXPECT_NEAR(top[1], 4.0f, 1e-4f);
  EXPECT_NEAR(top[2], 0.0f, 1e-4f);

  if (c.camera) {
    const SceneNode* cam = back.Named("Cam");
    ASSERT_NE(cam, nullptr);
    ASSERT_EQ(cam->type, NODE_CAMERA);
    const auto& camera = As<CameraNode>(*cam);
    EXPECT_NEAR(camera.fov * 180.0 / M_PI, c.cameraFovDegrees, 1e-3);
    EXPECT_NEAR(camera.nearClip, 0.5f, 1e-5f);
    EXPECT_NEAR(camera.farClip, 200.0f, 1e-3f);
    // The same camera written down in the host's own terms: 10 units in
    // front (-Y), 1 up, turned a quarter about X so that it looks along +Y.
    ExportHarness json("assimp_camera_json");
    ASSERT_EQ(json.Export(R"({"format": "kvl-scene", "version": 1, "nodes": [{"name": "Cam",
        "transform": {"position": [0, -10, 1], "rotation": [0.70710678, 0, 0, 0.70710678]},
        "object": {"type": "camera"}}]})"),
              "");
    const auto* reference = json.Named("Cam");
    ASSERT_NE(reference, nullptr);
    const PRSTransform& want = As<CameraNode>(*reference).transform;
    const PRSTransform& got = camera.transform;
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(got.position[i], want.position[i], 1e-4f);
    const float dot = got.rotation[0] * want.rotation[0] + got.rotation[1] * want.rotation[1] +
                      got.rotation[2] * want.rotation[2] + got.rotation[3] * want.rotation[3];
    EXPECT_NEAR(std::fabs(dot), 1.0f, 1e-5f);
  }

  if (c.animation) {
    // Body's samples: x 0 at the key of 0 s, and on the way to x 2 at the
    // key of 1 s (times on the grid of both 30 and 24 frames a second).
    const PRSAnimationGroup* group = nullptr;
    for (const auto& [id, node] : back.document.table) {
      if (node->type != NODE_PRS_ANIMATION) continue;
      const auto& g = As<PRSAnimationGroup>(*node);
      for (const SceneNode* child : g.children) {
        if (child == body) group = &g;
      }
      if (body->type == NODE_GEOMETRY && As<GeometryNode>(*body).parentId == id) group = &g;
    }
    ASSERT_NE(group, nullptr);
    ASSERT_FALSE(group->sequences.empty());
    const PRSSequence& s = group->sequences.front();
    auto sampleAt = [&](double seconds) {
      const double index = (seconds * 1000.0 - s.startTime) / 1000.0 * s.sampleRate;
      const size_t i = static_cast<size_t>(std::llround(index));
      return s.samples.at(std::min(i, s.samples.size() - 1)).position[0];
    };
    EXPECT_NEAR(sampleAt(0.0), 0.0f, 1e-4f);
    EXPECT_NEAR(sampleAt(0.5), 1.0f, 1e-4f);
    EXPECT_NEAR(sampleAt(1.0 / 6), 1.0f / 3, 1e-4f);
    EXPECT_NEAR(sampleAt(5.0 / 6), 5.0f / 3, 1e-4f);
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, AssimpExport,
                         ::testing::Values(FormatCase{"model.gltf", true, "model_texture0.pcx", true, 60.0, true},
                                           FormatCase{"model.obj", false, "checker.pcx", false, 0, false},
                                           FormatCase{"model.dae", true, "checker.pcx", true, 49.13, true},
                                           FormatCase{"model.fbx", true, "checker.pcx", true, 49.13, true}));

TEST(AssimpExportPly, CubeWithoutNormalsKeepsHardEdgesAndSphereStaysSmooth) {
  ReadBack cube(kSceneDir + "cube.ply", "assimp_ply_cube");
  ASSERT_EQ(cube.error, "");
  const SceneNode* mesh = cube.Named("mesh_");
  ASSERT_NE(mesh, nullptr);
  EXPECT_EQ(cube.Triangles(As<MeshNode>(*mesh)), 12u);
  EXPECT_EQ(cube.Vertices(As<MeshNode>(*mesh)).vertices.size(), 24u);
  // One submesh with the host's default material, since the file has none.
  EXPECT_EQ(As<MeshNode>(*mesh).submeshes.size(), 1u);

  ReadBack sphere(kSceneDir + "sphere.ply", "assimp_ply_sphere");
  ASSERT_EQ(sphere.error, "");
  const SceneNode* sphereMesh = sphere.Named("mesh_");
  ASSERT_NE(sphereMesh, nullptr);
  const VertexList& list = sphere.Vertices(As<MeshNode>(*sphereMesh));
  EXPECT_EQ(list.vertices.size(), 42u);
  for (const Vertex& v : list.vertices) {
    const float* p = v.position;  // the sphere is centred on the origin
    const float* n = v.normal;
    const float cross[3] = {p[1] * n[2] - p[2] * n[1], p[2] * n[0] - p[0] * n[2], p[0] * n[1] - p[1] * n[0]};
    EXPECT_LT(Length(cross) / Length(p), 1e-3f);
  }
}

}  // namespace
}  // namespace kvl
