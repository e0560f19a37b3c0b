#pragma once
// The agent's records and declarations the store's tests start from:
//
//   createRecords(store);                      // the five records, empty
//   recordKeys(*em, store.keys());             // the records as Redis keys
//
// and declareTestService over `em`: service svcA with switch list L
// (allowing 00:1c:73:00:00:01), version list V (allowing 1), and group g1 of
// `mounter`, with one controller mount (/remote/a) and bound to both lists,
// the group and the service closed. The caller has set
// Controller::globalAgent.

#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/redis/redis_store.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/testing/recording_mounter.h>

namespace hubstore::redis::testing {

// The five records, empty, as a controller creates them.
inline void createRecords(RedisStore& store) {
  for (RecordSlot slot : kRecordSlots) {
    store.recordIs(Vex::String(store.keys().recordPath(slot)),
                   RecordCodec::newRecord(slot, slot == RecordSlot::status ? "status" : "agentB"));
  }
}

// The records of `slots` that `em` holds, as the keys Redis holds them under.
inline std::map<std::string, Fields> recordKeys(Mirra::EntityManager& em, const RedisKeySchema& keys,
                                                const std::vector<RecordSlot>& slots = {std::begin(kRecordSlots),
                                                                                        std::end(kRecordSlots)}) {
  std::map<std::string, Fields> flat;
  for (RecordSlot slot : slots) {
    if (auto record = em.getEntity(Vex::String(keys.recordPath(slot)))) {
      RecordCodec::flatten(*record, keys.recordKey(slot),
                           [&flat](const std::string& key, const Fields& fields) { flat.emplace(key, fields); });
    }
  }
  return flat;
}

// The configuration's keys of `keys`.
inline std::map<std::string, Fields> configIn(const std::map<std::string, Fields>& keys) {
  std::map<std::string, Fields> config;
  for (const auto& [key, fields] : keys) {
    if (key.rfind("agentB:mountConfig", 0) == 0 || key.rfind("agentB:publishConfig", 0) == 0) {
      config.emplace(key, fields);
    }
  }
  return config;
}

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
