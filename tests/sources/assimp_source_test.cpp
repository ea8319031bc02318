// The parts of the Assimp source that no whole file reaches on its own:
// smoothing groups from corner normals (on meshes of every shape, against
// the properties the host needs of them) and declared axes. Whole files are
// the cases tests/data/cases/assimp-*.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "host/memory_objects.h"
#include <assimp/scene.h>

#include "host/memory_scene.h"
#include "sources/assimp/assimp_axes.h"
#include "sources/assimp/assimp_validation.h"
#include "sources/assimp/assimp_smoothing.h"

namespace kvl::sources {
namespace {

std::vector<host::Face> FacesOf(const std::vector<uint32_t>& corners) {
  std::vector<host::Face> faces(corners.size() / 3);
  for (size_t c = 0; c < corners.size(); ++c) faces[c / 3].v[c % 3] = corners[c];
  return faces;
}

// The smoothing word of each face, from a normal per corner.
std::vector<uint32_t> GroupsOf(const std::vector<uint32_t>& corners, size_t vertexCount,
                               const std::vector<host::Point3>& cornerNormals) {
  std::vector<host::Face> faces = FacesOf(corners);
  SmoothingGroupsFromCornerNormals(faces, vertexCount, cornerNormals);
  std::vector<uint32_t> groups;
  for (const host::Face& face : faces) groups.push_back(face.smGroup);
  return groups;
}

// At one vertex: normals that differ by at most 1e-4 in each component are
// one normal (1e-4 exactly included: files round to four decimals), and only
// the first 64 different normals are kept to be joined with, so a normal
// equal to the 65th different one finds nothing to join.
TEST(AssimpSmoothing, NormalsWithinTheToleranceJoinAndAVertexKeepsSixtyFour) {
  std::vector<host::Point3> normals = {{0, 1, 0}, {0, 1, 1e-4f}, {0, 1, 2.5e-4f}};
  for (int k = 3; k < 66; ++k) {
    const float angle = 0.05f * static_cast<float>(k);
    normals.push_back({std::cos(angle), 0, std::sin(angle)});
  }
  normals.push_back(normals.back());
  const size_t count = normals.size();  // 67: the last two are the same
  std::vector<uint32_t> faceOfNormal(count);
  for (size_t n = 0; n < count; ++n) faceOfNormal[n] = static_cast<uint32_t>(n);
  SmoothPatches patches(count);
  JoinSameNormalsAtVertices(patches, normals, std::vector<uint8_t>(count, 1), std::vector<uint32_t>(count, 0),
                            faceOfNormal, 1);
  EXPECT_EQ(patches.Find(1), patches.Find(0));  // 1e-4 apart: one normal
  EXPECT_NE(patches.Find(2), patches.Find(0));  // 2.5e-4 apart: two
  EXPECT_NE(patches.Find(2), patches.Find(1));
  for (uint32_t f = 3; f < count; ++f) EXPECT_EQ(patches.Find(f), f) << f;  // the 66th normal is not kept
}

TEST(AssimpSmoothing, CubeSidesGetTheirOwnGroupsAndASphereOne) {
  // A cube of 8 corners: two triangles per side, each corner with its side's
  // normal.
  const int quads[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
  const host::Point3 sideNormals[6] = {{0, 0, -1}, {0, 0, 1}, {0, -1, 0}, {0, 1, 0}, {-1, 0, 0}, {1, 0, 0}};
  std::vector<uint32_t> corners;
  std::vector<host::Point3> normals;
  for (int s = 0; s < 6; ++s) {
    for (int k : {0, 1, 2, 0, 2, 3}) {
      corners.push_back(static_cast<uint32_t>(quads[s][k]));
      normals.push_back(sideNormals[s] * 3.0f);  // length does not matter
    }
  }
  const std::vector<uint32_t> groups = GroupsOf(corners, 8, normals);
  ASSERT_EQ(groups.size(), 12u);
  for (int s = 0; s < 6; ++s) {
    EXPECT_EQ(groups[2 * s], groups[2 * s + 1]) << "side " << s;
    EXPECT_EQ(__builtin_popcount(groups[2 * s]), 1);
  }
  // Sides that share a corner differ: every pair but the opposite ones.
  const int opposite[6] = {1, 0, 3, 2, 5, 4};
  for (int a = 0; a < 6; ++a) {
    for (int b = 0; b < 6; ++b) {
      if (a != b && opposite[a] != b) {
        EXPECT_NE(groups[2 * a], groups[2 * b]) << a << " " << b;
      }
    }
  }

  // The same corners, each with the normal of its corner's direction from
  // the centre: one smooth patch.
  std::vector<host::Point3> smooth;
  for (uint32_t v : corners) smooth.emplace_back(v & 1 ? 1.0f : -1.0f, v & 2 ? 1.0f : -1.0f, v & 4 ? 1.0f : -1.0f);
  const std::vector<uint32_t> one = GroupsOf(corners, 8, smooth);
  for (uint32_t g : one) EXPECT_EQ(g, one[0]);

  // Without usable normals every face stands alone at every corner.
  const std::vector<uint32_t> hard =
      GroupsOf(corners, 8, std::vector<host::Point3>(corners.size(), host::Point3(0, 0, 0)));
  EXPECT_NE(hard[0], hard[1]);
}

// What the words must do for the host: faces that meet at a vertex with
// different normals share no bit (the edge stays hard), and faces that meet
// with the same normal have the same word (the surface stays smooth).
void CheckSmoothingWords(const std::vector<uint32_t>& corners, const std::vector<host::Point3>& cornerNormals,
                         const std::vector<uint32_t>& groups) {
  ASSERT_EQ(groups.size(), corners.size() / 3);
  for (size_t a = 0; a < corners.size(); ++a) {
    for (size_t b = a + 1; b < corners.size(); ++b) {
      if (corners[a] != corners[b] || a / 3 == b / 3) continue;
      const uint32_t ga = groups[a / 3], gb = groups[b / 3];
      const host::Point3 d = cornerNormals[a] - cornerNormals[b];
      if (d.x == 0 && d.y == 0 && d.z == 0) {
        if (ga != 0 && gb != 0) {
          ASSERT_EQ(ga, gb) << "faces " << a / 3 << " and " << b / 3;
        }
      } else {
        ASSERT_EQ(ga & gb, 0u) << "faces " << a / 3 << " and " << b / 3;
      }
    }
  }
}

TEST(AssimpSmoothing, HardEdgesStayHardOnAnyMeshEvenAFanOfThousands) {
  // A grid of 8 x 8 squares whose faces take one of three flat normals at
  // random: patches of every shape, with hard edges wherever two meet.
  const host::Point3 flat[3] = {{0, 0, 1}, {0, 1, 0}, {1, 0, 0}};
  uint32_t seed = 12345;
  auto next = [&] { return (seed = seed * 1103515245u + 12345u) >> 16; };
  std::vector<uint32_t> corners;
  std::vector<host::Point3> normals;
  for (uint32_t y = 0; y < 8; ++y) {
    for (uint32_t x = 0; x < 8; ++x) {
      const uint32_t v = 9 * y + x;
      for (uint32_t tri : {0u, 1u}) {
        const host::Point3 n = flat[next() % 3];
        const std::vector<uint32_t> corner = tri == 0 ? std::vector<uint32_t>{v, v + 1, v + 10}
                                                       : std::vector<uint32_t>{v, v + 10, v + 9};
        for (uint32_t c : corner) {
          corners.push_back(c);
          normals.push_back(n);
        }
      }
    }
  }
  const std::vector<uint32_t> grid = GroupsOf(corners, 81, normals);
  CheckSmoothingWords(corners, normals, grid);
  for (uint32_t g : grid) EXPECT_EQ(__builtin_popcount(g), 1);  // three normals never need 32 groups

  // Three thousand faces around one point, each with a normal of its own:
  // finishes, keeps every edge hard, and faces the bits cannot go round.
  corners.clear();
  normals.clear();
  const uint32_t fan = 3000;
  for (uint32_t f = 0; f < fan; ++f) {
    const float angle = 6.2831853f * static_cast<float>(f) / fan;
    const host::Point3 n(std::cos(angle), std::sin(angle), 0.5f);
    for (uint32_t c : {0u, 1 + f, 1 + (f + 1) % fan}) {
      corners.push_back(c);
      normals.push_back(n);
    }
  }
  const std::vector<uint32_t> fanned = GroupsOf(corners, fan + 1, normals);
  CheckSmoothingWords(corners, normals, fanned);
  EXPECT_EQ(std::count(fanned.begin(), fanned.end(), 0u), fan - 32);

  // The same fan as a cone without normals: at its crowded apex each corner
  // keeps its own face's normal; the rim corners, with two faces each,
  // average them within the angle.
  std::vector<host::Point3> positions = {{0, 0, 1}};
  for (uint32_t f = 0; f < fan; ++f) {
    const float angle = 6.2831853f * static_cast<float>(f) / fan;
    positions.emplace_back(std::cos(angle), std::sin(angle), 0.0f);
  }
  const std::vector<host::Point3> cone = CornerNormalsByAngle(FacesOf(corners), fan + 1, positions, 1.4f);
  for (uint32_t f : {0u, 1234u}) {
    const host::Point3& a = positions[corners[3 * f]];
    const host::Point3 face = CrossProd(positions[corners[3 * f + 1]] - a, positions[corners[3 * f + 2]] - a);
    EXPECT_NEAR(DotProd(cone[3 * f], face) / (cone[3 * f].Length() * face.Length()), 1.0f, 1e-5f);
    EXPECT_NEAR(cone[3 * f + 1].Length(), 2.0f, 1e-4f);  // two unit normals summed
  }
}

TEST(AssimpAxes, DeclaredAxesTurnIntoZUp) {
  // Y up, Z toward the viewer: up becomes +Z, the viewer's side -Y.
  const host::Matrix3 yUp = AxesFromDeclaration(1, 1, 2, 1, 0, 1);
  const host::Point3 up = yUp.PointTransform({0, 1, 0});
  const host::Point3 front = yUp.PointTransform({0, 0, 1});
  EXPECT_EQ(up, host::Point3(0, 0, 1));
  EXPECT_EQ(front, host::Point3(0, -1, 0));
  EXPECT_FALSE(yUp.Parity());
  // The host's own declaration changes nothing.
  EXPECT_TRUE(AxesFromDeclaration(2, 1, 1, -1, 0, 1).IsIdentity());
  // X up, right-handed (front -Z when right is +Y): still a turn, not a
  // mirror.
  const host::Matrix3 xUp = AxesFromDeclaration(0, 1, 2, -1, 1, 1);
  EXPECT_EQ(xUp.PointTransform({1, 0, 0}), host::Point3(0, 0, 1));
  EXPECT_FALSE(xUp.Parity());
}

// Breaks that no reader of Debian's Assimp hands over, refused should one
// ever do so, before anything reads through them: a mesh with vertices but
// no positions, a node that names a mesh beyond the scene's.
TEST(AssimpValidation, BreaksAssimpNeverMakesAreRefusedAll) {
  const struct {
    bool positions;
    unsigned nodeMesh;
    const char* message;
  } cases[] = {{false, 0, "mesh 0 \"Ghost\": has no vertex positions"},
               {true, 1, "node \"root\": mesh index 1 out of range (1 meshes)"}};
  for (const auto& c : cases) {
    aiScene ai;
    ai.mRootNode = new aiNode("root");
    ai.mRootNode->mNumMeshes = 1;
    ai.mRootNode->mMeshes = new unsigned[1]{c.nodeMesh};
    ai.mNumMeshes = 1;
    ai.mMeshes = new aiMesh*[1]{new aiMesh};
    ai.mMeshes[0]->mName = "Ghost";
    ai.mMeshes[0]->mNumVertices = 3;
    if (c.positions) ai.mMeshes[0]->mVertices = new aiVector3D[3];
    ai.mNumMaterials = 1;
    ai.mMaterials = new aiMaterial*[1]{new aiMaterial};
    host::MemoryScene scene;
    const SourceOptions options;
    AssimpBuild build(ai, scene, options, "ghost.obj");
    try {
      ValidateAssimpScene(build);
      ADD_FAILURE() << "accepted: " << c.message;
    } catch (const AssimpRefusal& refusal) {
      EXPECT_EQ(refusal.message, c.message);
    }
  }
}

}  // namespace
}  // namespace kvl::sources
