#pragma once
// bench::FleetAgent: an agent as the store figures start it over a fleet in
// Redis. Constructing it is the start: open the store (default options,
// owning the configuration), create the configuration records a first start
// lacks, declare the fleet's groups on a service with a counting mounter,
// close the service, and wait until the store's writes are answered. The
// timings of each step and the heap in use after it (glibc's mallinfo2) are
// kept; the hooks the start fired are counted.
//
//   FleetAgent agent(server.url(), fleet);
//   agent.timings().open;  agent.statusesHeld();  agent.mounter().mountStates;
//   loop: poll agent.store().fd(), then agent.store().process()
//
// Sets Controller::globalAgent for its lifetime: one at a time per process.

#include <hubstore/foundations/platform/agent.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/redis/redis_store.h>
#include <hubstore/service/hubstore_service.h>

#include <chrono>
#include <string>

#include "counting_mounter.h"
#include "fleet.h"

namespace bench {

class FleetAgent {
 public:
  struct Timings {
    double open = 0;     // seconds in RedisStore::open(), construction included
    double declare = 0;  // records, service, groups, close
    double flush = 0;    // until the configuration writes are answered
    double total() const { return open + declare + flush; }
  };
  // Heap in use after each step, in bytes.
  struct Heap {
    long long opened = 0;
    long long declared = 0;
  };

  FleetAgent(const std::string& url, const Fleet& fleet);
  ~FleetAgent();
  FleetAgent(const FleetAgent&) = delete;
  FleetAgent& operator=(const FleetAgent&) = delete;

  const Timings& timings() const { return timings_; }
  const Heap& heap() const { return heap_; }
  static long long heapInUse();
  bool flushed() const { return flushed_; }
  hubstore::redis::RedisStore& store() { return store_; }
  const hubstore::redis::RedisStore& store() const { return store_; }
  const CountingMounter& mounter() const { return *mounter_; }
  // What an agent starting over a live fleet asks once its groups are
  // declared: every group status the records hold, to the hook.
  void reportMountStates() { service_->reportMountStates(); }
  // What the records hold after the start.
  long long switchesHeld() const;
  long long statusesHeld() const;

 private:
  const std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
  Vex::Ptr<Mirra::EntityManager> em_;
  hubstore::redis::RedisStore store_;
  Vex::Ptr<Mirra::Agent> agent_;
  Vex::Ptr<CountingMounter> mounter_;
  Vex::Ptr<Controller::HubstoreService> service_;
  Timings timings_;
  Heap heap_;
  bool flushed_ = false;
};

}  // namespace bench
