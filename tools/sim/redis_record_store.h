#pragma once
// hubstore-sim's --store: the simulated world's records in a Redis database
// (hubstore::redis::RedisStore), one store per agent.
//
//   RedisRecordStore store("redis://127.0.0.1:6379");  // checks the server; throws
//   simulator.storeIs(&store);
//   ... simulator.run(commands) ...
//   store.follow(simulator, signalFd);                  // --follow, until a signal
//
// Opening checks the URL, the login and the database at once, before any
// command runs, within a bounded wait.

#include <chrono>
#include <map>
#include <memory>
#include <string>

#include <hubstore/redis/redis_store.h>
#include "tools/sim/record_store.h"

namespace hubstore::sim {

class Simulator;

class RedisRecordStore : public RecordStore {
 public:
  // Raises std::invalid_argument for a bad URL and
  // hubstore::redis::RedisStoreError when the server cannot be used.
  explicit RedisRecordStore(const std::string& url);
  // Waits, bounded, for the writes of the process to be answered.
  ~RedisRecordStore() override;

  // The records the entity manager holds at the agent's paths are set aside
  // while the store opens, so that what the store puts there is what Redis
  // holds; those Redis lacks come back, foreign to the store (another
  // agent's controller status, a record of another type).
  void agentIs(const std::string& name, Mirra::EntityManager& em) override;
  void recordIs(const Vex::String& path, const Vex::Ptr<Vex::Entity>& record) override;
  bool recordDel(const Vex::String& path) override;
  bool holds(const Vex::String& path) const override;
  void ownedIs(Side side) override;
  void process() override;
  std::string metricsText(const Controller::HubstoreService* service) const override;

  // Waits until every write has been answered; false when the time ran out.
  bool flush();
  // Writes nothing more: what Redis holds stays for the next run.
  void leaveInRedis();
  // The configuration's lease went to another process of the agent: this
  // one stops (hubstore-sim ends with status 3).
  bool leaseLost() const { return store_ && store_->statistics().leasesLost > 0; }
  // An agent's store could not be opened (the server refused or stopped
  // answering): the run ends with status 2, as a start-up failure does.
  bool refused() const { return refused_; }
  // Runs the simulator's turns on what other processes write until
  // `stopFd` (a signalfd) is readable.
  void follow(Simulator& simulator, int stopFd);

 private:
  hubstore::redis::RedisStore::Options options_;
  std::unique_ptr<hubstore::redis::RedisStore> store_;
  bool owns_[2] = {false, false};
  bool refused_ = false;
  bool left_ = false;  // leaveInRedis(): the lease is given up, nothing is written
  // By path: records at the agent's paths that the store does not keep in
  // Redis.
  std::map<std::string, Vex::Ptr<Vex::Entity>> foreign_;
};

}  // namespace hubstore::sim
