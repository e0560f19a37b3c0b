#include <hubstore/service/service_metrics.h>

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include <hubstore/foundations/records/mount_state.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/mountgroup/mount_group_report.h>

namespace Controller {

namespace {

std::uint64_t flag(bool value) { return value ? 1 : 0; }

// Each declared group's switches by mount state, in one walk of the switch
// statuses: a switch's group statuses and the service's groups are both in
// name order, so one merge of the two finds every pair.
std::vector<std::array<std::uint64_t, MountGroupReport::mountStateCount>> switchesByGroupAndState(
    const HubstoreService& service, const std::vector<Vex::String>& groupNames) {
  std::vector<std::array<std::uint64_t, MountGroupReport::mountStateCount>> counts(groupNames.size());
  const Vex::Ptr<const ServiceMountStatus>& status = service.serviceMountStatus();
  if (!status) return counts;
  for (const auto& [systemName, system] : status->systemStatusMembers().members()) {
    std::size_t group = 0;
    for (auto entry = system->serviceMountGroupStatusMembers().begin(); entry != nullptr && group < groupNames.size();
         ++entry) {
      int order = 0;
      while (group < groupNames.size() && (order = groupNames[group].compare(entry.key())) < 0) ++group;
      if (group == groupNames.size() || order > 0) continue;
      const auto state = static_cast<std::size_t>(entry->mountState());
      if (state < MountGroupReport::mountStateCount) ++counts[group][state];
    }
  }
  return counts;
}

}  // namespace

void ServiceMetrics::write(const HubstoreService& service, Vex::MetricsText& metrics) {
  using Vex::MetricsText;
  const std::string serviceName = service.serviceName().stdString();
  const std::string_view name = serviceName;
  const Vex::Ptr<const ServiceMountStatus>& status = service.serviceMountStatus();

  metrics.family("hubstore_service_closed", MetricsText::gauge, "Whether the agent has closed the service (1) or not (0).");
  metrics.sample("hubstore_service_closed", {{"service", name}}, flag(service.closed()));
  metrics.family("hubstore_service_switches", MetricsText::gauge, "Switch statuses in the service's mount status.");
  metrics.sample("hubstore_service_switches", {{"service", name}},
                 std::uint64_t{status ? status->systemStatusMembers().count() : 0});

  std::vector<Vex::String> groupNames;
  std::vector<MountGroupReport> groups;
  for (auto group = service.serviceMountGroupMembers().begin(); group != nullptr; ++group) {
    groupNames.push_back(group.key());
    groups.push_back(MountGroupReport::withoutSwitches(**group));
  }
  const auto counts = switchesByGroupAndState(service, groupNames);
  metrics.family("hubstore_group_switches", MetricsText::gauge,
                 "Switches with a status for the group, by mount state.");
  for (std::size_t group = 0; group < groups.size(); ++group) {
    for (std::size_t state = 0; state < MountGroupReport::mountStateCount; ++state) {
      metrics.sample("hubstore_group_switches",
                     {{"service", name},
                      {"group", groups[group].groupName},
                      {"state", mountStateName(static_cast<MountState>(state))}},
                     counts[group][state]);
    }
  }
  metrics.family("hubstore_group_complete", MetricsText::gauge,
                 "Whether the group's mounts and publications are complete (1) or not (0).");
  for (const MountGroupReport& group : groups) {
    metrics.sample("hubstore_group_complete", {{"service", name}, {"group", group.groupName}}, flag(group.complete()));
  }
  metrics.family("hubstore_group_initial_mounts_complete", MetricsText::gauge,
                 "Whether the mount machinery has finished the group's initial switch mounts (1) or not (0).");
  for (const MountGroupReport& group : groups) {
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
