#include "output/write/binary_writer.h"

#include "output/write/chunk_encoders.h"

namespace kvl {

std::unique_ptr<Chunk> EncodeNode(const SceneNode& node) {
  switch (node.type) {
    case NODE_GROUP: return EncodeGroup(As<GroupNode>(node));
    case NODE_PRS_ANIMATION: return EncodePRSAnimation(As<PRSAnimationGroup>(node));
    case NODE_MESH: return EncodeMesh(As<MeshNode>(node));
    case NODE_MATERIAL: return EncodeMaterial(As<MaterialNode>(node));
    case NODE_CAMERA: return EncodeCamera(As<CameraNode>(node));
    case NODE_GEOMETRY: return EncodeGeometry(As<GeometryNode>(node));
    case NODE_VERTEX_BUFFER: return EncodeVertexBuffer(As<VertexBufferNode>(node));
    case NODE_TRIANGLE_INFO_BUFFER: return EncodeTriangleInfoBuffer(As<TriangleInfoBufferNode>(node));
    case NODE_FACE_LIST: return EncodeFaceList(As<FaceListNode>(node));
    case NODE_HELPER: return EncodeHelper(As<HelperNode>(node));
    case NODE_TEXTURE: return EncodeTexture(As<TextureNode>(node));
    case NODE_SPRITE: return EncodeSprite(As<SpriteNode>(node));
    case NODE_PARTICLE_SYSTEM: return EncodeParticleSystem(As<ParticleSystemNode>(node));
    case NODE_LOADER: return EncodeLoader(As<LoaderNode>(node));
    case NODE_LIGHT: return EncodeLight(As<LightNode>(node));
    case NODE_ATTRIBUTE: return EncodeAttribute(As<NodeAttributeNode>(node));
    case NODE_MICROPHONE: return EncodeMicrophone(As<MicrophoneNode>(node));
    case NODE_SOUND_SOURCE: return EncodeSoundSource(As<SoundSourceNode>(node));
    case NODE_COLLIDER: return EncodeCollider(As<ColliderNode>(node));
    case NODE_SPRING: return EncodeSpring(As<SpringNode>(node));
    default: return nullptr;  // key animation groups have no chunk in this format
  }
}

namespace {

// The big buffers go to the file as they are encoded, in slices; the rest
// chunk by chunk. False if a streamed chunk came out at another size than
// its header says.
bool WriteNode(std::FILE* file, const SceneNode& node) {
  std::unique_ptr<Chunk> streamed;
  switch (node.type) {
    case NODE_VERTEX_BUFFER: streamed = EncodeVertexBuffer(As<VertexBufferNode>(node), file); break;
    case NODE_FACE_LIST: streamed = EncodeFaceList(As<FaceListNode>(node), file); break;
    case NODE_TRIANGLE_INFO_BUFFER:
      streamed = EncodeTriangleInfoBuffer(As<TriangleInfoBufferNode>(node), file);
      break;
    default:
      if (std::unique_ptr<Chunk> chunk = EncodeNode(node)) chunk->WriteTo(file);
      return true;
  }
  return streamed->Finish();
}

}  // namespace

bool WriteBinaryScene(std::FILE* file, const NodeTable& table) {
  for (const auto& [id, node] : table) {
    if (table.ShouldWrite(*node) && !WriteNode(file, *node)) return false;
  }
  return !std::ferror(file);
}

bool BinaryWriter::Write(const std::string& path, const NodeTable& table) {
  return WriteThrough(path, "wb", [&](std::FILE* file) { return WriteBinaryScene(file, table); });
}

}  // namespace kvl
