#pragma once
// The fixture of the mount group's tests: a World with service svcA, and a
// slot for the group under test.

#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/testing/world.h>

namespace Controller::testing {

class MountGroupWorld : public World {
 protected:
  void SetUp() override {
    World::SetUp();
    service = serviceIs("svcA");
  }
  void TearDown() override {
    group = nullptr;
    service = nullptr;
    World::TearDown();
  }
  // Binds the group to version allow-list v, which closing requires, and
  // closes it.
  void close() {
    group->versionWhiteListIs(service->versionWhiteListIs("v"));
    group->closedIs(true);
  }
  // Group g1 of `mounter`, complete as soon as it is closed, and closed.
  void closedGroupIs() {
    group = service->serviceMountGroupIs("g1", mounter);
    publishStatus->publishGroupStatusIs("g1");
    close();
  }

  Vex::Ptr<HubstoreService> service;
  Vex::Ptr<HubstoreServiceMountGroup> group;
};

}  // namespace Controller::testing
