#pragma once
// bench::FleetLoader: writes a fleet's status side into Redis with raw
// pipelined hiredis, as a mount machinery that has run for a while leaves it:
// AGENT:status, AGENT:mountStatus, AGENT:publishStatus, and one HSET per
// switch of its name and one field per group status, "mounted". The agent's
// configuration is not written: the agent under measurement writes its own.
//
//   FleetLoader loader(context, fleet);
//   loader.load();
//   ... an agent starts, writing its configuration ...
//   loader.configurationDel();   // the database is as loaded again
//
// Errors (an error reply, a lost connection) raise std::runtime_error.

#include <hiredis/hiredis.h>

#include <string>
#include <vector>

#include "fleet.h"

namespace bench {

class FleetLoader {
 public:
  // `context` is a blocking connection, not owned.
  FleetLoader(redisContext* context, Fleet fleet);

  void load();
  // Deletes the agent's configuration keys, what a starting agent wrote.
  void configurationDel();
  // Writes the switch at `index` again as load() did, every group mounted.
  void switchRestore(int index);
  // A field of INFO SECTION ("memory", "used_memory"); "" when absent.
  std::string info(const std::string& section, const std::string& field);
  long long usedMemory() { return std::stoll(info("memory", "used_memory")); }
  // DBSIZE
  long long keys();

 private:
  void appendSwitch(int index);
  void append(const std::vector<std::string>& arguments);
  void drain();
  redisReply* command(const std::vector<std::string>& arguments);

  redisContext* context_;
  Fleet fleet_;
  // Each switch's HSET after its key and name: "[g00]" "mounted" "[g01]" ...
  std::vector<std::string> groupFields_;
  int pending_ = 0;
};

}  // namespace bench
