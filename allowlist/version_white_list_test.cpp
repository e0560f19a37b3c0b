// The lists' traces and their filters' contents are pinned end to end by the
// allow_lists scenario.
#include <hubstore/allowlist/version_white_list.h>

#include <hubstore/testing/world.h>

namespace Controller::testing {
namespace {

struct VersionWhiteListTest : World {
  Vex::Ptr<HubstoreService> service;
  void SetUp() override { World::SetUp(), service = serviceIs("svcA"); }
  void TearDown() override { service = nullptr, World::TearDown(); }
};

TEST_F(VersionWhiteListTest, OwnsFiltersOfItsNameCreatedPublishFirstAndRemovedMountFirst) {
  watch("publish", publishConfig), watch("mount", mountConfig);
  auto list = service->versionWhiteListIs("V");
  EXPECT_EQ(list->publishVersionFilter(), publishConfig->versionFilter("V"));
  EXPECT_EQ(list->mountVersionFilter(), mountConfig->versionFilter("V"));
  list = nullptr, service->versionWhiteListDel("V");
  EXPECT_EQ(writes, (Log{"publish versionFilter", "mount versionFilter", "mount versionFilter",
                         "publish versionFilter"}));
}

TEST_F(VersionWhiteListTest, AChangedEntryReachesBothFiltersPublishFirstAndFalseClearsWhatTheyHold) {
  auto list = service->versionWhiteListIs("V");
  watch("publish", list->publishVersionFilter()), watch("mount", list->mountVersionFilter());
  list->allowedVersionIs(3, true), list->allowedVersionIs(0, true);
  EXPECT_EQ(writes, (Log{"publish includedServiceVersion", "mount includedServiceVersion",
                         "publish includedServiceVersion", "mount includedServiceVersion"}));
  // false for an unlisted version still clears it from filters that hold it.
  list->publishVersionFilter()->includedServiceVersionIs(7, true);
  list->mountVersionFilter()->includedServiceVersionIs(7, true);
  list->allowedVersionIs(7, false), list->allowedVersionIs(3, false);
  EXPECT_TRUE(list->allowedVersionMembers().contains(7) && list->allowedVersionMembers().contains(3));
  for (const auto& filter : {list->publishVersionFilter(), list->mountVersionFilter()}) {
    EXPECT_TRUE(filter->includedServiceVersion(0) && filter->includedServiceVersionMembers().count() == 1u);
  }
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
