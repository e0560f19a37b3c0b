#include <hubstore/service/hubstore_service.h>

#include <gtest/gtest.h>

#include <functional>

#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/mountgroup/per_switch_publish_mount_sm.h>
#include <hubstore/mountgroup/test_mount_group.h>
#include <hubstore/status/service_mount_status_sm.h>

namespace Controller::testing {
namespace {

using Service = MountGroupWorld;

// Pinned end to end by the scenarios: stamping the records, the traces of
// initialization and closing, and the removal of stale configuration (world,
// service_close); hooks that throw or remove their switch in its first
// report (hooks_*); reports the agent asks for (report_mount_states). What
// closing, or releasing the service without closing it, leaves in the
// configuration is held against a reference model by close_model_check
// (tests/model).

using ServiceDeathTest = World;

TEST_F(ServiceDeathTest, AssertsTheAgentThenEachRecordInOrderAndTheStatus) {
  auto drop = [this](std::initializer_list<const char*> kinds) {
    for (const char* kind : kinds) em->entityDel(std::string("controller/") + kind + "/service/agentB");
  };
  const auto wrongType = ServicePublishConfig::ServicePublishConfigIs("x");
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
      {[&] { em->entityIs("controller/mount/config/service/agentB", wrongType); }, "assertion failed: smc\n"},
      {[&] { em->entityDel("controller/status"); }, "assertion failed: hubstoreStatus\\(\\)\n"}};
  auto startAfter = [this](const std::function<void()>& breakTheWorld) {
    breakTheWorld();
    serviceIs("svcA");
  };
  for (const auto& [breakTheWorld, assertion] : broken) EXPECT_DEATH(startAfter(breakTheWorld), assertion);
}

TEST_F(ServiceDeathTest, ClosingWithALiveListWithoutItsFilterAborts) {
  auto service = serviceIs("svcA");
  auto versions = service->versionWhiteListIs("v");
  versions->publishVersionFilterIs(nullptr);
  EXPECT_DEATH(service->closedIs(true), "assertion failed: localWhiteList->publishVersionFilter\\(\\)\n");
  versions->publishVersionFilterIs(publishConfig->versionFilter("v"));
}

TEST_F(Service, CollectionsAreIdempotentPerKey) {
  auto unmounted = service->serviceMountGroupIs("g2", nullptr);
  EXPECT_EQ(service->serviceMountGroupIs("g2", nullptr), unmounted);
  EXPECT_EQ(service->switchWhiteListIs("x"), service->switchWhiteListIs("x"));
  EXPECT_EQ(service->versionWhiteListIs("v"), service->versionWhiteListIs("v"));
  EXPECT_FALSE(service->serviceMountGroupDel("nope"));
  EXPECT_EQ(service->serviceMountGroupDel("g2"), unmounted);
  traceOn("8");
  service = nullptr;
  // The lists in their collections' order, then the group the agent still holds.
  EXPECT_EQ(traces(), (Log{"8 HubstoreService::doCleanup", "8 SwitchWhiteList::doCleanup x",
                           "8 VersionWhiteList::doCleanup v", "8 HubstoreServiceMountGroup::doCleanup g2"}));
}

TEST_F(Service, NotificationStateReachesEveryMemberAndTheStatusMachineCanBeReplaced) {
  group = service->serviceMountGroupIs("g1", mounter);
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

  EXPECT_EQ(service->mountStatusSmDel(), machine);
  EXPECT_FALSE(machine->hasNotificationActive());
  EXPECT_FALSE(service->mountStatusSm());
}

// A closed group with one controller mount, one publish mount and a
// per-switch publish mount, bound to lists; completion then needs only the
// path prefix and the publish status.
struct Lifetime : MountGroupWorld {
  void SetUp() override {
    MountGroupWorld::SetUp();
    service->versionWhiteListIs("v")->allowedVersionIs(3, true);
    service->switchWhiteListIs("s")->allowedSwitchIs(SystemId::fromString("00:1c:73:00:00:01"), true);
    group = service->serviceMountGroupIs("g1", mounter);
    group->controllerMountIs("/r", "/db/r", "T", "F");
    group->publishMountIs("/db/p", "/p", "T");
    group->perSwitchPublishMountIs("/db/d", "/d", "T");
    group->versionWhiteListIs(service->versionWhiteList("v"));
    group->switchWhiteListIs(service->switchWhiteList("s"));
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
  Vex::Ptr<PerSwitchPublishMount> mount = group->perSwitchPublishMount("/db/d");
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
  mount->publishActiveIs(true);
  mountStatus->mountedPathPrefixIs("/r", "/db/r");
  publishStatus->publishGroupStatusIs("g1")->publishStatusIs("/db/p");
  mountStatus->initialMountsCompleteIs("g1", true);
  mountStatus->systemStatusIs("00:1c:73:00:00:01")->serviceMountGroupStatusIs("g1", mountStateMounted);
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
  EXPECT_EQ(hooks, Log{}) << "neither the machinery's writes nor the agent's calls reach a hook";
  // Any order of release: the lists go after the group that holds them.
  machine = nullptr;
  versions = nullptr;
  perSwitch = nullptr;
}

// A hook releases the service on each road a report takes: the report ends
// there, and the configuration the service wrote is withdrawn.
struct ReleasingHook;
struct Road {
  const char* name;
  std::vector<void (ReleasingHook::*)()> steps;  // the last one is watched
  std::function<void()> RecordingMounter::*hook;
  Log heard;
};
void PrintTo(const Road& road, std::ostream* out) { *out << road.name; }

struct ReleasingHook : Lifetime, ::testing::WithParamInterface<Road> {
  void pathPrefix() { mountStatus->mountedPathPrefixIs("/r", "/mnt/r"); }
  void published() { publishStatus->publishGroupStatusIs("g1")->publishStatusIs("/db/p"); }
  void closed() { service->serviceMountGroup("g1")->closedIs(true); }
  void initialMounts() { mountStatus->initialMountsCompleteIs("g1", true); }
  void firstReport() {
    service->serviceMountGroupIs("g2", mounter);
    auto record = SystemStatus::SystemStatusIs("00:1c:73:00:00:01");
    for (const char* name : {"g1", "g2"}) record->serviceMountGroupStatusIs(name, mountStateMounted);
    mountStatus->systemStatusIs(record);
  }
};

TEST_P(ReleasingHook, EndsTheReportAndWithdrawsTheConfiguration) {
  const Road& road = GetParam();
  for (std::size_t i = 0; i + 1 < road.steps.size(); ++i) (this->*road.steps[i])();
  hooks.clear();
  mounter.get()->*road.hook = [this] { service = nullptr; };
  group = nullptr;  // the service holds the only reference
  (this->*road.steps.back())();
  EXPECT_EQ(service, nullptr);
  EXPECT_EQ(hooks, road.heard);
  expectWithdrawn();
}

using R = ReleasingHook;
const Log kComplete{"doMountsComplete g1"};
const auto kOnComplete = &RecordingMounter::onMountsComplete;
INSTANTIATE_TEST_SUITE_P(
    Roads, ReleasingHook,
    ::testing::Values(Road{"Closing", {&R::pathPrefix, &R::published, &R::closed}, kOnComplete, kComplete},
                      Road{"PathPrefix", {&R::published, &R::closed, &R::pathPrefix}, kOnComplete, kComplete},
                      Road{"PublishStatus", {&R::pathPrefix, &R::closed, &R::published}, kOnComplete, kComplete},
                      Road{"InitialMounts", {&R::pathPrefix, &R::published, &R::initialMounts, &R::closed},
                           &RecordingMounter::onInitialSwitchMountsComplete,
                           {"doMountsComplete g1", "doInitialSwitchMountsComplete g1"}},
                      Road{"FirstReport", {&R::firstReport}, &RecordingMounter::onMountState,
                           {"doHandleControllerMountState 00:1c:73:00:00:01 g1 mounted"}}),
    [](const ::testing::TestParamInfo<Road>& info) { return std::string(info.param.name); });

// A fleet whose switches reported before the agent declared its groups: two
// switches written out of order, one status of a group the agent no longer
// declares, and a switch name that is not an Ethernet address.
struct LiveFleet : MountGroupWorld {
  void SetUp() override {
    MountGroupWorld::SetUp();
    for (const char* name : {"00:1c:73:00:00:02", "00:1c:73:00:00:01"}) {
      auto record = SystemStatus::SystemStatusIs(name);
      record->serviceMountGroupStatusIs("g2", mountStateMounting);
      record->serviceMountGroupStatusIs("g1", mountStateMounted);
      record->serviceMountGroupStatusIs("gone", mountStateFailed);
      mountStatus->systemStatusIs(record);
    }
    mountStatus->systemStatusIs("not-a-switch")->serviceMountGroupStatusIs("g1", mountStateMounted);
    service->serviceMountGroupIs("g1", mounter);
    service->serviceMountGroupIs("g2", mounter);
  }
  const Log fleet = {"doHandleControllerMountState 00:1c:73:00:00:01 g1 mounted",
                     "doHandleControllerMountState 00:1c:73:00:00:02 g1 mounted",
                     "doHandleControllerMountState 00:1c:73:00:00:02 g2 mounting"};
};

TEST_F(LiveFleet, AHookMayReleaseAGroupOrASwitchOrThrowMidReport) {
  // A group released by a hook is passed over from then on.
  mounter->onMountState = [&] { service->serviceMountGroupDel("g2"); };
  service->reportMountStates();
  EXPECT_EQ(hooks, (Log{fleet[0], fleet[1]}));

  // A switch removed by a hook ends its own report; the next switch reports.
  hooks.clear();
  service->serviceMountGroupIs("g2", mounter);
  mounter->onMountState = [&] { mountStatus->systemStatusDel("00:1c:73:00:00:01"); };
  service->reportMountStates();
  EXPECT_EQ(hooks, (Log{fleet[0], fleet[1], fleet[2]}));

  // An exception leaves the call; the service reports in full afterwards.
  hooks.clear();
  mounter->onMountState = [] { throw Vex::InternalException("hook failed"); };
  EXPECT_THROW(service->reportMountStates(), Vex::InternalException);
  mounter->onMountState = nullptr;
  service->reportMountStates();
  EXPECT_EQ(hooks, (Log{fleet[1], fleet[1], fleet[2]}));

}

}  // namespace
}  // namespace Controller::testing
