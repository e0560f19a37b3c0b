// The switch and version allow-lists, as one typed suite over both kinds: what
// each writes into its filters and configurations, and in which order. Each
// kind's expectations sit in its row below, side by side. The lists' traces
// are pinned end to end by the allow_lists scenario; what the filters hold
// after any sequence of calls is also held against a reference model by
// close_model_check (tests/model).
#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/allowlist/version_white_list.h>

#include <array>

#include <hubstore/mountgroup/test_mount_group.h>

namespace Controller::testing {
namespace {

// Each kind's row: how to reach its lists, its keys and how its filters hold
// them, and what it writes. The switch keys are spelled unlike
// their text form, which the filters must hold; the versions span 32 bits.
struct SwitchRow {
  using List = SwitchWhiteList;
  static inline const std::array keys{SystemId::fromString("00:1C:73:0A:0B:0C"), SystemId::fromString("001c.730a.0b0d"),
                                      SystemId::fromString("00:1c:73:0a:0b:0e")};
  static constexpr std::array heldKeys{"00:1c:73:0a:0b:0c", "00:1c:73:0a:0b:0d", "00:1c:73:0a:0b:0e"};
  static Vex::Ptr<List> listIs(HubstoreService& service, const char* name) { return service.switchWhiteListIs(name); }
  static void listDel(HubstoreService& service, const char* name) { service.switchWhiteListDel(name); }
  template <class Config>
  static auto configFilter(const Config& config, const char* name) { return config->systemFilter(name); }
  static Vex::Ptr<SwitchWhiteListBase> baseIs(const char* name) { return switchWhiteListBaseFactory(name); }
  static constexpr auto filterEntries = &MountFilterSystem::includedSystemMembers;
  // Binding, one key in, and the configs left at the end: publish first.
  static inline const Log writes{"publish systemFilter", "mount systemFilter", "publish L includedSystem",
                                 "mount L includedSystem", "publish systemFilter", "mount systemFilter"};
};

struct VersionRow {
  using List = VersionWhiteList;
  static constexpr std::array<std::uint32_t, 3> keys{4000000000u, 0, 7};
  static constexpr std::array heldKeys{"4000000000", "0", "7"};
  static Vex::Ptr<List> listIs(HubstoreService& service, const char* name) { return service.versionWhiteListIs(name); }
  static void listDel(HubstoreService& service, const char* name) { service.versionWhiteListDel(name); }
  template <class Config>
  static auto configFilter(const Config& config, const char* name) { return config->versionFilter(name); }
  static Vex::Ptr<VersionWhiteListBase> baseIs(const char* name) { return versionWhiteListBaseFactory(name); }
  static constexpr auto filterEntries = &MountFilterServiceVersion::includedServiceVersionMembers;
  // The configs are left mount first.
  static inline const Log writes{"publish versionFilter", "mount versionFilter", "publish L includedServiceVersion",
                                 "mount L includedServiceVersion", "mount versionFilter", "publish versionFilter"};
};

template <class Row>
struct WhiteListTest : MountGroupWorld {
  // Both filters must hold exactly these keys.
  template <class List>
  void expectHeld(const List& list, const std::vector<std::string>& keys) {
    for (const auto& filter : {list.publishFilter(), list.mountFilter()}) {
      std::vector<std::string> held;
      for (auto it = ((*filter).*Row::filterEntries)().begin(); it != nullptr; ++it) held.push_back(text(it->key));
      EXPECT_EQ(held, keys) << (filter == list.mountFilter() ? "mount filter" : "publish filter");
    }
  }
  static std::string text(const Vex::String& key) { return key.stdString(); }
  static std::string text(std::uint32_t key) { return std::to_string(key); }
};
using Rows = ::testing::Types<SwitchRow, VersionRow>;
TYPED_TEST_SUITE(WhiteListTest, Rows);

TYPED_TEST(WhiteListTest, BindsAndWritesPublishFirstAndLeavesTheConfigsInItsKindsOrderWhenItsLastHolderGoes) {
  using Row = TypeParam;
  this->watch("publish", this->publishConfig);
  this->watch("mount", this->mountConfig);
  auto list = Row::listIs(*this->service, "L");
  EXPECT_EQ(list->publishFilter(), Row::configFilter(this->publishConfig, "L"));
  EXPECT_EQ(list->mountFilter(), Row::configFilter(this->mountConfig, "L"));
  EXPECT_NE(list->mountFilter(), list->publishFilter());
  this->watch("publish L", list->publishFilter());
  this->watch("mount L", list->mountFilter());
  list->allowedIs(Row::keys[0], true);
  list->allowedIs(Row::keys[0], true);  // unchanged: no write
  list->allowedIs(Row::keys[1], false);  // absent, stored false: nothing to take out
  this->expectHeld(*list, {Row::heldKeys[0]});
  // Declared again while the first list lives on (a group may hold it), the
  // list takes over the same records, and the first one's late end leaves
  // them be.
  Row::listDel(*this->service, "L");
  Row::listIs(*this->service, "L");
  list = nullptr;
  EXPECT_NE(Row::configFilter(this->mountConfig, "L"), nullptr);
  Row::listDel(*this->service, "L");
  EXPECT_EQ(this->writes, Row::writes);
}

TYPED_TEST(WhiteListTest, EveryWayOutOfTheListTakesTheKeyOutOfBothFilters) {
  using Row = TypeParam;
  auto list = Row::listIs(*this->service, "L");
  for (const auto& key : Row::keys) list->allowedIs(key, true);
  list->allowedIs(Row::keys[0], false);
  this->expectHeld(*list, {Row::heldKeys[1], Row::heldKeys[2]});
  EXPECT_EQ(list->allowedMembers().count(), 3u);
  list->allowedDel(Row::keys[1]);
  this->expectHeld(*list, {Row::heldKeys[2]});
  this->traceOn("8");
  list->allowedDel(Row::keys[1]);  // absent: nothing at all
  list->allowedDelAll();
  this->expectHeld(*list, {});
  EXPECT_EQ(list->allowedMembers().count(), 0u);
  EXPECT_EQ(this->traces().size(), 2u) << "one handler run per entry taken out, none for the absent one";
}

// A base list knows no service: given filters, it mirrors its entries into
// them, and a sweep repairs filters changed behind its back.
TYPED_TEST(WhiteListTest, ABaseListMirrorsItsEntriesIntoWhateverFiltersItIsGiven) {
  using Row = TypeParam;
  using Kind = typename Row::List::Kind;
  auto list = Row::baseIs("B");
  EXPECT_EQ(list->mountFilter(), nullptr);
  list->publishFilterIs(Kind::configFilterIs(*this->publishConfig, "B"));
  list->mountFilterIs(Kind::configFilterIs(*this->mountConfig, "B"));
  list->allowedIs(Row::keys[0], true);
  list->allowedIs(Row::keys[1], false);
  for (const auto& filter : {list->publishFilter(), list->mountFilter()}) {
    (filter.get()->*Kind::filterEntryDel)(Kind::filterKey(Row::keys[0]));
    (filter.get()->*Kind::filterEntryIs)(Kind::filterKey(Row::keys[1]), true);
  }
  list->handleAllowed();
  this->expectHeld(*list, {Row::heldKeys[0]});
}

}  // namespace
}  // namespace Controller::testing
