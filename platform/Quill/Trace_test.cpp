#include "Quill/Trace.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

// Counts how often it is formatted: a disabled trace must not format its arguments.
struct Costly {
  int* formatted;
};

}  // namespace

template <>
struct fmt::formatter<Costly> : fmt::formatter<int> {
  auto format(const Costly& c, fmt::format_context& ctx) const {
    return fmt::formatter<int>::format(++*c.formatted, ctx);
  }
};

namespace {

class TraceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Quill::traceSinkIs([this](std::string_view facility, int level, std::string_view text) {
      lines.push_back(std::string(facility) + "/" + std::to_string(level) + " " +
                      std::string(text));
    });
  }
  void TearDown() override {
    Quill::traceSinkIs({});
    Quill::traceSpecIs("");
  }
  std::vector<std::string> lines;
};

TEST_F(TraceTest, SpecSetsLevelsPerFacilityIncludingLaterHandles) {
  Quill::TraceHandle early("Early");
  Quill::traceSpecIs("Early/0-2,Late/7,Digits/19");
  Quill::TraceHandle late("Late");
  Quill::TraceHandle digits("Digits");
  EXPECT_TRUE(early.enabled(0) && early.enabled(2));
  EXPECT_FALSE(early.enabled(3));
  EXPECT_TRUE(late.enabled(7));
  EXPECT_FALSE(late.enabled(6));
  EXPECT_TRUE(digits.enabled(1) && digits.enabled(9));
  EXPECT_FALSE(digits.enabled(5));
}

TEST_F(TraceTest, WildcardAndLaterItemsOverride) {
  Quill::TraceHandle h("Any");
  Quill::traceSpecIs("*/*,Any/3");
  EXPECT_TRUE(h.enabled(3));
  EXPECT_FALSE(h.enabled(0));
}

TEST_F(TraceTest, MalformedSpecIsRejectedAndChangesNothing) {
  Quill::TraceHandle h("Keep");
  Quill::traceSpecIs("Keep/1");
  EXPECT_THROW(Quill::traceSpecIs("Keep/5-2"), std::invalid_argument);
  EXPECT_THROW(Quill::traceSpecIs("NoSlash"), std::invalid_argument);
  EXPECT_THROW(Quill::traceSpecIs("Keep/x"), std::invalid_argument);
  EXPECT_TRUE(h.enabled(1));
}

TEST_F(TraceTest, DisabledLevelsDoNotFormatTheirArguments) {
  Quill::TraceHandle h("Cost");
  Quill::traceSpecIs("Cost/2");
  int formatted = 0;
  QTRACE(h, 3, "value {}", Costly{&formatted});
  EXPECT_EQ(formatted, 0);
  QTRACE(h, 2, "value {}", Costly{&formatted});
  EXPECT_EQ(formatted, 1);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0], "Cost/2 value 1");
}

}  // namespace
