#include "Quill/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Quill {

void assertionFailed(const char* condition, const char* file, int line,
                     const char* function) noexcept {
  std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", file, line, function, condition);
  std::fflush(stderr);
  std::abort();
}

}  // namespace Quill
