// The preview page's own encodings, which the browser tests reach only when
// a texture lies beside the page: base64 against the standard's test
// vectors, image types by file name, and text that must not end the page's
// script element.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/preview_page.h"

namespace kvl::cli {
namespace {

TEST(PreviewPage, Base64GivesTheStandardsTestVectors) {
  const std::pair<std::string, std::string> vectors[] = {{"", ""},         {"f", "Zg=="},         {"fo", "Zm8="},
                                                         {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="},
                                                         {"foobar", "Zm9vYmFy"}};
  for (const auto& [text, encoded] : vectors) {
    const std::vector<uint8_t> bytes(text.begin(), text.end());
    EXPECT_EQ(Base64(bytes), encoded) << text;
  }
}

TEST(PreviewPage, ImagesAreTypedByTheirLastEndingInAnyCase) {
  const std::pair<const char*, const char*> names[] = {
      {"wood.PNG", "image/png"}, {"sky.jpeg", "image/jpeg"}, {"a.b.Gif", "image/gif"}, {"tile.bmp", "image/bmp"},
      {"x.webp", "image/webp"},  {"wood.tga", ""},           {"png", ""},              {"wood.pcx", ""}};
  for (const auto& [name, type] : names) EXPECT_EQ(ImageMimeType(name), type) << name;
}

TEST(PreviewPage, AFileNameCannotEndTheScriptThatCarriesIt) {
  const std::vector<uint8_t> none;
  const std::string page = BuildPreviewPage({"a</script>b.kvl", none, {}});
  EXPECT_NE(page.find("a\\u003c/script\\u003eb.kvl"), std::string::npos);
  EXPECT_EQ(page.find('\0'), std::string::npos);
}

}  // namespace
}  // namespace kvl::cli
