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

  void agentIs(const std::string& name, Mirra::EntityManager& em) override;
  void recordIs(const Vex::String& path, const Vex::Ptr<Vex::Entity>& record) override;
  bool recordDel(const Vex::String& path) override;
  void ownedIs(Side side) override;
  void process() override;

  // Waits until every write has been answered; false when the time ran out.
  bool flush();
  // Runs the simulator's turns on what other processes write until
  // `stopFd` (a signalfd) is readable.
  void follow(Simulator& simulator, int stopFd);

 private:
  hubstore::redis::RedisStore::Options options_;
  std::unique_ptr<hubstore::redis::RedisStore> store_;
  bool owns_[2] = {false, false};
};

}  // namespace hubstore::sim
