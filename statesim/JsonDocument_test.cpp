#include "JsonDocument.h"

#include <gtest/gtest.h>

#include "State.h"

namespace {

using namespace std::string_literals;

// The error a text raises, as "<where>: <message>" without the file name.
std::string ErrorOf(std::string_view text) {
  try {
    StateSim::parseDocument(text, "test.json");
  } catch (const StateSim::StateFileError& e) {
    EXPECT_EQ(e.file(), "test.json");
    return std::string(e.what()).substr(std::string("test.json: ").size());
  }
  ADD_FAILURE() << "no error for " << text;
  return {};
}

// `ascii` in UTF-16 or UTF-32 of either byte order, with a byte-order mark if `bom`.
std::string Widened(std::string_view ascii, size_t width, bool bigEndian, bool bom) {
  std::string wide;
  auto put = [&](char32_t c) {
    for (size_t i = 0; i < width; ++i) {
      size_t shift = 8 * (bigEndian ? width - 1 - i : i);
      wide += static_cast<char>((c >> shift) & 0xFF);
    }
  };
  if (bom) {
    put(U'\uFEFF');
  }
  for (char c : ascii) {
    put(static_cast<char32_t>(c));
  }
  return wide;
}

TEST(JsonDocumentTest, ParsesAStateFileText) {
  auto document =
      StateSim::parseDocument(R"({"classMaps": [{"id": "a", "name": "caf\u00e9"}]})", "test.json");
  EXPECT_EQ(document["classMaps"][0]["name"], "caf\xC3\xA9");
}

TEST(JsonDocumentTest, TextThatIsNotUtf8IsNamed) {
  for (bool bom : {true, false}) {
    SCOPED_TRACE(bom ? "with a byte-order mark" : "without a byte-order mark");
    EXPECT_EQ(ErrorOf(Widened("{}", 2, false, bom)),
              "line 1, column 1: the file is UTF-16 little-endian text; a state file is UTF-8");
    EXPECT_EQ(ErrorOf(Widened("{}", 2, true, bom)),
              "line 1, column 1: the file is UTF-16 big-endian text; a state file is UTF-8");
    EXPECT_EQ(ErrorOf(Widened("{}", 4, false, bom)),
              "line 1, column 1: the file is UTF-32 little-endian text; a state file is UTF-8");
    EXPECT_EQ(ErrorOf(Widened("{}", 4, true, bom)),
              "line 1, column 1: the file is UTF-32 big-endian text; a state file is UTF-8");
  }
  // nlohmann skips a UTF-8 byte-order mark; a state file has none.
  EXPECT_EQ(ErrorOf("\xEF\xBB\xBF{}"),
            "line 1, column 1: the file begins with a UTF-8 byte-order mark; a state file is "
            "UTF-8 without one");
  EXPECT_EQ(ErrorOf("{\n  \"classMaps\": []\0}"s),
            "line 2, column 18: a NUL byte; a state file is UTF-8 text");
  EXPECT_EQ(ErrorOf(""), "line 1, column 1: the file is empty; an empty state is {}");
}

TEST(JsonDocumentTest, MemberGivenTwiceIsRefusedAtItsPointer) {
  EXPECT_EQ(ErrorOf(R"({"id": "a", "id": "b"})"), "/id: member 'id' appears twice in this object");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [], "hardware": {}, "classMaps": []})"),
            "/classMaps: member 'classMaps' appears twice in this object");
  EXPECT_EQ(ErrorOf(R"({"classMaps": [{"id": "a"}, {"id": "a", "type": "qos", "id": "b"}]})"),
            "/classMaps/1/id: member 'id' appears twice in this object");
  // Elements of every kind move the array's index on.
  EXPECT_EQ(ErrorOf(R"({"l": [1, [2, [3]], {"k": {}}, "s", {"k": 1, "k": 2}]})"),
            "/l/4/k: member 'k' appears twice in this object");
  EXPECT_EQ(ErrorOf(R"({"a/b": {"x~": 1, "x~": 2}})"),
            "/a~1b/x~0: member 'x~' appears twice in this object");
  // The same name in different objects is no duplicate.
  EXPECT_NO_THROW(
      StateSim::parseDocument(R"({"a": {"id": 1}, "b": [{"id": 2}, {"id": 3}]})", "test.json"));
}

TEST(JsonDocumentTest, SyntaxErrorsNameLineColumnAndTheValueBeingRead) {
  EXPECT_EQ(ErrorOf("{\n  \"classMaps\": [{\"id\": \"a\", }]\n}"),
            "line 2, column 29: syntax error while parsing object key - unexpected '}'; expected "
            "string literal (at /classMaps/0)");
  EXPECT_EQ(ErrorOf("{\"classMaps\": [{\"id\": tru}]}"),
            "line 1, column 26: syntax error while parsing value - invalid literal; last read: "
            "'\"id\": tru}' (at /classMaps/0/id)");
  EXPECT_EQ(ErrorOf("[1, 2"),
            "line 1, column 6: syntax error while parsing array - unexpected end of input; "
            "expected ']' (at /2)");
}

TEST(JsonDocumentTest, InvalidUtf8InAStringNamesTheMemberAndShowsTheByte) {
  EXPECT_EQ(ErrorOf("{\"classMaps\": [{\"id\": \"cm\xFF-voice\"}]}"),
            "line 1, column 26: syntax error while parsing value - invalid string: ill-formed "
            "UTF-8 byte; last read: '\"cm\\xFF' (at /classMaps/0/id)");
  // In a member name, the pointer is the object's.
  EXPECT_EQ(ErrorOf("{\"classMaps\": [{\"i\xC3(\": 1}]}"),
            "line 1, column 20: syntax error while parsing object key - invalid string: "
            "ill-formed UTF-8 byte; last read: '\"i\\xC3('; expected string literal "
            "(at /classMaps/0)");
}

TEST(JsonDocumentTest, MessagesQuoteAtMostFortyBytesOfAMegabyteToken) {
  const std::string huge(1 << 20, 'a');
  std::string unterminated = ErrorOf("{\"" + huge);
  EXPECT_LT(unterminated.size(), 200U) << unterminated.substr(0, 200);
  EXPECT_NE(unterminated.find("last read: '..." + std::string(40, 'a') + "'"), std::string::npos)
      << unterminated;
  std::string badByte = ErrorOf("{\"classMaps\": [{\"id\": \"" + huge + "\xFF\"}]}");
  EXPECT_LT(badByte.size(), 200U) << badByte.substr(0, 200);
  EXPECT_NE(badByte.find("'..." + std::string(39, 'a') + "\\xFF' (at /classMaps/0/id)"),
            std::string::npos)
      << badByte;
  std::string twice = ErrorOf("{\"" + huge + "\": 1, \"" + huge + "\": 2}");
  EXPECT_EQ(twice, "/" + std::string(40, 'a') + "...: member '" + std::string(40, 'a') +
                       "...' appears twice in this object");
}

TEST(JsonDocumentTest, ValuesNestedVeryDeeplyMakeOneShortLine) {
  const std::string open(100000, '[');
  // Unterminated, a bad token at the bottom, a member given twice at the bottom.
  for (const std::string& text : {open, open + "x", "{\"a\":" + open + "{\"b\": 1, \"b\": 2}"}) {
    std::string message = ErrorOf(text);
    EXPECT_LT(message.size(), 400U) << message.substr(0, 400);
  }
}

}  // namespace
