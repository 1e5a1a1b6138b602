// StateSim::parseDocument: the text of a state file as a JSON document.
//
// nlohmann's parser takes more than a state file may hold, and its messages echo all it read.
// parseDocument() refuses, each time with a StateFileError naming the file, the position and
// a short message (the input quoted through Excerpt.h):
//   - text that is not UTF-8: UTF-16 or UTF-32, with or without a byte-order mark ("line 1,
//     column 1"); a UTF-8 byte-order mark; a NUL byte anywhere (its line and column); no text;
//   - an object with the same member twice, which JSON allows and nlohmann resolves by keeping
//     the last: at the JSON pointer of the member, "/classMaps/0/id";
//   - malformed JSON, invalid UTF-8 in a string among it: at its line and column, with the JSON
//     pointer of the value being read and no more than the end of the token read.
// Pure function; what the document means is for the section readers to check.
#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace StateSim {

using Json = nlohmann::json;

// The JSON document of `text`; `file` names it in errors.
Json parseDocument(std::string_view text, const std::string& file);

}  // namespace StateSim
