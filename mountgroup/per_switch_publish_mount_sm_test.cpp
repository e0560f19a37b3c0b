// The machine's traces and a directory that stays ready through publishActive
// are pinned by the group_entries scenario.
#include <hubstore/mountgroup/per_switch_publish_mount_sm.h>

#include <gtest/gtest.h>

#include <hubstore/mountgroup/test_mount_group.h>

namespace Controller::testing {
namespace {

using PerSwitchPublishMountSmTest = MountGroupWorld;

TEST_F(PerSwitchPublishMountSmTest, AMachineRestoresItsDirectoryWhileItsMountIsThereAndThenMarksItNotReady) {
  group = service->serviceMountGroupIs("g1", mounter);
  Vex::Ptr<PerSwitchPublishMount> mount = group->perSwitchPublishMountIs("/db/d", "/sw/d", "TypeD");
  Vex::Ptr<PerSwitchPublishMountSm> machine = group->perSwitchPublishMountSm("/db/d");
  Vex::Ptr<ServicePublishGroupConfig> config = group->publishGroupConfig();
  config->publishDirDel("/db/d");
  mount->publishActiveIs(true);
  // Its target and readiness are a new machine's, which the scenarios pin.
  ASSERT_NE(config->publishDir("/db/d"), nullptr);
  EXPECT_EQ(config->publishDir("/db/d")->vexcType(), "TypeD");

  group->perSwitchPublishMountDel("/db/d");
  EXPECT_EQ(group->perSwitchPublishMountSm("/db/d"), nullptr);
  Vex::Ptr<PublishDir> stale = config->publishDirIs("/db/d", "TypeD");
  stale->readyToPublishIs(true);
  traceOn("8");
  machine->handlePerSwitchPublishMountActive();
  EXPECT_FALSE(stale->readyToPublish());
  EXPECT_EQ(config->publishDir("/db/d"), stale);
  EXPECT_EQ(traces().back(), "8 handlePerSwitchPublishMountActive: setting readyToPublish=false");
}

}  // namespace
}  // namespace Controller::testing
