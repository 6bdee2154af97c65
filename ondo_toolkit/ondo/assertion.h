#pragma once

#include <string>

namespace ondo {

// Throws a std::string of the form
//   assert "<expression>" failed at <file>:<line> in <function>\n
// Used where a broken invariant is the caller's fault and must not pass silently.
[[noreturn]] void assertion_failed(const char* expression, const char* file, int line,
    const char* function);

std::string assertion_text(const char* expression, const char* file, int line, const char* function);

} // namespace ondo

#define ONDO_ASSERT(expression)                                                                   \
    do {                                                                                          \
        if (!(expression))                                                                        \
            ::ondo::assertion_failed(#expression, __FILE__, __LINE__, __func__);                  \
    } while (false)
