// The framework's string types. Both are byte strings (no encoding is assumed); Quill::String
// names things (contexts, paths), Mox::String carries attribute values.
#pragma once

#include <string>

namespace Quill {
using String = std::string;
}

namespace Mox {
using String = std::string;
}
