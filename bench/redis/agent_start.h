#pragma once
// bench::AgentStart: the figures of one agent start (FleetAgent) over a fleet
// in Redis, measured in the calling process, which should hold nothing else
// (run it in a ChildProcess): time per step, what the records hold and the
// hooks fired, the heap in use above what it was before the start (glibc's
// mallinfo2, so every allocation counts, hiredis's included), the RSS before
// and at its peak. Then, apart from the start, the agent asks for every
// mount state (HubstoreService::reportMountStates), timed and counted.

#include <string>

#include "fleet.h"

namespace bench {

class AgentStart {
 public:
  // A JSON object: seconds, open_seconds, declare_seconds, flush_seconds,
  // flushed, keys_read, switches, statuses, mount_state_reports (during the
  // start), report_seconds, reports_on_request, heap_before_bytes,
  // heap_opened_bytes, heap_declared_bytes, heap_after_bytes, rss_before_bytes,
  // peak_rss_bytes.
  static std::string measure(const std::string& url, const Fleet& fleet);
};

}  // namespace bench
