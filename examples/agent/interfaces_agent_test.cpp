// A test of the example agent with hubstore's test kit: copy it to start the
// tests of your own agent. The World fixture gives each test a fake
// controller (the records of agent "agentB", the hosting agent set) and
// proves at the end that nothing of the library outlived the test.

#include <gtest/gtest.h>

#include "interfaces_agent.h"
#include <hubstore/testing/world.h>

namespace {

using Controller::mountStateFailed;
using Controller::mountStateMounted;

class InterfacesAgentTest : public Controller::testing::World {
 protected:
  const char* group = InterfacesAgent::groupName;
};

TEST_F(InterfacesAgentTest, DeclaresItsGroupAndIsReadyOnceMountedAndPublished) {
  InterfacesAgent agent(em);
  ASSERT_TRUE(mountConfig->mountGroupConfig(group));
  EXPECT_TRUE(mountConfig->mountGroupConfig(group)->mountConfig("/state/interface/status"));
  EXPECT_TRUE(mountConfig->warm());

  controller().mountedPathPrefix("/state/interface/status", "/switches/interface/status");
  controller().publishGroupStatus(group);
  EXPECT_FALSE(agent.ready());
  controller().publishStatus(group, "/config/interfaces");
  EXPECT_TRUE(agent.ready());
  EXPECT_FALSE(agent.initialMountsDone());
  controller().initialMountsComplete(group, true);
  EXPECT_TRUE(agent.initialMountsDone());
}

TEST_F(InterfacesAgentTest, FollowsEachSwitchsMountState) {
  InterfacesAgent agent(em);
  controller().systemStatus("00:1c:73:00:00:01", {{group, mountStateMounted}});
  controller().systemStatus("00-1C-73-00-00-02", {{group, mountStateMounted}});
  controller().mountState("00:1c:73:00:00:01", group, mountStateFailed);
  EXPECT_EQ(agent.mountedSwitches(), std::set<std::string>{"00:1c:73:00:00:02"});
}

TEST_F(InterfacesAgentTest, StartingOverALiveFleetHearsTheSwitchesAlreadyUp) {
  controller().systemStatus("00:1c:73:00:00:01", {{group, mountStateMounted}});
  controller().systemStatus("00:1c:73:00:00:02", {{group, mountStateFailed}});
  InterfacesAgent agent(em);
  EXPECT_EQ(agent.mountedSwitches(), std::set<std::string>{"00:1c:73:00:00:01"});
}

TEST_F(InterfacesAgentTest, LeavesNoConfigurationBehind) {
  { InterfacesAgent agent(em); }
  EXPECT_FALSE(mountConfig->mountGroupConfig(group));
  EXPECT_FALSE(publishConfig->publishGroupConfig(group));
  EXPECT_FALSE(mountConfig->versionFilter("supported"));
}

}  // namespace
