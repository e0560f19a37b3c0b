// The group's traces, its entries' configuration, closing and completion are
// pinned end to end by the scenarios (group_entries, group_close, completion,
// allow_lists, hooks_*); these tests reach what a scenario cannot: the order
// of record writes, records replaced under the group, and handlers run
// directly.
#include <hubstore/mountgroup/hubstore_service_mount_group.h>

#include <gtest/gtest.h>

#include <algorithm>

#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/mountgroup/test_mount_group.h>

namespace Controller::testing {
namespace {

// Each test starts with group g1 of `mounter`.
class MountGroup : public MountGroupWorld {
 protected:
  void SetUp() override {
    MountGroupWorld::SetUp();
    group = service->serviceMountGroupIs("g1", mounter);
  }
  long count(const std::string& line) const { return std::count(traces().begin(), traces().end(), line); }
};
using MountGroupDeathTest = MountGroup;

TEST_F(MountGroup, ItsConfigsAreCreatedAndWithdrawnPublishSideFirstAndEmptied) {
  watch("publish", publishConfig);
  watch("mount", mountConfig);
  group = service->serviceMountGroupIs("g2", mounter);
  const Log created{"publish publishGroupConfig", "mount mountGroupConfig"};
  EXPECT_EQ(writes, created);
  group->controllerMountIs("a", "/db/a", "T", "F");
  group->publishMountIs("/db/p", "/sw/p", "T");
  group->perSwitchPublishMountIs("/db/d", "/sw/d", "T");
  Vex::Ptr<ServiceMountGroupConfig> mountGroupConfig = group->mountGroupConfig();
  Vex::Ptr<ServicePublishGroupConfig> publishGroupConfig = group->publishGroupConfig();
  writes.clear();
  group = nullptr;
  service->serviceMountGroupDel("g2");
  EXPECT_EQ(writes, created);
  EXPECT_TRUE(mountGroupConfig->mountConfigMembers().empty());
  EXPECT_TRUE(publishGroupConfig->publishConfigMembers().empty());
  EXPECT_TRUE(publishGroupConfig->publishDirMembers().empty());
}

TEST_F(MountGroupDeathTest, AssertsTheMountStatusFirstAPathPrefixItReadsAndAVersionListToClose) {
  service->serviceMountStatusIs(nullptr);
  service->servicePublishStatusIs(nullptr);
  EXPECT_DEATH(service->serviceMountGroupIs("g2", mounter), "assertion failed: mountStatus\\(\\)\n");
  service->serviceMountStatusIs(mountStatus);
  service->servicePublishStatusIs(publishStatus);
  mountStatus->mountedPathPrefixIs("/r/a", "/mnt/sw/");
  EXPECT_EQ(group->mountsDir("/r/a"), "/mnt/sw/");
  EXPECT_DEATH(group->mountsDir("/r/b"), "assertion failed: mountStatus\\(\\)->mountedPathPrefix\\( remotePath \\)");
  EXPECT_DEATH(group->closedIs(true),
               "assertion failed: versionWhiteList\\(\\) && \" mountgroup is missing version filter \"");
}

TEST_F(MountGroup, EveryPathPrefixChangeRunsOneCheckAndAReplacedMountStatusIsNoLongerHeard) {
  traceOn("8");
  mountStatus->mountedPathPrefixIs("/r/a", "/p");
  mountStatus->mountedPathPrefixDel("/r/a");
  group->vexDoZombieReactors(true);  // marked reactors hear nothing
  mountStatus->mountedPathPrefixIs("/r/b", "/p");
  group->vexDoZombieReactors(false);
  EXPECT_EQ(count("8 HubstoreServiceMountGroup::handlePathPrefix : "), 2);
  EXPECT_EQ(count("8 HubstoreServiceMountGroup:doCheckMountAndPublishStatus g1"), 2);

  Vex::Ptr<ServiceMountStatus> other = ServiceMountStatus::ServiceMountStatusIs("other");
  traceOn("8");
  group->mountStatusIs(other);  // one check of the new record
  mountStatus->mountedPathPrefixIs("/r/a", "/p");
  group->mountStatusIs(nullptr);
  other->mountedPathPrefixIs("/r/a", "/p");
  EXPECT_EQ(count("8 HubstoreServiceMountGroup::handlePathPrefix"), 1);
  EXPECT_EQ(count("8 HubstoreServiceMountGroup::handlePathPrefix : "), 0);
  EXPECT_EQ(HubstoreServiceMountGroup::VexMountStatus::staticType().liveCount(), 0);
}

TEST_F(MountGroup, ReplacingThePublishStatusRescansItOnceAndReplacingTheGroupStatusRechecksOnce) {
  close();  // complete as soon as a publish status for g1 is watched
  Vex::Ptr<ServicePublishStatus> other = ServicePublishStatus::ServicePublishStatusIs("other");
  Vex::Ptr<ServicePublishGroupStatus> otherOwn = other->publishGroupStatusIs("g1");
  other->publishGroupStatusIs("g2");
  traceOn("8");
  group->publishStatusIs(other);
  EXPECT_EQ(count("8 HubstoreServiceMountGroup::handlePublishGroupStatus"), 1);
  EXPECT_EQ(count("8 HubstoreServiceMountGroup::handlePublishGroupStatus: g2"), 1);
  EXPECT_EQ(group->publishGroupStatus(), otherOwn);
  EXPECT_EQ(hooks, Log{"doMountsComplete g1"});
  Vex::Ptr<ServicePublishGroupStatus> stray = publishStatus->publishGroupStatusIs("g1");  // no longer heard

  trace.clear();
  group->publishGroupStatusIs(stray);
  group->publishGroupStatusIs(stray);
  EXPECT_EQ(count("8 HubstoreServiceMountGroup::handlePublishStatus"), 1);
  EXPECT_EQ(count("8 HubstoreServiceMountGroup:doCheckMountAndPublishStatus g1"), 1);
  otherOwn->publishStatusIs("/db/p");  // no longer heard
  stray->publishStatusIs("/db/p");

  {
    Vex::Ptr<HubstoreServiceMountGroup::VexPublishGroupStatus> retired = group->publishGroupStatusReactor();
    EXPECT_EQ(group->publishGroupStatusDel(), stray);
    retired->handlePublishStatus();  // retired: it reaches no group
  }
  EXPECT_EQ(HubstoreServiceMountGroup::VexPublishGroupStatus::staticType().liveCount(), 0);
  stray->publishStatusIs("/db/q");
  // Told on the first binding, the rebinding and the write to its record.
  EXPECT_EQ(hooks.size(), 3u);
  EXPECT_EQ(group->publishGroupStatusDel(), nullptr);
}

TEST_F(MountGroup, WholeCollectionHandlersRewriteEveryEntrysConfig) {
  group->controllerMountIs("a", "/db/a", "T", "F");
  group->controllerMountIs("b", "/db/b", "T", "F");
  group->publishMountIs("/db/p", "/sw/p", "T");
  group->perSwitchPublishMountIs("/db/d", "/sw/d", "D");
  ServiceMountGroupConfig& mountGroupConfig = *group->mountGroupConfig();
  ServicePublishGroupConfig& publishGroupConfig = *group->publishGroupConfig();
  mountGroupConfig.mountConfigDel("a");
  mountGroupConfig.mountConfigIs("b", "X", "F", "/db/b");
  publishGroupConfig.publishConfigIs("/db/p", "/sw/elsewhere", "T");
  publishGroupConfig.publishDirDel("/db/d");
  group->perSwitchPublishMountSmDel("/db/d");
  traceOn("8");
  group->handleControllerMount();
  group->handlePublishMount();
  group->handlePerSwitchPublishMount();
  ASSERT_NE(mountGroupConfig.mountConfig("a"), nullptr);
  EXPECT_EQ(*mountGroupConfig.mountConfig("a"), (MountConfig{"T", "F", "/db/a"}));
  EXPECT_EQ(*mountGroupConfig.mountConfig("b"), (MountConfig{"T", "F", "/db/b"}));
  EXPECT_EQ(*publishGroupConfig.publishConfig("/db/p"), (PublishConfig{"/sw/p", "T"}));
  Vex::Ptr<PublishDir> dir = publishGroupConfig.publishDir("/db/d");
  ASSERT_NE(dir, nullptr);
  EXPECT_EQ(dir->remoteTargetPath(), "/sw/d") << "the machine made anew writes the target";
  EXPECT_NE(group->perSwitchPublishMountSm("/db/d"), nullptr);
  EXPECT_EQ(traces(), (Log{"8 HubstoreServiceMountGroup::handleControllerMount",
                           "8 HubstoreServiceMountGroup::handleControllerMount path: a",
                           "8 handleControllerMount remote path:a type: T hubstore path: /db/a",
                           "8 HubstoreServiceMountGroup::handleControllerMount path: b",
                           "8 handleControllerMount remote path:b type: T hubstore path: /db/b",
                           "8 HubstoreServiceMountGroup::handlePublishMount",
                           "8 HubstoreServiceMountGroup::handlePublishMount path:/db/p",
                           "8 handlePublishMount target:/sw/p type:T",
                           "8 HubstoreServiceMountGroup::handlePerSwitchPublishMount",
                           "8 HubstoreServiceMountGroup::handlePerSwitchPublishMount path: /db/d",
                           "8 PerSwitchPublishMountSm::handlePerSwitchPublishMountActive path: /db/d",
                           "8 handlePerSwitchPublishMountActive type:D"}));
}

// A hook that deletes its own group: the hooks_group_delete scenario.
TEST_F(MountGroup, AThrowingHookLeavesTheGroupClosedToReportAgainAndAHookMayDeleteAnEntryOfItsGroup) {
  group->controllerMountIs("a", "/db/a", "T", "F");
  mountStatus->mountedPathPrefixIs("a", "/mnt");
  mountStatus->initialMountsCompleteIs("g1", true);
  publishStatus->publishGroupStatusIs("g1");
  mounter->onMountsComplete = [] { throw Vex::InternalException("hook failed"); };
  EXPECT_THROW(close(), Vex::InternalException);
  EXPECT_TRUE(group->closed());
  mounter->onMountsComplete = [this] { group->controllerMountDel("a"); };
  mountStatus->mountedPathPrefixIs("x", "/mnt");
  EXPECT_EQ(hooks, (Log{"doMountsComplete g1", "doMountsComplete g1", "doInitialSwitchMountsComplete g1"}));
  EXPECT_EQ(group->controllerMount("a"), nullptr);
  EXPECT_EQ(group->mountGroupConfig()->mountConfig("a"), nullptr);
}

TEST_F(MountGroup, AllowListsBindTheirOwnFiltersInTheirOwnOrder) {
  Vex::Ptr<SwitchWhiteList> switches = service->switchWhiteListIs("s");
  Vex::Ptr<VersionWhiteList> versions = service->versionWhiteListIs("v");
  watch("publish", group->publishGroupConfig());
  watch("mount", group->mountGroupConfig());
  group->switchWhiteListIs(switches);
  group->switchWhiteListIs(nullptr);
  group->versionWhiteListIs(versions);
  EXPECT_EQ(writes, (Log{"publish systemFilter", "mount systemFilter", "publish systemFilter", "mount systemFilter",
                         "mount versionFilter", "publish versionFilter"}));
  EXPECT_EQ(group->mountGroupConfig()->versionFilter(), versions->mountVersionFilter());
  EXPECT_EQ(group->publishGroupConfig()->versionFilter(), versions->publishVersionFilter());
}

}  // namespace
}  // namespace Controller::testing
