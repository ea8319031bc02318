// The chunks that submesh entries point to: vertex buffers, face lists,
// triangle info buffers, materials and textures, compared with bytes worked
// out by hand.
#include <string>

#include <gtest/gtest.h>

#include "byte_builder.h"
#include "output/binary_writer.h"
#include "output/chunk_encoders.h"
#include "scene/scene_nodes.h"

namespace kvl {
namespace {

using namespace test;

// A vertex with every attribute filled, including the fields that only the
// comparison of vertices uses and the file must leave out.
Vertex FullVertex(float x, float y, float z, uint32_t color, float u, float v) {
  Vertex vertex;
  vertex.position[0] = x, vertex.position[1] = y, vertex.position[2] = z;
  vertex.normal[0] = 0.25f, vertex.normal[1] = 0.5f, vertex.normal[2] = 0.75f;
  vertex.color = color;
  vertex.u = u, vertex.v = v;
  vertex.smoothingGroup = 0x5A5A5A5A;
  vertex.flags = 7;
  vertex.sourceVertex = 0x77777777;
  return vertex;
}

VertexBufferNode BufferWithLists(uint32_t id, uint32_t flags, std::vector<std::vector<Vertex>> lists) {
  VertexBufferNode buffer;
  buffer.id = id;
  buffer.flags = flags;
  for (auto& vertices : lists) {
    VertexList list;
    list.flags = flags;
    list.vertices = std::move(vertices);
    buffer.lists.push_back(std::move(list));
  }
  return buffer;
}

TEST(BufferChunkTest, VertexBufferWithOneListIsVersionOneWithFlagsBeforeStride) {
  VertexBufferNode buffer =
      BufferWithLists(30, 7, {{FullVertex(1, 2, 3, 0xFF102030, 0.5f, 0.25f), FullVertex(-1, -2, 0, 0x80402010, 1, 0.75f)}});
  // flags 4 + stride 2 + count 4 + 2 x 36 = 82
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(1001, 1, 30, 82)
                            .hex({0x07, 0x00, 0x00, 0x00, 0x24, 0x00, 0x02, 0x00, 0x00, 0x00})
                            .words({F_1, F_2, F_3, F_QUARTER, F_HALF, F_3_4})
                            .hex({0x30, 0x20, 0x10, 0xFF})
                            .words({F_HALF, F_QUARTER})
                            .words({F_MINUS_1, F_MINUS_2, F_0, F_QUARTER, F_HALF, F_3_4})
                            .hex({0x10, 0x20, 0x40, 0x80})
                            .words({F_1, F_3_4})
                            .bytes(),
                        Encoded(buffer)));

  // With one list the header flags and stride are the list's own.
  VertexBufferNode differing = BufferWithLists(31, 0, {{FullVertex(1, 2, 3, 0, 0, 0)}});
  differing.lists[0].flags = VERTEX_NORMAL;
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(1001, 1, 31, 34)
                            .hex({0x01, 0x00, 0x00, 0x00, 0x18, 0x00, 0x01, 0x00, 0x00, 0x00})
                            .words({F_1, F_2, F_3, F_QUARTER, F_HALF, F_3_4})
                            .bytes(),
                        Encoded(differing)));
}

TEST(BufferChunkTest, VertexBufferWithTwoListsIsVersionTwoWithListCountInFront) {
  VertexBufferNode buffer = BufferWithLists(
      32, VERTEX_UV,
      {{FullVertex(1, 2, 3, 0x11111111, 0.5f, 0.25f), FullVertex(0, 0, 0, 0x22222222, 1, 0), FullVertex(-1, -2, -1, 0, 0, 1)},
       {FullVertex(2, 4, 5, 0x33333333, 0.75f, 0.5f), FullVertex(1, 1, 1, 0, 2, 3), FullVertex(10, 20, 25, 0, 50, 100)}});
  // list count 4 + flags 4 + stride 2 + count 4 + 6 vertices x 20 = 134
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(1001, 2, 32, 134)
                            .hex({0x02, 0x00, 0x00, 0x00})
                            .hex({0x04, 0x00, 0x00, 0x00})
                            .hex({0x14, 0x00})
                            .hex({0x03, 0x00, 0x00, 0x00})
                            .words({F_1, F_2, F_3, F_HALF, F_QUARTER})
                            .words({F_0, F_0, F_0, F_1, F_0})
                            .words({F_MINUS_1, F_MINUS_2, F_MINUS_1, F_0, F_1})
                            .words({F_2, F_4, F_5, F_3_4, F_HALF})
                            .words({F_1, F_1, F_1, F_2, F_3})
                            .words({F_10, F_20, F_25, F_50, F_100})
                            .bytes(),
                        Encoded(buffer)));
}

TEST(BufferChunkTest, VertexBufferWithoutListsHasAnEmptyVersionOnePayload) {
  VertexBufferNode buffer;
  buffer.id = 0x0A0B;
  buffer.flags = 7;
  EXPECT_TRUE(SameBytes(ByteBuilder().hex({0xE9, 0x03, 0x01, 0x00, 0x0B, 0x0A, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}).bytes(),
                        Encoded(buffer)));
}

TEST(BufferChunkTest, VertexStrideAndFieldsFollowEachFormatBit) {
  // Flags 0..7: 12 for the position, +12 normal, +4 colour, +8 texture coordinates.
  const uint16_t strides[8] = {12, 24, 16, 28, 20, 32, 24, 36};
  for (uint32_t flags = 0; flags < 8; ++flags) {
    SCOPED_TRACE("vertex flags " + std::to_string(flags));
    EXPECT_EQ(VertexStride(flags), strides[flags]);

    VertexBufferNode buffer = BufferWithLists(40 + flags, flags, {{FullVertex(1, 2, 3, 0xAABBCCDD, 4, 5)}});
    ByteBuilder expected;
    expected.header(1001, 1, 40 + flags, 10u + strides[flags]).u32(flags).u16(strides[flags]).u32(1);
    expected.words({F_1, F_2, F_3});
    if (flags & 1) expected.words({F_QUARTER, F_HALF, F_3_4});
    if (flags & 2) expected.hex({0xDD, 0xCC, 0xBB, 0xAA});
    if (flags & 4) expected.words({F_4, F_5});
    EXPECT_EQ(expected.size(), 12u + 10u + strides[flags]);
    EXPECT_TRUE(SameBytes(expected.bytes(), Encoded(buffer)));
  }
}

TEST(BufferChunkTest, FaceListNarrowsIndicesTo16Bits) {
  FaceListNode faces;
  faces.id = 33;
  faces.indices = {0, 1, 70000, 2, 65535, 3};
  // count 2 + 6 x 2 = 14; 70000 = 0x11170 gives 0x1170 = 4464
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(1002, 2, 33, 14)
                            .hex({0x06, 0x00})
                            .hex({0x00, 0x00, 0x01, 0x00, 0x70, 0x11, 0x02, 0x00, 0xFF, 0xFF, 0x03, 0x00})
                            .bytes(),
                        Encoded(faces)));

  FaceListNode empty;
  empty.id = 34;
  EXPECT_TRUE(SameBytes(ByteBuilder().header(1002, 2, 34, 2).hex({0x00, 0x00}).bytes(), Encoded(empty)));
}

TEST(BufferChunkTest, MaterialWritesColoursBlueFirstAndBlendCodesAsBytes) {
  MaterialNode material;
  material.id = 35;
  material.diffuse = 0xFF804020;
  material.specular = 0x11223344;
  material.ambient = 0x40FFFFFF;
  material.emissive = 0x01020304;
  material.specularPower = 20.0f;
  material.flags = MATERIAL_BLENDED | MATERIAL_TWO_SIDED;
  material.shadingMode = 4;
  material.sourceBlend = 5;
  material.targetBlend = 6;
  material.polygonOffset = -1.0f;
  material.diffuseTextureId = 36;  // texture ids and opacity stay out of this chunk
  material.envTextureId = 37;
  material.opacity = 0.5f;
  // 4 colours 16 + power 4 + flags 4 + shading 4 + 2 blend bytes + offset 4 = 34
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(1003, 2, 35, 34)
                            .hex({0x20, 0x40, 0x80, 0xFF})
                            .hex({0x44, 0x33, 0x22, 0x11})
                            .hex({0xFF, 0xFF, 0xFF, 0x40})
                            .hex({0x04, 0x03, 0x02, 0x01})
                            .u32(F_20)
                            .hex({0x09, 0x00, 0x00, 0x00})
                            .hex({0x04, 0x00, 0x00, 0x00})
                            .hex({0x05, 0x06})
                            .u32(F_MINUS_1)
                            .bytes(),
                        Encoded(material)));
}

TEST(BufferChunkTest, TextureNameFollowsTheStringRule) {
  TextureNode texture;
  texture.id = 36;
  texture.fileName = "tex/a.tga";
  EXPECT_TRUE(SameBytes(ByteBuilder().header(1004, 1, 36, 10).hex({0x09, 't', 'e', 'x', '/', 'a', '.', 't', 'g', 'a'}).bytes(),
                        Encoded(texture)));

  texture.fileName.clear();
  EXPECT_TRUE(SameBytes(ByteBuilder().header(1004, 1, 36, 1).hex({0x00}).bytes(), Encoded(texture)));

  // 300 bytes: the first 255 reach the file, payload 256 = 0x100.
  texture.fileName = std::string(255, 'n') + std::string(45, 'X');
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .hex({0xEC, 0x03, 0x01, 0x00, 0x24, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00})
                            .u8(0xFF)
                            .repeat('n', 255)
                            .bytes(),
                        Encoded(texture)));
}

TEST(BufferChunkTest, TriangleInfoBufferHasCountBeforeFlags) {
  TriangleInfo triangle;
  triangle.color1 = 0xFF000001;
  triangle.color2 = 0x00FF0002;
  triangle.color3 = 0x0000FF03;
  triangle.normal[0] = 0.25f, triangle.normal[1] = 0.5f, triangle.normal[2] = 0.75f;
  const float uvs[6] = {1, 2, 3, 4, 5, 10};
  for (int i = 0; i < 6; ++i) triangle.cornerUVs[i] = uvs[i];

  TriangleInfoBufferNode none;
  none.id = 37;
  none.flags = 0;
  none.triangles = {triangle, triangle};
  EXPECT_TRUE(SameBytes(ByteBuilder().header(1008, 1, 37, 6).hex({0x02, 0x00, 0x00, 0x00, 0x00, 0x00}).bytes(),
                        Encoded(none)));

  TriangleInfoBufferNode all;
  all.id = 38;
  all.flags = TRIANGLE_COLORS | TRIANGLE_NORMAL | TRIANGLE_UVS;
  all.triangles = {triangle};
  // count 2 + flags 4 + colours 12 + normal 12 + corner uvs 24 = 54
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(1008, 1, 38, 54)
                            .hex({0x01, 0x00, 0x07, 0x00, 0x00, 0x00})
                            .hex({0x01, 0x00, 0x00, 0xFF, 0x02, 0x00, 0xFF, 0x00, 0x03, 0xFF, 0x00, 0x00})
                            .words({F_QUARTER, F_HALF, F_3_4})
                            .words({F_1, F_2, F_3, F_4, F_5, F_10})
                            .bytes(),
                        Encoded(all)));

  // Bit 2 is the normal here, not the colour as in the vertex format.
  TriangleInfoBufferNode normals;
  normals.id = 39;
  normals.flags = TRIANGLE_NORMAL;
  normals.triangles = {triangle};
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(1008, 1, 39, 18)
                            .hex({0x01, 0x00, 0x02, 0x00, 0x00, 0x00})
                            .words({F_QUARTER, F_HALF, F_3_4})
                            .bytes(),
                        Encoded(normals)));
}

}  // namespace
}  // namespace kvl
