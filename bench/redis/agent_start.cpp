#include "agent_start.h"

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

#include "fleet_agent.h"
#include "json_record.h"

namespace bench {

namespace {

long long residentBytes() {
  long long size = 0;
  long long resident = 0;
  if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(statm, "%lld %lld", &size, &resident) != 2) resident = 0;
    std::fclose(statm);
  }
  return resident * sysconf(_SC_PAGESIZE);
}

long long peakResidentBytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<long long>(usage.ru_maxrss) * 1024;
}

}  // namespace

std::string AgentStart::measure(const std::string& url, const Fleet& fleet) {
  const long long heapBefore = FleetAgent::heapInUse();
  const long long rssBefore = residentBytes();
  FleetAgent agent(url, fleet);
  const long long heapAfter = FleetAgent::heapInUse();
  const long long reportsAtStart = agent.mounter().mountStates;
  const auto reporting = std::chrono::steady_clock::now();
  agent.reportMountStates();
  const double reportSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - reporting).count();
  JsonRecord record;
  record.number("seconds", agent.timings().total())
      .number("open_seconds", agent.timings().open)
      .number("declare_seconds", agent.timings().declare)
      .number("flush_seconds", agent.timings().flush)
      .integer("flushed", agent.flushed())
      .integer("keys_read", static_cast<long long>(agent.store().statistics().keysRead))
      .integer("switches", agent.switchesHeld())
      .integer("statuses", agent.statusesHeld())
      .integer("mount_state_reports", reportsAtStart)
      .number("report_seconds", reportSeconds)
      .integer("reports_on_request", agent.mounter().mountStates - reportsAtStart)
      .integer("heap_before_bytes", heapBefore)
      .integer("heap_opened_bytes", agent.heap().opened)
      .integer("heap_declared_bytes", agent.heap().declared)
      .integer("heap_after_bytes", heapAfter)
      .integer("rss_before_bytes", rssBefore)
      .integer("peak_rss_bytes", peakResidentBytes());
  return record.json();
}

}  // namespace bench
