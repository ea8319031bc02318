// The key-value text grammar, for both of its users: the settings file
// ("=", reads leave the lines alone) and node property text (":", a read
// consumes the line it hit). Expected values follow from the grammar alone.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "settings/config_store.h"

namespace kvl {
namespace {

using Lines = std::map<int, std::string>;

ConfigStore SettingsStore(const char* text) {
  ConfigStore store("=", false);
  store.Parse(text);
  return store;
}

ConfigStore AttributeStore(const char* text) {
  ConfigStore store(":", true);
  store.Parse(text);
  return store;
}

std::string Get(ConfigStore& store, const std::string& key) {
  const char* value = store.GetString(key, nullptr);
  return value ? value : "<absent>";
}

TEST(ConfigStore, KeysFoldValuesKeepCase) {
  ConfigStore store = SettingsStore("A = Five\nMixedKey = MixedValue\n");
  EXPECT_EQ(Get(store, "a"), "Five");
  EXPECT_EQ(Get(store, "A"), "Five");  // the asked key is folded as well
  EXPECT_EQ(Get(store, "mixedkey"), "MixedValue");
  EXPECT_EQ(Get(store, "MIXEDKEY"), "MixedValue");
  // The line itself keeps its own case.
  EXPECT_EQ(store.RemainingLines(), (Lines{{0, "A = Five"}, {1, "MixedKey = MixedValue"}}));
}

TEST(ConfigStore, KeyWithoutValueReadsAsOne) {
  ConfigStore store = SettingsStore("flag\nother =\n= 5\n");
  EXPECT_EQ(Get(store, "flag"), "1");
  EXPECT_EQ(store.GetInt("flag", 7), 1);
  // A trailing separator makes no token.
  EXPECT_EQ(Get(store, "other"), "1");
  // A leading separator is dropped: the only token is the key "5".
  EXPECT_EQ(Get(store, "5"), "1");
}

TEST(ConfigStore, SeveralPairsOnOneLine) {
  ConfigStore store = SettingsStore("a = 1 = b = 2\nc = 3 = d\n");
  EXPECT_EQ(Get(store, "a"), "1");
  EXPECT_EQ(Get(store, "b"), "2");
  EXPECT_EQ(Get(store, "c"), "3");
  EXPECT_EQ(Get(store, "d"), "1");
  EXPECT_EQ(store.RemainingLines().size(), 2u);
}

TEST(ConfigStore, NeighbouringSeparatorsAndEmptyValues) {
  ConfigStore store = SettingsStore("a == 5\nb =   = c\n");
  EXPECT_EQ(Get(store, "a"), "5");
  // The blanks between two separators are a token that trims to nothing.
  EXPECT_EQ(Get(store, "b"), "");
  EXPECT_EQ(store.GetInt("b", 9), 0);
  EXPECT_EQ(Get(store, "c"), "1");
}

TEST(ConfigStore, SeparatorAloneIsADataLineWithoutPairs) {
  ConfigStore store = SettingsStore("a = 1\n=\nb = 2\n");
  EXPECT_EQ(store.RemainingLines(), (Lines{{0, "a = 1"}, {1, "="}, {2, "b = 2"}}));
  EXPECT_EQ(Get(store, "a"), "1");
  EXPECT_EQ(Get(store, "b"), "2");
  EXPECT_EQ(Get(store, ""), "<absent>");
}

TEST(ConfigStore, TrimmingKeepsTabs) {
  ConfigStore store = SettingsStore("a = b\t\n  c = d  \n\te = f\n");
  EXPECT_EQ(Get(store, "a"), "b\t");
  EXPECT_EQ(Get(store, "c"), "d");
  // The leading tab stays part of the key.
  EXPECT_EQ(Get(store, "e"), "<absent>");
  EXPECT_EQ(Get(store, "\te"), "f");
  EXPECT_EQ(store.RemainingLines(), (Lines{{0, "a = b\t"}, {1, "c = d"}, {2, "\te = f"}}));

  EXPECT_EQ(TrimConfigText(" \r\n\tx y\t \r\n "), "\tx y\t");
  EXPECT_EQ(TrimConfigText(" \r\n"), "");
}

TEST(ConfigStore, CrLfReadsLikeLf) {
  ConfigStore crlf = SettingsStore("a = 1\r\n\r\nB = Two\r\n");
  ConfigStore lf = SettingsStore("a = 1\n\nB = Two\n");
  EXPECT_EQ(Get(crlf, "a"), "1");
  EXPECT_EQ(Get(crlf, "b"), "Two");
  EXPECT_EQ(crlf.RemainingLines(), lf.RemainingLines());
  EXPECT_EQ(crlf.RemainingLines(), (Lines{{0, "a = 1"}, {1, "B = Two"}}));
}

TEST(ConfigStore, CommentsOnlyAtTheStartOfATrimmedLine) {
  ConfigStore store = SettingsStore("# a = 1\n   # b = 2\n\t# c = 3\nd = 4 # note\n");
  EXPECT_EQ(Get(store, "a"), "<absent>");
  EXPECT_EQ(Get(store, "# a"), "<absent>");
  EXPECT_EQ(Get(store, "b"), "<absent>");
  // A tab ahead of the "#" makes a data line; its first token is the key.
  EXPECT_EQ(Get(store, "\t# c"), "3");
  EXPECT_EQ(Get(store, "d"), "4 # note");
  EXPECT_EQ(store.GetInt("d", 0), 4);
  // Comment lines take no line number.
  EXPECT_EQ(store.RemainingLines(), (Lines{{0, "\t# c = 3"}, {1, "d = 4 # note"}}));
}

TEST(ConfigStore, FirstOccurrenceWins) {
  ConfigStore store = SettingsStore("a = 1\nA = 2\n");
  EXPECT_EQ(Get(store, "a"), "1");
  EXPECT_EQ(store.RemainingLines(), (Lines{{0, "a = 1"}, {1, "A = 2"}}));
}

TEST(ConfigStore, DefaultsAndConversions) {
  ConfigStore store = SettingsStore("n = 42abc\nf = 2,5\nw = word\nneg = -7\ne = 1.5e2\n");
  const char* fallback = "fallback";
  EXPECT_EQ(store.GetString("missing", fallback), fallback);  // handed back as it came
  EXPECT_EQ(store.GetString("missing", nullptr), nullptr);
  EXPECT_EQ(store.GetInt("missing", -3), -3);
  EXPECT_EQ(store.GetFloat("missing", 0.25), 0.25);
  EXPECT_EQ(store.GetInt("n", 0), 42);
  EXPECT_EQ(store.GetFloat("f", 0.0), 2.0);
  EXPECT_EQ(store.GetInt("w", 5), 0);
  EXPECT_EQ(store.GetFloat("w", 5.0), 0.0);
  EXPECT_EQ(store.GetInt("neg", 0), -7);
  EXPECT_EQ(store.GetFloat("e", 0.0), 150.0);
  // Reads through the settings store consume nothing.
  EXPECT_EQ(store.RemainingLines().size(), 5u);
}

TEST(ConfigStore, EmptyOrCommentOnlyTextHoldsNothing) {
  for (const char* text : {"", "\n\n", "# one\n#two\r\n   \n  # three"}) {
    SCOPED_TRACE(text);
    ConfigStore store = SettingsStore(text);
    EXPECT_TRUE(store.RemainingLines().empty());
    EXPECT_EQ(store.GetString("one", nullptr), nullptr);
    EXPECT_EQ(store.GetString("#two", nullptr), nullptr);
    EXPECT_EQ(store.GetInt("three", 11), 11);
  }
}

TEST(ConfigStore, AttributeReadConsumesItsLine) {
  ConfigStore store = AttributeStore("fn: c:\\maps\\a.tga\nkeep: me\n");
  EXPECT_EQ(Get(store, "fn"), "c");
  EXPECT_EQ(store.RemainingLines(), (Lines{{1, "keep: me"}}));
  // The whole line went; its other key still reads.
  EXPECT_EQ(Get(store, "\\maps\\a.tga"), "1");
  EXPECT_EQ(store.RemainingLines(), (Lines{{1, "keep: me"}}));
}

TEST(ConfigStore, RemainingLinesAfterReads) {
  ConfigStore store = AttributeStore("x: 1\n\n# note\n  y: 2  \nz:\n");
  EXPECT_EQ(store.RemainingLines(), (Lines{{0, "x: 1"}, {1, "y: 2"}, {2, "z:"}}));
  // A missing key consumes nothing.
  EXPECT_EQ(store.GetInt("w", -1), -1);
  EXPECT_EQ(store.RemainingLines().size(), 3u);
  EXPECT_EQ(store.GetInt("y", 0), 2);
  EXPECT_EQ(store.RemainingLines(), (Lines{{0, "x: 1"}, {2, "z:"}}));
  // Reading the same key again is harmless.
  EXPECT_EQ(store.GetInt("Y", 0), 2);
  EXPECT_EQ(store.RemainingLines(), (Lines{{0, "x: 1"}, {2, "z:"}}));
  // A float read consumes as well.
  EXPECT_EQ(store.GetFloat("z", 0.0), 1.0);
  EXPECT_EQ(store.RemainingLines(), (Lines{{0, "x: 1"}}));
}

TEST(ConfigStore, RepeatedAttributeKeepsItsSecondLine) {
  ConfigStore store = AttributeStore("x: 1\nx: 2\n");
  EXPECT_EQ(Get(store, "x"), "1");
  EXPECT_EQ(store.RemainingLines(), (Lines{{1, "x: 2"}}));
  EXPECT_EQ(Get(store, "x"), "1");
  EXPECT_EQ(store.RemainingLines(), (Lines{{1, "x: 2"}}));
}

TEST(ConfigStore, TwoAttributePairsShareALine) {
  ConfigStore store = AttributeStore("x: 1 : y: 2\nother\n");
  EXPECT_EQ(Get(store, "y"), "2");
  EXPECT_EQ(store.RemainingLines(), (Lines{{1, "other"}}));
  EXPECT_EQ(Get(store, "x"), "1");
  EXPECT_EQ(store.RemainingLines(), (Lines{{1, "other"}}));
}

}  // namespace
}  // namespace kvl
