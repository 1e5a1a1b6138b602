// Compact strings: the same bytes back on both sides of the inline bound, through copies, moves
// and assignments between the two forms, and byte order with bytes above 0x7f and NULs.
#include "Mox/CompactString.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Mox::CompactString;

// Lengths on both sides of the inline bound, with NULs and high bytes inside.
std::vector<std::string> samples() {
  std::vector<std::string> out;
  for (size_t n : {0, 1, 14, 15, 16, 17, 64, 255}) {
    std::string s;
    for (size_t i = 0; i < n; ++i) {
      s.push_back(static_cast<char>(i * 37 % 256));
    }
    out.push_back(s);
  }
  return out;
}

TEST(CompactStringTest, KeepsItsBytesThroughCopiesMovesAndAssignments) {
  const auto all = samples();
  for (const auto& a : all) {
    const CompactString made(a);
    EXPECT_EQ(made.view(), a);
    EXPECT_EQ(made.size(), a.size());
    EXPECT_EQ(made.empty(), a.empty());

    CompactString copied(made);
    EXPECT_EQ(copied.view(), a);
    CompactString moved(std::move(copied));
    EXPECT_EQ(moved.view(), a);
    EXPECT_TRUE(copied.empty());  // NOLINT(bugprone-use-after-move): a moved-from string is empty

    for (const auto& b : all) {
      // Every pair of forms, inline over heap and heap over inline.
      CompactString target(b);
      target = made;
      EXPECT_EQ(target.view(), a);
      CompactString source(b);
      target = std::move(source);
      EXPECT_EQ(target.view(), b);
    }
    CompactString self(a);
    const CompactString& alias = self;
    self = alias;
    EXPECT_EQ(self.view(), a);
  }
}

TEST(CompactStringTest, OrdersByUnsignedBytesAcrossBothForms) {
  const auto all = samples();
  for (const auto& a : all) {
    for (const auto& b : all) {
      const auto expected = std::string_view(a).compare(b) <=> 0;
      EXPECT_EQ(CompactString(a) <=> CompactString(b), expected);
      EXPECT_EQ(CompactString(a) == CompactString(b), a == b);
    }
  }
  EXPECT_LT(CompactString("z"), CompactString("\xc3\xa9"));
  EXPECT_LT(CompactString(std::string_view("a\0", 2)), CompactString("a\x01"));
  EXPECT_LT(CompactString("a"), CompactString("aaaaaaaaaaaaaaaaaaaa"));
}

}  // namespace
