#pragma once
// bench::HookLatency: one status write in a mount machinery process to the
// hook in an agent process, both over a fleet in Redis. The calling process
// becomes the agent (a FleetAgent) and forks the machinery, a RedisStore
// owning the status side. For each sample the agent asks for a write through
// a pipe; the machinery takes the time, sends it back and sets the mount state
// of switch 1's group 1 (failed and mounted in turn); the agent takes the time
// its hook hears the state. The first write, which warms both up, is left out.
// Run it in a ChildProcess: it holds a whole fleet.

#include <string>

#include "fleet.h"

namespace bench {

class HookLatency {
 public:
  // A JSON object: samples, micros (each sample, in the order taken),
  // median_us; or error.
  static std::string measure(const std::string& url, const Fleet& fleet, int samples);
};

}  // namespace bench
