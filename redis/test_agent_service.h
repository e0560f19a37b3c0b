#pragma once
// The agent's declarations the store's tests start from, over `em`: service
// svcA with switch list L (allowing 00:1c:73:00:00:01), version list V
// (allowing 1), and group g1 of `mounter`, with one controller mount
// (/remote/a) and bound to both lists, the group and the service closed.
// The caller has set Controller::globalAgent.

#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/testing/recording_mounter.h>

namespace hubstore::redis::testing {

inline Vex::Ptr<Controller::HubstoreService> declareTestService(
    const Vex::Ptr<Mirra::EntityManager>& em, const Vex::Ptr<Controller::testing::RecordingMounter>& mounter) {
  auto service = Controller::HubstoreService::HubstoreServiceIs("svcA", em, em);
  auto switches = service->switchWhiteListIs("L");
  switches->allowedSwitchIs(Controller::SystemId::fromString("00:1c:73:00:00:01"), true);
  auto versions = service->versionWhiteListIs("V");
  versions->allowedVersionIs(1, true);
  auto group = service->serviceMountGroupIs("g1", mounter);
  group->controllerMountIs("/remote/a", "/db/a", "type", "flags");
  group->switchWhiteListIs(switches);
  group->versionWhiteListIs(versions);
  group->closedIs(true);
  service->closedIs(true);
  return service;
}

}  // namespace hubstore::redis::testing
