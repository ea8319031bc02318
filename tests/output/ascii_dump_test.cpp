// The text dump, compared line by line with texts written out by hand. Every
// expected number below was worked out on paper from the record's values;
// nothing here formats a value with the code under test.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "output/ascii_dump_writer.h"
#include "output/scene_writer.h"
#include "scene/node_table.h"
#include "scene/scene_nodes.h"

namespace kvl {
namespace {

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  for (;;) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) {
      lines.push_back(text.substr(start));  // the open last line, "" after a final newline
      return lines;
    }
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
}

// Reports the first line that differs, with its number, so that a failure
// points at the faulty format rather than at a wall of text.
testing::AssertionResult SameLines(const std::string& expected, const std::string& actual) {
  std::vector<std::string> want = SplitLines(expected);
  std::vector<std::string> got = SplitLines(actual);
  for (size_t i = 0; i < want.size() || i < got.size(); ++i) {
    const std::string* w = i < want.size() ? &want[i] : nullptr;
    const std::string* g = i < got.size() ? &got[i] : nullptr;
    if (w && g && *w == *g) continue;
    return testing::AssertionFailure() << "line " << (i + 1) << ": expected "
                                       << (w ? testing::PrintToString(*w) : "<no line>") << ", got "
                                       << (g ? testing::PrintToString(*g) : "<no line>");
  }
  return testing::AssertionSuccess();
}

// A table that writes every record, as with optimisation off.
NodeTable UnfilteredTable() {
  NodeTable table;
  table.settings.optimize = false;
  return table;
}

template <class T>
T& Add(NodeTable& table, uint32_t id) {
  auto record = std::make_unique<T>();
  record->id = id;
  T* raw = record.get();
  table.Insert(std::move(record));
  return *raw;
}

// The text of a table that holds nothing but this record.
template <class T, class Fill>
std::string DumpOfOne(uint32_t id, Fill fill) {
  NodeTable table = UnfilteredTable();
  fill(Add<T>(table, id));
  return AsciiDumpText(table);
}

const std::string HEAD_OF_ONE = "Quillstone ASCII dump\nTotal node count: 1 \n";
const std::string SEPARATOR = "\n==============================\n";

PRSTransform DistinctTransform() {
  PRSTransform t;
  t.position[0] = 1.5f, t.position[1] = -2.25f, t.position[2] = 3.0f;
  t.rotation[0] = 1.0f, t.rotation[1] = 2.0f, t.rotation[2] = 3.0f, t.rotation[3] = 4.0f;
  t.scale[0] = 2.5f, t.scale[1] = 4.0f, t.scale[2] = 5.0f;
  return t;
}

// The quaternion (1, 2, 3, 4) has squared length 30, so s = 1/15:
//   X: 1 - 13/15, (2 - 12)/15, (3 + 8)/15
//   Y: (2 + 12)/15, 1 - 10/15, (6 - 4)/15
//   Z: (3 - 8)/15, (6 + 4)/15, 1 - 5/15
// Every entry differs from its neighbours, so a swapped term shows.
const std::string DISTINCT_BLOCK =
    "Position: 1.500000\t-2.250000\t3.000000\n"
    "Rotation: 1.000000\t2.000000\t3.000000\t4.000000\n"
    "Scale:    2.500000\t4.000000\t5.000000\n"
    "X axis: 0.133333\t-0.666667\t0.733333\n"
    "Y axis: 0.933333\t0.333333\t0.133333\n"
    "Z axis: -0.333333\t0.666667\t0.666667\n";

const std::string IDENTITY_BLOCK =
    "Position: 0.000000\t0.000000\t0.000000\n"
    "Rotation: 0.000000\t0.000000\t0.000000\t1.000000\n"
    "Scale:    1.000000\t1.000000\t1.000000\n"
    "X axis: 1.000000\t0.000000\t0.000000\n"
    "Y axis: 0.000000\t1.000000\t0.000000\n"
    "Z axis: 0.000000\t0.000000\t1.000000\n";

TEST(AsciiDumpTest, HeadCountsAllRecordsWhileTheFilterSkipsUnreachableOnes) {
  NodeTable table;
  table.settings.optimize = true;
  GroupNode& root = Add<GroupNode>(table, 0);
  root.transform = PRSTransform::Identity();  // parent stays NODE_ID_NONE, name stays empty
  root.reachable = 1;
  GeometryNode& box = Add<GeometryNode>(table, 1);
  box.parentId = 0;
  box.name = "box";
  box.transform = PRSTransform::Identity();
  Add<TextureNode>(table, 2).fileName = "wood.tga";
  table.Find(2)->reachable = 1;

  const std::string rootEntry = SEPARATOR +
                                "Node Id: 0\n"
                                "Node type: 0\n"
                                "Group node\n"
                                "Name: \n"
                                "Parent Id: -1\n" +
                                IDENTITY_BLOCK;
  const std::string boxEntry = SEPARATOR +
                               "Node Id: 1\n"
                               "Node type: 5\n"
                               "Geometry node\n"
                               "Name: box\n"
                               "Parent Id: 0\n" +
                               IDENTITY_BLOCK;
  const std::string textureEntry = SEPARATOR +
                                   "Node Id: 2\n"
                                   "Node type: 10\n"
                                   "Texture node\n"
                                   "Filename: wood.tga\n";

  // Three records counted, two shown: the geometry was left unmarked.
  EXPECT_TRUE(SameLines("Quillstone ASCII dump\n"
                        "Total node count: 3 \n" +
                            rootEntry + textureEntry,
                        AsciiDumpText(table)));

  // With optimisation off the reachable flag means nothing.
  table.settings.optimize = false;
  EXPECT_TRUE(SameLines("Quillstone ASCII dump\n"
                        "Total node count: 3 \n" +
                            rootEntry + boxEntry + textureEntry,
                        AsciiDumpText(table)));

  // An empty table still has its head.
  EXPECT_TRUE(SameLines("Quillstone ASCII dump\nTotal node count: 0 \n", AsciiDumpText(NodeTable())));
}

TEST(AsciiDumpTest, GroupsShowTheirCustomTypeAndTheRotationAxes) {
  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 3\n"
                            "Node type: 0\n"
                            "Group node\n"
                            "Name: gr_arm\n"
                            "Parent Id: 0\n" +
                            DISTINCT_BLOCK,
                        DumpOfOne<GroupNode>(3, [](GroupNode& g) {
                          g.parentId = 0;
                          g.name = "gr_arm";
                          g.transform = DistinctTransform();
                        })));

  // A custom type prints whole, not cut to the 16 bits of the chunk id. The
  // quaternion (0, 0, 0, 2) is not of unit length yet gives the same axes as
  // (0, 0, 0, 1): s = 2/4, and every product with a zero vanishes.
  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 4\n"
                            "Node type: 0\n"
                            "Custom node (type: 70002)\n"
                            "Name: door\n"
                            "Parent Id: 3\n"
                            "Position: 0.000000\t0.000000\t0.000000\n"
                            "Rotation: 0.000000\t0.000000\t0.000000\t2.000000\n"
                            "Scale:    1.000000\t1.000000\t1.000000\n"
                            "X axis: 1.000000\t0.000000\t0.000000\n"
                            "Y axis: 0.000000\t1.000000\t0.000000\n"
                            "Z axis: 0.000000\t0.000000\t1.000000\n",
                        DumpOfOne<GroupNode>(4, [](GroupNode& g) {
                          g.parentId = 3;
                          g.name = "door";
                          g.customType = 70002;
                          g.transform = PRSTransform::Identity();
                          g.transform.rotation[3] = 2.0f;
                        })));

  // A quarter turn about Z, given at half length: s = 2/0.5 = 4.
  //   X: 1 - 4(0.25), 4(0 - 0.25), 0;  Y: 4(0 + 0.25), 1 - 4(0.25), 0;  Z: 0, 0, 1.
  // Scale is left out of the axes.
  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 5\n"
                            "Node type: 0\n"
                            "Group node\n"
                            "Name: turn\n"
                            "Parent Id: 0\n"
                            "Position: 0.000000\t0.000000\t0.000000\n"
                            "Rotation: 0.000000\t0.000000\t0.500000\t0.500000\n"
                            "Scale:    3.000000\t3.000000\t3.000000\n"
                            "X axis: 0.000000\t-1.000000\t0.000000\n"
                            "Y axis: 1.000000\t0.000000\t0.000000\n"
                            "Z axis: 0.000000\t0.000000\t1.000000\n",
                        DumpOfOne<GroupNode>(5, [](GroupNode& g) {
                          g.parentId = 0;
                          g.name = "turn";
                          g.transform.rotation[2] = 0.5f;
                          g.transform.rotation[3] = 0.5f;
                          g.transform.scale[0] = g.transform.scale[1] = g.transform.scale[2] = 3.0f;
                        })));
}

PRSTransform Sample(float p0, float p1, float p2, float r0, float r1, float r2, float r3, float s0, float s1,
                    float s2) {
  PRSTransform t;
  t.position[0] = p0, t.position[1] = p1, t.position[2] = p2;
  t.rotation[0] = r0, t.rotation[1] = r1, t.rotation[2] = r2, t.rotation[3] = r3;
  t.scale[0] = s0, t.scale[1] = s1, t.scale[2] = s2;
  return t;
}

TEST(AsciiDumpTest, AnimationGroupsListOnlyTheComponentsTheirFlagsCarry) {
  std::string sampled = DumpOfOne<PRSAnimationGroup>(6, [](PRSAnimationGroup& a) {
    a.parentId = 0;
    a.name = "anim_walk";
    a.transform = PRSTransform::Identity();
    PRSSequence all;
    all.startTime = 0, all.endTime = 1000, all.sampleRate = 2.5f, all.flags = 0xF;
    all.samples = {Sample(1, 2, 3, 0, 0, 0, 1, 1, 1, 1), Sample(0.5f, 0, -1, 0, 0.5f, 0, 0.75f, 2, 2, 2)};
    PRSSequence position;
    position.startTime = -40, position.endTime = 200, position.sampleRate = 25, position.flags = PRS_POSITION;
    position.samples = {Sample(7, 8, 9, 0.5f, 0.5f, 0.5f, 0.5f, 6, 6, 6)};
    PRSSequence rotation;
    rotation.startTime = 0, rotation.endTime = 40, rotation.sampleRate = 25, rotation.flags = PRS_ROTATION;
    rotation.samples = {Sample(7, 8, 9, 0.25f, 0.5f, 0.75f, 1, 6, 6, 6)};
    PRSSequence scale;  // bit 1 alone prints nothing
    scale.startTime = 0, scale.endTime = 40, scale.sampleRate = 25, scale.flags = PRS_SCALE | 1;
    scale.samples = {Sample(7, 8, 9, 0.5f, 0.5f, 0.5f, 0.5f, 2, 3, 4)};
    a.sequences = {all, position, rotation, scale};
  });
  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 6\n"
                            "Node type: 1\n"
                            "PRS Animation Group node\n"
                            "Name: anim_walk\n"
                            "Parent Id: 0\n" +
                            IDENTITY_BLOCK +
                            "Sequence count: 4\n"
                            "Sequence 0:\n"
                            "Start time: 0\n"
                            "End time: 1000\n"
                            "Sample rate: 2.500000\n"
                            "Flags: 000F\n"
                            "Sample count: 2\n"
                            "Sample 0:\n"
                            "  Position: 1.000000\t2.000000\t3.000000\n"
                            "  Rotation: 0.000000\t0.000000\t0.000000\t1.000000\n"
                            "  Scale:    1.000000\t1.000000\t1.000000\n"
                            "Sample 1:\n"
                            "  Position: 0.500000\t0.000000\t-1.000000\n"
                            "  Rotation: 0.000000\t0.500000\t0.000000\t0.750000\n"
                            "  Scale:    2.000000\t2.000000\t2.000000\n"
                            "Sequence 1:\n"
                            "Start time: -40\n"
                            "End time: 200\n"
                            "Sample rate: 25.000000\n"
                            "Flags: 0002\n"
                            "Sample count: 1\n"
                            "Sample 0:\n"
                            "  Position: 7.000000\t8.000000\t9.000000\n"
                            "Sequence 2:\n"
                            "Start time: 0\n"
                            "End time: 40\n"
                            "Sample rate: 25.000000\n"
                            "Flags: 0004\n"
                            "Sample count: 1\n"
                            "Sample 0:\n"
                            "  Rotation: 0.250000\t0.500000\t0.750000\t1.000000\n"
                            "Sequence 3:\n"
                            "Start time: 0\n"
                            "End time: 40\n"
                            "Sample rate: 25.000000\n"
                            "Flags: 0009\n"
                            "Sample count: 1\n"
                            "Sample 0:\n"
                            "  Scale:    2.000000\t3.000000\t4.000000\n",
                        sampled));

  // Key groups: no blank behind the prefix, and keys in ascending time
  // whatever the order they were put in.
  std::string keyed = DumpOfOne<PRSKeyAnimationGroup>(7, [](PRSKeyAnimationGroup& a) {
    a.parentId = 6;
    a.name = "anim_key";
    a.transform = PRSTransform::Identity();
    PRSKeySequence moving;
    moving.flags = PRS_POSITION | PRS_ROTATION | PRS_SCALE;
    moving.keys[500] = Sample(4, 5, 6, 0, 0, 1, 0, 1, 2, 3);
    moving.keys[0] = Sample(-1, -2, -3, 0, 0, 0, 1, 1, 1, 1);
    PRSKeySequence still;
    still.flags = 0;
    still.keys[10] = Sample(4, 5, 6, 0, 0, 1, 0, 1, 2, 3);
    a.keySequences = {moving, still};
  });
  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 7\n"
                            "Node type: 20\n"
                            "PRS Key AnimationGroup node\n"
                            "Name: anim_key\n"
                            "Parent Id: 6\n" +
                            IDENTITY_BLOCK +
                            "Sequence count: 2\n"
                            "Sequence 0:\n"
                            "Flags: 000E\n"
                            "Key count: 2\n"
                            "Time: 0\n"
                            "  Position: -1.000000\t-2.000000\t-3.000000\n"
                            "  Rotation: 0.000000\t0.000000\t0.000000\t1.000000\n"
                            "  Scale:    1.000000\t1.000000\t1.000000\n"
                            "Time: 500\n"
                            "  Position: 4.000000\t5.000000\t6.000000\n"
                            "  Rotation: 0.000000\t0.000000\t1.000000\t0.000000\n"
                            "  Scale:    1.000000\t2.000000\t3.000000\n"
                            "Sequence 1:\n"
                            "Flags: 0000\n"
                            "Key count: 1\n"
                            "Time: 10\n",
                        keyed));
}

TEST(AsciiDumpTest, MeshListsSubmeshesAndMaterialPrintsColoursByAlpha) {
  std::string mesh = DumpOfOne<MeshNode>(8, [](MeshNode& m) {
    m.parentId = 5;
    m.name = "mesh_box";
    Submesh first;
    first.vertexBufferId = 9, first.faceListId = 10, first.triangleInfoBufferId = 11;
    first.materialId = 12, first.diffuseTextureId = 13, first.envTextureId = NODE_ID_NONE;
    first.vertexOffset = 0, first.vertexCount = 36, first.primitiveType = 1;
    Submesh second;
    second.vertexBufferId = 9, second.faceListId = 14, second.triangleInfoBufferId = NODE_ID_NONE;
    second.materialId = 15, second.diffuseTextureId = NODE_ID_NONE, second.envTextureId = 16;
    second.vertexOffset = 24, second.vertexCount = 6, second.primitiveType = 1;
    m.submeshes = {first, second};
  });
  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 8\n"
                            "Node type: 2\n"
                            "Mesh node\n"
                            "Name: mesh_box\n"
                            "Parent Id: 5\n"
                            "Submesh count: 2\n"
                            "Submesh 0\n"
                            "Primitive type: 1\n"
                            "Material Id: 12\n"
                            "Diffuse tex: 13\n"
                            "Env tex: -1\n"
                            "FaceList Id: 10\n"
                            "TriangleInfoBuffer Id: 11\n"
                            "VertexBuffer Id: 9\n"
                            "Vertex count: 36\n"
                            "Vertex offset: 0\n"
                            "Submesh 1\n"
                            "Primitive type: 1\n"
                            "Material Id: 15\n"
                            "Diffuse tex: -1\n"
                            "Env tex: 16\n"
                            "FaceList Id: 14\n"
                            "TriangleInfoBuffer Id: -1\n"
                            "VertexBuffer Id: 9\n"
                            "Vertex count: 6\n"
                            "Vertex offset: 24\n",
                        mesh));

  // Alpha 255 gives eight digits, alpha 0 six; ambient leads.
  std::string material = DumpOfOne<MaterialNode>(12, [](MaterialNode& m) {
    m.ambient = 0xFF102030;
    m.diffuse = 0x00A0B0C0;
    m.specular = 0x00000005;
    m.emissive = 0x80FFFFFF;
    m.specularPower = 12.5f;
    m.flags = MATERIAL_BLENDED | MATERIAL_WIRE | MATERIAL_TWO_SIDED;
    m.shadingMode = 2;
    m.sourceBlend = 5;
    m.targetBlend = 6;
    m.polygonOffset = -0.25f;
  });
  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 12\n"
                            "Node type: 3\n"
                            "Material node\n"
                            "Ambient:  FF102030\n"
                            "Diffuse:  A0B0C0\n"
                            "Specular: 000005\n"
                            "Emissive: 80FFFFFF\n"
                            "Specular Power: 12.500000\n"
                            "Flags: D\n"
                            "Sourceblend:  5\n"
                            "Targetblend: 6\n"
                            "Polygonoffset: -0.250000\n"
                            "Shadingmode: 2\n",
                        material));
}

TEST(AsciiDumpTest, CameraAndGeometryCarryNameLinesAndTransform) {
  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 20\n"
                            "Node type: 4\n"
                            "Camera node\n"
                            "Name: cam01\n"
                            "Parent Id: 0\n"
                            "Target Id: 21\n"
                            "FOV: 0.785398\n"
                            "Near Clip: 0.100000\n"
                            "Far Clip: 1000.000000\n" +
                            DISTINCT_BLOCK,
                        DumpOfOne<CameraNode>(20, [](CameraNode& c) {
                          c.parentId = 0;
                          c.targetId = 21;
                          c.name = "cam01";
                          c.fov = 0.785398f;
                          c.nearClip = 0.1f;
                          c.farClip = 1000.0f;
                          c.transform = DistinctTransform();
                        })));

  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 21\n"
                            "Node type: 5\n"
                            "Geometry node\n"
                            "Name: box01\n"
                            "Parent Id: 20\n" +
                            DISTINCT_BLOCK,
                        DumpOfOne<GeometryNode>(21, [](GeometryNode& g) {
                          g.parentId = 20;
                          g.name = "box01";
                          g.transform = DistinctTransform();
                        })));
}

Vertex MakeVertex(float x, float y, float z, float nx, float ny, float nz, float u, float v, uint32_t color) {
  Vertex vertex;
  vertex.position[0] = x, vertex.position[1] = y, vertex.position[2] = z;
  vertex.normal[0] = nx, vertex.normal[1] = ny, vertex.normal[2] = nz;
  vertex.u = u, vertex.v = v;
  vertex.color = color;
  return vertex;
}

TEST(AsciiDumpTest, VertexBuffersPrintWhatEachListsFlagsSelect) {
  std::string full = DumpOfOne<VertexBufferNode>(30, [](VertexBufferNode& b) {
    b.flags = VERTEX_NORMAL | VERTEX_COLOR | VERTEX_UV;
    VertexList list;
    list.flags = b.flags;
    list.vertices = {MakeVertex(1, 2, 3, 0, 1, 0, 0.25f, 0.75f, 0xFF00FF00),
                     MakeVertex(-1, 0.5f, 0, 0, 0, -1, 1, 0, 0x000000FF)};
    b.lists = {list};
  });
  // UV before colour, and the colour on a line of its own.
  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 30\n"
                            "Node type: 6\n"
                            "Vertex Buffer node\n"
                            "Contains 1 vertex buffers\n"
                            "Flags: 7\n"
                            "Vertex count: 2\n"
                            "0:\tX: 1.000000\tY: 2.000000\tZ: 3.000000\n"
                            "   \tnX: 0.000000\tnY: 1.000000\tnZ: 0.000000\n"
                            "   \tU: 0.250000\tV: 0.750000\n"
                            "Col: FF00FF00\n"
                            "1:\tX: -1.000000\tY: 0.500000\tZ: 0.000000\n"
                            "   \tnX: 0.000000\tnY: 0.000000\tnZ: -1.000000\n"
                            "   \tU: 1.000000\tV: 0.000000\n"
                            "Col: 0000FF\n",
                        full));

  // One list per flag: each list's own flags decide, not the buffer's, and
  // vertex indices restart with every list.
  std::string perFlag = DumpOfOne<VertexBufferNode>(31, [](VertexBufferNode& b) {
    b.flags = VERTEX_NORMAL | VERTEX_COLOR | VERTEX_UV;
    for (uint32_t flags : {0u, 1u, 2u, 4u}) {
      VertexList list;
      list.flags = flags;
      list.vertices = {MakeVertex(static_cast<float>(flags), 0, 0, 0, 0, 1, 0.5f, 0.5f, 0x00123456)};
      b.lists.push_back(list);
    }
  });
  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 31\n"
                            "Node type: 6\n"
                            "Vertex Buffer node\n"
                            "Contains 4 vertex buffers\n"
                            "Flags: 0\n"
                            "Vertex count: 1\n"
                            "0:\tX: 0.000000\tY: 0.000000\tZ: 0.000000\n"
                            "Flags: 1\n"
                            "Vertex count: 1\n"
                            "0:\tX: 1.000000\tY: 0.000000\tZ: 0.000000\n"
                            "   \tnX: 0.000000\tnY: 0.000000\tnZ: 1.000000\n"
                            "Flags: 2\n"
                            "Vertex count: 1\n"
                            "0:\tX: 2.000000\tY: 0.000000\tZ: 0.000000\n"
                            "Col: 123456\n"
                            "Flags: 4\n"
                            "Vertex count: 1\n"
                            "0:\tX: 4.000000\tY: 0.000000\tZ: 0.000000\n"
                            "   \tU: 0.500000\tV: 0.500000\n",
                        perFlag));
}

TriangleInfo MakeTriangle(float first, uint32_t color1, uint32_t color2, uint32_t color3, float nz) {
  TriangleInfo t;
  t.color1 = color1, t.color2 = color2, t.color3 = color3;
  t.normal[0] = 0, t.normal[1] = 0, t.normal[2] = nz;
  for (int i = 0; i < 6; ++i) t.cornerUVs[i] = first + 0.25f * static_cast<float>(i);
  return t;
}

TEST(AsciiDumpTest, TriangleInfoBuffersWithoutFlagsShareOneLine) {
  NodeTable table = UnfilteredTable();
  TriangleInfoBufferNode& bare = Add<TriangleInfoBufferNode>(table, 40);
  bare.flags = 0;
  bare.triangles = {MakeTriangle(0, 1, 2, 3, 1), MakeTriangle(0, 1, 2, 3, 1), MakeTriangle(0, 1, 2, 3, 1)};
  TriangleInfoBufferNode& full = Add<TriangleInfoBufferNode>(table, 41);
  full.flags = TRIANGLE_COLORS | TRIANGLE_NORMAL | TRIANGLE_UVS;
  full.triangles = {MakeTriangle(0, 0xFF0000FF, 0x0000FF00, 0x000000FF, 1),
                    MakeTriangle(2, 0x01000000, 0x00ABCDEF, 0, -1)};

  // The bare buffer's "0:1:2:" is ended only by the next separator.
  EXPECT_TRUE(SameLines("Quillstone ASCII dump\n"
                        "Total node count: 2 \n"
                        "\n"
                        "==============================\n"
                        "Node Id: 40\n"
                        "Node type: 7\n"
                        "Triangle info buffer node\n"
                        "Flags: 0\n"
                        "Triangle count: 3\n"
                        "0:1:2:\n"
                        "==============================\n"
                        "Node Id: 41\n"
                        "Node type: 7\n"
                        "Triangle info buffer node\n"
                        "Flags: 7\n"
                        "Triangle count: 2\n"
                        "0:\tU1: 0.000000\tV1: 0.250000\tU2: 0.500000\tV2: 0.750000\tU3: 1.000000\tV3: 1.250000\n"
                        "\tC1: FF0000FF C2: 00FF00 C3: 0000FF\n"
                        "\tnX: 0.000000\tnY: 0.000000\tnZ: 1.000000\n"
                        "1:\tU1: 2.000000\tV1: 2.250000\tU2: 2.500000\tV2: 2.750000\tU3: 3.000000\tV3: 3.250000\n"
                        "\tC1: 1000000 C2: ABCDEF C3: 000000\n"
                        "\tnX: 0.000000\tnY: 0.000000\tnZ: -1.000000\n",
                        AsciiDumpText(table)));
}

TEST(AsciiDumpTest, FaceListsPutSixIndicesOnALine) {
  NodeTable table = UnfilteredTable();
  Add<FaceListNode>(table, 50).indices = {10, 11, 12, 13, 14, 15, 16};
  Add<FaceListNode>(table, 51).indices = {0, 1, 2, 2, 1, 3};

  // Seven indices: a full line of six, then the seventh with its tab and no
  // newline, which the separator supplies. Six indices end their own line,
  // so the separator's newline leaves an empty line behind the entry.
  const std::string expected =
      "Quillstone ASCII dump\n"
      "Total node count: 2 \n"
      "\n"
      "==============================\n"
      "Node Id: 50\n"
      "Node type: 8\n"
      "Face List node\n"
      "Index count: 7\n"
      "10\t11\t12\t\t13\t14\t15\t\t\n"
      "16\t\n"
      "==============================\n"
      "Node Id: 51\n"
      "Node type: 8\n"
      "Face List node\n"
      "Index count: 6\n"
      "0\t1\t2\t\t2\t1\t3\t\t\n";
  const std::string text = AsciiDumpText(table);
  EXPECT_TRUE(SameLines(expected, text));
  EXPECT_EQ(expected, text);  // also byte for byte, trailing tabs included
}

TEST(AsciiDumpTest, EngineNodeKindsPrintTheirOwnFields) {
  NodeTable table = UnfilteredTable();
  // Put in out of order: the dump follows the ids.
  NodeAttributeNode& attribute = Add<NodeAttributeNode>(table, 65);
  attribute.parentId = 63;
  attribute.data = "fn=smoke.ps";
  HelperNode& helper = Add<HelperNode>(table, 60);
  helper.parentId = 0;
  helper.name = "hlp";
  helper.position[0] = 1, helper.position[1] = -2, helper.position[2] = 0.5f;
  Add<TextureNode>(table, 61).fileName = "maps/brick.tga";
  SpriteNode& sprite = Add<SpriteNode>(table, 62);
  sprite.parentId = 60;
  sprite.name = "spr";
  sprite.width = 64;
  sprite.height = 32.5f;
  sprite.fileName = "flare.tga";
  sprite.spriteType = 3;  // never shown
  sprite.sourceBlend = 5;
  sprite.destBlend = 2;
  sprite.color = 0x80FF8000;
  ParticleSystemNode& particles = Add<ParticleSystemNode>(table, 63);
  particles.parentId = 60;
  particles.name = "ps_smoke";
  particles.scale = 0.5f;
  particles.fileName = "smoke.ps";
  LoaderNode& loader = Add<LoaderNode>(table, 64);
  loader.parentId = 0;
  loader.name = "ld";
  loader.fileName = "level2.kvl";
  loader.mergeMode = 3;
  loader.transform = PRSTransform::Identity();

  EXPECT_TRUE(SameLines("Quillstone ASCII dump\n"
                        "Total node count: 6 \n" +
                            SEPARATOR +
                            "Node Id: 60\n"
                            "Node type: 9\n"
                            "Helper node\n"
                            "Name: hlp\n"
                            "Parent Id: 0\n"
                            "Pos: X: 1.000000\tY: -2.000000\tZ: 0.500000\n" +
                            SEPARATOR +
                            "Node Id: 61\n"
                            "Node type: 10\n"
                            "Texture node\n"
                            "Filename: maps/brick.tga\n" +
                            SEPARATOR +
                            "Node Id: 62\n"
                            "Node type: 11\n"
                            "Sprite node\n"
                            "Name: spr\n"
                            "Parent Id: 60\n"
                            "Filename: flare.tga\n"
                            "Width: 64.000000\n"
                            "Height: 32.500000\n"
                            "Src blend: 5\n"
                            "Dest blend: 2\n"
                            "Color: 80FF8000\n"
                            "Type: 11\n" +
                            SEPARATOR +
                            "Node Id: 63\n"
                            "Node type: 12\n"
                            "Particle system node\n"
                            "Name: ps_smoke\n"
                            "Parent Id: 60\n"
                            "Filename: smoke.ps\n"
                            "Scale: 0.500000\n" +
                            SEPARATOR +
                            "Node Id: 64\n"
                            "Node type: 13\n"
                            "Loader node\n"
                            "Name: ld\n"
                            "Parent Id: 0\n"
                            "Filename: level2.kvl\n"
                            "Mergemode: 3\n" +
                            IDENTITY_BLOCK + SEPARATOR +
                            "Node Id: 65\n"
                            "Node type: 15\n"
                            "Node Attribute node\n"
                            "Parent Id: 63\n"
                            "Data: fn=smoke.ps\n",
                        AsciiDumpText(table)));
}

TEST(AsciiDumpTest, SoundMicrophoneAndSpringShowTheRecordsOwnValues) {
  NodeTable table = UnfilteredTable();
  SoundSourceNode& sound = Add<SoundSourceNode>(table, 70);
  sound.parentId = 0;
  sound.name = "snd";
  sound.transform = DistinctTransform();
  sound.soundType = 2;
  sound.multiplier = 0.75f;
  sound.attenuationStart = 1.5f;
  sound.attenuationEnd = 20;
  sound.looping = 1;  // the file would hold 0 here
  sound.fileName = "wind.wav";
  MicrophoneNode& microphone = Add<MicrophoneNode>(table, 71);
  microphone.parentId = 70;
  microphone.name = "mic";
  microphone.transform = PRSTransform::Identity();
  microphone.microphoneType = 1;
  microphone.multiplier = 2.5f;  // the file would hold the byte 2
  microphone.range = 100;
  SpringNode& spring = Add<SpringNode>(table, 72);
  spring.parentId1 = 60;
  spring.parentId2 = NODE_ID_NONE;
  spring.springConstant = 1.25f;
  spring.dampingConstant = 0.5f;
  spring.length = 3;
  spring.minLengthScale = 0.75f;
  spring.maxLengthScale = 1.5f;
  spring.parent2Name = "hlp";  // never shown

  EXPECT_TRUE(SameLines("Quillstone ASCII dump\n"
                        "Total node count: 3 \n" +
                            SEPARATOR +
                            "Node Id: 70\n"
                            "Node type: 17\n"
                            "Sound source node\n"
                            "Name: snd\n"
                            "Parent Id: 0\n" +
                            DISTINCT_BLOCK +
                            "Type: 2\n"
                            "Multiplier: 0.750000\n"
                            "Attn start: 1.500000\tend: 20.000000\n"
                            "Looping: 1\n"
                            "Filename: wind.wav\n" +
                            SEPARATOR +
                            "Node Id: 71\n"
                            "Node type: 16\n"
                            "Microphone node\n"
                            "Name: mic\n"
                            "Parent Id: 70\n" +
                            IDENTITY_BLOCK +
                            "Type: 1\n"
                            "Multiplier: 2.500000\n"
                            "Range: 100.000000\n" +
                            SEPARATOR +
                            "Node Id: 72\n"
                            "Node type: 19\n"
                            "Spring node\n"
                            "Parent Id 1: 60\n"
                            "Parent Id 2: -1\n"
                            "Spring constant: 1.250000\n"
                            "Damping constant: 0.500000\n"
                            "Length: 3.000000\n"
                            "Min Length scale: 0.750000\n"
                            "Max Length scale: 1.500000\n",
                        AsciiDumpText(table)));
}

void FillCollider(ColliderNode& c, const char* name, uint32_t colliderType) {
  c.parentId = 0;
  c.name = name;
  c.colliderType = colliderType;
  c.boundingVolumeType = 2;
  c.boundsMin[0] = -1, c.boundsMin[1] = -2, c.boundsMin[2] = -3;
  c.boundsMax[0] = 1, c.boundsMax[1] = 2, c.boundsMax[2] = 3;
  c.transform = PRSTransform::Identity();
  c.geometryId = 21;
  c.constructionStartId = 4;
  c.width = 300;
  c.height = 7;
  c.baseLevel = 2;
  c.flags = 129;
}

TEST(AsciiDumpTest, ColliderTypeSelectsTheLinesBehindTheHead) {
  const std::string bounds =
      "Min x: -1.000000\ty: -2.000000\tz: -3.000000\n"
      "Max x: 1.000000\ty: 2.000000\tz: 3.000000\n";

  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 90\n"
                            "Node type: 18\n"
                            "Collider node\n"
                            "Name: col_box\n"
                            "Parent Id: 0\n"
                            "Type: 1\n"
                            "Bounding volume type: 2\n" +
                            bounds + IDENTITY_BLOCK,
                        DumpOfOne<ColliderNode>(90, [](ColliderNode& c) { FillCollider(c, "col_box", 1); })));

  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 91\n"
                            "Node type: 18\n"
                            "Collider node\n"
                            "Name: col_build\n"
                            "Parent Id: 0\n"
                            "Type: 4\n" +
                            bounds + IDENTITY_BLOCK +
                            "Constuction start id: 4\n"
                            "Width: 300\n"
                            "Height: 7\n"
                            "Baselevel: 2\n"
                            "Flags: 129\n",
                        DumpOfOne<ColliderNode>(91, [](ColliderNode& c) { FillCollider(c, "col_build", 4); })));

  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 92\n"
                            "Node type: 18\n"
                            "Collider node\n"
                            "Name: col_mesh\n"
                            "Parent Id: 0\n"
                            "Type: 101\n"
                            "Bounding volume type: 2\n"
                            "Geometry Id: 21\n",
                        DumpOfOne<ColliderNode>(92, [](ColliderNode& c) { FillCollider(c, "col_mesh", 101); })));

  // 65537 has the low 16 bits of type 1, yet the whole value selects: nothing follows.
  EXPECT_TRUE(SameLines(HEAD_OF_ONE + SEPARATOR +
                            "Node Id: 93\n"
                            "Node type: 18\n"
                            "Collider node\n"
                            "Name: col_odd\n"
                            "Parent Id: 0\n"
                            "Type: 65537\n",
                        DumpOfOne<ColliderNode>(93, [](ColliderNode& c) { FillCollider(c, "col_odd", 65537); })));
}

TEST(AsciiDumpTest, LightsAndUnknownTypesGetOnlyTheirHead) {
  NodeTable table = UnfilteredTable();
  LightNode& light = Add<LightNode>(table, 80);
  light.parentId = 0;
  light.name = "lamp";
  light.transform = PRSTransform::Identity();
  GroupNode& stranger = Add<GroupNode>(table, 81);
  stranger.name = "stranger";
  stranger.type = 21;  // a type the document does not know

  const std::string text = AsciiDumpText(table);
  stranger.type = NODE_GROUP;  // so that the table frees it as what it is

  EXPECT_TRUE(SameLines("Quillstone ASCII dump\n"
                        "Total node count: 2 \n" +
                            SEPARATOR +
                            "Node Id: 80\n"
                            "Node type: 14\n"
                            "(Unknown type, skipping)\n" +
                            SEPARATOR +
                            "Node Id: 81\n"
                            "Node type: 21\n"
                            "(Unknown type, skipping)\n",
                        text));
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST(AsciiDumpWriterTest, WritesTheDumpToThePathAndRefusesAnUnopenableOne) {
  NodeTable table = UnfilteredTable();
  GroupNode& root = Add<GroupNode>(table, 0);
  root.name = "scene_root";
  root.transform = PRSTransform::Identity();
  const std::string expected = "Quillstone ASCII dump\n"
                               "Total node count: 1 \n"
                               "\n"
                               "==============================\n"
                               "Node Id: 0\n"
                               "Node type: 0\n"
                               "Group node\n"
                               "Name: scene_root\n"
                               "Parent Id: -1\n" +
                               IDENTITY_BLOCK;

  const std::filesystem::path dir = std::filesystem::path(testing::TempDir()) / "ascii_dump_writer_test";
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);

  // The writer for a path ending in TXT, in any case, is the dump.
  const std::filesystem::path path = dir / "scene.Txt";
  std::unique_ptr<SceneWriter> writer = MakeWriter(OutputKindForPath(path.string()));
  ASSERT_NE(writer, nullptr);
  ASSERT_NE(dynamic_cast<AsciiDumpWriter*>(writer.get()), nullptr);
  EXPECT_TRUE(writer->Write(path.string(), table));
  EXPECT_EQ(expected, ReadFile(path));

  // Writing again replaces the file rather than appending to it.
  root.name = "again";
  EXPECT_TRUE(writer->Write(path.string(), table));
  const std::string rewritten = ReadFile(path);
  EXPECT_NE(rewritten.find("Name: again\n"), std::string::npos);
  EXPECT_EQ(rewritten.find("scene_root"), std::string::npos);

  const std::filesystem::path missing = dir / "no_such_dir" / "scene.txt";
  EXPECT_FALSE(AsciiDumpWriter().Write(missing.string(), table));
  EXPECT_FALSE(std::filesystem::exists(missing));

  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace kvl
