// Dump entries of the buffers and resources that submeshes point to:
// materials, vertex buffers, triangle info buffers, face lists and textures.
#include "output/write/ascii_dump_entries.h"

namespace kvl::dump {
namespace {

void VertexLines(std::FILE* out, const Vertex& vertex, uint32_t flags, size_t index) {
  std::fprintf(out, "%d:\tX: %f\tY: %f\tZ: %f\n", Count(index), vertex.position[0], vertex.position[1],
               vertex.position[2]);
  if (flags & VERTEX_NORMAL) {
    std::fprintf(out, "   \tnX: %f\tnY: %f\tnZ: %f\n", vertex.normal[0], vertex.normal[1], vertex.normal[2]);
  }
  // Texture coordinates before the colour: the reverse of the file's order.
  if (flags & VERTEX_UV) std::fprintf(out, "   \tU: %f\tV: %f\n", vertex.u, vertex.v);
  if (flags & VERTEX_COLOR) std::fprintf(out, "Col: %06X\n", vertex.color);
}

void TriangleLines(std::FILE* out, const TriangleInfo& triangle, uint32_t flags, size_t index) {
  // Without any flag nothing ends the line, so all triangles share one line.
  std::fprintf(out, "%d:", Count(index));
  if (flags & TRIANGLE_UVS) {
    const float* uv = triangle.cornerUVs;
    std::fprintf(out, "\tU1: %f\tV1: %f\tU2: %f\tV2: %f\tU3: %f\tV3: %f\n", uv[0], uv[1], uv[2], uv[3], uv[4],
                 uv[5]);
  }
  if (flags & TRIANGLE_COLORS) {
    std::fprintf(out, "\tC1: %06X C2: %06X C3: %06X\n", triangle.color1, triangle.color2, triangle.color3);
  }
  if (flags & TRIANGLE_NORMAL) {
    std::fprintf(out, "\tnX: %f\tnY: %f\tnZ: %f\n", triangle.normal[0], triangle.normal[1], triangle.normal[2]);
  }
}

}  // namespace

void Material(std::FILE* out, const MaterialNode& material) {
  std::fputs("Material node\n", out);
  // Ambient leads here, while the file starts with diffuse.
  std::fprintf(out, "Ambient:  %06X\n", material.ambient);
  std::fprintf(out, "Diffuse:  %06X\n", material.diffuse);
  std::fprintf(out, "Specular: %06X\n", material.specular);
  std::fprintf(out, "Emissive: %06X\n", material.emissive);
  std::fprintf(out, "Specular Power: %f\n", material.specularPower);
  std::fprintf(out, "Flags: %X\n", material.flags);
  std::fprintf(out, "Sourceblend:  %d\nTargetblend: %d\n", Signed(material.sourceBlend),
               Signed(material.targetBlend));
  std::fprintf(out, "Polygonoffset: %f\n", material.polygonOffset);
  std::fprintf(out, "Shadingmode: %d\n", Signed(material.shadingMode));
}

void VertexBuffer(std::FILE* out, const VertexBufferNode& buffer) {
  std::fputs("Vertex Buffer node\n", out);
  std::fprintf(out, "Contains %d vertex buffers\n", Count(buffer.lists.size()));
  for (const VertexList& list : buffer.lists) {
    std::fprintf(out, "Flags: %X\n", list.flags);
    std::fprintf(out, "Vertex count: %d\n", Count(list.vertices.size()));
    for (size_t i = 0; i < list.vertices.size(); ++i) VertexLines(out, list.vertices[i], list.flags, i);
  }
}

void TriangleInfoBuffer(std::FILE* out, const TriangleInfoBufferNode& buffer) {
  std::fputs("Triangle info buffer node\n", out);
  std::fprintf(out, "Flags: %X\n", buffer.flags);
  std::fprintf(out, "Triangle count: %d\n", Count(buffer.triangles.size()));
  for (size_t i = 0; i < buffer.triangles.size(); ++i) TriangleLines(out, buffer.triangles[i], buffer.flags, i);
}

void FaceList(std::FILE* out, const FaceListNode& faces) {
  std::fputs("Face List node\n", out);
  std::fprintf(out, "Index count: %d\n", Count(faces.indices.size()));
  // Two triangles to a line, with a wider gap between them. A last line that
  // is not full stays open; the next entry's separator begins with a newline.
  for (size_t n = 1; n <= faces.indices.size(); ++n) {
    std::fprintf(out, "%d\t", Signed(faces.indices[n - 1]));
    if (n % 3 == 0) std::fputc('\t', out);
    if (n % 6 == 0) std::fputc('\n', out);
  }
}

void Texture(std::FILE* out, const TextureNode& texture) {
  std::fputs("Texture node\n", out);
  std::fprintf(out, "Filename: %s\n", texture.fileName.c_str());
}

}  // namespace kvl::dump
