#include <hubstore/status/system_status_sm.h>

#include <gtest/gtest.h>

#include <hubstore/mountgroup/test_mount_group.h>
#include <hubstore/status/service_mount_status_sm.h>

namespace Controller::testing {
namespace {

class SystemStatusSmTest : public MountGroupWorld {
 protected:
  // A switch record that arrives already holding a status per named group.
  Vex::Ptr<SystemStatus> switchIs(const char* name, std::initializer_list<const char*> groups) {
    auto record = SystemStatus::SystemStatusIs(name);
    for (const char* group : groups) record->serviceMountGroupStatusIs(group, mountStateMounted);
    mountStatus->systemStatusIs(record);
    return record;
  }
  // Groups g1 and g2 of `mounter`, then switch sw reporting both, the hooks
  // it called forgotten.
  Vex::Ptr<SystemStatus> twoGroupsIs() {
    for (const char* name : {"g1", "g2"}) service->serviceMountGroupIs(name, mounter);
    auto record = switchIs(sw, {"g1", "g2"});
    hooks.clear();
    return record;
  }
  const char* sw = "00:1c:73:0a:0b:0c";
};

// A switch's first report, later changes, removals and undeclared groups are
// pinned end to end by the mount_states scenario; hooks that write status,
// throw or remove a switch by the hooks_* scenarios.

// A repointed reactor reports its new record once; a dropped group status or
// switch record reports nothing more.
TEST_F(SystemStatusSmTest, AGroupStatusReactorReportsWhatItWatchesUntilItsRecordOrTheSwitchIsDropped) {
  auto record = twoGroupsIs();
  auto g1 = record->serviceMountGroupStatusIs("g1");
  auto g2 = record->serviceMountGroupStatusIs("g2");
  g2->mountStateIs(mountStateFailed);
  auto reactor = service->mountStatusSm()->systemStatusSm(sw)->serviceMountGroupStatus("g1");
  hooks.clear();
  traceOn("8");
  reactor->notifierIs(g2);
  reactor->notifierIs(g2);
  EXPECT_EQ(traces(), Log{"8 SystemStatusSm::handleMountState: g2"});
  g1->mountStateIs(mountStateUnmounted);  // watched by nobody now
  reactor->notifierIs(nullptr);

  auto machine = service->mountStatusSm()->systemStatusSm(sw);
  record->serviceMountGroupStatusDel("g2");
  g2->mountStateIs(mountStateUnmounted);
  EXPECT_FALSE(machine->serviceMountGroupStatus("g2"));
  machine->systemStatusDel();
  record->serviceMountGroupStatusIs("g1")->mountStateIs(mountStateFailed);
  record->serviceMountGroupStatusIs("g2", mountStateMounted);
  machine->handleMountState();
  EXPECT_EQ(machine->systemStatus(), nullptr);
  EXPECT_EQ(machine->serviceMountGroupStatusMembers().count(), 0u);
  EXPECT_EQ(hooks, Log{"doHandleControllerMountState 00:1c:73:0a:0b:0c g2 failed"});
}

TEST_F(SystemStatusSmTest, RepointedSwitchReactorBringsTheGroupReactorsInLineSilently) {
  service->serviceMountGroupIs("g3", mounter);
  auto record = twoGroupsIs();
  auto machine = service->mountStatusSm()->systemStatusSm(sw);
  auto other = SystemStatus::SystemStatusIs(sw);
  for (const char* g : {"g2", "g3"}) other->serviceMountGroupStatusIs(g, mountStateMounted);
  // The machine's own reactor is not reachable from outside; a second one
  // over the same machine runs the same code.
  auto reactor = Vex::make<SystemStatusSm::VexSystemStatus>(machine.get());
  const auto replaced = machine->serviceMountGroupStatus("g2");  // held past its replacement
  reactor->notifierIs(other);
  record->serviceMountGroupStatusIs("g2")->mountStateIs(mountStateFailed);  // heard by the retired reactor only
  Log groups;
  for (auto it = machine->serviceMountGroupStatusMembers().begin(); it != nullptr; ++it) {
    groups.push_back(it.key().stdString());
    EXPECT_EQ((*it)->notifier(), other->serviceMountGroupStatusRaw(it.key())) << it.key().stdString();
  }
  EXPECT_EQ(groups, (Log{"g2", "g3"}));
  EXPECT_EQ(hooks, Log{});
}

TEST_F(SystemStatusSmTest, NameThatIsNoEthernetAddressIsAnAnomalyTheOthersAreTracked) {
  service = nullptr;
  auto early = switchIs("switch-7", {"g1"});
  traceOn("5");
  service = serviceIs("svcA");
  service->serviceMountGroupIs("g1", mounter);
  auto late = switchIs("switch-8", {"g1"});
  switchIs(sw, {"g1"});
  late->serviceMountGroupStatusIs("g1")->mountStateIs(mountStateFailed);
  EXPECT_EQ(hooks, Log{"doHandleControllerMountState 00:1c:73:0a:0b:0c g1 mounted"});
  Log anomalies = traces();
  std::erase_if(anomalies, [](const std::string& line) { return !line.starts_with("5 handleSystemStatus"); });
  EXPECT_EQ(anomalies, (Log{"5 handleSystemStatus: system switch-7 is not an Ethernet address.",
                            "5 handleSystemStatus: system switch-8 is not an Ethernet address."}));
  EXPECT_FALSE(service->mountStatusSm()->systemStatusSm("switch-8"));
  // Only the agent's own direct call is told off.
  EXPECT_THROW(service->mountStatusSm()->systemStatusSmIs(early), Lanx::InvalidEthAddrException);
  EXPECT_NO_THROW(service->closedIs(true));
}

TEST_F(SystemStatusSmTest, AHookMayReleaseItsOwnGroupAndMounterOrTheSwitchOfTheChange) {
  auto solo = Vex::make<RecordingMounter>(&hooks);
  service->serviceMountGroupIs("g1", solo);
  service->serviceMountGroupIs("g2", mounter);
  // Group g1 holds the only reference to `solo`, which it drops mid-call.
  long mountersInHook = 0;
  solo->onMountState = [&] {
    service->serviceMountGroupDel("g1");
    mountersInHook = RecordingMounter::staticType().liveCount();
  };
  solo = nullptr;
  auto g2 = switchIs(sw, {"g1", "g2"})->serviceMountGroupStatusIs("g2");
  EXPECT_EQ(mountersInHook, 2);
  EXPECT_EQ(hooks, (Log{"doHandleControllerMountState 00:1c:73:0a:0b:0c g1 mounted",
                        "doHandleControllerMountState 00:1c:73:0a:0b:0c g2 mounted"}));
  // The change's own reactor outlives its machine; a nested change reaches no one.
  mounter->onMountState = [&] {
    mountStatus->systemStatusDel(sw);
    g2->mountStateIs(mountStateFailed);
  };
  g2->mountStateIs(mountStateUnmounted);
  EXPECT_EQ(hooks.size(), 3u);
}

// Reads the switch it is told about only after removing that switch.
struct RemovingMounter : HubstoreServiceMounter {
  void doHandleControllerMountState(const SystemId& systemId, Vex::String, MountState,
                                    const Vex::Ptr<Mirra::EntityManager>&) override {
    status->systemStatusDel(systemId.stringValue());
    seen.push_back(systemId.stringValue().stdString());
  }
  ServiceMountStatus* status = nullptr;
  Log seen;
};

TEST_F(SystemStatusSmTest, AHookThatRemovesItsSwitchMayStillReadTheSwitchItWasGiven) {
  auto record = switchIs(sw, {"g1"});
  auto remover = Vex::make<RemovingMounter>();
  remover->status = mountStatus.get();
  service->serviceMountGroupIs("g1", remover);
  record->serviceMountGroupStatusIs("g1")->mountStateIs(mountStateFailed);
  EXPECT_EQ(remover->seen, Log{sw});
}

}  // namespace
}  // namespace Controller::testing
