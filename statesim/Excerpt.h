// Short, one-line excerpts of a state file's text for error messages.
//
// A message quotes what it refuses, but never more than maxExcerpt bytes of it: a member name of
// ten megabytes must not become a log line of ten megabytes, at start and again at every failed
// reload. Control characters are shown as \xNN so that a message stays on one line. Pure
// functions, no state.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace StateSim {

// The most bytes of the input a message quotes.
inline constexpr size_t maxExcerpt = 40;

// The first maxExcerpt bytes of `text`, cut between two characters, "..." appended when cut.
// `text` is UTF-8: a string of the parsed document, which the parser has checked.
std::string excerpt(std::string_view text);
// The last maxExcerpt bytes of `text`, "..." prepended when cut. For raw input read up to a
// syntax error, which need not be UTF-8: bytes beyond ASCII are shown as \xNN too.
std::string excerptEnd(std::string_view text);
// A value as JSON text, cut like excerpt(): "qosCli" with its quotes, 64, [1,2].
std::string shown(const nlohmann::json& value);
// A member name as one token of a JSON pointer (~ as ~0, / as ~1), cut like excerpt().
std::string pointerToken(std::string_view member);
// The most bytes of a JSON pointer a message shows.
inline constexpr size_t maxPointer = 160;
// `pointer` whole when it is short; else its first tokens and its last ones, with "/..." for
// those left out, so that a value nested a hundred thousand levels deep still makes one short
// line. Tokens are kept whole (each is cut like excerpt() already).
std::string shortPointer(std::string_view pointer);

}  // namespace StateSim
