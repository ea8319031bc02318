#include "scene/scene_nodes.h"

namespace kvl {

void DestroyNode(SceneNode* node) {
  if (!node) return;
  switch (node->type) {
    case NODE_GROUP: delete &As<GroupNode>(*node); return;
    case NODE_PRS_ANIMATION: delete &As<PRSAnimationGroup>(*node); return;
    case NODE_MESH: delete &As<MeshNode>(*node); return;
    case NODE_MATERIAL: delete &As<MaterialNode>(*node); return;
    case NODE_CAMERA: delete &As<CameraNode>(*node); return;
    case NODE_GEOMETRY: delete &As<GeometryNode>(*node); return;
    case NODE_VERTEX_BUFFER: delete &As<VertexBufferNode>(*node); return;
    case NODE_TRIANGLE_INFO_BUFFER: delete &As<TriangleInfoBufferNode>(*node); return;
    case NODE_FACE_LIST: delete &As<FaceListNode>(*node); return;
    case NODE_HELPER: delete &As<HelperNode>(*node); return;
    case NODE_TEXTURE: delete &As<TextureNode>(*node); return;
    case NODE_SPRITE: delete &As<SpriteNode>(*node); return;
    case NODE_PARTICLE_SYSTEM: delete &As<ParticleSystemNode>(*node); return;
    case NODE_LOADER: delete &As<LoaderNode>(*node); return;
    case NODE_LIGHT: delete &As<LightNode>(*node); return;
    case NODE_ATTRIBUTE: delete &As<NodeAttributeNode>(*node); return;
    case NODE_MICROPHONE: delete &As<MicrophoneNode>(*node); return;
    case NODE_SOUND_SOURCE: delete &As<SoundSourceNode>(*node); return;
    case NODE_COLLIDER: delete &As<ColliderNode>(*node); return;
    case NODE_SPRING: delete &As<SpringNode>(*node); return;
    case NODE_PRS_KEY_ANIMATION: delete &As<PRSKeyAnimationGroup>(*node); return;
  }
}

}  // namespace kvl
