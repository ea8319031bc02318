#include "output/read/kvl_decoders.h"

namespace kvl {
namespace {

void ReadTransform(PayloadReader& r, PRSTransform& t) {
  r.Floats(t.position, 3, "position");
  r.Quat(t.rotation, "rotation");
  r.Floats(t.scale, 3, "scale");
}

// Bytes of one sample under a sequence's flags.
uint64_t SampleSize(uint16_t flags) {
  uint64_t size = 0;
  if (flags & PRS_POSITION) size += 12;
  if (flags & PRS_ROTATION) size += 16;
  if (flags & PRS_SCALE) size += 12;
  return size;
}

// The components a sequence holds constant come from the group's own
// transform; `constant` starts as that transform and takes them.
PRSSequence ReadSequence(PayloadReader& r, PRSTransform& constant) {
  PRSSequence s;
  s.startTime = static_cast<int32_t>(r.U32("startTime"));
  s.endTime = static_cast<int32_t>(r.U32("endTime"));
  s.sampleRate = r.F32("sampleRate");
  s.flags = r.U16("sequence flags");
  if (r.ok() && (s.flags & ~0xFu)) {
    r.Report(Severity::WARNING, r.Offset() - 2,
             "sequence flags have bits the format does not define (expected bits of 0xF, found 0x" +
                 HexText(s.flags) + ")");
  }
  if (!(s.flags & PRS_POSITION)) r.Floats(constant.position, 3, "constant position");
  if (!(s.flags & PRS_ROTATION)) r.Quat(constant.rotation, "constant rotation");
  if (!(s.flags & PRS_SCALE)) r.Floats(constant.scale, 3, "constant scale");
  const uint32_t count = r.U32("sample count");
  if (!r.CountFits(count, SampleSize(s.flags), "sample")) return s;
  s.samples.reserve(count);
  for (uint32_t i = 0; i < count && r.ok(); ++i) {
    // Components that the sequence does not carry are the constant ones.
    PRSTransform sample = constant;
    if (s.flags & PRS_POSITION) r.Floats(sample.position, 3, "sample position");
    if (s.flags & PRS_ROTATION) r.Quat(sample.rotation, "sample rotation");
    if (s.flags & PRS_SCALE) r.Floats(sample.scale, 3, "sample scale");
    s.samples.push_back(sample);
  }
  return s;
}

}  // namespace

std::unique_ptr<GroupNode> DecodeGroup(PayloadReader& r, uint32_t customType) {
  auto g = std::make_unique<GroupNode>();
  g->customType = customType;
  g->parentId = r.U32("parentId");
  g->name = r.String("name");
  ReadTransform(r, g->transform);
  return g;
}

std::unique_ptr<GeometryNode> DecodeGeometry(PayloadReader& r) {
  auto g = std::make_unique<GeometryNode>();
  g->parentId = r.U32("parentId");
  g->name = r.String("name");
  ReadTransform(r, g->transform);
  return g;
}

std::unique_ptr<MeshNode> DecodeMesh(PayloadReader& r) {
  auto m = std::make_unique<MeshNode>();
  m->parentId = r.U32("parentId");
  m->name = r.String("name");
  const uint16_t count = r.U16("submesh count");
  if (!r.CountFits(count, 33, "submesh")) return m;
  for (uint16_t i = 0; i < count && r.ok(); ++i) {
    Submesh s;
    s.vertexBufferId = r.U32("vertexBufferId");
    s.faceListId = r.U32("faceListId");
    s.triangleInfoBufferId = r.U32("triangleInfoBufferId");
    s.materialId = r.U32("materialId");
    s.diffuseTextureId = r.U32("diffuseTextureId");
    s.envTextureId = r.U32("envTextureId");
    s.vertexOffset = r.U32("vertexOffset");
    s.vertexCount = r.U32("vertexCount");
    s.primitiveType = r.U8("primitiveType");
    m->submeshes.push_back(s);
  }
  return m;
}

std::unique_ptr<CameraNode> DecodeCamera(PayloadReader& r) {
  auto c = std::make_unique<CameraNode>();
  c->parentId = r.U32("parentId");
  c->targetId = r.U32("targetId");
  c->name = r.String("name");
  r.Floats(c->transform.position, 3, "position");
  r.Quat(c->transform.rotation, "rotation");
  c->fov = r.F32("fov");
  c->nearClip = r.F32("nearClip");
  c->farClip = r.F32("farClip");
  return c;
}

std::unique_ptr<LightNode> DecodeLight(PayloadReader& r) {
  auto l = std::make_unique<LightNode>();
  l->parentId = r.U32("parentId");
  l->name = r.String("name");
  r.Floats(l->transform.position, 3, "position");
  r.Quat(l->transform.rotation, "rotation");
  l->lightType = r.U8("lightType");
  for (uint32_t& v : l->lightValuesA) v = r.U32("lightValuesA");
  for (uint32_t& v : l->lightValuesB) v = r.U32("lightValuesB");
  for (uint32_t& v : l->lightValuesC) v = r.U32("lightValuesC");
  return l;
}

std::unique_ptr<HelperNode> DecodeHelper(PayloadReader& r) {
  auto h = std::make_unique<HelperNode>();
  h->parentId = r.U32("parentId");
  h->name = r.String("name");
  r.Floats(h->position, 3, "position");
  return h;
}

std::unique_ptr<ParticleSystemNode> DecodeParticleSystem(PayloadReader& r) {
  auto p = std::make_unique<ParticleSystemNode>();
  p->parentId = r.U32("parentId");
  p->name = r.String("name");
  p->scale = r.F32("scale");
  p->fileName = r.String("fileName");
  return p;
}

std::unique_ptr<SpriteNode> DecodeSprite(PayloadReader& r) {
  auto s = std::make_unique<SpriteNode>();
  s->parentId = r.U32("parentId");
  s->name = r.String("name");
  s->width = r.F32("width");
  s->height = r.F32("height");
  s->fileName = r.String("fileName");
  s->spriteType = r.U8("spriteType");
  s->sourceBlend = r.U8("sourceBlend");
  s->destBlend = r.U8("destBlend");
  s->color = r.U32("color");
  return s;
}

std::unique_ptr<SoundSourceNode> DecodeSoundSource(PayloadReader& r) {
  auto s = std::make_unique<SoundSourceNode>();
  s->parentId = r.U32("parentId");
  s->name = r.String("name");
  r.Floats(s->transform.position, 3, "position");
  r.Quat(s->transform.rotation, "rotation");
  s->soundType = r.U8("soundType");
  s->multiplier = r.F32("multiplier");
  s->attenuationStart = r.F32("attenuationStart");
  s->attenuationEnd = r.F32("attenuationEnd");
  const size_t at = r.Offset();
  // The file's byte says "does not loop".
  const uint8_t notLooping = r.U8("looping");
  if (r.ok() && notLooping > 1) {
    r.Report(Severity::WARNING, at,
             "looping byte is neither 0 nor 1 (expected 0 or 1, found " + std::to_string(notLooping) + ")");
  }
  s->looping = notLooping == 0 ? 1 : 0;
  s->fileName = r.String("fileName");
  return s;
}

std::unique_ptr<MicrophoneNode> DecodeMicrophone(PayloadReader& r) {
  auto m = std::make_unique<MicrophoneNode>();
  m->parentId = r.U32("parentId");
  m->name = r.String("name");
  r.Floats(m->transform.position, 3, "position");
  r.Quat(m->transform.rotation, "rotation");
  m->microphoneType = r.U8("microphoneType");
  m->multiplier = static_cast<float>(r.U8("multiplier"));  // a whole number in one byte
  m->range = r.F32("range");
  return m;
}

std::unique_ptr<ColliderNode> DecodeCollider(PayloadReader& r) {
  auto c = std::make_unique<ColliderNode>();
  c->parentId = r.U32("parentId");
  c->colliderType = r.U16("colliderType");
  c->name = r.String("name");
  switch (c->colliderType) {
    case COLLIDER_BOUNDING_VOLUME:
      c->boundingVolumeType = r.U8("boundingVolumeType");
      r.Floats(c->boundsMin, 3, "boundsMin");
      r.Floats(c->boundsMax, 3, "boundsMax");
      ReadTransform(r, c->transform);
      break;
    case COLLIDER_CONSTRUCTION:
      r.Floats(c->boundsMin, 3, "boundsMin");
      r.Floats(c->boundsMax, 3, "boundsMax");
      ReadTransform(r, c->transform);
      c->constructionStartId = r.U32("constructionStartId");
      c->width = r.U16("width");
      c->height = r.U16("height");
      c->baseLevel = r.U8("baseLevel");
      c->flags = r.U8("flags");
      break;
    case COLLIDER_GEOMETRY:
      c->boundingVolumeType = r.U8("boundingVolumeType");
      c->geometryId = r.U32("geometryId");
      break;
    default:
      break;  // other types carry nothing behind the head
  }
  return c;
}

std::unique_ptr<PRSAnimationGroup> DecodePRSAnimation(PayloadReader& r) {
  auto g = std::make_unique<PRSAnimationGroup>();
  g->parentId = r.U32("parentId");
  g->name = r.String("name");
  const uint16_t count = r.U16("sequence count");
  // The smallest sequence entry: times, rate, flags, sample count.
  if (!r.CountFits(count, 18, "sequence")) return g;
  // The group's transform reaches the file only in the components that a
  // sequence holds constant; the first sequence's constants are taken.
  PRSTransform groupTransform = PRSTransform::Identity();
  for (uint16_t i = 0; i < count && r.ok(); ++i) {
    const size_t at = r.Offset();
    PRSTransform constant = i == 0 ? groupTransform : g->transform;
    PRSSequence s = ReadSequence(r, constant);
    if (i == 0) {
      g->transform = constant;
    } else if (r.ok()) {
      const uint16_t both = static_cast<uint16_t>(~s.flags & ~g->sequences.front().flags);
      bool same = true;
      for (int k = 0; k < 3; ++k) {
        if ((both & PRS_POSITION) && constant.position[k] != g->transform.position[k]) same = false;
        if ((both & PRS_SCALE) && constant.scale[k] != g->transform.scale[k]) same = false;
      }
      for (int k = 0; k < 4; ++k) {
        if ((both & PRS_ROTATION) && constant.rotation[k] != g->transform.rotation[k]) same = false;
      }
      if (!same) {
        r.Report(Severity::WARNING, at,
                 "sequence " + std::to_string(i) +
                     " holds other constant components than sequence 0 (expected the group's one transform)");
      }
    }
    g->sequences.push_back(std::move(s));
  }
  // Components animated in the first sequence: its first sample is the
  // best the file offers for the group's own transform.
  if (!g->sequences.empty() && !g->sequences.front().samples.empty()) {
    const PRSSequence& first = g->sequences.front();
    const PRSTransform& sample = first.samples.front();
    for (int k = 0; k < 3; ++k) {
      if (first.flags & PRS_POSITION) g->transform.position[k] = sample.position[k];
      if (first.flags & PRS_SCALE) g->transform.scale[k] = sample.scale[k];
    }
    for (int k = 0; k < 4; ++k) {
      if (first.flags & PRS_ROTATION) g->transform.rotation[k] = sample.rotation[k];
    }
  }
  return g;
}

std::unique_ptr<LoaderNode> DecodeLoader(PayloadReader& r) {
  auto l = std::make_unique<LoaderNode>();
  l->parentId = r.U32("parentId");
  l->name = r.String("name");
  ReadTransform(r, l->transform);
  l->fileName = r.String("fileName");
  l->mergeMode = r.U8("mergeMode");
  return l;
}

std::unique_ptr<SpringNode> DecodeSpring(PayloadReader& r) {
  auto s = std::make_unique<SpringNode>();
  s->parentId1 = r.U32("parentId1");
  s->parentId2 = r.U32("parentId2");
  s->springConstant = r.F32("springConstant");
  s->dampingConstant = r.F32("dampingConstant");
  s->length = r.F32("length");
  s->minLengthScale = r.F32("minLengthScale");
  s->maxLengthScale = r.F32("maxLengthScale");
  return s;
}

std::unique_ptr<NodeAttributeNode> DecodeAttribute(PayloadReader& r) {
  auto a = std::make_unique<NodeAttributeNode>();
  a->parentId = r.U32("parentId");
  // The one text with a 32-bit length, which counts a terminating zero.
  const uint32_t count = r.U32("attribute byte count");
  if (!r.ok()) return a;
  if (count == 0) {
    r.Fail("attribute byte count must count the terminator (expected at least 1, found 0)");
    return a;
  }
  if (!r.CountFits(count, 1, "attribute byte")) return a;
  a->data = r.Bytes(count - 1, "attribute text");
  const size_t terminatorAt = r.Offset();
  const uint8_t terminator = r.U8("attribute terminator");
  if (r.ok() && terminator != 0) {
    r.Report(Severity::ERROR, terminatorAt,
             "attribute text has no terminator (expected 0, found " + std::to_string(terminator) + ")");
  }
  return a;
}

}  // namespace kvl
