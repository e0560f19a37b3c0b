#pragma once
// VEX_ASSERT(expr): an invariant check that is on in every build. On failure it
// writes "assertion failed: " and the expression text exactly as written in
// the source to standard error and aborts the process. It is one statement,
// safe in an unbraced if/else.

namespace Vex {
[[noreturn]] void assertionFailed(const char* expressionText) noexcept;
}

#define VEX_ASSERT(expr)                                    \
  do {                                                      \
    if (!(expr)) [[unlikely]] ::Vex::assertionFailed(#expr); \
  } while (false)
