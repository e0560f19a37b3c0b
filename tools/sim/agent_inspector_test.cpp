#ifdef HUBSTORE_SIM_REDIS
#include "tools/sim/agent_inspector.h"

#include <gtest/gtest.h>

namespace hubstore::sim {
namespace {

using hubstore::redis::Fields;

// Keys before and after, interleaved so that each kind of difference sits
// between others: the comparison walks both in one pass.
TEST(AgentInspector, ChangesNameEachKeyThatDiffersOnceInKeyOrder) {
  const AgentInspector::Snapshot before{{"A:a", {{"name", "a"}}},
                                        {"A:b", {{"[g1]", "mounting"}, {"[g2]", "mounted"}, {"name", "b"}}},
                                        {"A:c", {{"name", "c"}}},
                                        {"A:e", {{"value", "same"}}}};
  const AgentInspector::Snapshot after{{"A:b", {{"[g1]", "mounted"}, {"[g3]", "failed"}, {"name", "b"}}},
                                       {"A:c", {{"name", "c"}}},
                                       {"A:d", {{"name", "d"}, {"value", "a b"}}},
                                       {"A:e", {{"value", "same"}}},
                                       {"A:f", {}}};
  EXPECT_EQ(AgentInspector::changes(before, after),
            (std::vector<std::string>{"A:a: removed",
                                      "A:b: [g1] mounting -> mounted, [g2] mounted -> (none), [g3] (none) -> failed",
                                      "A:d: new (name=d, value=\"a b\")", "A:f: new ()"}));
  EXPECT_EQ(AgentInspector::changes(after, after), std::vector<std::string>{});
}

}  // namespace
}  // namespace hubstore::sim
#endif
