// Feature toggles. A toggle file is a JSON object of toggle names to booleans
// ({"PolicingConfigSnmp": false}) in the toggle directory. getToggleState reads the file on
// every call (callers cache what they need) and answers `dflt` when the directory, the file or
// the name is missing; a file that is not such an object is reported on standard error once
// per call and read as missing.
#pragma once

#include <string>
#include <string_view>

void toggleDirectoryIs(std::string dir);
const std::string& toggleDirectory();
bool getToggleState(std::string_view name, std::string_view file, bool dflt);
