#include <hubstore/foundations/framework/assert.h>

#include <cstdio>
#include <cstdlib>

namespace Vex {

void assertionFailed(const char* expressionText) noexcept {
  std::fflush(stdout);  // keep what a tool already printed ahead of the failure
  std::fprintf(stderr, "assertion failed: %s\n", expressionText);
  std::fflush(stderr);
  std::abort();
}

}  // namespace Vex
