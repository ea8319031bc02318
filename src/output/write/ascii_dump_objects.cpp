// Dump entries of scene objects: groups, animation groups, meshes, cameras,
// geometry and the node kinds the file carries for the engine.
#include "output/write/ascii_dump_entries.h"

namespace kvl::dump {
namespace {

// The components a sample or key carries, indented under its own line.
void SampleLines(std::FILE* out, const PRSTransform& sample, uint16_t flags) {
  if (flags & PRS_POSITION) {
    std::fprintf(out, "  Position: %f\t%f\t%f\n", sample.position[0], sample.position[1], sample.position[2]);
  }
  if (flags & PRS_ROTATION) {
    std::fprintf(out, "  Rotation: %f\t%f\t%f\t%f\n", sample.rotation[0], sample.rotation[1],
                 sample.rotation[2], sample.rotation[3]);
  }
  if (flags & PRS_SCALE) {
    std::fprintf(out, "  Scale:    %f\t%f\t%f\n", sample.scale[0], sample.scale[1], sample.scale[2]);
  }
}

void BoundsLines(std::FILE* out, const ColliderNode& collider) {
  std::fprintf(out, "Min x: %f\ty: %f\tz: %f\n", collider.boundsMin[0], collider.boundsMin[1],
               collider.boundsMin[2]);
  std::fprintf(out, "Max x: %f\ty: %f\tz: %f\n", collider.boundsMax[0], collider.boundsMax[1],
               collider.boundsMax[2]);
}

}  // namespace

void NameLines(std::FILE* out, const std::string& name, uint32_t parentId) {
  std::fprintf(out, "Name: %s\n", name.c_str());
  std::fprintf(out, "Parent Id: %d\n", Signed(parentId));
}

void RotationAxes(const float rotation[4], float axes[3][3]) {
  const float x = rotation[0], y = rotation[1], z = rotation[2], w = rotation[3];
  // Dividing by the squared length makes the matrix that of the normalised
  // quaternion without taking a square root.
  const float s = 2.0f / (x * x + y * y + z * z + w * w);
  axes[0][0] = 1.0f - s * (y * y + z * z);
  axes[0][1] = s * (x * y - z * w);
  axes[0][2] = s * (x * z + y * w);
  axes[1][0] = s * (x * y + z * w);
  axes[1][1] = 1.0f - s * (x * x + z * z);
  axes[1][2] = s * (y * z - x * w);
  axes[2][0] = s * (x * z - y * w);
  axes[2][1] = s * (y * z + x * w);
  axes[2][2] = 1.0f - s * (x * x + y * y);
}

void TransformBlock(std::FILE* out, const PRSTransform& t) {
  std::fprintf(out, "Position: %f\t%f\t%f\n", t.position[0], t.position[1], t.position[2]);
  std::fprintf(out, "Rotation: %f\t%f\t%f\t%f\n", t.rotation[0], t.rotation[1], t.rotation[2], t.rotation[3]);
  std::fprintf(out, "Scale:    %f\t%f\t%f\n", t.scale[0], t.scale[1], t.scale[2]);
  // The axes show the orientation alone: scale is left out of them.
  float axes[3][3];
  RotationAxes(t.rotation, axes);
  std::fprintf(out, "X axis: %f\t%f\t%f\n", axes[0][0], axes[0][1], axes[0][2]);
  std::fprintf(out, "Y axis: %f\t%f\t%f\n", axes[1][0], axes[1][1], axes[1][2]);
  std::fprintf(out, "Z axis: %f\t%f\t%f\n", axes[2][0], axes[2][1], axes[2][2]);
}

void Group(std::FILE* out, const GroupNode& group) {
  if (group.customType == CUSTOM_TYPE_GROUP) {
    std::fputs("Group node\n", out);
  } else {
    std::fprintf(out, "Custom node (type: %d)\n", Signed(group.customType));
  }
  NameLines(out, group.name, group.parentId);
  TransformBlock(out, group.transform);
}

void PRSAnimation(std::FILE* out, const PRSAnimationGroup& group) {
  // The prefix runs into the group's first line: "PRS Animation Group node".
  std::fputs("PRS Animation ", out);
  Group(out, group);
  std::fprintf(out, "Sequence count: %d\n", Count(group.sequences.size()));
  for (size_t i = 0; i < group.sequences.size(); ++i) {
    const PRSSequence& sequence = group.sequences[i];
    std::fprintf(out, "Sequence %d:\n", Count(i));
    std::fprintf(out, "Start time: %d\n", sequence.startTime);
    std::fprintf(out, "End time: %d\n", sequence.endTime);
    std::fprintf(out, "Sample rate: %f\n", sequence.sampleRate);
    std::fprintf(out, "Flags: %04X\n", static_cast<unsigned>(sequence.flags));
    std::fprintf(out, "Sample count: %d\n", Count(sequence.samples.size()));
    for (size_t k = 0; k < sequence.samples.size(); ++k) {
      std::fprintf(out, "Sample %d:\n", Count(k));
      SampleLines(out, sequence.samples[k], sequence.flags);
    }
  }
}

void PRSKeyAnimation(std::FILE* out, const PRSKeyAnimationGroup& group) {
  // No blank behind the prefix: the first line reads "PRS Key AnimationGroup node".
  std::fputs("PRS Key Animation", out);
  Group(out, group);
  std::fprintf(out, "Sequence count: %d\n", Count(group.keySequences.size()));
  for (size_t i = 0; i < group.keySequences.size(); ++i) {
    const PRSKeySequence& sequence = group.keySequences[i];
    std::fprintf(out, "Sequence %d:\n", Count(i));
    std::fprintf(out, "Flags: %04X\n", static_cast<unsigned>(sequence.flags));
    std::fprintf(out, "Key count: %d\n", Count(sequence.keys.size()));
    for (const auto& [time, key] : sequence.keys) {
      std::fprintf(out, "Time: %d\n", Signed(time));
      SampleLines(out, key, sequence.flags);
    }
  }
}

void Mesh(std::FILE* out, const MeshNode& mesh) {
  std::fputs("Mesh node\n", out);
  NameLines(out, mesh.name, mesh.parentId);
  std::fprintf(out, "Submesh count: %d\n", Count(mesh.submeshes.size()));
  for (size_t i = 0; i < mesh.submeshes.size(); ++i) {
    const Submesh& s = mesh.submeshes[i];
    std::fprintf(out, "Submesh %d\n", Count(i));
    std::fprintf(out, "Primitive type: %d\n", Signed(s.primitiveType));
    std::fprintf(out, "Material Id: %d\n", Signed(s.materialId));
    std::fprintf(out, "Diffuse tex: %d\n", Signed(s.diffuseTextureId));
    std::fprintf(out, "Env tex: %d\n", Signed(s.envTextureId));
    std::fprintf(out, "FaceList Id: %d\n", Signed(s.faceListId));
    std::fprintf(out, "TriangleInfoBuffer Id: %d\n", Signed(s.triangleInfoBufferId));
    std::fprintf(out, "VertexBuffer Id: %d\n", Signed(s.vertexBufferId));
    std::fprintf(out, "Vertex count: %d\nVertex offset: %d\n", Signed(s.vertexCount), Signed(s.vertexOffset));
  }
}

void Camera(std::FILE* out, const CameraNode& camera) {
  std::fputs("Camera node\n", out);
  NameLines(out, camera.name, camera.parentId);
  std::fprintf(out, "Target Id: %d\n", Signed(camera.targetId));
  std::fprintf(out, "FOV: %f\n", camera.fov);
  std::fprintf(out, "Near Clip: %f\n", camera.nearClip);
  std::fprintf(out, "Far Clip: %f\n", camera.farClip);
  TransformBlock(out, camera.transform);
}

void Geometry(std::FILE* out, const GeometryNode& geometry) {
  std::fputs("Geometry node\n", out);
  NameLines(out, geometry.name, geometry.parentId);
  TransformBlock(out, geometry.transform);
}

void Helper(std::FILE* out, const HelperNode& helper) {
  std::fputs("Helper node\n", out);
  NameLines(out, helper.name, helper.parentId);
  std::fprintf(out, "Pos: X: %f\tY: %f\tZ: %f\n", helper.position[0], helper.position[1], helper.position[2]);
}

void Sprite(std::FILE* out, const SpriteNode& sprite) {
  std::fputs("Sprite node\n", out);
  NameLines(out, sprite.name, sprite.parentId);
  std::fprintf(out, "Filename: %s\n", sprite.fileName.c_str());
  std::fprintf(out, "Width: %f\n", sprite.width);
  std::fprintf(out, "Height: %f\n", sprite.height);
  std::fprintf(out, "Src blend: %d\n", Signed(sprite.sourceBlend));
  std::fprintf(out, "Dest blend: %d\n", Signed(sprite.destBlend));
  std::fprintf(out, "Color: %06X\n", sprite.color);
  // The line shows the record's node type; spriteType stays out of the dump.
  std::fprintf(out, "Type: %d\n", Signed(sprite.type));
}

void ParticleSystem(std::FILE* out, const ParticleSystemNode& system) {
  std::fputs("Particle system node\n", out);
  NameLines(out, system.name, system.parentId);
  std::fprintf(out, "Filename: %s\n", system.fileName.c_str());
  std::fprintf(out, "Scale: %f\n", system.scale);
}

void Loader(std::FILE* out, const LoaderNode& loader) {
  std::fputs("Loader node\n", out);
  NameLines(out, loader.name, loader.parentId);
  std::fprintf(out, "Filename: %s\n", loader.fileName.c_str());
  std::fprintf(out, "Mergemode: %d\n", static_cast<int>(loader.mergeMode));
  TransformBlock(out, loader.transform);
}

void Attribute(std::FILE* out, const NodeAttributeNode& attribute) {
  std::fputs("Node Attribute node\n", out);
  std::fprintf(out, "Parent Id: %d\n", Signed(attribute.parentId));
  std::fprintf(out, "Data: %s\n", attribute.data.c_str());
}

void SoundSource(std::FILE* out, const SoundSourceNode& sound) {
  std::fputs("Sound source node\n", out);
  NameLines(out, sound.name, sound.parentId);
  TransformBlock(out, sound.transform);
  std::fprintf(out, "Type: %d\n", Signed(sound.soundType));
  std::fprintf(out, "Multiplier: %f\n", sound.multiplier);
  std::fprintf(out, "Attn start: %f\tend: %f\n", sound.attenuationStart, sound.attenuationEnd);
  // The record's own flag; only the binary file stores its inverse.
  std::fprintf(out, "Looping: %d\n", static_cast<int>(sound.looping));
  std::fprintf(out, "Filename: %s\n", sound.fileName.c_str());
}

void Microphone(std::FILE* out, const MicrophoneNode& microphone) {
  std::fputs("Microphone node\n", out);
  NameLines(out, microphone.name, microphone.parentId);
  TransformBlock(out, microphone.transform);
  std::fprintf(out, "Type: %d\n", Signed(microphone.microphoneType));
  // The float as recorded, not the whole-number byte of the binary file.
  std::fprintf(out, "Multiplier: %f\n", microphone.multiplier);
  std::fprintf(out, "Range: %f\n", microphone.range);
}

void Spring(std::FILE* out, const SpringNode& spring) {
  std::fputs("Spring node\n", out);
  std::fprintf(out, "Parent Id 1: %d\n", Signed(spring.parentId1));
  std::fprintf(out, "Parent Id 2: %d\n", Signed(spring.parentId2));
  std::fprintf(out, "Spring constant: %f\n", spring.springConstant);
  std::fprintf(out, "Damping constant: %f\n", spring.dampingConstant);
  std::fprintf(out, "Length: %f\n", spring.length);
  std::fprintf(out, "Min Length scale: %f\n", spring.minLengthScale);
  std::fprintf(out, "Max Length scale: %f\n", spring.maxLengthScale);
}

void Collider(std::FILE* out, const ColliderNode& collider) {
  std::fputs("Collider node\n", out);
  NameLines(out, collider.name, collider.parentId);
  std::fprintf(out, "Type: %d\n", Signed(collider.colliderType));
  switch (collider.colliderType) {
    case COLLIDER_BOUNDING_VOLUME:
      std::fprintf(out, "Bounding volume type: %d\n", Signed(collider.boundingVolumeType));
      BoundsLines(out, collider);
      TransformBlock(out, collider.transform);
      return;
    case COLLIDER_CONSTRUCTION:
      BoundsLines(out, collider);
      TransformBlock(out, collider.transform);
      std::fprintf(out, "Constuction start id: %d\n", Signed(collider.constructionStartId));
      std::fprintf(out, "Width: %d\n", static_cast<int>(collider.width));
      std::fprintf(out, "Height: %d\n", static_cast<int>(collider.height));
      std::fprintf(out, "Baselevel: %d\n", static_cast<int>(collider.baseLevel));
      std::fprintf(out, "Flags: %d\n", static_cast<int>(collider.flags));
      return;
    case COLLIDER_GEOMETRY:
      std::fprintf(out, "Bounding volume type: %d\n", Signed(collider.boundingVolumeType));
      std::fprintf(out, "Geometry Id: %d\n", Signed(collider.geometryId));
      return;
    default:
      return;  // other collider types carry nothing behind the head
  }
}

}  // namespace kvl::dump
