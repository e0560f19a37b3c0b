#include <hubstore/foundations/framework/trace.h>

#include <gtest/gtest.h>

#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/testing/trace_capture.h>

namespace Vex {
namespace {

TEST(Trace, ADisabledLevelEvaluatesNothing) {
  const Controller::testing::TraceCapture trace("5");
  int evaluated = 0;
  auto expensive = [&] {
    ++evaluated;
    return "x";
  };
  HUBSTORE_TRACE(8) << expensive();
  if (evaluated == 0) HUBSTORE_TRACE(5) << "a" << expensive();
  else ADD_FAILURE() << "the else belongs to this if";
  EXPECT_EQ(evaluated, 1);
  EXPECT_EQ(trace.lines(), (std::vector<std::string>{"5 ax"}));
}

// How pieces are joined, bools and mount states in words, is pinned by every
// scenario that traces.
TEST(TraceLevels, ParseListsAndRangesAndRejectTheRest) {
  EXPECT_EQ(parseTraceLevels("5"), 1u << 5);
  EXPECT_EQ(parseTraceLevels("5,7-8"), (1u << 5) | (1u << 7) | (1u << 8));
  EXPECT_EQ(parseTraceLevels("off"), 0u);
  for (const char* bad : {"", "10", "8-7", "5,", "a", "1-"}) EXPECT_FALSE(parseTraceLevels(bad)) << bad;
}

}  // namespace
}  // namespace Vex
