#include <hubstore/service/service_report.h>

#include <numeric>

#include <hubstore/service/hubstore_service.h>

namespace Controller {

ServiceReport ServiceReport::of(const HubstoreService& service, std::size_t listLimit) {
  ServiceReport report;
  report.serviceName = service.serviceName().stdString();
  report.closed = service.closed();
  report.warm = service.serviceMountConfig() && service.serviceMountConfig()->warm();
  report.ready = service.servicePublishConfig() && service.servicePublishConfig()->ready();
  for (const auto& [name, group] : service.serviceMountGroupMembers().members()) {
    report.groups.push_back(group->completionReport(listLimit));
  }
  if (const Vex::Ptr<const ServiceMountStatus>& status = service.serviceMountStatus()) {
    for (const auto& [systemName, system] : status->systemStatusMembers().members()) {
      ++report.switches;
      for (const auto& [groupName, groupStatus] : system->serviceMountGroupStatusMembers().members()) {
        const auto index = static_cast<std::size_t>(groupStatus->mountState());
        if (index < MountGroupReport::mountStateCount) ++report.groupStatusesByState[index];
      }
    }
  }
  return report;
}

std::size_t ServiceReport::groupStatuses() const {
  return std::accumulate(groupStatusesByState.begin(), groupStatusesByState.end(), std::size_t{0});
}

std::string ServiceReport::text() const {
  auto boolText = [](bool value) { return value ? "true" : "false"; };
  std::string out = "service " + reportQuoted(serviceName) + ": closed " + boolText(closed) + ", warm " +
                    boolText(warm) + ", ready " + boolText(ready) + "\n";
  for (const MountGroupReport& group : groups) out += group.summary() + "\n";
  out += "switches: " + std::to_string(switches) + ", group statuses: " + std::to_string(groupStatuses());
  for (std::size_t state = 0; state < MountGroupReport::mountStateCount; ++state) {
    out += state == 0 ? ": " : ", ";
    out += mountStateName(static_cast<MountState>(state));
    out += ' ';
    out += std::to_string(groupStatusesByState[state]);
  }
  return out + "\n";
}

}  // namespace Controller
