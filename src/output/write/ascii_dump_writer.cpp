#include "output/write/ascii_dump_writer.h"

#include "output/write/ascii_dump_entries.h"

namespace kvl {
namespace {

// Lights have no entry of their own, and a type the document does not know
// cannot be read at all; both get a placeholder line so that the reader still
// sees their id and type.
void UnknownEntry(std::FILE* out) { std::fputs("(Unknown type, skipping)\n", out); }

void Entry(std::FILE* out, const SceneNode& node) {
  switch (node.type) {
    case NODE_GROUP: return dump::Group(out, As<GroupNode>(node));
    case NODE_PRS_ANIMATION: return dump::PRSAnimation(out, As<PRSAnimationGroup>(node));
    case NODE_MESH: return dump::Mesh(out, As<MeshNode>(node));
    case NODE_MATERIAL: return dump::Material(out, As<MaterialNode>(node));
    case NODE_CAMERA: return dump::Camera(out, As<CameraNode>(node));
    case NODE_GEOMETRY: return dump::Geometry(out, As<GeometryNode>(node));
    case NODE_VERTEX_BUFFER: return dump::VertexBuffer(out, As<VertexBufferNode>(node));
    case NODE_TRIANGLE_INFO_BUFFER: return dump::TriangleInfoBuffer(out, As<TriangleInfoBufferNode>(node));
    case NODE_FACE_LIST: return dump::FaceList(out, As<FaceListNode>(node));
    case NODE_HELPER: return dump::Helper(out, As<HelperNode>(node));
    case NODE_TEXTURE: return dump::Texture(out, As<TextureNode>(node));
    case NODE_SPRITE: return dump::Sprite(out, As<SpriteNode>(node));
    case NODE_PARTICLE_SYSTEM: return dump::ParticleSystem(out, As<ParticleSystemNode>(node));
    case NODE_LOADER: return dump::Loader(out, As<LoaderNode>(node));
    case NODE_ATTRIBUTE: return dump::Attribute(out, As<NodeAttributeNode>(node));
    case NODE_MICROPHONE: return dump::Microphone(out, As<MicrophoneNode>(node));
    case NODE_SOUND_SOURCE: return dump::SoundSource(out, As<SoundSourceNode>(node));
    case NODE_COLLIDER: return dump::Collider(out, As<ColliderNode>(node));
    case NODE_SPRING: return dump::Spring(out, As<SpringNode>(node));
    case NODE_PRS_KEY_ANIMATION: return dump::PRSKeyAnimation(out, As<PRSKeyAnimationGroup>(node));
    case NODE_LIGHT:
    default: return UnknownEntry(out);
  }
}

}  // namespace

void WriteAsciiDumpEntry(std::FILE* out, const SceneNode& node) {
  // The separator starts with a newline so that it also closes a face list
  // whose last line was left open.
  std::fputs("\n==============================\n", out);
  std::fprintf(out, "Node Id: %d\nNode type: %d\n", dump::Signed(node.id), dump::Signed(node.type));
  Entry(out, node);
}

bool WriteAsciiDump(std::FILE* out, const NodeTable& table) {
  std::fputs("Quillstone ASCII dump\n", out);
  // The count is of the whole table, so with optimisation on it tells how
  // many records the optimiser left out.
  std::fprintf(out, "Total node count: %d \n", dump::Count(table.Size()));
  for (const auto& [id, node] : table) {
    if (table.ShouldWrite(*node)) WriteAsciiDumpEntry(out, *node);
  }
  return !std::ferror(out);
}

std::string AsciiDumpText(const NodeTable& table) {
  std::FILE* scratch = std::tmpfile();
  if (!scratch) return {};
  WriteAsciiDump(scratch, table);
  std::string text;
  std::rewind(scratch);
  char block[4096];
  size_t got;
  while ((got = std::fread(block, 1, sizeof block, scratch)) > 0) text.append(block, got);
  std::fclose(scratch);
  return text;
}

bool AsciiDumpWriter::Write(const std::string& path, const NodeTable& table) {
  return WriteThrough(path, "w", [&](std::FILE* file) { return WriteAsciiDump(file, table); });
}

}  // namespace kvl
