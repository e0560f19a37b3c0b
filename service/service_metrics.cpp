#include <hubstore/service/service_metrics.h>

#include <cstdint>
#include <string_view>

#include <hubstore/foundations/records/mount_state.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/service/service_report.h>

namespace Controller {

namespace {

std::uint64_t flag(bool value) { return value ? 1 : 0; }

}  // namespace

void ServiceMetrics::write(const HubstoreService& service, Vex::MetricsText& metrics) {
  // Lists are not needed: counts and flags only.
  const ServiceReport report = ServiceReport::of(service, 0);
  const std::string_view name = report.serviceName;
  using Vex::MetricsText;

  metrics.family("hubstore_service_closed", MetricsText::gauge, "Whether the agent has closed the service (1) or not (0).");
  metrics.sample("hubstore_service_closed", {{"service", name}}, flag(report.closed));
  metrics.family("hubstore_service_switches", MetricsText::gauge, "Switch statuses in the service's mount status.");
  metrics.sample("hubstore_service_switches", {{"service", name}}, std::uint64_t{report.switches});

  metrics.family("hubstore_group_switches", MetricsText::gauge,
                 "Switches with a status for the group, by mount state.");
  for (const MountGroupReport& group : report.groups) {
    for (std::size_t state = 0; state < MountGroupReport::mountStateCount; ++state) {
      metrics.sample("hubstore_group_switches",
                     {{"service", name},
                      {"group", group.groupName},
                      {"state", mountStateName(static_cast<MountState>(state))}},
                     std::uint64_t{group.switchesByState[state]});
    }
  }
  metrics.family("hubstore_group_complete", MetricsText::gauge,
                 "Whether the group's mounts and publications are complete (1) or not (0).");
  for (const MountGroupReport& group : report.groups) {
    metrics.sample("hubstore_group_complete", {{"service", name}, {"group", group.groupName}}, flag(group.complete()));
  }
  metrics.family("hubstore_group_initial_mounts_complete", MetricsText::gauge,
                 "Whether the mount machinery has finished the group's initial switch mounts (1) or not (0).");
  for (const MountGroupReport& group : report.groups) {
    metrics.sample("hubstore_group_initial_mounts_complete", {{"service", name}, {"group", group.groupName}},
                   flag(group.initialMountsComplete));
  }

  const HookStatistics& hooks = service.hookStatistics();
  metrics.family("hubstore_hook_calls_total", MetricsText::counter, "Calls of the service's hooks, by hook.");
  for (int hook = 0; hook < HookStatistics::hookCount; ++hook) {
    metrics.sample("hubstore_hook_calls_total",
                   {{"service", name}, {"hook", HookStatistics::hookName(static_cast<HookStatistics::Hook>(hook))}},
                   hooks.calls[hook]);
  }
  metrics.family("hubstore_hook_duration_seconds_total", MetricsText::counter,
                 "Time in the service's hooks, by hook, of the calls made while hook timing was on.");
  for (int hook = 0; hook < HookStatistics::hookCount; ++hook) {
    metrics.sample("hubstore_hook_duration_seconds_total",
                   {{"service", name}, {"hook", HookStatistics::hookName(static_cast<HookStatistics::Hook>(hook))}},
                   hooks.seconds[hook]);
  }
}

std::string ServiceMetrics::text(const HubstoreService& service) {
  Vex::MetricsText metrics;
  write(service, metrics);
  return metrics.text();
}

}  // namespace Controller
