#include "output/write/binary_writer.h"
#include "output/write/chunk_encoders.h"

namespace kvl {
namespace {

void PutVertex(Chunk& c, const Vertex& v, uint32_t flags) {
  c.PutVec3(v.position);
  if (flags & VERTEX_NORMAL) c.PutVec3(v.normal);
  if (flags & VERTEX_COLOR) c.PutU32(v.color);
  if (flags & VERTEX_UV) {
    const float uv[2] = {v.u, v.v};
    c.PutVec2(uv);
  }
}

}  // namespace

uint16_t VertexStride(uint32_t vertexFlags) {
  uint16_t stride = 12;
  if (vertexFlags & VERTEX_NORMAL) stride += 12;
  if (vertexFlags & VERTEX_COLOR) stride += 4;
  if (vertexFlags & VERTEX_UV) stride += 8;
  return stride;
}

std::unique_ptr<Chunk> EncodeVertexBuffer(const VertexBufferNode& buffer, std::FILE* stream) {
  // A morphing buffer (a list per frame) is version 2 and states the layout
  // once for all lists; a static one is version 1 with the layout of its list.
  const bool morphing = buffer.lists.size() >= 2;
  auto c = std::make_unique<Chunk>(CHUNK_VERTEX_BUFFER, morphing ? 2 : 1, buffer.id);
  // The payload's size: the layout once (morphing) or per list, then the
  // vertices.
  uint64_t size = morphing ? 14 : 0;
  for (const VertexList& list : buffer.lists) {
    size += (morphing ? 0 : 10) + uint64_t{list.vertices.size()} * VertexStride(morphing ? buffer.flags : list.flags);
  }
  c->Prepare(stream, size);
  if (morphing) {
    c->PutU32(static_cast<uint32_t>(buffer.lists.size()));
    c->PutU32(buffer.flags);
    c->PutU16(VertexStride(buffer.flags));
    c->PutU32(static_cast<uint32_t>(buffer.lists.front().vertices.size()));
  }
  for (const VertexList& list : buffer.lists) {
    if (!morphing) {
      c->PutU32(list.flags);
      c->PutU16(VertexStride(list.flags));
      c->PutU32(static_cast<uint32_t>(list.vertices.size()));
    }
    for (const Vertex& v : list.vertices) PutVertex(*c, v, list.flags);
  }
  return c;
}

std::unique_ptr<Chunk> EncodeFaceList(const FaceListNode& faces, std::FILE* stream) {
  auto c = ChunkOfKind(NODE_FACE_LIST, faces.id);
  const uint64_t size = 2 + 2 * uint64_t{faces.indices.size()};
  c->Prepare(stream, size);
  c->PutU16(static_cast<uint32_t>(faces.indices.size()));
  for (uint32_t index : faces.indices) c->PutU16(index);
  return c;
}

std::unique_ptr<Chunk> EncodeMaterial(const MaterialNode& material) {
  auto c = ChunkOfKind(NODE_MATERIAL, material.id);
  c->PutU32(material.diffuse);
  c->PutU32(material.specular);
  c->PutU32(material.ambient);
  c->PutU32(material.emissive);
  c->PutF32(material.specularPower);
  c->PutU32(material.flags);
  c->PutU32(material.shadingMode);
  c->PutU8(material.sourceBlend);
  c->PutU8(material.targetBlend);
  c->PutF32(material.polygonOffset);
  return c;
}

std::unique_ptr<Chunk> EncodeTexture(const TextureNode& texture) {
  auto c = ChunkOfKind(NODE_TEXTURE, texture.id);
  c->PutString(texture.fileName);
  return c;
}

std::unique_ptr<Chunk> EncodeTriangleInfoBuffer(const TriangleInfoBufferNode& buffer, std::FILE* stream) {
  auto c = ChunkOfKind(NODE_TRIANGLE_INFO_BUFFER, buffer.id);
  const uint64_t perTriangle = (buffer.flags & TRIANGLE_COLORS ? 12 : 0) + (buffer.flags & TRIANGLE_NORMAL ? 12 : 0) +
                               (buffer.flags & TRIANGLE_UVS ? 24 : 0);
  const uint64_t size = 6 + buffer.triangles.size() * perTriangle;
  c->Prepare(stream, size);
  // Unlike the vertex buffer, the count comes before the flags here.
  c->PutU16(static_cast<uint32_t>(buffer.triangles.size()));
  c->PutU32(buffer.flags);
  for (const TriangleInfo& t : buffer.triangles) {
    if (buffer.flags & TRIANGLE_COLORS) {
      c->PutU32(t.color1);
      c->PutU32(t.color2);
      c->PutU32(t.color3);
    }
    if (buffer.flags & TRIANGLE_NORMAL) c->PutVec3(t.normal);
    if (buffer.flags & TRIANGLE_UVS) {
      c->PutVec2(&t.cornerUVs[0]);
      c->PutVec2(&t.cornerUVs[2]);
      c->PutVec2(&t.cornerUVs[4]);
    }
  }
  return c;
}

}  // namespace kvl
