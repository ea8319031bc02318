// The chunks of scene objects: groups, geometry, meshes, cameras, the node
// kinds the file carries for the engine, animation groups and attributes.
// Each record goes through EncodeNode, the same dispatch the file loop uses,
// and is compared with bytes worked out by hand.
#include <string>

#include <gtest/gtest.h>

#include "byte_builder.h"
#include "output/binary_writer.h"
#include "output/chunk_encoders.h"
#include "scene/scene_nodes.h"

namespace kvl {
namespace {

using namespace test;

// A transform whose ten floats all differ, so that a swapped or missing
// component shows in the bytes.
PRSTransform DistinctTransform() {
  PRSTransform t;
  t.position[0] = 1.0f, t.position[1] = 2.0f, t.position[2] = 3.0f;
  t.rotation[0] = 0.25f, t.rotation[1] = 0.5f, t.rotation[2] = 0.75f, t.rotation[3] = 1.0f;
  t.scale[0] = 2.5f, t.scale[1] = 4.0f, t.scale[2] = 5.0f;
  return t;
}
constexpr std::initializer_list<uint32_t> DISTINCT_POSITION = {F_1, F_2, F_3};
constexpr std::initializer_list<uint32_t> DISTINCT_ROTATION = {F_QUARTER, F_HALF, F_3_4, F_1};
constexpr std::initializer_list<uint32_t> DISTINCT_SCALE = {F_2_5, F_4, F_5};

TEST(ObjectChunkTest, GroupTakesItsChunkIdFromTheLow16BitsOfCustomType) {
  GroupNode group;
  group.id = 9;
  group.parentId = 3;
  group.name = "gr_a";
  group.transform = DistinctTransform();

  // parentId 4 + name 1+4 + transform 40 = 49
  ByteBuilder payload;
  payload.u32(3).hex({0x04, 'g', 'r', '_', 'a'}).words(DISTINCT_POSITION).words(DISTINCT_ROTATION).words(DISTINCT_SCALE);
  EXPECT_TRUE(SameBytes(ByteBuilder().header(2, 1, 9, 49).append(payload.bytes()).bytes(), Encoded(group)));

  group.customType = 70002;  // 0x11172: chunk id 0x1172 = 4466
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .hex({0x72, 0x11, 0x01, 0x00, 0x09, 0x00, 0x00, 0x00, 0x31, 0x00, 0x00, 0x00})
                            .append(payload.bytes())
                            .bytes(),
                        Encoded(group)));

  // The root: no parent, so the id field is all ones.
  GroupNode root;
  root.id = 0;
  root.name = "r";
  root.transform = PRSTransform::Identity();
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(2, 1, 0, 46)
                            .hex({0xFF, 0xFF, 0xFF, 0xFF, 0x01, 'r'})
                            .words({F_0, F_0, F_0, F_0, F_0, F_0, F_1, F_1, F_1, F_1})
                            .bytes(),
                        Encoded(root)));
}

TEST(ObjectChunkTest, GeometryHasTheFormOfAGroup) {
  GeometryNode geometry;
  geometry.id = 4;
  geometry.parentId = 0;
  geometry.name = "box";
  geometry.transform = DistinctTransform();
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(3, 1, 4, 48)
                            .u32(0)
                            .hex({0x03, 'b', 'o', 'x'})
                            .words(DISTINCT_POSITION)
                            .words(DISTINCT_ROTATION)
                            .words(DISTINCT_SCALE)
                            .bytes(),
                        Encoded(geometry)));
}

TEST(ObjectChunkTest, MeshWritesA33ByteEntryPerSubmesh) {
  MeshNode mesh;
  mesh.id = 5;
  mesh.parentId = 4;
  mesh.name = "mesh_box";
  Submesh first;
  first.vertexBufferId = 6;
  first.faceListId = 7;
  first.triangleInfoBufferId = 8;
  first.materialId = 9;
  first.diffuseTextureId = 10;
  first.envTextureId = NODE_ID_NONE;
  first.vertexOffset = 0;
  first.vertexCount = 36;
  first.primitiveType = 1;
  Submesh second;
  second.vertexBufferId = 6;
  second.faceListId = 11;
  second.triangleInfoBufferId = NODE_ID_NONE;
  second.materialId = 0x01020304;
  second.diffuseTextureId = NODE_ID_NONE;
  second.envTextureId = 13;
  second.vertexOffset = 3;
  second.vertexCount = 0x0506;
  second.primitiveType = 1;
  mesh.submeshes = {first, second};

  // parentId 4 + name 1+8 + count 2 + 2 x 33 = 81
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(4, 3, 5, 81)
                            .u32(4)
                            .hex({0x08, 'm', 'e', 's', 'h', '_', 'b', 'o', 'x'})
                            .hex({0x02, 0x00})
                            // first entry
                            .hex({0x06, 0x00, 0x00, 0x00, 0x07, 0x00, 0x00, 0x00, 0x08, 0x00, 0x00, 0x00})
                            .hex({0x09, 0x00, 0x00, 0x00, 0x0A, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF})
                            .hex({0x00, 0x00, 0x00, 0x00, 0x24, 0x00, 0x00, 0x00, 0x01})
                            // second entry
                            .hex({0x06, 0x00, 0x00, 0x00, 0x0B, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF})
                            .hex({0x04, 0x03, 0x02, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0x0D, 0x00, 0x00, 0x00})
                            .hex({0x03, 0x00, 0x00, 0x00, 0x06, 0x05, 0x00, 0x00, 0x01})
                            .bytes(),
                        Encoded(mesh)));

  MeshNode empty;
  empty.id = 0x100;
  empty.parentId = 4;
  EXPECT_TRUE(SameBytes(ByteBuilder().header(4, 3, 0x100, 7).u32(4).hex({0x00, 0x00, 0x00}).bytes(), Encoded(empty)));
}

TEST(ObjectChunkTest, CameraCarriesPositionAndRotationButNoScale) {
  CameraNode camera;
  camera.id = 13;
  camera.parentId = 0;
  camera.targetId = 14;
  camera.name = "cam";
  camera.transform = DistinctTransform();
  camera.fov = 0.75f;
  camera.nearClip = 1.0f;
  camera.farClip = 1000.0f;
  // parentId 4 + targetId 4 + name 1+3 + vec3 12 + quat 16 + 3 floats 12 = 52
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(5, 1, 13, 52)
                            .u32(0)
                            .u32(14)
                            .hex({0x03, 'c', 'a', 'm'})
                            .words(DISTINCT_POSITION)
                            .words(DISTINCT_ROTATION)
                            .words({F_3_4, F_1, F_1000})
                            .bytes(),
                        Encoded(camera)));
}

TEST(ObjectChunkTest, LightWritesTypeAsOneByteAndEightValueWords) {
  LightNode light;
  light.id = 15;
  light.parentId = 0;
  light.name = "l";
  light.transform = DistinctTransform();
  light.lightType = 0x103;  // only the low byte reaches the file
  light.lightValuesA[0] = 1, light.lightValuesA[1] = 2, light.lightValuesA[2] = 3;
  light.lightValuesB[0] = 4, light.lightValuesB[1] = 5, light.lightValuesB[2] = 0xA0B0C0D0;
  light.lightValuesC[0] = 7, light.lightValuesC[1] = 8;
  // parentId 4 + name 1+1 + 12 + 16 + type 1 + 8 x 4 = 67
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(6, 2, 15, 67)
                            .u32(0)
                            .hex({0x01, 'l'})
                            .words(DISTINCT_POSITION)
                            .words(DISTINCT_ROTATION)
                            .u8(0x03)
                            .words({1, 2, 3, 4, 5, 0xA0B0C0D0, 7, 8})
                            .bytes(),
                        Encoded(light)));
}

TEST(ObjectChunkTest, HelperParticleSystemAndSprite) {
  HelperNode helper;
  helper.id = 16;
  helper.parentId = 1;
  helper.name = "hp";
  helper.position[0] = -1.0f, helper.position[1] = 2.0f, helper.position[2] = 3.0f;
  EXPECT_TRUE(SameBytes(ByteBuilder().header(7, 1, 16, 19).u32(1).hex({0x02, 'h', 'p'}).words({F_MINUS_1, F_2, F_3}).bytes(),
                        Encoded(helper)));

  ParticleSystemNode system;
  system.id = 17;
  system.parentId = 4;
  system.name = "ps_fire";
  system.scale = 2.5f;
  system.fileName = "fire.ps";
  // parentId 4 + name 1+7 + scale 4 + fileName 1+7 = 24
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(8, 1, 17, 24)
                            .u32(4)
                            .hex({0x07, 'p', 's', '_', 'f', 'i', 'r', 'e'})
                            .u32(F_2_5)
                            .hex({0x07, 'f', 'i', 'r', 'e', '.', 'p', 's'})
                            .bytes(),
                        Encoded(system)));

  SpriteNode sprite;
  sprite.id = 18;
  sprite.parentId = 0;
  sprite.name = "spr";
  sprite.width = 2.0f;
  sprite.height = 0.5f;
  sprite.fileName = "s.tga";
  sprite.spriteType = 3;
  sprite.sourceBlend = 5;
  sprite.destBlend = 0x106;  // low byte 06
  sprite.color = 0x80FF4020;
  // parentId 4 + name 1+3 + 2 floats 8 + fileName 1+5 + 3 bytes + colour 4 = 29
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(9, 1, 18, 29)
                            .u32(0)
                            .hex({0x03, 's', 'p', 'r'})
                            .words({F_2, F_HALF})
                            .hex({0x05, 's', '.', 't', 'g', 'a'})
                            .hex({0x03, 0x05, 0x06})
                            .hex({0x20, 0x40, 0xFF, 0x80})
                            .bytes(),
                        Encoded(sprite)));
}

TEST(ObjectChunkTest, SoundSourceWritesTheInverseOfLooping) {
  SoundSourceNode sound;
  sound.id = 19;
  sound.parentId = 0;
  sound.name = "snd";
  sound.transform = DistinctTransform();
  sound.soundType = 2;
  sound.multiplier = 1.5f;
  sound.attenuationStart = 10.0f;
  sound.attenuationEnd = 100.0f;
  sound.fileName = "a.wav";
  auto expected = [](uint8_t notLooping) {
    // parentId 4 + name 1+3 + 12 + 16 + type 1 + 3 floats 12 + flag 1 + fileName 1+5 = 56
    return ByteBuilder()
        .header(10, 1, 19, 56)
        .u32(0)
        .hex({0x03, 's', 'n', 'd'})
        .words(DISTINCT_POSITION)
        .words(DISTINCT_ROTATION)
        .u8(0x02)
        .words({F_1_5, F_10, F_100})
        .u8(notLooping)
        .hex({0x05, 'a', '.', 'w', 'a', 'v'})
        .bytes();
  };
  sound.looping = 1;
  EXPECT_TRUE(SameBytes(expected(0x00), Encoded(sound)));
  sound.looping = 0;
  EXPECT_TRUE(SameBytes(expected(0x01), Encoded(sound)));
}

TEST(ObjectChunkTest, MicrophoneWritesItsMultiplierAsAWholeNumberByte) {
  MicrophoneNode microphone;
  microphone.id = 20;
  microphone.parentId = 0;
  microphone.name = "mic";
  microphone.transform = DistinctTransform();
  microphone.microphoneType = 1;
  microphone.range = 50.0f;
  auto expected = [](uint8_t multiplierByte) {
    // parentId 4 + name 1+3 + 12 + 16 + type 1 + multiplier 1 + range 4 = 42
    return ByteBuilder()
        .header(11, 1, 20, 42)
        .u32(0)
        .hex({0x03, 'm', 'i', 'c'})
        .words(DISTINCT_POSITION)
        .words(DISTINCT_ROTATION)
        .u8(0x01)
        .u8(multiplierByte)
        .u32(F_50)
        .bytes();
  };
  microphone.multiplier = 0.9f;
  EXPECT_TRUE(SameBytes(expected(0x00), Encoded(microphone)));
  microphone.multiplier = 2.5f;
  EXPECT_TRUE(SameBytes(expected(0x02), Encoded(microphone)));
  // Truncation toward zero: -1.5 becomes -1, whose low byte is FF.
  microphone.multiplier = -1.5f;
  EXPECT_TRUE(SameBytes(expected(0xFF), Encoded(microphone)));
  // 300.7 becomes 300 = 0x12C, whose low byte is 2C.
  microphone.multiplier = 300.7f;
  EXPECT_TRUE(SameBytes(expected(0x2C), Encoded(microphone)));
}

ColliderNode FilledCollider(uint32_t id, uint32_t colliderType, const std::string& name) {
  ColliderNode collider;
  collider.id = id;
  collider.parentId = 0;
  collider.colliderType = colliderType;
  collider.name = name;
  collider.boundingVolumeType = 0x102;  // low byte 02
  collider.boundsMin[0] = -1.0f, collider.boundsMin[1] = -2.0f, collider.boundsMin[2] = -1.0f;
  collider.boundsMax[0] = 1.0f, collider.boundsMax[1] = 2.0f, collider.boundsMax[2] = 1.0f;
  collider.transform = DistinctTransform();
  collider.geometryId = 4;
  collider.constructionStartId = 9;
  collider.width = 300;
  collider.height = 2;
  collider.baseLevel = 3;
  collider.flags = 0x81;
  collider.constructionStartName = "gr_start";
  return collider;
}

TEST(ObjectChunkTest, ColliderFieldsFollowItsType) {
  // Type 1: head 4+2+1+2, volume type 1, bounds 24, transform 40 = 74
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(12, 1, 21, 74)
                            .u32(0)
                            .hex({0x01, 0x00})
                            .hex({0x02, 'c', '1'})
                            .u8(0x02)
                            .words({F_MINUS_1, F_MINUS_2, F_MINUS_1, F_1, F_2, F_1})
                            .words(DISTINCT_POSITION)
                            .words(DISTINCT_ROTATION)
                            .words(DISTINCT_SCALE)
                            .bytes(),
                        Encoded(FilledCollider(21, 1, "c1"))));

  // Type 4: no volume type; head 9, bounds 24, transform 40, id 4, 2+2+1+1 = 83
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(12, 1, 22, 83)
                            .u32(0)
                            .hex({0x04, 0x00})
                            .hex({0x02, 'c', '4'})
                            .words({F_MINUS_1, F_MINUS_2, F_MINUS_1, F_1, F_2, F_1})
                            .words(DISTINCT_POSITION)
                            .words(DISTINCT_ROTATION)
                            .words(DISTINCT_SCALE)
                            .u32(9)
                            .hex({0x2C, 0x01, 0x02, 0x00, 0x03, 0x81})
                            .bytes(),
                        Encoded(FilledCollider(22, 4, "c4"))));

  // Type 101: head 4+2+1+4, volume type 1, geometry id 4 = 16
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(12, 1, 23, 16)
                            .u32(0)
                            .hex({0x65, 0x00})
                            .hex({0x04, 'c', '1', '0', '1'})
                            .u8(0x02)
                            .u32(4)
                            .bytes(),
                        Encoded(FilledCollider(23, 101, "c101"))));

  // Any other type ends after the name.
  EXPECT_TRUE(SameBytes(ByteBuilder().header(12, 1, 24, 9).u32(0).hex({0x07, 0x00}).hex({0x02, 'c', '7'}).bytes(),
                        Encoded(FilledCollider(24, 7, "c7"))));

  // The variant is chosen by all 32 bits: 0x10001 shows as 1 in the file yet
  // is not type 1, so nothing follows the name.
  EXPECT_TRUE(SameBytes(ByteBuilder().header(12, 1, 25, 9).u32(0).hex({0x01, 0x00}).hex({0x02, 'c', 'x'}).bytes(),
                        Encoded(FilledCollider(25, 0x10001, "cx"))));
}

TEST(ObjectChunkTest, AnimationSequencesCarryConstantsForClearBitsAndSamplesForSetOnes) {
  PRSAnimationGroup group;
  group.id = 25;
  group.parentId = 0;
  group.name = "anim_a";
  group.transform = DistinctTransform();

  // Position animated: rotation and scale written once from the group, then
  // three floats per sample.
  PRSSequence positionOnly;
  positionOnly.startTime = -40;
  positionOnly.endTime = 1000;
  positionOnly.sampleRate = 25.0f;
  positionOnly.flags = PRS_POSITION;
  PRSTransform a = PRSTransform::Identity();
  PRSTransform b = PRSTransform::Identity();
  b.position[0] = 1.0f, b.position[1] = 0.5f, b.position[2] = -1.0f;
  positionOnly.samples = {a, b};

  // Everything animated: no constants, ten floats per sample.
  PRSSequence all;
  all.startTime = 0;
  all.endTime = 40;
  all.sampleRate = 25.0f;
  all.flags = 0xF;
  all.samples = {DistinctTransform()};

  // Bit 1 kept, scale animated: position and rotation are the constants.
  PRSSequence scaleOnly;
  scaleOnly.startTime = 0;
  scaleOnly.endTime = 0;
  scaleOnly.sampleRate = 1.0f;
  scaleOnly.flags = 0x9;
  PRSTransform c;
  c.scale[0] = 3.0f, c.scale[1] = 3.0f, c.scale[2] = 3.0f;
  scaleOnly.samples = {c};

  group.sequences = {positionOnly, all, scaleOnly};

  // Sequence sizes: 14 + 16 + 12 + 4 + 2 x 12 = 70; 14 + 4 + 40 = 58;
  // 14 + 12 + 16 + 4 + 12 = 58. Payload: 4 + 1+6 + 2 + 70 + 58 + 58 = 199.
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(1005, 3, 25, 199)
                            .u32(0)
                            .hex({0x06, 'a', 'n', 'i', 'm', '_', 'a'})
                            .hex({0x03, 0x00})
                            // first sequence
                            .hex({0xD8, 0xFF, 0xFF, 0xFF, 0xE8, 0x03, 0x00, 0x00})
                            .u32(F_25)
                            .hex({0x02, 0x00})
                            .words(DISTINCT_ROTATION)
                            .words(DISTINCT_SCALE)
                            .u32(2)
                            .words({F_0, F_0, F_0})
                            .words({F_1, F_HALF, F_MINUS_1})
                            // second sequence
                            .hex({0x00, 0x00, 0x00, 0x00, 0x28, 0x00, 0x00, 0x00})
                            .u32(F_25)
                            .hex({0x0F, 0x00})
                            .u32(1)
                            .words(DISTINCT_POSITION)
                            .words(DISTINCT_ROTATION)
                            .words(DISTINCT_SCALE)
                            // third sequence
                            .hex({0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00})
                            .u32(F_1)
                            .hex({0x09, 0x00})
                            .words(DISTINCT_POSITION)
                            .words(DISTINCT_ROTATION)
                            .u32(1)
                            .words({F_3, F_3, F_3})
                            .bytes(),
                        Encoded(group)));

  PRSAnimationGroup still;
  still.id = 26;
  still.parentId = 25;
  still.name = "s";
  EXPECT_TRUE(SameBytes(ByteBuilder().header(1005, 3, 26, 8).u32(25).hex({0x01, 's', 0x00, 0x00}).bytes(), Encoded(still)));
}

TEST(ObjectChunkTest, LoaderAndSpring) {
  LoaderNode loader;
  loader.id = 26;
  loader.parentId = 0;
  loader.name = "ld";
  loader.transform = DistinctTransform();
  loader.fileName = "x.kvl";
  loader.mergeMode = 1;
  // parentId 4 + name 1+2 + transform 40 + fileName 1+5 + mode 1 = 54
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .header(1006, 1, 26, 54)
                            .u32(0)
                            .hex({0x02, 'l', 'd'})
                            .words(DISTINCT_POSITION)
                            .words(DISTINCT_ROTATION)
                            .words(DISTINCT_SCALE)
                            .hex({0x05, 'x', '.', 'k', 'v', 'l'})
                            .u8(0x01)
                            .bytes(),
                        Encoded(loader)));

  SpringNode spring;
  spring.id = 27;
  spring.parentId1 = 16;
  spring.parentId2 = 28;
  spring.springConstant = 2.0f;
  spring.dampingConstant = 0.5f;
  spring.length = 4.0f;
  spring.minLengthScale = 0.75f;
  spring.maxLengthScale = 1.5f;
  spring.parent2Name = "hp2";  // resolved into parentId2; the name itself is not written
  EXPECT_TRUE(SameBytes(
      ByteBuilder().header(1007, 2, 27, 28).words({16, 28}).words({F_2, F_HALF, F_4, F_3_4, F_1_5}).bytes(),
      Encoded(spring)));
}

TEST(ObjectChunkTest, AttributeTextIsWrittenWholeWithCountAndTerminator) {
  std::string text;
  for (int i = 0; i < 300; ++i) text += static_cast<char>('a' + i % 26);
  NodeAttributeNode attribute;
  attribute.id = 29;
  attribute.parentId = 4;
  attribute.data = text;
  // parentId 4 + count 4 + 300 + terminator 1 = 309 = 0x135; count 301 = 0x12D
  EXPECT_TRUE(SameBytes(ByteBuilder()
                            .hex({0xF1, 0x03, 0x01, 0x00, 0x1D, 0x00, 0x00, 0x00, 0x35, 0x01, 0x00, 0x00})
                            .u32(4)
                            .hex({0x2D, 0x01, 0x00, 0x00})
                            .text(text)
                            .u8(0x00)
                            .bytes(),
                        Encoded(attribute)));

  NodeAttributeNode empty;
  empty.id = 30;
  empty.parentId = 4;
  EXPECT_TRUE(SameBytes(ByteBuilder().header(1009, 1, 30, 9).u32(4).u32(1).u8(0x00).bytes(), Encoded(empty)));
}

TEST(ObjectChunkTest, KeyAnimationGroupsAndUnknownTypesGiveNoChunk) {
  PRSKeyAnimationGroup keys;
  keys.id = 31;
  keys.name = "anim_k";
  PRSKeySequence sequence;
  sequence.keys[0] = PRSTransform::Identity();
  keys.keySequences = {sequence};
  EXPECT_TRUE(EncodeNode(keys) == nullptr);

  GroupNode unknown;
  unknown.type = 21;
  EXPECT_TRUE(EncodeNode(unknown) == nullptr);
}

}  // namespace
}  // namespace kvl
