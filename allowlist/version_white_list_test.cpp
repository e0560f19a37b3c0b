// The lists' traces are pinned end to end by the allow_lists scenario; what
// their filters hold after any sequence of calls is held against a reference
// model by close_model_check (tests/model).
#include <hubstore/allowlist/version_white_list.h>

#include <hubstore/testing/world.h>

namespace Controller::testing {
namespace {

struct VersionWhiteListTest : World {
  Vex::Ptr<HubstoreService> service;
  void SetUp() override { World::SetUp(), service = serviceIs("svcA"); }
  void TearDown() override { service = nullptr, World::TearDown(); }
};

TEST_F(VersionWhiteListTest, WritesItsFiltersPublishFirstAndRemovesThemMountFirst) {
  watch("publish", publishConfig), watch("mount", mountConfig);
  auto list = service->versionWhiteListIs("V");
  EXPECT_EQ(list->publishVersionFilter(), publishConfig->versionFilter("V"));
  EXPECT_EQ(list->mountVersionFilter(), mountConfig->versionFilter("V"));
  watch("publish V", list->publishVersionFilter()), watch("mount V", list->mountVersionFilter());
  list->allowedVersionIs(3, true), list->allowedVersionIs(3, true);
  list = nullptr, service->versionWhiteListDel("V");
  EXPECT_EQ(writes, (Log{"publish versionFilter", "mount versionFilter", "publish V includedServiceVersion",
                         "mount V includedServiceVersion", "mount versionFilter", "publish versionFilter"}));
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
