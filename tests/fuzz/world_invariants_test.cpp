#include "tests/fuzz/world_invariants.h"

#include <gtest/gtest.h>

#include <hubstore/testing/world.h>

namespace hubstore::fuzz {
namespace {

using Controller::testing::World;

TEST(GroupCloseInvariant, StaleEntriesGoOnlyWhenTheCountsDiffer) {
  GroupPublishKeys before;
  before.publishConfig = {"/db/a", "/db/old"};
  before.publishMount = {"/db/a"};
  before.publishDir = {"/db/d", "/db/stale"};
  before.perSwitchPublishMount = {"/db/d", "/db/new"};

  GroupPublishKeys pruned = before;
  pruned.publishConfig = {"/db/a"};
  EXPECT_TRUE(groupCloseViolations(before, pruned).empty());

  // Equal counts: the stale publishDir entry stays, and removing it is wrong.
  GroupPublishKeys overPruned = pruned;
  overPruned.publishDir = {"/db/d"};
  ASSERT_EQ(groupCloseViolations(before, overPruned).size(), 1u);
  EXPECT_EQ(groupCloseViolations(before, overPruned)[0],
            "publishDir keys {/db/d /db/stale} with per-switch publish mounts {/db/d /db/new} became {/db/d}, not "
            "{/db/d /db/stale}");

  EXPECT_EQ(groupCloseViolations(before, before).size(), 1u) << "the stale publishConfig entry must go";
}

class ServiceCloseInvariant : public World {};

TEST_F(ServiceCloseInvariant, FindsWhatAServiceCloseMustHaveRemovedAndAcceptsTheClosedService) {
  mountConfig->systemFilterIs("oldL")->includedSystemIs("00:1c:73:00:00:09", true);
  publishConfig->publishGroupConfigIs("oldG");
  auto service = serviceIs("svcA");
  auto list = service->switchWhiteListIs("L");
  list->allowedSwitchIs(Controller::SystemId::fromString("00:1c:73:00:00:01"), true);
  list->mountSystemFilter()->includedSystemIs("not-a-switch", true);
  auto group = service->serviceMountGroupIs("g1", mounter);
  const auto before = GroupConfigsOfLiveGroups::of(*service);
  EXPECT_EQ(before.mount, (std::set<std::string>{"g1"}));

  EXPECT_EQ(serviceCloseViolations(*service, before),
            (std::vector<std::string>{
                "mountConfig.systemFilter[oldL] has no live allow-list",
                "publishConfig.publishGroupConfig[oldG] has no live group",
                "switch list L's mount filter holds not-a-switch, which the list does not allow",
                "mountConfig.warm is false after the close"}));

  service->closedIs(true);
  EXPECT_TRUE(serviceCloseViolations(*service, before).empty());
  EXPECT_FALSE(serviceObjectsAlive().empty());
  group = nullptr;
  list = nullptr;
  service = nullptr;
  EXPECT_TRUE(serviceObjectsAlive().empty());
}

// dumpReadBackViolations runs at every dump of the seed corpus
// (fuzz.seed_corpus), which must pass.

}  // namespace
}  // namespace hubstore::fuzz
