#include "Mox/Record.h"

#include <fmt/format.h>

namespace Mox {

namespace detail {

namespace {

std::string_view trim(std::string_view s) {
  while (!s.empty() && s.front() == ' ') {
    s.remove_prefix(1);
  }
  while (!s.empty() && s.back() == ' ') {
    s.remove_suffix(1);
  }
  return s;
}

}  // namespace

std::vector<std::pair<std::string_view, std::string_view>> splitFields(std::string_view text,
                                                                       std::string_view type) {
  text = trim(text);
  if (text.starts_with(type) && text.size() > type.size() && text[type.size()] == '(' &&
      text.back() == ')') {
    text = text.substr(type.size() + 1, text.size() - type.size() - 2);
  }
  std::vector<std::pair<std::string_view, std::string_view>> items;
  size_t pos = 0;
  while (pos < text.size()) {
    size_t eq = text.find('=', pos);
    if (eq == std::string_view::npos) {
      throw DeserializeException(std::string(trim(text.substr(pos))),
                                 "expected name=value in " + std::string(type));
    }
    std::string_view name = trim(text.substr(pos, eq - pos));
    size_t end = eq + 1;
    bool quoted = false;
    for (; end < text.size(); ++end) {
      char c = text[end];
      if (quoted && c == '\\') {
        ++end;
      } else if (c == '"') {
        quoted = !quoted;
      } else if (!quoted && c == ',') {
        break;
      }
    }
    items.emplace_back(name, trim(text.substr(eq + 1, end - eq - 1)));
    pos = end + 1;
  }
  return items;
}

}  // namespace detail

std::string quoteBytes(std::string_view bytes) {
  std::string out = "\"";
  for (unsigned char c : bytes) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      default:
        if (c < 0x20 || c >= 0x7f) {
          out += fmt::format("\\x{:02x}", c);
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  out += '"';
  return out;
}

std::string unquoteBytes(std::string_view text) {
  if (text.size() < 2 || text.front() != '"' || text.back() != '"') {
    throw Quill::RangeException("expected a quoted string");
  }
  std::string out;
  for (size_t i = 1; i + 1 < text.size(); ++i) {
    char c = text[i];
    if (c != '\\') {
      out += c;
      continue;
    }
    if (i + 2 >= text.size()) {
      throw Quill::RangeException("dangling escape in quoted string");
    }
    char e = text[++i];
    if (e == 'x') {
      unsigned v = 0;
      auto [end, ec] = std::from_chars(text.data() + i + 1, text.data() + i + 3, v, 16);
      if (ec != std::errc() || end != text.data() + i + 3 || i + 3 >= text.size()) {
        throw Quill::RangeException("bad \\x escape in quoted string");
      }
      out += static_cast<char>(v);
      i += 2;
    } else if (e == '"' || e == '\\') {
      out += e;
    } else {
      throw Quill::RangeException(std::string("unknown escape \\") + e + " in quoted string");
    }
  }
  return out;
}

}  // namespace Mox
