#include "JsonDocument.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <unordered_set>
#include <vector>

#include <fmt/format.h>

#include "Excerpt.h"
#include "State.h"

namespace StateSim {

namespace {

using namespace std::string_view_literals;

// "line L, column C" of the byte at `offset`, counting bytes from 1.
std::string lineAndColumn(std::string_view text, size_t offset) {
  offset = std::min(offset, text.size());
  size_t line = 1;
  size_t lineStart = 0;
  for (size_t i = 0; i < offset; ++i) {
    if (text[i] == '\n') {
      ++line;
      lineStart = i + 1;
    }
  }
  return fmt::format("line {}, column {}", line, offset - lineStart + 1);
}

struct Encoding {
  std::string_view bom;
  // Which of the first four bytes are NUL when the text begins with an ASCII character.
  bool nul[4];
  std::string_view name;
};

// JSON's other encodings. UTF-32 comes first: its little-endian mark begins with UTF-16's.
constexpr Encoding wideEncodings[] = {
    {"\x00\x00\xFE\xFF"sv, {true, true, true, false}, "UTF-32 big-endian"},
    {"\xFF\xFE\x00\x00"sv, {false, true, true, true}, "UTF-32 little-endian"},
    {"\xFE\xFF"sv, {true, false, true, false}, "UTF-16 big-endian"},
    {"\xFF\xFE"sv, {false, true, false, true}, "UTF-16 little-endian"},
};

// The name of the wide encoding `text` is in, by its byte-order mark or by where its first
// characters have NUL bytes, or empty.
std::string_view wideEncoding(std::string_view text) {
  for (const Encoding& e : wideEncodings) {
    bool nulPattern = text.size() >= 4;
    for (size_t i = 0; i < 4 && nulPattern; ++i) {
      nulPattern = (text[i] == '\0') == e.nul[i];
    }
    if (text.starts_with(e.bom) || nulPattern) {
      return e.name;
    }
  }
  return {};
}

// Refuses text that is not UTF-8 without a byte-order mark, or no text at all.
void checkEncoding(std::string_view text, const std::string& file) {
  const std::string start = lineAndColumn(text, 0);
  if (text.empty()) {
    throw StateFileError(file, start, "the file is empty; an empty state is {}");
  }
  if (std::string_view wide = wideEncoding(text); !wide.empty()) {
    throw StateFileError(file, start,
                         fmt::format("the file is {} text; a state file is UTF-8", wide));
  }
  if (text.starts_with("\xEF\xBB\xBF"sv)) {
    throw StateFileError(file, start,
                         "the file begins with a UTF-8 byte-order mark; a state file is UTF-8 "
                         "without one");
  }
  if (size_t nul = text.find('\0'); nul != std::string_view::npos) {
    throw StateFileError(file, lineAndColumn(text, nul), "a NUL byte; a state file is UTF-8 text");
  }
}

// The one pass over the text: builds the document (with nlohmann's own DOM builder), refuses a
// member an object already has, and, at a syntax error, names the JSON pointer of the value being
// read. (nlohmann's parser with a callback could check members too, but it scans each array once
// per element it adds: quadratic, seconds for a file of 100000 class maps.)
class Checker : public nlohmann::json_sax<Json> {
 public:
  Checker(std::string_view text, const std::string& file, Json& document)
      : text_(text), file_(file), dom_(document, false) {}

  bool null() override { return dom_.null() && valueDone(); }
  bool boolean(bool value) override { return dom_.boolean(value) && valueDone(); }
  bool number_integer(number_integer_t value) override {
    return dom_.number_integer(value) && valueDone();
  }
  bool number_unsigned(number_unsigned_t value) override {
    return dom_.number_unsigned(value) && valueDone();
  }
  bool number_float(number_float_t value, const string_t& text) override {
    return dom_.number_float(value, text) && valueDone();
  }
  bool string(string_t& value) override { return dom_.string(value) && valueDone(); }
  bool binary(binary_t& value) override { return dom_.binary(value) && valueDone(); }
  bool start_object(std::size_t size) override {
    levels_.push_back({.object = true});
    return dom_.start_object(size);
  }
  bool key(string_t& key) override;
  bool end_object() override { return dom_.end_object() && containerDone(); }
  bool start_array(std::size_t size) override {
    levels_.push_back({.object = false});
    return dom_.start_array(size);
  }
  bool end_array() override { return dom_.end_array() && containerDone(); }
  bool parse_error(std::size_t position, const std::string&,
                   const nlohmann::detail::exception& e) override;

 private:
  struct Level {
    bool object;
    bool inMember = false;  // objects: between a member's name and the end of its value
    std::string key;        // objects: the member being read
    size_t index = 0;       // arrays: the element being read
    std::unordered_set<std::string> keys;
  };

  // The JSON pointer of the value being read: "" at the top, "/classMaps/0/id" in a member.
  std::string pointer() const;
  bool valueDone();
  bool containerDone() {
    levels_.pop_back();
    return valueDone();
  }

  std::string_view text_;
  const std::string& file_;
  nlohmann::detail::json_sax_dom_parser<Json> dom_;
  std::vector<Level> levels_;
};

bool Checker::key(string_t& key) {
  Level& level = levels_.back();
  if (!level.keys.insert(key).second) {
    throw StateFileError(file_, pointer() + "/" + pointerToken(key),
                         fmt::format("member '{}' appears twice in this object", excerpt(key)));
  }
  level.key = key;
  level.inMember = true;
  return dom_.key(key);
}

bool Checker::valueDone() {
  if (!levels_.empty()) {
    Level& level = levels_.back();
    if (level.object) {
      level.inMember = false;
    } else {
      ++level.index;
    }
  }
  return true;
}

std::string Checker::pointer() const {
  std::string p;
  for (const Level& level : levels_) {
    if (!level.object) {
      p += fmt::format("/{}", level.index);
    } else if (level.inMember) {
      p += "/" + pointerToken(level.key);
    }
  }
  return p;
}

// nlohmann's message without its prefix, the token it quotes cut to its end, and where in the
// document the parser was.
bool Checker::parse_error(std::size_t position, const std::string&,
                          const nlohmann::detail::exception& e) {
  // "[json.exception.parse_error.101] parse error at line 1, column 2: syntax error while
  // parsing value - invalid literal; last read: '<token>'; expected ..."
  std::string message = e.what();
  size_t colon = message.find(": ");
  if (colon != std::string::npos) {
    message.erase(0, colon + 2);
  }
  constexpr std::string_view lastRead = "; last read: '";
  if (size_t begin = message.find(lastRead); begin != std::string::npos) {
    begin += lastRead.size();
    size_t end = message.rfind("'; expected ");
    if (end == std::string::npos || end < begin) {
      end = message.size() - 1;  // the closing quote
    }
    message.replace(begin, end - begin,
                    excerptEnd(std::string_view(message).substr(begin, end - begin)));
  }
  std::string at = pointer();
  // `position` counts the bytes read, so the offending byte is the one before.
  throw StateFileError(file_, lineAndColumn(text_, position == 0 ? 0 : position - 1),
                       at.empty() ? message : fmt::format("{} (at {})", message, shortPointer(at)));
}

}  // namespace

Json parseDocument(std::string_view text, const std::string& file) {
  checkEncoding(text, file);
  Json document;
  Checker checker(text, file, document);
  Json::sax_parse(text, &checker);
  return document;
}

}  // namespace StateSim
