#pragma once
// hubstore-sim's --inspect: a live agent's state read from its records in
// Redis, by a process that writes nothing there and holds no service, so
// the agent sees nothing of it.
//
//   AgentInspector inspector("redis://127.0.0.1:6379", "agentB");  // throws
//   if (!inspector.known()) ...;           // Redis holds no record of agentB
//   std::fputs(inspector.view().c_str(), stdout);
//   inspector.follow(stdout, signalFd);    // --follow, until a signal
//
// The view is computed from the records alone (MountGroupReport::ofRecords):
// per group what it waits for from the mount machinery and whether it is
// complete, as if closed, since closing is the agent's own; then the
// configuration as `dump` prints it. Following prints one line per key that
// changed and a group's block again when its completion changes.

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/mountgroup/mount_group_report.h>
#include <hubstore/redis/fields.h>
#include <hubstore/redis/redis_store.h>

namespace hubstore::sim {

class AgentInspector {
 public:
  // The keys of the agent's records and their fields, by key.
  using Snapshot = std::map<std::string, hubstore::redis::Fields>;

  // Opens a read-only store on `url` for `agent`. Raises std::invalid_argument
  // for a bad URL and hubstore::redis::RedisStoreError when the server cannot
  // be used.
  AgentInspector(const std::string& url, const std::string& agent);

  // Redis holds at least one of the agent's five records.
  bool known() const;
  // The store's state, the service, one block per group in name order, and
  // the configuration's dump.
  std::string view() const;
  // Applies what changes in Redis and prints it, until `stopFd` (a
  // signalfd) is readable.
  void follow(std::FILE* out, int stopFd);

  // The records as keys and fields, as the store writes them.
  static Snapshot snapshot(Mirra::EntityManager& em, const std::string& agent);
  // One line per key that differs: "KEY: new (F=V, ...)", "KEY: removed",
  // "KEY: F OLD -> NEW, ..." with "(none)" for an absent field.
  static std::vector<std::string> changes(const Snapshot& before, const Snapshot& after);
  // The report of every group the configurations hold, by name.
  static std::map<std::string, Controller::MountGroupReport> groupReports(Mirra::EntityManager& em,
                                                                         const std::string& agent);

 private:
  Vex::Ptr<Mirra::EntityManager> em_;
  std::string agent_;
  std::unique_ptr<hubstore::redis::RedisStore> store_;
};

}  // namespace hubstore::sim
