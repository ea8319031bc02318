// What no single scene file shows: every cut of a valid document, binary
// garbage and nesting deep enough to exhaust a recursive parser are all
// refused with one line, build nothing, and never crash. The refusals of
// scenes that break one rule each are the case tests/data/cases/json-refusals.
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>

#include "sources/json/json_scene.h"

namespace kvl::sources {
namespace {

const std::string kScenes = std::string(KVL_TEST_DIR) + "/scenes/";

std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

bool IsOneLine(const std::string& text) { return text.find('\n') == std::string::npos && !text.empty(); }

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
