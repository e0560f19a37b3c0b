#include <hubstore/allowlist/switch_white_list.h>

#include <hubstore/foundations/framework/test_record.h>
#include <hubstore/testing/world.h>

namespace Controller::testing {
namespace {

struct SwitchWhiteListTest : World {
  Vex::Ptr<HubstoreService> service;
  Log writes;
  std::vector<Vex::Ptr<Vex::testing::Probe>> probes;  // log the order of the writes
  const char* sText = "00:1c:73:0a:0b:0c";
  const SystemId s = SystemId::fromString("001C.730A.0B0C");
  void SetUp() override { World::SetUp(), service = serviceIs("svcA"); }
  void TearDown() override { service = nullptr, probes.clear(), World::TearDown(); }
  void watch(const char* tag, const Vex::Ptr<Vex::Entity>& record) {
    auto& probe = probes.emplace_back(Vex::make<Vex::testing::Probe>(tag, &writes));
    probe->notifierIs(record), probe->isRegisteredNotifieeIs(true), probe->hasNotificationActiveIs(true);
  }
};

TEST_F(SwitchWhiteListTest, OwnsFiltersOfItsNameCreatedAndRemovedPublishFirstLeavingEntriesInThem) {
  watch("publish", publishConfig), watch("mount", mountConfig), traceOn("8");
  auto list = service->switchWhiteListIs("L");
  auto other = service->switchWhiteListIs("M");
  EXPECT_EQ(list->publishSystemFilter(), publishConfig->systemFilter("L"));
  EXPECT_EQ(list->mountSystemFilter(), mountConfig->systemFilter("L"));
  EXPECT_NE(list->mountSystemFilter(), other->mountSystemFilter());
  list->allowedSwitchIs(s, true), other->allowedSwitchIs(s, true);
  Vex::Ptr<MountFilterSystem> removed = list->mountSystemFilter();
  list = nullptr, service->switchWhiteListDel("L");
  EXPECT_EQ(writes, (Log{"publish", "mount", "publish", "mount", "publish", "mount"}));
  EXPECT_EQ(traces().front(), "8 SwitchWhiteList::handleInitialized L");
  EXPECT_EQ(traces().back(), "8 SwitchWhiteList::doCleanup L");  // no handler run on the way out
  EXPECT_TRUE(removed && removed->includedSystem(sText) && other->mountSystemFilter()->includedSystem(sText));
}

TEST_F(SwitchWhiteListTest, OnlyAChangedEntryReachesBothFiltersPublishFirstUnderTheTextForm) {
  auto list = service->switchWhiteListIs("L");
  watch("publish", list->publishSystemFilter()), watch("mount", list->mountSystemFilter()), traceOn("8");
  list->allowedSwitchIs(s, true), list->allowedSwitchIs(s, true);
  EXPECT_EQ(writes, (Log{"publish", "mount"}));
  EXPECT_TRUE(list->publishSystemFilter()->includedSystem(sText) && list->mountSystemFilter()->includedSystem(sText));
  EXPECT_EQ(traces(), (Log{"8 SwitchWhiteList::handleAllowedSwitch whiteList: L switchId: 00:1c:73:0a:0b:0c"}));
  list->allowedSwitchIs(s, false);
  EXPECT_EQ(writes.size(), 4u);
  EXPECT_TRUE(list->allowedSwitchMembers().contains(s));
  // false for an unlisted switch still clears it from filters that hold it.
  const SystemId t = SystemId::fromString("00-1c-73-0a-0b-0d");
  list->publishSystemFilter()->includedSystemIs(t.stringValue(), true);
  list->mountSystemFilter()->includedSystemIs(t.stringValue(), true);
  list->allowedSwitchIs(t, false);
  EXPECT_EQ(list->publishSystemFilter()->includedSystemMembers().count(), 0u);
  EXPECT_EQ(list->mountSystemFilter()->includedSystemMembers().count(), 0u);
  list->allowedSwitchIs(t, true), list->allowedSwitchDelAll(), list->allowedSwitchDel(s);
  EXPECT_EQ(list->allowedSwitchMembers().count(), 0u);
  EXPECT_EQ(list->mountSystemFilter()->includedSystemMembers().count(), 0u);
  EXPECT_EQ(traces().size(), 6u);  // delAll ran the handler per entry; the last delete found nothing
}

TEST_F(SwitchWhiteListTest, RewritingEveryEntryRestoresTamperedFilters) {
  auto list = service->switchWhiteListIs("L");
  const SystemId t = SystemId::fromString("00:1c:73:0a:0b:0d");
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
