#include <hubstore/foundations/framework/assert.h>

#include <cstdio>
#include <cstdlib>

namespace Vex {

namespace {
AssertionContextWriter contextWriter = nullptr;
void* contextData = nullptr;
}  // namespace

void assertionContextIs(AssertionContextWriter writer, void* data) noexcept {
  contextWriter = writer;
  contextData = data;
}

void assertionFailed(const char* expressionText) noexcept {
  std::fflush(stdout);  // keep what a tool already printed ahead of the failure
  if (AssertionContextWriter writer = contextWriter) {
    contextWriter = nullptr;  // a failure inside the writer must not come back to it
    writer(contextData);
    std::fflush(stdout);
  }
  std::fprintf(stderr, "assertion failed: %s\n", expressionText);
  std::fflush(stderr);
  std::abort();
}

}  // namespace Vex
