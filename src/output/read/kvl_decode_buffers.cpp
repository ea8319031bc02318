#include "output/write/binary_writer.h"
#include "output/read/kvl_decoders.h"

namespace kvl {
namespace {

constexpr uint32_t KNOWN_VERTEX_FLAGS = VERTEX_NORMAL | VERTEX_COLOR | VERTEX_UV;
constexpr uint32_t KNOWN_TRIANGLE_FLAGS = TRIANGLE_COLORS | TRIANGLE_NORMAL | TRIANGLE_UVS;
constexpr uint32_t KNOWN_MATERIAL_FLAGS =
    MATERIAL_BLENDED | MATERIAL_WIRE_UNITS | MATERIAL_WIRE | MATERIAL_TWO_SIDED;

void WarnUnknownBits(PayloadReader& r, size_t at, const char* field, uint32_t value, uint32_t known) {
  if (r.ok() && (value & ~known)) {
    r.Report(Severity::WARNING, at,
             std::string(field) + " have bits the format does not define (expected bits of 0x" +
                 HexText(known) + ", found 0x" + HexText(value) + ")");
  }
}

// Reads the vertex format and stride; the vertices are laid out by the
// flags, so a stride that disagrees is an error but the flags are believed.
uint32_t ReadVertexFormat(PayloadReader& r) {
  const size_t flagsAt = r.Offset();
  const uint32_t flags = r.U32("vertex flags");
  WarnUnknownBits(r, flagsAt, "vertex flags", flags, KNOWN_VERTEX_FLAGS);
  const size_t strideAt = r.Offset();
  const uint16_t stride = r.U16("vertex stride");
  if (r.ok() && stride != VertexStride(flags)) {
    r.Report(Severity::ERROR, strideAt,
             "vertex stride disagrees with the flags 0x" + HexText(flags) + " (expected " +
                 std::to_string(VertexStride(flags)) + ", found " + std::to_string(stride) + ")");
  }
  return flags;
}

void ReadVertices(PayloadReader& r, VertexList& list, uint32_t count) {
  list.vertices.reserve(count);
  for (uint32_t i = 0; i < count && r.ok(); ++i) {
    Vertex v;
    v.flags = list.flags;
    r.Floats(v.position, 3, "vertex position");
    if (list.flags & VERTEX_NORMAL) r.Floats(v.normal, 3, "vertex normal");
    if (list.flags & VERTEX_COLOR) v.color = r.U32("vertex color");
    if (list.flags & VERTEX_UV) {
      v.u = r.F32("vertex u");
      v.v = r.F32("vertex v");
    }
    list.vertices.push_back(v);
  }
}

}  // namespace

std::unique_ptr<VertexBufferNode> DecodeVertexBuffer(PayloadReader& r, uint16_t version) {
  auto b = std::make_unique<VertexBufferNode>();
  if (version == 1) {
    // A buffer without lists has an empty payload.
    if (r.Left() == 0) return b;
    VertexList list;
    list.flags = ReadVertexFormat(r);
    b->flags = list.flags;
    const uint32_t count = r.U32("vertex count");
    if (!r.CountFits(count, VertexStride(list.flags), "vertex")) return b;
    ReadVertices(r, list, count);
    b->lists.push_back(std::move(list));
    return b;
  }
  // Version 2: the layout once, then every list (one per frame) after the other.
  const size_t listCountAt = r.Offset();
  const uint32_t listCount = r.U32("list count");
  if (r.ok() && listCount < 2) {
    r.Report(Severity::WARNING, listCountAt,
             "a morphing buffer with fewer than two lists (expected at least 2, found " +
                 std::to_string(listCount) + ")");
  }
  b->flags = ReadVertexFormat(r);
  const uint32_t count = r.U32("vertex count");
  const uint64_t listBytes = uint64_t{count} * VertexStride(b->flags);
  if (!r.CountFits(listCount, listBytes, "vertex list")) return b;
  b->lists.reserve(listCount);
  for (uint32_t i = 0; i < listCount && r.ok(); ++i) {
    VertexList list;
    list.flags = b->flags;
    ReadVertices(r, list, count);
    b->lists.push_back(std::move(list));
  }
  return b;
}

std::unique_ptr<FaceListNode> DecodeFaceList(PayloadReader& r) {
  auto f = std::make_unique<FaceListNode>();
  const uint16_t count = r.U16("index count");
  if (!r.CountFits(count, 2, "index")) return f;
  f->indices.reserve(count);
  for (uint16_t i = 0; i < count && r.ok(); ++i) f->indices.push_back(r.U16("index"));
  return f;
}

std::unique_ptr<MaterialNode> DecodeMaterial(PayloadReader& r) {
  auto m = std::make_unique<MaterialNode>();
  m->diffuse = r.U32("diffuse");
  m->specular = r.U32("specular");
  m->ambient = r.U32("ambient");
  m->emissive = r.U32("emissive");
  m->specularPower = r.F32("specularPower");
  const size_t flagsAt = r.Offset();
  m->flags = r.U32("material flags");
  WarnUnknownBits(r, flagsAt, "material flags", m->flags, KNOWN_MATERIAL_FLAGS);
  m->shadingMode = r.U32("shadingMode");
  m->sourceBlend = r.U8("sourceBlend");
  m->targetBlend = r.U8("targetBlend");
  m->polygonOffset = r.F32("polygonOffset");
  return m;
}

std::unique_ptr<TextureNode> DecodeTexture(PayloadReader& r) {
  auto t = std::make_unique<TextureNode>();
  t->fileName = r.String("fileName");
  return t;
}

std::unique_ptr<TriangleInfoBufferNode> DecodeTriangleInfoBuffer(PayloadReader& r) {
  auto b = std::make_unique<TriangleInfoBufferNode>();
  // The count comes before the flags here, unlike the vertex buffer.
  const uint16_t count = r.U16("triangle count");
  const size_t flagsAt = r.Offset();
  b->flags = r.U32("triangle flags");
  WarnUnknownBits(r, flagsAt, "triangle flags", b->flags, KNOWN_TRIANGLE_FLAGS);
  uint64_t entry = 0;
  if (b->flags & TRIANGLE_COLORS) entry += 12;
  if (b->flags & TRIANGLE_NORMAL) entry += 12;
  if (b->flags & TRIANGLE_UVS) entry += 24;
  if (!r.CountFits(count, entry, "triangle")) return b;
  b->triangles.reserve(count);
  for (uint16_t i = 0; i < count && r.ok(); ++i) {
    TriangleInfo t;
    if (b->flags & TRIANGLE_COLORS) {
      t.color1 = r.U32("corner color");
      t.color2 = r.U32("corner color");
      t.color3 = r.U32("corner color");
    }
    if (b->flags & TRIANGLE_NORMAL) r.Floats(t.normal, 3, "face normal");
    if (b->flags & TRIANGLE_UVS) r.Floats(t.cornerUVs, 6, "corner uv");
    b->triangles.push_back(t);
  }
  return b;
}

}  // namespace kvl
