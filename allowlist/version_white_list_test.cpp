#include <hubstore/allowlist/version_white_list.h>

#include <hubstore/foundations/framework/test_record.h>
#include <hubstore/testing/world.h>

namespace Controller::testing {
namespace {

struct VersionWhiteListTest : World {
  Vex::Ptr<HubstoreService> service;
  Log writes;
  std::vector<Vex::Ptr<Vex::testing::Probe>> probes;  // log the order of the writes
  void SetUp() override { World::SetUp(), service = serviceIs("svcA"); }
  void TearDown() override { service = nullptr, probes.clear(), World::TearDown(); }
  void watch(const char* tag, const Vex::Ptr<Vex::Entity>& record) {
    auto& probe = probes.emplace_back(Vex::make<Vex::testing::Probe>(tag, &writes));
    probe->notifierIs(record), probe->isRegisteredNotifieeIs(true), probe->hasNotificationActiveIs(true);
  }
};

TEST_F(VersionWhiteListTest, OwnsFiltersOfItsNameCreatedPublishFirstAndRemovedMountFirst) {
  watch("publish", publishConfig), watch("mount", mountConfig), traceOn("8");
  auto list = service->versionWhiteListIs("V");
  EXPECT_EQ(list->publishVersionFilter(), publishConfig->versionFilter("V"));
  EXPECT_EQ(list->mountVersionFilter(), mountConfig->versionFilter("V"));
  list = nullptr, service->versionWhiteListDel("V");
  EXPECT_EQ(writes, (Log{"publish", "mount", "mount", "publish"}));
  EXPECT_EQ(traces(), (Log{"8 VersionWhiteList::handleInitialized V", "8 VersionWhiteList::doCleanup V"}));
}

TEST_F(VersionWhiteListTest, OnlyAChangedEntryReachesBothFiltersPublishFirstUnderTheNumber) {
  auto list = service->versionWhiteListIs("V");
  watch("publish", list->publishVersionFilter()), watch("mount", list->mountVersionFilter());
  traceOn("8");
  list->allowedVersionIs(3, true), list->allowedVersionIs(3, true), list->allowedVersionIs(0, true);
  EXPECT_EQ(writes, (Log{"publish", "mount", "publish", "mount"}));
  EXPECT_EQ(traces(), (Log{"8 VersionWhiteListBase::handleAllowedVersion whitelist: V version: 3",
                           "8 VersionWhiteListBase::handleAllowedVersion whitelist: V version: 0"}));
  // false for an unlisted version still clears it from filters that hold it.
  list->publishVersionFilter()->includedServiceVersionIs(7, true);
  list->mountVersionFilter()->includedServiceVersionIs(7, true);
  list->allowedVersionIs(7, false), list->allowedVersionIs(3, false), list->allowedVersionDel(9);
  EXPECT_TRUE(list->allowedVersionMembers().contains(7) && list->allowedVersionMembers().contains(3));
  for (const auto& filter : {list->publishVersionFilter(), list->mountVersionFilter()}) {
    EXPECT_TRUE(filter->includedServiceVersion(0) && filter->includedServiceVersionMembers().count() == 1u);
  }
  EXPECT_EQ(traces().size(), 4u);
  list->allowedVersionDelAll();
  EXPECT_EQ(list->publishVersionFilter()->includedServiceVersionMembers().count(), 0u);
  EXPECT_EQ(list->mountVersionFilter()->includedServiceVersionMembers().count(), 0u);
}

TEST_F(VersionWhiteListTest, RewritingEveryEntryRestoresTamperedFilters) {
  auto list = service->versionWhiteListIs("V");
  list->allowedVersionIs(3, true), list->allowedVersionIs(7, false);
  for (const auto& filter : {list->publishVersionFilter(), list->mountVersionFilter()}) {
    filter->includedServiceVersionDel(3), filter->includedServiceVersionIs(7, true);
  }
  traceOn("8");
  list->handleAllowedVersion();
  for (const auto& filter : {list->publishVersionFilter(), list->mountVersionFilter()}) {
    EXPECT_TRUE(filter->includedServiceVersion(3));
    EXPECT_FALSE(filter->includedServiceVersion(7));
  }
  EXPECT_EQ(traces(), (Log{"8 VersionWhiteListBase::handleAllowedVersion whitelist: V version: 3",
                           "8 VersionWhiteListBase::handleAllowedVersion whitelist: V version: 7"}));
}

}  // namespace
}  // namespace Controller::testing
