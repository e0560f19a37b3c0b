// The lists' traces and the canonical text form are pinned end to end by the
// allow_lists scenario; what their filters hold after any sequence of calls
// is held against a reference model by close_model_check (tests/model).
#include <hubstore/allowlist/switch_white_list.h>

#include <hubstore/testing/world.h>

namespace Controller::testing {
namespace {

struct SwitchWhiteListTest : World {
  Vex::Ptr<HubstoreService> service;
  const char* sText = "00:1c:73:0a:0b:0c";
  const SystemId s = SystemId::fromString(sText);
  const SystemId t = SystemId::fromString("00:1c:73:0a:0b:0d");
  void SetUp() override { World::SetUp(), service = serviceIs("svcA"); }
  void TearDown() override { service = nullptr, World::TearDown(); }
};

TEST_F(SwitchWhiteListTest, WritesItsFiltersPublishFirstAndLeavesTheirEntriesWhenItGoes) {
  watch("publish", publishConfig), watch("mount", mountConfig);
  auto list = service->switchWhiteListIs("L");
  EXPECT_EQ(list->publishSystemFilter(), publishConfig->systemFilter("L"));
  EXPECT_EQ(list->mountSystemFilter(), mountConfig->systemFilter("L"));
  watch("publish L", list->publishSystemFilter()), watch("mount L", list->mountSystemFilter());
  list->allowedSwitchIs(s, true), list->allowedSwitchIs(s, true);
  list = nullptr, service->switchWhiteListDel("L");
  EXPECT_EQ(writes, (Log{"publish systemFilter", "mount systemFilter", "publish L includedSystem",
                         "mount L includedSystem", "publish systemFilter", "mount systemFilter"}));
}

TEST_F(SwitchWhiteListTest, RewritingEveryEntryRestoresTamperedFilters) {
  auto list = service->switchWhiteListIs("L");
  list->allowedSwitchIs(s, true), list->allowedSwitchIs(t, false);
  for (const auto& filter : {list->publishSystemFilter(), list->mountSystemFilter()}) {
    filter->includedSystemDel(sText), filter->includedSystemIs(t.stringValue(), true);
  }
  traceOn("8");
  list->handleAllowedSwitch();
  for (const auto& filter : {list->publishSystemFilter(), list->mountSystemFilter()}) {
    EXPECT_TRUE(filter->includedSystem(sText));
    EXPECT_FALSE(filter->includedSystem(t.stringValue()));
  }
  EXPECT_EQ(traces(), (Log{"8 SwitchWhiteList::handleAllowedSwitch whiteList: L switchId: 00:1c:73:0a:0b:0c",
                           "8 SwitchWhiteList::handleAllowedSwitch whiteList: L switchId: 00:1c:73:0a:0b:0d"}));
}

TEST_F(SwitchWhiteListTest, AListDeclaredAgainKeepsTheFiltersItsPredecessorLeavesLate) {
  auto group = service->serviceMountGroupIs("g1", mounter);
  group->switchWhiteListIs(service->switchWhiteListIs("L"));
  service->switchWhiteListDel("L");  // the group still holds the old list
  auto again = service->switchWhiteListIs("L");
  EXPECT_EQ(again->mountSystemFilter(), mountConfig->systemFilter("L"));
  group->switchWhiteListIs(again);  // the old list goes now
  EXPECT_EQ(mountConfig->systemFilter("L"), again->mountSystemFilter());
  EXPECT_EQ(publishConfig->systemFilter("L"), again->publishSystemFilter());
  group = nullptr;
}

}  // namespace
}  // namespace Controller::testing
