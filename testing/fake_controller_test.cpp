#include <hubstore/testing/fake_controller.h>

#include <gtest/gtest.h>

#include <stdexcept>

#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/testing/recording_mounter.h>
#include <hubstore/testing/trace_capture.h>

namespace Controller::testing {
namespace {

// The fake sets the agent it is named for while it lives.
TEST(FakeController, HoldsItsAgentsRecordsAndItsWritesReachHooksAsTheMountMachinerysDo) {
  {
    FakeController controller("agentX", "gen-9");
    EXPECT_EQ(globalAgent, controller.agent().get());
    EXPECT_EQ(controller.entityManager()->getEntity("controller/mount/status/service/agentX"),
              controller.mountStatus());
    auto mounter = Vex::make<RecordingMounter>();
    auto service = controller.serviceIs("svcA");
    EXPECT_EQ(controller.mountConfig()->serviceName(), "svcA");
    EXPECT_EQ(controller.publishConfig()->leaderGenId(), "gen-9");
    auto group = service->serviceMountGroupIs("g1", mounter);
    group->publishMountIs("/db/p", "/p", "T");
    group->versionWhiteListIs(service->versionWhiteListIs("v"));
    group->closedIs(true);

    // Its other writes reach hooks in the tests on World.
    controller.systemStatus("00-1C-73-00-00-01", {{"g1", mountStateMounting}});
    controller.mountState("00-1C-73-00-00-01", "g1", mountStateMounted);
    controller.publishGroupStatus("g1");
    controller.publishStatus("g1", "/db/p");
    EXPECT_EQ(mounter->calls(), (Log{"doHandleControllerMountState 00:1c:73:00:00:01 g1 mounting",
                                     "doHandleControllerMountState 00:1c:73:00:00:01 g1 mounted",
                                     "doMountsComplete g1"}));

    EXPECT_THROW(controller.mountState("00:1c:73:00:00:02", "g1", mountStateFailed), std::invalid_argument);
    EXPECT_THROW(controller.mountState("00-1C-73-00-00-01", "g2", mountStateFailed), std::invalid_argument);
    EXPECT_THROW(controller.publishStatus("g2", "/db/p"), std::invalid_argument);
    EXPECT_FALSE(controller.mountStatus()->systemStatusRaw(Vex::Name("00:1c:73:00:00:02")));
    controller.systemStatusDel("00-1C-73-00-00-01");
    EXPECT_FALSE(service->mountStatusSm()->systemStatusSm("00-1C-73-00-00-01"));
  }
  EXPECT_EQ(globalAgent, nullptr);
}

TEST(TraceCapture, CollectsItsLevelsAndRestoresTheSinkAndLevelsItFound) {
  const TraceCapture outer("3");
  {
    TraceCapture trace("5");
    VEX_TRACE(ferrolink, 5) << "seen";
    VEX_TRACE(ferrolink, 3) << "not enabled here";
    EXPECT_EQ(trace.lines(), std::vector<std::string>{"5 seen"});
    EXPECT_THROW(trace.levelsIs("5-x"), std::invalid_argument);
  }
  VEX_TRACE(ferrolink, 3) << "back";
  EXPECT_EQ(outer.lines(), std::vector<std::string>{"3 back"});
}

}  // namespace
}  // namespace Controller::testing
