#include <hubstore/foundations/framework/assert.h>

#include <gtest/gtest.h>

#include <cstdio>

namespace {

// The assertion's line without context is pinned by the service's and the
// mount group's death tests. Each statement runs in the death test's child,
// so a writer installed there is gone again in the test process.
void failWithContext(const char* context, bool failInsideWriter) {
  static bool insideWriterFails;
  insideWriterFails = failInsideWriter;
  Vex::assertionContextIs(
      [](void* text) {
        std::fprintf(stderr, "%s\n", static_cast<const char*>(text));
        VEX_ASSERT(!insideWriterFails);
      },
      const_cast<char*>(context));
  const int two = 2;
  VEX_ASSERT(two + 1 == 4);
}

TEST(AssertDeathTest, TheContextWriterSpeaksFirstUnlessItFailsItselfOrWasRemoved) {
  EXPECT_DEATH(failWithContext("t.scn:3: while running: service s", false),
               "^t.scn:3: while running: service s\nassertion failed: two \\+ 1 == 4\n$");
  EXPECT_DEATH(failWithContext("context", true), "^context\nassertion failed: !insideWriterFails\n$");
  EXPECT_DEATH(
      {
        Vex::assertionContextIs([](void*) { std::fprintf(stderr, "stale\n"); }, nullptr);
        Vex::assertionContextIs(nullptr, nullptr);
        VEX_ASSERT(sizeof(int) == 0);
      },
      "^assertion failed: sizeof\\(int\\) == 0\n$");
}

}  // namespace
