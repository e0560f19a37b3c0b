#include <hubstore/service/hubstore_service.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/mountgroup/per_switch_publish_mount_sm.h>
#include <hubstore/mountgroup/test_mount_group.h>
#include <hubstore/status/service_mount_status_sm.h>

namespace Controller::testing {
namespace {

using Service = World;

// Stamping the records, the traces of initialization and closing, and the
// removal of stale configuration are pinned end to end by the world and
// service_close scenarios; what closing, or releasing the service without
// closing it, leaves in the configuration is held against a reference model
// by close_model_check (tests/model).

using ServiceDeathTest = World;

TEST_F(ServiceDeathTest, AssertsTheAgentThenEachRecordInOrderAndTheStatus) {
  auto drop = [this](std::initializer_list<const char*> kinds) {
    for (const char* kind : kinds) em->entityDel(std::string("controller/") + kind + "/service/agentB");
  };
  const std::pair<std::function<void()>, const char*> broken[] = {
      {[&] {
         globalAgent = nullptr;
         drop({"mount/config"});
       },
       "^assertion failed: globalAgent\n$"},
      {[&] { drop({"mount/config", "mount/status", "publish/config", "publish/status"}); }, "assertion failed: smc\n"},
      {[&] { drop({"mount/status", "publish/config", "publish/status"}); }, "assertion failed: sms\n"},
      {[&] { drop({"publish/config", "publish/status"}); }, "assertion failed: spc\n"},
      {[&] { drop({"publish/status"}); }, "assertion failed: sps\n"},
      {[&] {
         em->entityIs("controller/mount/config/service/agentB", ServicePublishConfig::ServicePublishConfigIs("x"));
       },
       "assertion failed: smc\n"},
      {[&] { em->entityDel("controller/status"); }, "assertion failed: hubstoreStatus\\(\\)\n"}};
  for (const auto& [breakTheWorld, assertion] : broken) {
    EXPECT_DEATH(
        {
          breakTheWorld();
          serviceIs("svcA");
        },
        assertion);
  }
}

TEST_F(ServiceDeathTest, ClosingWithALiveListWithoutItsFilterAborts) {
  auto service = serviceIs("svcA");
  auto versions = service->versionWhiteListIs("v");
  versions->publishVersionFilterIs(nullptr);
  EXPECT_DEATH(service->closedIs(true), "assertion failed: localWhiteList->publishVersionFilter\\(\\)\n");
  versions->publishVersionFilterIs(publishConfig->versionFilter("v"));
}

TEST_F(Service, CollectionsAreIdempotentPerKey) {
  auto service = serviceIs("svcA");
  auto unmounted = service->serviceMountGroupIs("g2", nullptr);
  EXPECT_EQ(service->serviceMountGroupIs("g2", nullptr), unmounted);
  EXPECT_EQ(service->switchWhiteListIs("x"), service->switchWhiteListIs("x"));
  EXPECT_EQ(service->versionWhiteListIs("v"), service->versionWhiteListIs("v"));
  EXPECT_FALSE(service->serviceMountGroupDel("nope"));
  EXPECT_EQ(service->serviceMountGroupDel("g2"), unmounted);
  EXPECT_FALSE(service->serviceMountGroup("g2"));
}

TEST_F(Service, NotificationStateReachesEveryMemberAndTheStatusMachineCanBeReplaced) {
  auto service = serviceIs("svcA");
  auto group = service->serviceMountGroupIs("g1", mounter);
  auto list = service->switchWhiteListIs("x");
  auto machine = service->mountStatusSm();
  EXPECT_EQ(service->mountStatusSmIs(mountStatus), machine);

  group->hasNotificationActiveIs(false);
  service->hasNotificationActiveIs(true);  // already active: members are not touched
  EXPECT_FALSE(group->hasNotificationActive());
  service->hasNotificationActiveIs(false);
  EXPECT_FALSE(machine->hasNotificationActive());
  EXPECT_FALSE(list->hasNotificationActive());
  service->hasNotificationActiveIs(true);
  EXPECT_TRUE(group->hasNotificationActive());

  auto removed = service->mountStatusSmDel();
  EXPECT_EQ(removed, machine);
  EXPECT_FALSE(removed->hasNotificationActive());
  EXPECT_FALSE(service->mountStatusSm());
}

// A closed group with one controller mount, one publish mount and a
// per-switch publish mount, bound to lists; completion then needs only the
// path prefix and the publish status.
struct Lifetime : MountGroupWorld {
  void SetUp() override {
    MountGroupWorld::SetUp();
    auto versions = service->versionWhiteListIs("v");
    versions->allowedVersionIs(3, true);
    auto switches = service->switchWhiteListIs("s");
    switches->allowedSwitchIs(SystemId::fromString("00:1c:73:00:00:01"), true);
    group = service->serviceMountGroupIs("g1", mounter);
    group->controllerMountIs("/r", "/db/r", "T", "F");
    group->publishMountIs("/db/p", "/p", "T");
    group->perSwitchPublishMountIs("/db/d", "/d", "T");
    group->versionWhiteListIs(versions);
    group->switchWhiteListIs(switches);
    publishStatus->publishGroupStatusIs("g1");
  }
  // The configuration the service's members wrote is gone.
  void expectWithdrawn() {
    EXPECT_EQ(mountConfig->mountGroupConfigMembers().count(), 0u);
    EXPECT_EQ(publishConfig->publishGroupConfigMembers().count(), 0u);
    EXPECT_EQ(mountConfig->systemFilterMembers().count() + mountConfig->versionFilterMembers().count(), 0u);
    EXPECT_EQ(publishConfig->systemFilterMembers().count() + publishConfig->versionFilterMembers().count(), 0u);
  }
};

TEST_F(Lifetime, HandlesHeldPastTheServiceAreOrphansThatTouchNothingOfIt) {
  group->closedIs(true);
  Vex::Ptr<VersionWhiteList> versions = service->versionWhiteList("v");
  Vex::Ptr<SwitchWhiteList> switches = service->switchWhiteList("s");
  Vex::Ptr<ServiceMountStatusSm> machine = service->mountStatusSm();
  Vex::Ptr<PerSwitchPublishMountSm> perSwitch = group->perSwitchPublishMountSm("/db/d");
  traceOn("8");
  service = nullptr;
  // Withdrawn as a teardown with no handle left would: group, then lists.
  EXPECT_EQ(traces(), (Log{"8 HubstoreService::doCleanup", "8 HubstoreServiceMountGroup::doCleanup g1",
                           "8 HubstoreServiceMountGroup::handleControllerMount path: /r",
                           "8 HubstoreServiceMountGroup::handlePublishMount path:/db/p",
                           "8 HubstoreServiceMountGroup::handlePerSwitchPublishMount path: /db/d",
                           "8 SwitchWhiteList::doCleanup s", "8 VersionWhiteList::doCleanup v"}));
  expectWithdrawn();
  EXPECT_EQ(group->service(), nullptr);
  EXPECT_EQ(versions->service(), nullptr);
  EXPECT_EQ(machine->hubstoreService(), nullptr);
  EXPECT_EQ(perSwitch->group(), nullptr);

  // The mount machinery goes on writing: no orphan reacts.
  trace.clear();
  mountStatus->mountedPathPrefixIs("/r", "/db/r");
  publishStatus->publishGroupStatusIs("g1")->publishStatusIs("/db/p");
  mountStatus->initialMountsCompleteIs("g1", true);
  mountStatus->systemStatusIs("00:1c:73:00:00:01")->serviceMountGroupStatusIs("g1", mountStateMounted);
  EXPECT_EQ(hooks, Log{});
  EXPECT_EQ(traces(), Log{});

  // The agent's calls on orphans write only to their own detached records.
  versions->allowedVersionIs(4, true);
  switches->allowedSwitchDelAll();
  group->controllerMountIs("/r2", "/db/r2", "T", "F");
  group->closedIs(false);
  group->closedIs(true);
  perSwitch->handlePerSwitchPublishMountActive();
  machine->handleInitialMountsComplete("g1");
  expectWithdrawn();
  EXPECT_EQ(hooks, Log{});
  // Any order of release: the lists go after the group that holds them.
  machine = nullptr;
  versions = nullptr;
  perSwitch = nullptr;
}

TEST_F(Lifetime, APerSwitchMachineHeldPastItsGroupStopsFollowingItsMount) {
  Vex::Ptr<PerSwitchPublishMountSm> perSwitch = group->perSwitchPublishMountSm("/db/d");
  Vex::Ptr<PerSwitchPublishMount> mount = group->perSwitchPublishMount("/db/d");
  service->serviceMountGroupDel("g1");
  group = nullptr;
  EXPECT_EQ(perSwitch->group(), nullptr);
  traceOn("8");
  mount->publishActiveIs(true);
  perSwitch->handlePerSwitchPublishMountActive();
  EXPECT_EQ(traces(), (Log{"8 PerSwitchPublishMountSm::handlePerSwitchPublishMountActive path: /db/d"}));
  EXPECT_EQ(publishConfig->publishGroupConfigMembers().count(), 0u);
}

// One road to a hook, on which the hook releases the service.
struct ReleasingRoad {
  const char* name;
  enum { pathPrefix, groupClose, firstSwitchReport } trigger;
  bool initialMounts;
  std::function<void()> RecordingMounter::*hook;
  std::vector<std::string> expected;
};

class LifetimeRoad : public Lifetime, public ::testing::WithParamInterface<ReleasingRoad> {};

TEST_P(LifetimeRoad, AHookMayReleaseTheServiceFromEveryRoad) {
  const ReleasingRoad& road = GetParam();
  if (road.trigger == ReleasingRoad::firstSwitchReport) {
    service->serviceMountGroupIs("g2", mounter);
  } else {
    if (road.trigger == ReleasingRoad::groupClose) mountStatus->mountedPathPrefixIs("/r", "/db/r");
    publishStatus->publishGroupStatusIs("g1")->publishStatusIs("/db/p");
  }
  if (road.trigger == ReleasingRoad::pathPrefix) group->closedIs(true);
  if (road.initialMounts) mountStatus->initialMountsCompleteIs("g1", true);
  hooks.clear();
  (*mounter).*road.hook = [&] { service = nullptr; };
  if (road.trigger == ReleasingRoad::pathPrefix) mountStatus->mountedPathPrefixIs("/r", "/db/r");
  if (road.trigger == ReleasingRoad::groupClose) group->closedIs(true);
  if (road.trigger == ReleasingRoad::firstSwitchReport) {
    auto record = SystemStatus::SystemStatusIs("00:1c:73:00:00:01");
    record->serviceMountGroupStatusIs("g1", mountStateMounted);
    record->serviceMountGroupStatusIs("g2", mountStateMounted);
    mountStatus->systemStatusIs(record);
  }
  (*mounter).*road.hook = nullptr;
  EXPECT_EQ(hooks, road.expected);
  EXPECT_EQ(HubstoreService::staticType().liveCount(), 0);
  EXPECT_EQ(group->service(), nullptr);
  expectWithdrawn();
}

// doMountsComplete from a status write does not go on to the status machine;
// a new switch's first report stops at the first group.
INSTANTIATE_TEST_SUITE_P(
    Roads, LifetimeRoad,
    ::testing::Values(
        ReleasingRoad{"StatusWrite", ReleasingRoad::pathPrefix, true, &RecordingMounter::onMountsComplete,
                      {"doMountsComplete g1"}},
        ReleasingRoad{"GroupClose", ReleasingRoad::groupClose, false, &RecordingMounter::onMountsComplete,
                      {"doMountsComplete g1"}},
        ReleasingRoad{"InitialSwitchMounts", ReleasingRoad::groupClose, true,
                      &RecordingMounter::onInitialSwitchMountsComplete,
                      {"doMountsComplete g1", "doInitialSwitchMountsComplete g1"}},
        ReleasingRoad{"FirstSwitchReport", ReleasingRoad::firstSwitchReport, false, &RecordingMounter::onMountState,
                      {"doHandleControllerMountState 00:1c:73:00:00:01 g1 mounted"}}),
    [](const ::testing::TestParamInfo<ReleasingRoad>& info) { return std::string(info.param.name); });

TEST_F(Lifetime, AHookThatThrowsInAFirstReportLeavesTheSwitchTracked) {
  int calls = 0;
  mounter->onMountState = [&] {
    if (++calls == 1) throw Vex::InternalException("hook failed");
  };
  auto record = SystemStatus::SystemStatusIs("00:1c:73:00:00:01");
  record->serviceMountGroupStatusIs("g1", mountStateMounting);
  EXPECT_THROW(mountStatus->systemStatusIs(record), Vex::InternalException);
  ASSERT_TRUE(service->mountStatusSm()->systemStatusSm("00:1c:73:00:00:01"));
  record->serviceMountGroupStatusIs("g1")->mountStateIs(mountStateMounted);
  EXPECT_EQ(hooks, (Log{"doHandleControllerMountState 00:1c:73:00:00:01 g1 mounting",
                        "doHandleControllerMountState 00:1c:73:00:00:01 g1 mounted"}));
}

TEST_F(Lifetime, AHookThatRemovesItsSwitchInTheFirstReportLeavesNoMachine) {
  service->serviceMountGroupIs("g2", mounter);
  mounter->onMountState = [&] { mountStatus->systemStatusDel("00:1c:73:00:00:01"); };
  auto first = SystemStatus::SystemStatusIs("00:1c:73:00:00:01");
  first->serviceMountGroupStatusIs("g1", mountStateMounted);
  first->serviceMountGroupStatusIs("g2", mountStateMounted);
  mountStatus->systemStatusIs(first);  // the report stops at g1
  EXPECT_FALSE(service->mountStatusSm()->systemStatusSm("00:1c:73:00:00:01"));
  mounter->onMountState = nullptr;
  auto again = SystemStatus::SystemStatusIs("00:1c:73:00:00:01");
  again->serviceMountGroupStatusIs("g1", mountStateUnmounted);
  mountStatus->systemStatusIs(again);
  EXPECT_EQ(service->mountStatusSm()->systemStatusSm("00:1c:73:00:00:01")->systemStatus(), again);
  EXPECT_EQ(hooks, (Log{"doHandleControllerMountState 00:1c:73:00:00:01 g1 mounted",
                        "doHandleControllerMountState 00:1c:73:00:00:01 g1 unmounted"}));
}


// A fleet whose switches reported before the agent started: two switches
// written out of order, one status of a group the agent no longer declares,
// and a switch name that is not an Ethernet address.
struct LiveFleet : World {
  void SetUp() override {
    for (const char* name : {"00:1c:73:00:00:02", "00:1c:73:00:00:01"}) {
      auto record = SystemStatus::SystemStatusIs(name);
      record->serviceMountGroupStatusIs("g2", mountStateMounting);
      record->serviceMountGroupStatusIs("g1", mountStateMounted);
      record->serviceMountGroupStatusIs("gone", mountStateFailed);
      mountStatus->systemStatusIs(record);
    }
    mountStatus->systemStatusIs("not-a-switch")->serviceMountGroupStatusIs("g1", mountStateMounted);
    service = serviceIs("svcA");
    service->serviceMountGroupIs("g1", mounter);
    service->serviceMountGroupIs("g2", mounter);
  }
  void TearDown() override {
    service = nullptr;
    World::TearDown();
  }
  Vex::Ptr<HubstoreService> service;
  const Log fleet = {"doHandleControllerMountState 00:1c:73:00:00:01 g1 mounted",
                     "doHandleControllerMountState 00:1c:73:00:00:01 g2 mounting",
                     "doHandleControllerMountState 00:1c:73:00:00:02 g1 mounted",
                     "doHandleControllerMountState 00:1c:73:00:00:02 g2 mounting"};
};

TEST_F(LiveFleet, GroupsDeclaredLateHearTheFleetWhenTheAgentAsks) {
  EXPECT_EQ(hooks, Log{});
  traceOn("5,8");
  service->reportMountStates();
  EXPECT_EQ(hooks, fleet);
  EXPECT_EQ(traces(), (Log{"8 HubstoreService::reportMountStates",
                           "5 reportMountStates: system not-a-switch is not an Ethernet address."}));
  // Nothing is remembered: asking again reports again.
  hooks.clear();
  service->reportMountStates();
  EXPECT_EQ(hooks, fleet);
}

TEST_F(LiveFleet, AHookMayReleaseOrThrowMidReport) {
  // A group released by a hook is passed over from then on.
  mounter->onMountState = [&] { service->serviceMountGroupDel("g2"); };
  service->reportMountStates();
  EXPECT_EQ(hooks, (Log{fleet[0], fleet[2]}));

  // A switch removed by a hook ends its own report; the next switch reports.
  hooks.clear();
  service->serviceMountGroupIs("g2", mounter);
  mounter->onMountState = [&] { mountStatus->systemStatusDel("00:1c:73:00:00:01"); };
  service->reportMountStates();
  EXPECT_EQ(hooks, (Log{fleet[0], fleet[2], fleet[3]}));

  // An exception leaves the call; the service reports in full afterwards.
  hooks.clear();
  mounter->onMountState = [] { throw Vex::InternalException("hook failed"); };
  EXPECT_THROW(service->reportMountStates(), Vex::InternalException);
  mounter->onMountState = nullptr;
  service->reportMountStates();
  EXPECT_EQ(hooks, (Log{fleet[2], fleet[2], fleet[3]}));

  // The service released by a hook: the report stops there.
  hooks.clear();
  mounter->onMountState = [&] { service = nullptr; };
  service->reportMountStates();
  EXPECT_EQ(hooks, Log{fleet[2]});
  EXPECT_EQ(HubstoreService::staticType().liveCount(), 0);
  mounter->onMountState = nullptr;
}

}  // namespace
}  // namespace Controller::testing
