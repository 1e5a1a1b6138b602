#include "Excerpt.h"

#include <fmt/format.h>

namespace StateSim {

namespace {

bool isContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// `text` with control characters, and with `asciiOnly` every byte beyond ASCII, as \xNN.
std::string printable(std::string_view text, bool asciiOnly) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F || (asciiOnly && byte >= 0x80)) {
      out += fmt::format("\\x{:02X}", byte);
    } else {
      out += c;
    }
  }
  return out;
}

// The first maxExcerpt bytes of `text`, not cutting a UTF-8 sequence in two.
std::string_view head(std::string_view text) {
  if (text.size() <= maxExcerpt) {
    return text;
  }
  size_t end = maxExcerpt;
  while (end > 0 && isContinuation(text[end])) {
    --end;
  }
  return text.substr(0, end);
}

}  // namespace

std::string excerpt(std::string_view text) {
  std::string_view cut = head(text);
  return printable(cut, false) + (cut.size() < text.size() ? "..." : "");
}

std::string excerptEnd(std::string_view text) {
  if (text.size() <= maxExcerpt) {
    return printable(text, true);
  }
  return "..." + printable(text.substr(text.size() - maxExcerpt), true);
}

std::string shown(const nlohmann::json& value) {
  if (value.is_string()) {
    return "\"" + excerpt(value.get_ref<const std::string&>()) + "\"";
  }
  return excerpt(value.dump());
}

std::string pointerToken(std::string_view member) {
  std::string_view cut = head(member);
  std::string token;
  for (char c : printable(cut, false)) {
    token += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
  }
  return token + (cut.size() < member.size() ? "..." : "");
}

std::string shortPointer(std::string_view pointer) {
  if (pointer.size() <= maxPointer) {
    return std::string(pointer);
  }
  constexpr size_t keep = (maxPointer - 4) / 2;
  // The head ends before a '/', the tail begins at one: whole tokens on both sides.
  size_t headEnd = pointer.rfind('/', keep);
  if (headEnd == std::string_view::npos || headEnd == 0) {
    headEnd = std::min(pointer.size(), keep);
  }
  size_t tailBegin = pointer.find('/', pointer.size() - keep);
  if (tailBegin == std::string_view::npos || tailBegin <= headEnd) {
    tailBegin = pointer.size() - keep;
  }
  return std::string(pointer.substr(0, headEnd)) + "/..." + std::string(pointer.substr(tailBegin));
}

}  // namespace StateSim
