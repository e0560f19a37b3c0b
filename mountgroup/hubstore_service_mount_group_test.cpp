#include <hubstore/mountgroup/hubstore_service_mount_group.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/testing/world.h>

namespace Controller {
namespace {

using testing::Log;

// Logs "LABEL ATTRIBUTE-ID" for every change its record reports, then runs its action.
class ConfigWatcher : public Vex::PtrInterface::NotifieeConst {
 public:
  static const Vex::TypeDescriptor& staticType() {
    static const Vex::TypeDescriptor type("Controller::MountGroupTest::ConfigWatcher", {});
    return type;
  }
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  void onAttribute(Vex::AttributeId attribute, const void*) override {
    log_->push_back(label_ + " " + std::to_string(attribute));
    if (action) action();
  }
  ConfigWatcher(std::string label, Log* log) : label_(std::move(label)), log_(log) {}
  std::function<void()> action;

 private:
  std::string label_;
  Log* log_;
};

std::string entry(const char* label, Vex::AttributeId attribute) { return label + (" " + std::to_string(attribute)); }

class MountGroup : public testing::World {
 protected:
  Vex::Ptr<HubstoreService> service;
  Vex::Ptr<HubstoreServiceMountGroup> group;
  Log writes;  // what the watched records reported, in order
  std::vector<Vex::Ptr<ConfigWatcher>> watchers;

  void SetUp() override {
    World::SetUp();
    service = serviceIs("svcA");
  }
  void TearDown() override {
    watchers.clear();
    group = nullptr;
    service = nullptr;
    World::TearDown();
  }
  ConfigWatcher& watch(const char* label, const Vex::Ptr<const Vex::PtrInterface>& record) {
    Vex::Ptr<ConfigWatcher> watcher = watchers.emplace_back(Vex::make<ConfigWatcher>(label, &writes));
    watcher->notifierIs(record);
    watcher->isRegisteredNotifieeIs(true);
    watcher->hasNotificationActiveIs(true);
    return *watcher;
  }
  void groupIs(const Vex::Ptr<HubstoreServiceMounter>& m) { group = service->serviceMountGroupIs("g1", m); }
  void close() {
    group->versionWhiteListIs(service->versionWhiteListIs("v"));
    group->closedIs(true);
  }
  long at(const std::string& line) const {
    auto found = std::find(traces().begin(), traces().end(), line);
    return found == traces().end() ? -1 : found - traces().begin();
  }
  long count(const std::string& line) const { return std::count(traces().begin(), traces().end(), line); }
};
using MountGroupDeathTest = MountGroup;

TEST_F(MountGroup, CreationWritesThePublishSideFirstAndRunsItsStepsInOrder) {
  watch("publish", publishConfig);
  watch("mount", mountConfig);
  traceOn("5,7-8");
  groupIs(mounter);
  EXPECT_EQ(writes, (Log{entry("publish", ServicePublishConfig::Attr::publishGroupConfig),
                         entry("mount", ServiceMountConfig::Attr::mountGroupConfig)}));
  EXPECT_TRUE(mountConfig->mountGroupConfig("g1")->preserveMountsOnDisconnect());
  const std::string preserve =
      "8 HubstoreServiceMountGroup::handlePreserveMountsOnDisconnect preserveMountsOnDisconnect=true";
  EXPECT_EQ(count(preserve), 1);
  const long steps[] = {at("8 HubstoreServiceMountGroup::handleInitialized g1"),
                        at("8 HubstoreServiceMountGroup::handlePublishGroupStatus"), at(preserve),
                        at("8 HubstoreServiceMountGroup:doCheckMountAndPublishStatus g1"),
                        at("8 ServiceMountStatusSm::handleInitialMountsComplete g1")};
  EXPECT_GE(steps[0], 0);
  EXPECT_TRUE(std::is_sorted(std::begin(steps), std::end(steps))) << ::testing::PrintToString(traces());
  EXPECT_EQ(at("8 HubstoreServiceMountGroup::handlePathPrefix"), -1);
}

TEST_F(MountGroupDeathTest, CreationChecksTheMountStatusBeforeThePublishStatus) {
  service->serviceMountStatusIs(nullptr);
  service->servicePublishStatusIs(nullptr);
  EXPECT_DEATH(groupIs(mounter), "assertion failed: mountStatus\\(\\)\n");
}

TEST_F(MountGroupDeathTest, MountsDirReturnsThePrefixAsItStandsAndRequiresOne) {
  groupIs(mounter);
  mountStatus->mountedPathPrefixIs("/r/a", "/mnt/sw/");
  EXPECT_EQ(group->mountsDir("/r/a"), "/mnt/sw/");
  EXPECT_DEATH(group->mountsDir("/r/b"), "assertion failed: mountStatus\\(\\)->mountedPathPrefix\\( remotePath \\)");
}

TEST_F(MountGroup, EveryPathPrefixChangeRunsOneCheckWithAnEmptyKey) {
  groupIs(mounter);
  traceOn("8");
  mountStatus->mountedPathPrefixIs("/r/a", "/p");
  mountStatus->mountedPathPrefixDel("/r/a");
  EXPECT_EQ(count("8 HubstoreServiceMountGroup::handlePathPrefix : "), 2);
  EXPECT_EQ(count("8 HubstoreServiceMountGroup:doCheckMountAndPublishStatus g1"), 2);
}

TEST_F(MountGroup, ReplacingTheMountStatusRechecksOnceAndNullDropsTheReactor) {
  groupIs(mounter);
  Vex::Ptr<ServiceMountStatus> other = ServiceMountStatus::ServiceMountStatusIs("other");
  traceOn("8");
  group->mountStatusIs(other);
  mountStatus->mountedPathPrefixIs("/r/a", "/p");  // no longer heard
  group->mountStatusIs(nullptr);
  other->mountedPathPrefixIs("/r/a", "/p");
  EXPECT_EQ(count("8 HubstoreServiceMountGroup::handlePathPrefix"), 1);
  EXPECT_EQ(count("8 HubstoreServiceMountGroup::handlePathPrefix : "), 0);
  EXPECT_EQ(HubstoreServiceMountGroup::VexMountStatus::staticType().liveCount(), 0);
}

TEST_F(MountGroup, ReplacingThePublishStatusRescansItOnceAndReplacingTheGroupStatusRechecksOnce) {
  groupIs(mounter);
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
  EXPECT_EQ(hooks.size(), 1u);

  trace.clear();
  group->publishGroupStatusIs(stray);
  group->publishGroupStatusIs(stray);
  EXPECT_EQ(count("8 HubstoreServiceMountGroup::handlePublishStatus"), 1);
  EXPECT_EQ(count("8 HubstoreServiceMountGroup:doCheckMountAndPublishStatus g1"), 1);
  EXPECT_EQ(hooks.size(), 2u);
  otherOwn->publishStatusIs("/db/p");
  EXPECT_EQ(hooks.size(), 2u);
  stray->publishStatusIs("/db/p");
  EXPECT_EQ(hooks.size(), 3u);
}

TEST_F(MountGroup, RemovingThePublishGroupStatusReturnsItAndEndsItsChecks) {
  groupIs(mounter);
  close();
  Vex::Ptr<ServicePublishGroupStatus> own = publishStatus->publishGroupStatusIs("g1");
  EXPECT_EQ(group->publishGroupStatusDel(), own);
  EXPECT_EQ(group->publishGroupStatus(), nullptr);
  EXPECT_EQ(HubstoreServiceMountGroup::VexPublishGroupStatus::staticType().liveCount(), 0);
  own->publishStatusIs("/db/p");
  EXPECT_EQ(hooks, Log{"doMountsComplete g1"});
  EXPECT_EQ(group->publishGroupStatusDel(), nullptr);
}

TEST_F(MountGroup, ControllerMountIsMirroredAndCannotBeRedeclaredDifferently) {
  groupIs(mounter);
  Vex::Ptr<ControllerMount> a = group->controllerMountIs("a", "/db/a", "T", "F");
  const ServiceMountGroupConfig& config = *group->mountGroupConfig();
  ASSERT_NE(config.mountConfig("a"), nullptr);
  EXPECT_EQ(*config.mountConfig("a"), (MountConfig{"T", "F", "/db/a"}));
  traceOn("8");
  EXPECT_EQ(group->controllerMountIs("a", "/db/a", "T", "F"), a);
  try {
    group->controllerMountIs("a", "/db/a", "T", "G");
    ADD_FAILURE() << "redeclaring with other flags must throw";
  } catch (const Vex::MutatorReinstantiatingException& e) {
    EXPECT_EQ(e.message(), "cannot reinstantiate controllerMount[a]: attribute vexcFlags (261) is F, new value G");
  }
  EXPECT_EQ(group->controllerMount("a")->vexcFlags(), "F");
  EXPECT_EQ(*config.mountConfig("a"), (MountConfig{"T", "F", "/db/a"}));
  group->controllerMountIs("b", "/db/b", "T", "F");
  EXPECT_EQ(traces(), (Log{"8 HubstoreServiceMountGroup::handleControllerMount path: b",
                           "8 handleControllerMount remote path:b type: T hubstore path: /db/b"}));
}

TEST_F(MountGroup, WholeCollectionHandlersRewriteEveryEntrysConfig) {
  groupIs(mounter);
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
  EXPECT_EQ(dir->vexcType(), "D");
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

TEST_F(MountGroup, ClosingReportsOnceCompleteThenTheStatusMachineFollows) {
  groupIs(mounter);
  group->controllerMountIs("a", "/db/a", "T", "F");
  group->publishMountIs("/db/p", "/sw/p", "T");
  mountStatus->initialMountsCompleteIs("g1", true);
  publishStatus->publishGroupStatusIs("g2")->publishStatusIs("/db/p");  // another group's
  traceOn("5");
  close();
  EXPECT_EQ(count("5 doCheckMountStatusComplete : no path prefix for a"), 1);
  mountStatus->mountedPathPrefixIs("a", "/mnt");
  EXPECT_EQ(count("5 doCheckPublishStatusComplete no groupStatus for g1"), 1);
  Vex::Ptr<ServicePublishGroupStatus> own = publishStatus->publishGroupStatusIs("g1");
  EXPECT_EQ(count("5 doCheckPublishStatusComplete : no publish status for /db/p"), 1);
  EXPECT_EQ(hooks, Log{});
  own->publishStatusIs("/db/p");
  EXPECT_EQ(hooks, (Log{"doMountsComplete g1", "doInitialSwitchMountsComplete g1"}));
  mountStatus->mountedPathPrefixIs("b", "/mnt");
  EXPECT_EQ(hooks.size(), 4u) << "a re-check while complete reports again";
}

TEST_F(MountGroup, ACompleteGroupWithoutMounterTellsNobody) {
  groupIs(nullptr);
  mountStatus->initialMountsCompleteIs("g1", true);
  publishStatus->publishGroupStatusIs("g1");
  traceOn("5,8");
  close();
  EXPECT_EQ(count("5 doCheckMountAndPublishStatus : no mounter"), 1);
  EXPECT_EQ(at("8 ServiceMountStatusSm::handleInitialMountsComplete g1"), -1);
}

TEST_F(MountGroup, AThrowingHookLeavesTheGroupToReportAgain) {
  groupIs(mounter);
  mountStatus->initialMountsCompleteIs("g1", true);
  publishStatus->publishGroupStatusIs("g1");
  mounter->onMountsComplete = [] { throw Vex::InternalException("hook failed"); };
  EXPECT_THROW(close(), Vex::InternalException);
  EXPECT_TRUE(group->closed());
  mounter->onMountsComplete = nullptr;
  mountStatus->mountedPathPrefixIs("x", "/mnt");
  EXPECT_EQ(hooks, (Log{"doMountsComplete g1", "doMountsComplete g1", "doInitialSwitchMountsComplete g1"}));
}

TEST_F(MountGroup, AHookMayDeleteAnEntryOrItsOwnGroup) {
  groupIs(mounter);
  group->controllerMountIs("a", "/db/a", "T", "F");
  mountStatus->mountedPathPrefixIs("a", "/mnt");
  publishStatus->publishGroupStatusIs("g1");
  close();
  mounter->onMountsComplete = [this] { group->controllerMountDel("a"); };
  mountStatus->mountedPathPrefixIs("x", "/mnt");
  EXPECT_EQ(group->controllerMount("a"), nullptr);
  mounter->onMountsComplete = [this] { service->serviceMountGroupDel("g1"); };
  group = nullptr;
  mountStatus->mountedPathPrefixIs("y", "/mnt");
  EXPECT_EQ(mountConfig->mountGroupConfig("g1"), nullptr);
  EXPECT_EQ(HubstoreServiceMountGroup::staticType().liveCount(), 0);
}

TEST_F(MountGroup, ClosingPrunesStalePublishConfigOnceUnlessTheCountsAgree) {
  Vex::Ptr<ServicePublishGroupConfig> config = publishConfig->publishGroupConfigIs("g1");
  config->publishConfigIs("/db/old", "/sw/old", "T");  // left by an earlier run
  config->publishDirIs("/db/olddir", "T");
  groupIs(mounter);
  group->publishMountIs("/db/p", "/sw/p", "T");
  traceOn("8");
  close();
  EXPECT_EQ(count("8 HubstoreService::handleClosed mg g1 unpublishing mount /db/old"), 1);
  EXPECT_EQ(count("8 HubstoreService::handleClosed mg g1 unpublishing dir /db/olddir"), 1);
  EXPECT_EQ(config->publishConfig("/db/old"), nullptr);
  EXPECT_EQ(config->publishDir("/db/olddir"), nullptr);
  config->publishConfigIs("/db/old", "/sw/old", "T");
  group->closedIs(true);
  group->closedIs(false);
  EXPECT_NE(config->publishConfig("/db/old"), nullptr) << "only the first close prunes";
  config->publishConfigDel("/db/p");  // one stale, one declared: equal counts
  group->closedIs(true);
  EXPECT_NE(config->publishConfig("/db/old"), nullptr);
}

TEST_F(MountGroupDeathTest, ClosingWithoutAVersionListAborts) {
  groupIs(mounter);
  EXPECT_DEATH(group->closedIs(true),
               "assertion failed: versionWhiteList\\(\\) && \" mountgroup is missing version filter \"");
}

TEST_F(MountGroup, AllowListsBindTheirOwnFiltersInTheirOwnOrder) {
  groupIs(mounter);
  Vex::Ptr<SwitchWhiteList> switches = service->switchWhiteListIs("s");
  Vex::Ptr<VersionWhiteList> versions = service->versionWhiteListIs("v");
  versions->allowedVersionIs(3, true);
  versions->allowedVersionIs(1, true);
  watch("publish", group->publishGroupConfig());
  watch("mount", group->mountGroupConfig());
  traceOn("8");
  group->switchWhiteListIs(switches);
  group->switchWhiteListIs(switches);
  group->switchWhiteListIs(nullptr);
  EXPECT_EQ(traces(), (Log{"8 HubstoreServiceMountGroup::handleSwitchWhiteList whiteList: s groupName: g1",
                           "8 HubstoreServiceMountGroup::handleSwitchWhiteList whiteList: None  groupName: g1"}));
  const std::string publishSystem = entry("publish", ServicePublishGroupConfig::Attr::systemFilter);
  const std::string mountSystem = entry("mount", ServiceMountGroupConfig::Attr::systemFilter);
  EXPECT_EQ(writes, (Log{publishSystem, mountSystem, publishSystem, mountSystem}));

  trace.clear();
  writes.clear();
  group->versionWhiteListIs(versions);
  EXPECT_EQ(traces(), (Log{"8 HubstoreServiceMountGroup::handleVersionWhiteList version: v supported: " +
                               versions->publishVersionFilter()->fullName().stdString() +
                               " supported versions:  groupName g1",
                           "8  Supported Version for filter :v 1", "8  Supported Version for filter :v 3"}));
  EXPECT_EQ(writes, (Log{entry("mount", ServiceMountGroupConfig::Attr::versionFilter),
                         entry("publish", ServicePublishGroupConfig::Attr::versionFilter)}));
  EXPECT_EQ(group->mountGroupConfig()->versionFilter(), versions->mountVersionFilter());
  EXPECT_EQ(group->publishGroupConfig()->versionFilter(), versions->publishVersionFilter());
  EXPECT_NE(versions->mountVersionFilter(), versions->publishVersionFilter());
}

TEST_F(MountGroup, DestroyingAGroupEmptiesThenWithdrawsItsConfigsPublishFirst) {
  groupIs(mounter);
  group->controllerMountIs("a", "/db/a", "T", "F");
  group->publishMountIs("/db/p", "/sw/p", "T");
  group->perSwitchPublishMountIs("/db/d", "/sw/d", "T");
  Vex::Ptr<ServiceMountGroupConfig> mountGroupConfig = group->mountGroupConfig();
  Vex::Ptr<ServicePublishGroupConfig> publishGroupConfig = group->publishGroupConfig();
  watch("publish", publishConfig);
  watch("mount", mountConfig);
  group = nullptr;
  service->serviceMountGroupDel("g1");
  EXPECT_EQ(writes, (Log{entry("publish", ServicePublishConfig::Attr::publishGroupConfig),
                         entry("mount", ServiceMountConfig::Attr::mountGroupConfig)}));
  EXPECT_TRUE(mountGroupConfig->mountConfigMembers().empty());
  EXPECT_TRUE(publishGroupConfig->publishConfigMembers().empty());
  EXPECT_TRUE(publishGroupConfig->publishDirMembers().empty());
}

}  // namespace
}  // namespace Controller
