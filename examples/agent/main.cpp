// The example agent at work. The platform's part (the state database and the
// mount machinery, normally other processes) is played by hubstore's test kit.

#include <cstdio>

#include "interfaces_agent.h"
#include <hubstore/testing/fake_controller.h>

using Controller::testing::FakeController;

int main() {
  FakeController controller("agentB");  // the records of hosting agent "agentB"
  InterfacesAgent agent(controller.entityManager());

  // The mount machinery reports.
  controller.systemStatus("00:1c:73:00:00:01", {{InterfacesAgent::groupName, Controller::mountStateMounted}});
  controller.mountedPathPrefix("/state/interface/status", "/switches/interface/status");
  controller.publishGroupStatus(InterfacesAgent::groupName);
  controller.publishStatus(InterfacesAgent::groupName, "/config/interfaces");
  controller.initialMountsComplete(InterfacesAgent::groupName, true);

  std::printf("ready: %s, switches mounted: %zu\n", agent.ready() ? "yes" : "no", agent.mountedSwitches().size());
  return agent.ready() ? 0 : 1;
}
