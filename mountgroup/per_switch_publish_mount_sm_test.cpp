#include <hubstore/mountgroup/per_switch_publish_mount_sm.h>

#include <gtest/gtest.h>

#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/testing/world.h>

namespace Controller {
namespace {

using testing::Log;

class PerSwitchPublishMountSmTest : public testing::World {
 protected:
  Vex::Ptr<HubstoreService> service;
  Vex::Ptr<HubstoreServiceMountGroup> group;
  Vex::Ptr<ServicePublishGroupConfig> config;

  void SetUp() override {
    World::SetUp();
    service = serviceIs("svcA");
    group = service->serviceMountGroupIs("g1", mounter);
    config = group->publishGroupConfig();
  }
  void TearDown() override {
    config = nullptr;
    group = nullptr;
    service = nullptr;
    World::TearDown();
  }
};

TEST_F(PerSwitchPublishMountSmTest, AMachineMakesItsDirectoryReadyAndRestoresIt) {
  Vex::Ptr<PerSwitchPublishMount> mount = group->perSwitchPublishMountIs("/db/d", "/sw/d", "TypeD");
  Vex::Ptr<PublishDir> dir = config->publishDir("/db/d");
  ASSERT_NE(dir, nullptr);
  EXPECT_EQ(dir->remoteTargetPath(), "/sw/d");
  EXPECT_TRUE(dir->readyToPublish());
  // publishActive only re-runs the machine; it acts on the mount being there.
  config->publishDirDel("/db/d");
  traceOn("8");
  mount->publishActiveIs(true);
  dir = config->publishDir("/db/d");
  ASSERT_NE(dir, nullptr);
  EXPECT_EQ(dir->vexcType(), "TypeD");
  EXPECT_EQ(dir->remoteTargetPath(), "/sw/d");
  EXPECT_TRUE(dir->readyToPublish());
  EXPECT_EQ(traces(), (Log{"8 PerSwitchPublishMountSm::handlePerSwitchPublishMountActive path: /db/d",
                           "8 handlePerSwitchPublishMountActive type:TypeD"}));
  mount->publishActiveIs(false);
  EXPECT_TRUE(dir->readyToPublish());
}

TEST_F(PerSwitchPublishMountSmTest, AMachineWhoseMountIsGoneMarksTheDirectoryNotReady) {
  group->perSwitchPublishMountIs("/db/d", "/sw/d", "TypeD");
  Vex::Ptr<PerSwitchPublishMountSm> machine = group->perSwitchPublishMountSm("/db/d");
  ASSERT_NE(machine, nullptr);
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
}  // namespace Controller
