// Documents that break the format are refused with one line that names the
// JSON path of the offending value, build nothing, and never crash.
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>

#include "sources/json_scene.h"

namespace kvl::sources {
namespace {

const std::string kScenes = std::string(KVL_TEST_DIR) + "/scenes/";

struct BadScene {
  const char* file;      // under tests/scenes/invalid
  const char* expected;  // the start of the message: the path and the problem
};

const BadScene kBadScenes[] = {
    {"not-json", "document: not valid JSON: parse error at line 1, column 2"},
    {"truncated", "document: not valid JSON: parse error at line 1, column 61"},
    {"empty", "document: not valid JSON:"},
    {"not-object", "document: expected an object, found an array"},
    {"wrong-format", "format: is \"kvl-scen\", expected \"kvl-scene\""},
    {"missing-format", "format: missing"},
    {"wrong-version", "version: is 2, this program reads version 1"},
    {"float-version", "version: expected an integer, found the number 1.0"},
    {"unknown-key", "nodes[0].children[0].nmae: unknown key"},
    {"wrong-type", "nodes[0].hidden: expected true or false, found a string"},
    {"vertex-out-of-range", "nodes[0].object.faces[1].v[1]: index 3 out of range (3 vertices)"},
    {"duplicate-handle", "nodes[1].children[0].handle: handle 5 is already used at nodes[0].handle"},
    {"handle-zero", "nodes[0].handle: 0 is out of range (1 to 4294967295)"},
    {"handle-too-large", "nodes[0].handle: 4294967296 is out of range (1 to 4294967295)"},
    {"channel-face-count", "nodes[0].object.channels[\"1\"].faces: 1 faces, but the mesh has 2"},
    {"frame-vertex-count", "nodes[0].object.frames[1].vertices: 2 vertices, but the mesh has 3"},
    {"keys-not-ascending", "nodes[0].keys[2].tick: keys not ascending: tick 160 is not after"},
    {"unknown-material", "nodes[0].material: no material named \"Wood\""},
    {"multi-in-multi", "materials[\"outer\"].subMaterials[1]: \"inner\" is a multi-material"},
    {"ticks-per-frame-zero", "ticksPerFrame: 0 is out of range (1 to 2147483647)"},
    {"range-reversed", "animationRange: start 3200 is after end 0"},
    {"duplicate-key", "nodes[0].name: key given twice in one object"},
};

std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

bool IsOneLine(const std::string& text) { return text.find('\n') == std::string::npos && !text.empty(); }

TEST(JsonRefusal, EveryBadSceneIsRefusedWithItsPath) {
  for (const BadScene& bad : kBadScenes) {
    SCOPED_TRACE(bad.file);
    const SceneLoadResult result = LoadJsonSceneFile(kScenes + "invalid/" + bad.file + ".json");
    EXPECT_EQ(result.scene, nullptr);
    EXPECT_EQ(result.error.rfind(bad.expected, 0), 0u) << result.error;
    EXPECT_TRUE(IsOneLine(result.error)) << result.error;
  }
}

TEST(JsonRefusal, MoreRulesOfTheFormat) {
  const std::string head = R"({"format": "kvl-scene", "version": 1, )";
  const std::pair<std::string, std::string> cases[] = {
      {R"("nodes": [{"keys": []}])", "nodes[0].keys: needs at least one key"},
      {R"("nodes": [{"keys": [{"tick": 5}, {"tick": 5}]}])", "nodes[0].keys[1].tick: keys not ascending"},
      {R"("nodes": [{"transform": {"rotation": [0, 0, 0, 0]}}])", "nodes[0].transform.rotation: a rotation of length zero"},
      {R"("nodes": [{"transform": {"matrix": [[1,0,0],[0,1,0],[0,0,1]]}}])", "nodes[0].transform.matrix: expected 4 elements, found 3"},
      {R"("nodes": [{"transform": {"matrix": [[1,0,0],[0,1,0],[0,0,1],[0,0,0]], "scale": [1,1,1]}}])", "nodes[0].transform.scale: unknown key"},
      {R"("nodes": [{"transform": {"position": [1, 2, "3"]}}])", "nodes[0].transform.position[2]: expected a number, found a string"},
      {R"("nodes": [{"transform": {"position": [1e39, 0, 0]}}])", "nodes[0].transform.position[0]: 1e+39 is out of range of a 32-bit float"},
      {R"("nodes": [{"object": {"type": "sphere"}}])", "nodes[0].object.type: unknown object type \"sphere\""},
      {R"("nodes": [{"object": {"vertices": []}}])", "nodes[0].object: missing \"type\""},
      {R"("nodes": [{"object": {"type": "camera", "vertices": []}}])", "nodes[0].object.vertices: unknown key"},
      {R"("nodes": [{"object": {"type": "light", "fov": 1}}])", "nodes[0].object.fov: unknown key"},
      {R"("nodes": [{"object": {"type": "other"}}])", "nodes[0].object: missing \"superClassId\""},
      {R"("nodes": [{"object": {"type": "other", "superClassId": 32}}])", "nodes[0].object.superClassId: 0x20 is the super class of type \"camera\""},
      {R"("nodes": [{"object": {"type": "mesh", "vertices": [[0,0,0]], "faces": [{"v": [0, 0, -1]}]}}])", "nodes[0].object.faces[0].v[2]: index -1 out of range (1 vertices)"},
      {R"("nodes": [{"object": {"type": "mesh", "vertices": [[0,0,0]], "faces": [{"v": [0, 0]}]}}])", "nodes[0].object.faces[0].v: expected 3 elements, found 2"},
      {R"("nodes": [{"object": {"type": "mesh", "vertices": [[0,0,0]], "faces": [{"v": [0,0,0], "material": 65536}]}}])", "nodes[0].object.faces[0].material: 65536 is out of range (0 to 65535)"},
      {R"("nodes": [{"object": {"type": "mesh", "vertices": [[0,0,0]], "faces": [{"v": [0,0,0], "smoothing": -1}]}}])", "nodes[0].object.faces[0].smoothing: -1 is out of range"},
      {R"("nodes": [{"object": {"type": "mesh", "vertices": [[0,0,0]], "faces": [{"v": [0,0,0]}], "channels": {"0": {"vertices": [[1,1,1]], "faces": [[0,0,1]]}}}}])", "nodes[0].object.channels[\"0\"].faces[0][2]: index 1 out of range (1 channel vertices)"},
      {R"("nodes": [{"object": {"type": "mesh", "channels": {"01": {}}}}])", "nodes[0].object.channels[\"01\"]: key must be a whole number (-2 to 99)"},
      {R"("nodes": [{"object": {"type": "mesh", "channels": {"-3": {}}}}])", "nodes[0].object.channels[\"-3\"]: -3 is out of range (-2 to 99)"},
      {R"("nodes": [{"object": {"type": "mesh", "frames": [{"tick": 10, "vertices": []}, {"tick": 10, "vertices": []}]}}])", "nodes[0].object.frames[1].tick: frames not ascending"},
      {R"("nodes": [{"object": {"type": "mesh", "renderMesh": 0}}])", "nodes[0].object.renderMesh: expected true or false, found the number 0"},
      {R"("materials": {"m": {"type": "standard", "maps": {"12": {"file": "a.bmp"}}}})", "materials[\"m\"].maps[\"12\"]: 12 is out of range (0 to 11)"},
      {R"("materials": {"m": {"type": "standard", "maps": {"1": {"state": 2}}}})", "materials[\"m\"].maps[\"1\"]: missing \"file\""},
      {R"("materials": {"m": {"type": "standard", "diffuse": [1, 1]}})", "materials[\"m\"].diffuse: expected 3 elements, found 2"},
      {R"("materials": {"m": {"type": "standard", "glossy": 1}})", "materials[\"m\"].glossy: unknown key"},
      {R"("materials": {"m": {"type": "phong"}})", "materials[\"m\"].type: unknown material type \"phong\""},
      {R"("materials": {"m": {"type": "multi", "subMaterials": ["nope"]}})", "materials[\"m\"].subMaterials[0]: no material named \"nope\""},
      {R"("materials": {"m": {"type": "multi", "subMaterials": ["m"]}})", "materials[\"m\"].subMaterials[0]: \"m\" is a multi-material"},
      {R"("materials": [])", "materials: expected an object, found an array"},
      {R"("nodes": {})", "nodes: expected an array, found an object"},
      {R"("nodes": [{"children": [{"name": 5}]}])", "nodes[0].children[0].name: expected a string, found the number 5"},
      {R"("nodes": [{"handle": 1.5}])", "nodes[0].handle: expected an integer, found the number 1.5"},
      {R"("animationRange": [0])", "animationRange: expected 2 elements, found 1"},
      {R"("animationRange": [0, 2147483648])", "animationRange[1]: 2147483648 is out of range"},
      {R"("nodes": [], "weird key": 1)", "[\"weird key\"]: unknown key"},
      {R"("nodes": [{"name": "a\u0000b", "userProperties": "x", "userProperties": "y"}])", "nodes[0].userProperties: key given twice"},
  };
  for (const auto& [rest, expected] : cases) {
    SCOPED_TRACE(rest);
    const SceneLoadResult result = LoadJsonScene(head + rest + "}");
    EXPECT_EQ(result.scene, nullptr);
    EXPECT_EQ(result.error.rfind(expected, 0), 0u) << result.error;
    EXPECT_TRUE(IsOneLine(result.error)) << result.error;
  }
}

TEST(JsonRefusal, EveryPrefixOfAValidSceneIsHandled) {
  const std::string text = ReadBytes(kScenes + "hierarchy.json");
  ASSERT_GT(text.size(), 500u);
  ASSERT_NE(LoadJsonScene(text).scene, nullptr);
  // Only the whole text, or the whole text less trailing white space, is
  // complete; every shorter prefix is refused with a message.
  size_t complete = text.size();
  while (complete > 0 && std::isspace(static_cast<unsigned char>(text[complete - 1]))) --complete;
  for (size_t length = 0; length < complete; ++length) {
    const SceneLoadResult result = LoadJsonScene(std::string_view(text).substr(0, length));
    ASSERT_EQ(result.scene, nullptr) << "prefix of " << length << " bytes";
    ASSERT_EQ(result.error.rfind("document: not valid JSON: ", 0), 0u) << length << ": " << result.error;
  }
}

TEST(JsonRefusal, BinaryGarbageAndDeepNestingAreRefused) {
  // A fixed pseudo-random sequence of bytes, and the same bytes behind a
  // valid beginning.
  uint32_t state = 12345;
  std::string garbage;
  for (int i = 0; i < 4096; ++i) {
    state = state * 1103515245u + 12345u;
    garbage.push_back(static_cast<char>(state >> 24));
  }
  for (const std::string& text : {garbage, std::string(R"({"format": "kvl-scene", "name": ")") + garbage,
                                  std::string("\xEF\xBB\xBF") + garbage, std::string("\0\0\0", 3)}) {
    const SceneLoadResult result = LoadJsonScene(text);
    EXPECT_EQ(result.scene, nullptr);
    EXPECT_EQ(result.error.rfind("document: not valid JSON: ", 0), 0u) << result.error;
    EXPECT_TRUE(IsOneLine(result.error));
    for (unsigned char ch : result.error) EXPECT_TRUE(ch >= 0x20 && ch < 0x7F) << result.error;
  }

  const std::string deepArrays(200000, '[');
  const SceneLoadResult arrays = LoadJsonScene(deepArrays);
  EXPECT_EQ(arrays.scene, nullptr);
  EXPECT_NE(arrays.error.find("nested deeper than 1000 levels"), std::string::npos) << arrays.error.substr(0, 200);

  std::string deepNodes = R"({"format": "kvl-scene", "version": 1, "nodes": [)";
  for (int i = 0; i < 600; ++i) deepNodes += R"({"children": [)";
  const SceneLoadResult nodes = LoadJsonScene(deepNodes);
  EXPECT_EQ(nodes.scene, nullptr);
  EXPECT_NE(nodes.error.find("nested deeper than 1000 levels"), std::string::npos) << nodes.error.substr(0, 200);
}

}  // namespace
}  // namespace kvl::sources
