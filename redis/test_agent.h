#pragma once
// One process of agent agentB for the store's tests: an entity manager and a
// RedisStore over it that owns one side, and what its state handler heard.
//
//   TestAgent agent(server.url(), Side::config);  // or with its options tuned
//   agent.open();                // the store opened, the five records created, empty
//   agent.declareService();      // svcA, below
//   agent.keys();                // the records as the keys Redis holds them under
//
// declareService: service svcA with switch list L (allowing
// 00:1c:73:00:00:01), version list V (allowing 1), and group g1 of `mounter`,
// with one controller mount (/remote/a) and bound to both lists, the group
// and the service closed; this process's agent is agentB while it lives.

#include <chrono>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/foundations/platform/agent.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/redis/redis_store.h>
#include <hubstore/redis/redis_store_error.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/testing/recording_mounter.h>

namespace hubstore::redis::testing {

// The configuration's keys of `keys`.
inline std::map<std::string, Fields> configIn(std::map<std::string, Fields> keys) {
  std::erase_if(keys, [](const auto& key) {
    return key.first.rfind("agentB:mountConfig", 0) != 0 && key.first.rfind("agentB:publishConfig", 0) != 0;
  });
  return keys;
}

// Runs `stores` (each processes what it received) until `done`, at most
// `limit`; whether it came.
inline bool eventually(const std::function<bool()>& done, const std::vector<RedisStore*>& stores = {},
                       std::chrono::milliseconds limit = std::chrono::milliseconds(5000)) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    for (RedisStore* store : stores) store->process();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

// What `store`'s open() raises, or "opened".
inline std::string openError(RedisStore& store) {
  try {
    store.open();
    return "opened";
  } catch (const RedisStoreError& error) {
    return error.what();
  }
}

class TestAgent {
 public:
  explicit TestAgent(const std::string& url, Side owns, void (*tune)(RedisStore::Options&) = nullptr) {
    RedisStore::Options options{RedisEndpoint::parse(url), "agentB"};
    if (tune) tune(options);
    store = std::make_unique<RedisStore>(em, options);
    store->stateHandlerIs([this](RedisStore::State state, const std::string& why) {
      history += std::string(RedisStore::stateName(state)) + (why.empty() ? "" : " (" + why + ")") + "\n";
      if (state == RedisStore::State::disconnected) disconnects.push_back(why);
    });
    store->ownedIs(owns, true);
  }
  ~TestAgent() {
    service = nullptr;
    if (hostingAgent) Controller::globalAgent = nullptr;
  }

  // Opens the store and creates the five records, empty, as a controller does.
  void open() {
    store->open();
    for (RecordSlot slot : kRecordSlots) createRecord(slot);
  }
  void createRecord(RecordSlot slot) {
    store->recordIs(Vex::String(store->keys().recordPath(slot)),
                    RecordCodec::newRecord(slot, slot == RecordSlot::status ? "status" : "agentB"));
  }

  void declareService() {
    hostingAgent = Mirra::Agent::AgentIs("agentB");
    Controller::globalAgent = hostingAgent.get();
    service = Controller::HubstoreService::HubstoreServiceIs("svcA", em, em);
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
  }

  // The records of `slots` this process holds, as the keys Redis holds them under.
  std::map<std::string, Fields> keys(const std::vector<RecordSlot>& slots = {std::begin(kRecordSlots),
                                                                            std::end(kRecordSlots)}) const {
    std::map<std::string, Fields> flat;
    for (RecordSlot slot : slots) {
      if (auto record = em->getEntity(Vex::String(store->keys().recordPath(slot)))) {
        RecordCodec::flatten(*record, store->keys().recordKey(slot),
                             [&flat](const std::string& key, const Fields& fields) { flat.emplace(key, fields); });
      }
    }
    return flat;
  }
  Controller::ServiceMountStatus& mountStatus() const {
    return static_cast<Controller::ServiceMountStatus&>(*em->getEntity("controller/mount/status/service/agentB"));
  }
  Controller::ServiceMountConfig& mountConfig() const {
    return static_cast<Controller::ServiceMountConfig&>(*em->getEntity("controller/mount/config/service/agentB"));
  }

  Vex::Ptr<Mirra::EntityManager> em = Mirra::EntityManager::EntityManagerIs();
  std::unique_ptr<RedisStore> store;
  std::string history;               // each state and why, a line each
  std::vector<std::string> disconnects;  // why, each time
  Vex::Ptr<Mirra::Agent> hostingAgent;
  Vex::Ptr<Controller::testing::RecordingMounter> mounter = Vex::make<Controller::testing::RecordingMounter>();
  Vex::Ptr<Controller::HubstoreService> service;
};

}  // namespace hubstore::redis::testing
