#include "tools/sim/config_dump.h"

#include <gtest/gtest.h>

#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/foundations/records/service_mount_config.h>

namespace hubstore::sim {
namespace {

using Controller::MountFilterSystem;
using Controller::ServiceMountConfig;

// A dump line says only `detached L` of a filter record that is no member of
// its configuration; a restart must still bring back that very record, with
// its entries, or the rebuilt group configuration would point at an empty one.
TEST(ConfigDumpRestore, KeepsTheDetachedFilterRecordsTheGroupsPointAt) {
  auto em = Mirra::EntityManager::EntityManagerIs();
  {
    auto old = ServiceMountConfig::ServiceMountConfigIs("agentB");
    em->entityIs(ConfigDump::mountConfigPath("agentB"), old);
    auto detached = MountFilterSystem::MountFilterSystemIs("L");
    detached->includedSystemIs("00:1c:73:00:00:01", true);
    old->mountGroupConfigIs("g1")->systemFilterIs(detached);
    old->mountGroupConfigIs("g2")->systemFilterIs(MountFilterSystem::MountFilterSystemIs("L"));

    ConfigDump config(*em, "agentB");
    const ConfigDump::Snapshot snapshot = config.snapshot();
    config.restore(snapshot);

    auto fresh = Vex::ptr_cast<ServiceMountConfig>(em->getEntity(ConfigDump::mountConfigPath("agentB")));
    ASSERT_TRUE(fresh);
    EXPECT_NE(fresh, old);
    EXPECT_EQ(fresh->mountGroupConfig("g1")->systemFilter(), detached);
    EXPECT_TRUE(fresh->mountGroupConfig("g1")->systemFilter()->includedSystem("00:1c:73:00:00:01"));
    // Two detached records of the same name stay two records.
    EXPECT_NE(fresh->mountGroupConfig("g2")->systemFilter(), detached);
    EXPECT_EQ(config.lines(), snapshot.lines);
  }
  em = nullptr;
  for (const auto& [type, live] : Vex::liveObjects()) EXPECT_EQ(live, 0) << type;
}

}  // namespace
}  // namespace hubstore::sim
