#include "tools/sim/trace_environment.h"

#include <gtest/gtest.h>

namespace hubstore::sim {
namespace {

TEST(TraceEnvironment, ItemsThatEnableSomethingPassQuietly) {
  for (const char* value : {"Ferrolink/5", " Ferrolink/0-8\t", "Ferrolink/off", "", "  "}) {
    EXPECT_EQ(traceEnvironmentProblem(value, "Ferrolink"), std::nullopt) << value;
  }
  EXPECT_EQ(traceEnvironmentProblem(nullptr, "Ferrolink"), std::nullopt);
}

TEST(TraceEnvironment, EveryItemThatEnablesNothingIsNamedInOneMessage) {
  EXPECT_EQ(traceEnvironmentProblem("5 /5 Ferrolink/ Ferrolink/10 Other/5 Ferrolink/5 Ferrolink/7", "Ferrolink"),
            "VEX_TRACE: ignored '5' (not FACILITY/LEVELS), '/5' (not FACILITY/LEVELS), 'Ferrolink/' (LEVELS is a "
            "comma list of levels 0-9 and ranges, or off), 'Ferrolink/10' (LEVELS is a comma list of levels 0-9 and "
            "ranges, or off), 'Other/5' (no facility Other), 'Ferrolink/7' (an earlier item set Ferrolink); the "
            "library's facility is Ferrolink, e.g. Ferrolink/5,7-8");
}

}  // namespace
}  // namespace hubstore::sim
