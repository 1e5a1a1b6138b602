// QUILL_ASSERT: programming and configuration faults. Prints the condition text with the
// source position to standard error and aborts; never compiled out.
#pragma once

namespace Quill {
[[noreturn]] void assertionFailed(const char* condition, const char* file, int line,
                                  const char* function) noexcept;
}

#define QUILL_ASSERT(cond)                                           \
  do {                                                               \
    if (!(cond)) [[unlikely]] {                                      \
      ::Quill::assertionFailed(#cond, __FILE__, __LINE__, __func__); \
    }                                                                \
  } while (0)
