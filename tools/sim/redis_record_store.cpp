#include "tools/sim/redis_record_store.h"

#include <poll.h>

#include "tools/sim/scenario_error.h"
#include "tools/sim/simulator.h"

namespace hubstore::sim {

namespace {

using namespace std::chrono_literals;
using hubstore::redis::RedisStore;

constexpr auto kOpenTimeout = 3000ms;
constexpr auto kFlushTimeout = 5000ms;

hubstore::redis::Side redisSide(RecordStore::Side side) {
  return side == RecordStore::Side::config ? hubstore::redis::Side::config : hubstore::redis::Side::status;
}

}  // namespace

RedisRecordStore::RedisRecordStore(const std::string& url) {
  options_.endpoint = hubstore::redis::RedisEndpoint::parse(url);
  options_.openTimeout = kOpenTimeout;
  // The check before anything runs: the login and the database, which needs
  // no permission beyond the agent's own.
  RedisStore::checkServer(options_.endpoint, kOpenTimeout);
}

RedisRecordStore::~RedisRecordStore() {
  flush();
  // The next process of the agent need not wait for the lease to run out.
  if (store_) {
    store_->leaseRelease();
    store_->flush(kFlushTimeout);
  }
}

void RedisRecordStore::agentIs(const std::string& name, Mirra::EntityManager& em) {
  flush();
  if (store_) {
    store_->leaseRelease();
    store_->flush(kFlushTimeout);
  }
  options_.agentName = name;
  store_ = std::make_unique<RedisStore>(Vex::Ptr<Mirra::EntityManager>(&em), options_);
  for (Side side : {Side::config, Side::status}) {
    if (owns_[static_cast<int>(side)]) store_->ownedIs(redisSide(side), true);
  }
  foreign_.clear();
  for (hubstore::redis::RecordSlot slot : hubstore::redis::kRecordSlots) {
    const Vex::String path(store_->keys().recordPath(slot));
    if (Vex::Ptr<Vex::Entity> record = em.getEntity(path)) {
      foreign_.emplace(path.stdString(), record);
      em.entityDel(path);
    }
  }
  const auto putBackWhatRedisLacks = [this, &em] {
    for (auto it = foreign_.begin(); it != foreign_.end();) {
      const Vex::String path(it->first);
      if (em.getEntity(path)) {
        it = foreign_.erase(it);
      } else {
        em.entityIs(path, it->second);
        ++it;
      }
    }
  };
  try {
    store_->open();
  } catch (const std::exception& error) {
    store_ = nullptr;
    refused_ = true;
    putBackWhatRedisLacks();
    throw ScenarioError(std::string("--store: ") + error.what());
  }
  putBackWhatRedisLacks();
}

void RedisRecordStore::recordIs(const Vex::String& path, const Vex::Ptr<Vex::Entity>& record) {
  store_->recordIs(path, record);
  // The store keeps a record in Redis only when its type is its path's.
  const auto slot = store_->keys().recordAtPath(path.view());
  if (slot && record && !hubstore::redis::RecordCodec::holds(*slot, *record)) {
    foreign_[path.stdString()] = record;
  } else {
    foreign_.erase(path.stdString());
  }
}

bool RedisRecordStore::recordDel(const Vex::String& path) {
  foreign_.erase(path.stdString());
  return store_->recordDel(path);
}

bool RedisRecordStore::holds(const Vex::String& path) const {
  if (!store_) return false;
  const Vex::Ptr<Vex::Entity> record = store_->entityManager()->getEntity(path);
  const auto foreign = foreign_.find(path.stdString());
  return record && (foreign == foreign_.end() || foreign->second != record);
}

void RedisRecordStore::ownedIs(Side side) {
  if (owns_[static_cast<int>(side)]) return;
  owns_[static_cast<int>(side)] = true;
  if (store_) store_->ownedIs(redisSide(side), true);
}

std::string RedisRecordStore::metricsText(const Controller::HubstoreService* service) const {
  if (store_) return store_->metricsText(service);
  return service ? service->metricsText() : std::string();
}

void RedisRecordStore::process() {
  if (store_) store_->process();
}

void RedisRecordStore::leaveInRedis() {
  flush();
  left_ = true;
  if (store_) store_->leaveInRedis();
}

bool RedisRecordStore::flush() {
  if (!store_) return true;
  // A process whose configuration waits for the lease (another process of
  // the agent holds it, or held it and died) gets it when it runs out.
  const auto& options = store_->options();
  const auto deadline = std::chrono::steady_clock::now() + options.leaseTime + 2 * options.checkInterval;
  while (owns_[static_cast<int>(Side::config)] && !left_ && !store_->leaseHeld() && !leaseLost() &&
         std::chrono::steady_clock::now() < deadline) {
    pollfd fd{store_->fd(), POLLIN, 0};
    ::poll(&fd, 1, 100);
    store_->process();
  }
  return store_->flush(kFlushTimeout);
}

void RedisRecordStore::follow(Simulator& simulator, int stopFd) {
  while (true) {
    pollfd fds[2] = {{stopFd, POLLIN, 0}, {store_ ? store_->fd() : -1, POLLIN, 0}};
    // The wait is bounded so that a store without an agent still sees the signal.
    ::poll(fds, 2, 1000);
    if (fds[0].revents & POLLIN) return;
    simulator.followStore();
    if (leaseLost()) return;
  }
}

}  // namespace hubstore::sim
