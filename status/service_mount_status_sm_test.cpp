#include <hubstore/status/service_mount_status_sm.h>

#include <gtest/gtest.h>

#include <hubstore/mountgroup/test_mount_group.h>

namespace Controller::testing {
namespace {

class ServiceMountStatusSmTest : public MountGroupWorld {
 protected:
  const char* a = "00:00:00:00:00:0a";
  const char* b = "00:00:00:00:00:0b";
};

TEST_F(ServiceMountStatusSmTest, KeepsOneMachinePerSwitchEntryAndRefusesANullOrSecondRecord) {
  service = nullptr;
  mountStatus->systemStatusIs(a);
  traceOn("7");
  service = serviceIs("svcA");
  auto sm = service->mountStatusSm();
  mountStatus->systemStatusIs(b);
  auto machineB = sm->systemStatusSm(b);
  sm->handleSystemStatus(b);
  mountStatus->systemStatusDel(a);
  sm->handleSystemStatus("00:00:00:00:00:99");
  EXPECT_EQ(sm->systemStatusSm(b), machineB);
  EXPECT_EQ(sm->systemStatusSmMembers().count(), 1u);
  EXPECT_EQ(traces(), (Log{"7 Creating ServiceMountStatusSm for 00:00:00:00:00:0a",
                           "7 Creating ServiceMountStatusSm for 00:00:00:00:00:0b",
                           "7 Creating ServiceMountStatusSm for 00:00:00:00:00:0b",
                           "7 Deleting ServiceMountStatusSm for 00:00:00:00:00:0a",
                           "7 Deleting ServiceMountStatusSm for 00:00:00:00:00:99"}));
  EXPECT_THROW(sm->systemStatusSmIs(nullptr), Vex::MutatorArgNullPointerException);
  EXPECT_THROW(sm->systemStatusSmIs(SystemStatus::SystemStatusIs(b)), Vex::MutatorReinstantiatingException);
  EXPECT_EQ(sm->systemStatusSm(b), machineB);
  EXPECT_EQ(machineB->systemStatus(), mountStatus->systemStatus(b));
}

// The traces of groups that are unknown, open or incomplete are pinned by the
// completion scenario.
TEST_F(ServiceMountStatusSmTest, ReportsACompleteGroupsInitialMountsAndItsSwitchesWhileItFollowsItsRecord) {
  closedGroupIs();
  for (bool complete : {true, false, true}) mountStatus->initialMountsCompleteIs("g1", complete);
  mountStatus->initialMountsCompleteDel("g1");
  EXPECT_EQ(hooks,
            (Log{"doMountsComplete g1", "doInitialSwitchMountsComplete g1", "doInitialSwitchMountsComplete g1"}));

  // A new machine reports the switches, then the complete groups, and dies quietly.
  mountStatus->initialMountsCompleteIs("g1", true);
  auto g1 = mountStatus->systemStatusIs(a)->serviceMountGroupStatusIs("g1", mountStateMounted);
  hooks.clear();
  auto second = ServiceMountStatusSm::ServiceMountStatusSmIs(mountStatus, service.get());
  EXPECT_EQ(hooks, (Log{"doHandleControllerMountState 00:00:00:00:00:0a g1 mounted",
                        "doInitialSwitchMountsComplete g1"}));
  second = nullptr;

  // Switched off, the service's machine follows nothing; nor once its record is dropped.
  auto sm = service->mountStatusSm();
  hooks.clear();
  sm->hasNotificationActiveIs(false);
  g1->mountStateIs(mountStateFailed);
  mountStatus->systemStatusIs(b);
  EXPECT_FALSE(sm->systemStatusSm(b));
  sm->hasNotificationActiveIs(true);
  g1->mountStateIs(mountStateMounting);
  EXPECT_EQ(hooks, Log{"doHandleControllerMountState 00:00:00:00:00:0a g1 mounting"});

  sm->serviceMountStatusDel();
  mountStatus->systemStatusIs("00:00:00:00:00:0c");
  mountStatus->initialMountsCompleteDel("g1");
  mountStatus->initialMountsCompleteIs("g1", true);
  EXPECT_FALSE(sm->systemStatusSm("00:00:00:00:00:0c"));
  EXPECT_EQ(hooks.size(), 1u);
}

}  // namespace
}  // namespace Controller::testing
