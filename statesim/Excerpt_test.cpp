#include "Excerpt.h"

#include <gtest/gtest.h>

namespace {

using StateSim::excerpt;
using StateSim::excerptEnd;
using StateSim::pointerToken;
using StateSim::shortPointer;
using StateSim::shown;

const std::string tenMegabytes(10 << 20, 'a');

TEST(ExcerptTest, ShortTextIsQuotedWhole) {
  EXPECT_EQ(excerpt("VOICE"), "VOICE");
  EXPECT_EQ(excerpt(std::string(40, 'i')), std::string(40, 'i'));
  EXPECT_EQ(excerpt("caf\xC3\xA9"), "caf\xC3\xA9");
  EXPECT_EQ(shown(nlohmann::json("qosCli")), "\"qosCli\"");
  EXPECT_EQ(shown(nlohmann::json(-1)), "-1");
  EXPECT_EQ(shown(nlohmann::json::parse("[1, 2]")), "[1,2]");
}

TEST(ExcerptTest, LongTextIsCutToFortyBytesBetweenCharacters) {
  EXPECT_EQ(excerpt(tenMegabytes), std::string(40, 'a') + "...");
  EXPECT_EQ(excerpt(std::string(41, 'i')), std::string(40, 'i') + "...");
  // A two-byte character across the 40th byte is left out whole, not cut in two.
  EXPECT_EQ(excerpt(std::string(39, 'a') + "\xC3\xA9" + "b"), std::string(39, 'a') + "...");
  EXPECT_EQ(shown(nlohmann::json(tenMegabytes)), "\"" + std::string(40, 'a') + "...\"");
  EXPECT_EQ(shown(nlohmann::json(std::vector<int>(1000, 7))).size(), 43U);
}

TEST(ExcerptTest, ControlCharactersAreShownInHexOnOneLine) {
  EXPECT_EQ(excerpt(std::string("a\0b\n\x7f", 5)), "a\\x00b\\x0A\\x7F");
  EXPECT_EQ(shown(nlohmann::json(std::string("a\0b", 3))), "\"a\\x00b\"");
}

TEST(ExcerptTest, EndOfRawInputKeepsTheLastFortyBytesAndShowsNonAsciiInHex) {
  EXPECT_EQ(excerptEnd("\"cm-voice"), "\"cm-voice");
  EXPECT_EQ(excerptEnd("\"cm\xFF"), "\"cm\\xFF");
  EXPECT_EQ(excerptEnd("\"caf\xC3\xA9"), "\"caf\\xC3\\xA9");
  EXPECT_EQ(excerptEnd("\"" + tenMegabytes + "\xFF"), "..." + std::string(39, 'a') + "\\xFF");
}

TEST(ExcerptTest, PointerTokensAreEscapedAndCut) {
  EXPECT_EQ(pointerToken("a/b~c"), "a~1b~0c");
  EXPECT_EQ(pointerToken(std::string("a\0", 2)), "a\\x00");
  EXPECT_EQ(pointerToken(tenMegabytes), std::string(40, 'a') + "...");
  // Cut before escaping: no "~" is left without its digit.
  EXPECT_EQ(pointerToken(std::string(50, '~')), [] {
    std::string cut;
    for (int i = 0; i < 40; ++i) {
      cut += "~0";
    }
    return cut + "...";
  }());
}

TEST(ExcerptTest, DeepPointersKeepTheirFirstAndLastTokensWhole) {
  EXPECT_EQ(shortPointer("/classMaps/0/matches/2"), "/classMaps/0/matches/2");
  std::string deep = "/classMaps";
  for (int i = 0; i < 100000; ++i) {
    deep += "/" + std::to_string(i % 10);
  }
  std::string cut = shortPointer(deep);
  EXPECT_LE(cut.size(), StateSim::maxPointer);
  EXPECT_TRUE(cut.starts_with("/classMaps/0/1/2/")) << cut;
  EXPECT_TRUE(cut.ends_with("/7/8/9")) << cut;
  EXPECT_NE(cut.find("/.../"), std::string::npos) << cut;
  // A few long tokens: still bounded.
  std::string longTokens;
  for (int i = 0; i < 10; ++i) {
    longTokens += "/" + pointerToken(tenMegabytes);
  }
  EXPECT_LE(shortPointer(longTokens).size(), StateSim::maxPointer);
}

}  // namespace
