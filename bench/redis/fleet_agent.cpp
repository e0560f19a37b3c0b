#include "fleet_agent.h"

#include <malloc.h>

#include <hubstore/foundations/records/service_mount_status.h>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;
using namespace hubstore::redis;

double secondsBetween(Clock::time_point from, Clock::time_point to) {
  return std::chrono::duration<double>(to - from).count();
}

}  // namespace

FleetAgent::FleetAgent(const std::string& url, const Fleet& fleet)
    : em_(Mirra::EntityManager::EntityManagerIs()),
      store_(em_, RedisStore::Options{RedisEndpoint::parse(url), fleet.agent}) {
  store_.ownedIs(Side::config, true);
  store_.open();
  timings_.open = secondsBetween(started_, Clock::now());
  // mallinfo2 walks the allocator's free lists: its time is no step's.
  heap_.opened = heapInUse();
  const Clock::time_point declaring = Clock::now();

  // A first start creates its configuration records; the status records are
  // the mount machinery's, but the service cannot start without them.
  for (RecordSlot slot : kRecordSlots) {
    const Vex::String path(store_.keys().recordPath(slot));
    if (!em_->getEntity(path)) {
      store_.recordIs(path, RecordCodec::newRecord(slot, slot == RecordSlot::status ? "status" : fleet.agent.c_str()));
    }
  }
  agent_ = Mirra::Agent::AgentIs(fleet.agent.c_str());
  Controller::globalAgent = agent_.get();
  mounter_ = Vex::make<CountingMounter>();
  service_ = Controller::HubstoreService::HubstoreServiceIs("svc", em_, em_);
  for (int g = 0; g < fleet.groups; ++g) service_->serviceMountGroupIs(Fleet::groupName(g).c_str(), mounter_);
  service_->closedIs(true);
  timings_.declare = secondsBetween(declaring, Clock::now());
  heap_.declared = heapInUse();

  const Clock::time_point flushing = Clock::now();
  flushed_ = store_.flush(std::chrono::seconds(30));
  timings_.flush = secondsBetween(flushing, Clock::now());
}

long long FleetAgent::heapInUse() { return static_cast<long long>(mallinfo2().uordblks); }

FleetAgent::~FleetAgent() {
  // A warm stop: the next sample's agent finds the configuration, and the
  // lease free, as a restarted agent would.
  store_.leaveInRedis();
  store_.flush(std::chrono::seconds(5));
  service_ = nullptr;
  Controller::globalAgent = nullptr;
}

long long FleetAgent::switchesHeld() const {
  auto status = Vex::ptr_cast<Controller::ServiceMountStatus>(em_->getEntity(store_.keys().recordPath(RecordSlot::mountStatus)));
  return status ? static_cast<long long>(status->systemStatusMembers().count()) : 0;
}

long long FleetAgent::statusesHeld() const {
  auto status = Vex::ptr_cast<Controller::ServiceMountStatus>(em_->getEntity(store_.keys().recordPath(RecordSlot::mountStatus)));
  long long statuses = 0;
  if (status) {
    for (const auto& [name, system] : status->systemStatusMembers().members()) {
      statuses += static_cast<long long>(system->serviceMountGroupStatusMembers().count());
    }
  }
  return statuses;
}

}  // namespace bench
