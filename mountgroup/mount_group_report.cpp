#include <hubstore/mountgroup/mount_group_report.h>

#include <numeric>

#include <hubstore/allowlist/version_white_list_base.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/mountgroup/mount_group_completion.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/status/service_mount_status_sm.h>

namespace Controller {

namespace {

// "K", the note, then ": a, b and M more" when there are items.
template <class T, class Format>
std::string boundedText(const MountGroupReport::Bounded<T>& list, Format format, const char* note = "") {
  std::string out = std::to_string(list.total) + note;
  for (std::size_t i = 0; i < list.items.size(); ++i) {
    out += i == 0 ? ": " : ", ";
    out += format(list.items[i]);
  }
  if (list.total > list.items.size()) out += " and " + std::to_string(list.total - list.items.size()) + " more";
  return out;
}

const char* boolText(bool value) { return value ? "true" : "false"; }

// The completion rule's questions, answered from what the report read. A
// side is judged only when its group configuration is there.
struct ReportFacts {
  const MountGroupReport& report;
  bool hasMountGroupConfig() const { return report.hasMountGroupConfig; }
  bool hasPublishGroupConfig() const { return report.hasPublishGroupConfig; }
  bool mountSideComplete() { return completion::mountSideGap(*this) == completion::SideGap::none; }
  bool publishSideComplete() { return completion::publishSideGap(*this) == completion::SideGap::none; }
  bool closed() const { return report.closed; }
  void requireMountGroupConfig() const {}
  void requirePublishGroupConfig() const {}
  bool pathPrefixMissing() const { return report.withoutPathPrefix.total > 0; }
  bool publishStatusWatched() const { return report.publishStatusWatched; }
  bool hasPublishGroupStatus() const { return report.hasPublishGroupStatus; }
  bool publishedPathMissing() const { return report.withoutPublishStatus.total > 0; }
};

// The switch statuses of the group's service, counted by this group's state.
void countSwitches(MountGroupReport& report, const ServiceMountStatus& status, const Vex::String& groupName,
                   std::size_t listLimit) {
  for (const auto& [systemName, system] : status.systemStatusMembers().members()) {
    const ServiceMountGroupStatus* groupStatus = system->serviceMountGroupStatusRaw(groupName);
    if (!groupStatus) continue;
    const MountState state = groupStatus->mountState();
    const auto index = static_cast<std::size_t>(state);
    if (index < MountGroupReport::mountStateCount) ++report.switchesByState[index];
    if (state == mountStateMounted) continue;
    // Named only while the list has room: a report of counts alone (a
    // metrics scrape) copies no name.
    auto& notMounted = report.switchesNotMounted;
    if (notMounted.items.size() < listLimit) notMounted.items.push_back({systemName.stdString(), state});
    ++notMounted.total;
  }
}

// The group's configurations against the statuses: what each side has and
// which of its paths still lack a status. As the check does, the group status
// is looked up by name each time.
void readSides(MountGroupReport& report, const ServiceMountGroupConfig* mountGroupConfig,
               const ServiceMountStatus* mountStatus, const ServicePublishGroupConfig* publishGroupConfig,
               const ServicePublishStatus* publishStatus, const Vex::Name& name, std::size_t listLimit) {
  report.mountStatusWatched = mountStatus != nullptr;
  if (mountGroupConfig) {
    report.hasMountGroupConfig = true;
    for (const auto& [remotePath, mount] : mountGroupConfig->mountConfigMembers().entries()) {
      ++report.controllerMounts;
      if (!mountStatus || !mountStatus->mountedPathPrefix(remotePath)) {
        report.withoutPathPrefix.add(remotePath.stdString(), listLimit);
      }
    }
  }
  report.publishStatusWatched = publishStatus != nullptr;
  const Vex::Ptr<const ServicePublishGroupStatus> groupStatus =
      publishStatus ? publishStatus->publishGroupStatus(name) : nullptr;
  report.hasPublishGroupStatus = static_cast<bool>(groupStatus);
  if (publishGroupConfig) {
    report.hasPublishGroupConfig = true;
    for (const auto& [path, publish] : publishGroupConfig->publishConfigMembers().entries()) {
      ++report.publishMounts;
      if (!groupStatus || !groupStatus->publishStatus(path)) report.withoutPublishStatus.add(path.stdString(), listLimit);
    }
  }
}

}  // namespace

std::string reportQuoted(const std::string& text) {
  bool needed = text.empty();
  for (char c : text) {
    if (c == ' ' || c == '\t' || c == ',' || c == ';' || c == '"' || c == '\\') needed = true;
  }
  if (!needed) return text;
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + '"';
}

const char* MountGroupReport::waitText(Wait wait) {
  switch (wait) {
    case Wait::service:
      return "its service";
    case Wait::groupConfig:
      return "a group configuration";
    case Wait::close:
      return "closing";
    case Wait::versionWhiteList:
      return "a version allow-list (closing requires one)";
    case Wait::mountStatus:
      return "the service mount status";
    case Wait::pathPrefix:
      return "mounted path prefixes";
    case Wait::publishStatus:
      return "the service publish status";
    case Wait::publishGroupStatus:
      return "its publish group status";
    case Wait::publishedPaths:
      return "publish statuses";
    case Wait::initialSwitchMounts:
      return "initial switch mounts";
  }
  return "";
}

MountGroupReport MountGroupReport::of(const HubstoreServiceMountGroup& group, std::size_t listLimit) {
  MountGroupReport report = read(group, listLimit);
  const HubstoreService* service = group.service();
  if (!report.orphaned && service->serviceMountStatus()) {
    countSwitches(report, *service->serviceMountStatus(), group.groupName(), listLimit);
  }
  return report;
}

MountGroupReport MountGroupReport::withoutSwitches(const HubstoreServiceMountGroup& group) { return read(group, 0); }

MountGroupReport MountGroupReport::ofRecords(const Records& records, const std::string& groupName,
                                             std::size_t listLimit) {
  MountGroupReport report;
  const Vex::Name name(groupName);
  report.groupName = groupName;
  report.agentKnown = false;
  report.closed = true;
  report.hasMounter = true;
  const Vex::Ptr<ServiceMountGroupConfig> mountGroupConfig =
      records.mountConfig ? records.mountConfig->mountGroupConfig(name) : nullptr;
  const Vex::Ptr<ServicePublishGroupConfig> publishGroupConfig =
      records.publishConfig ? records.publishConfig->publishGroupConfig(name) : nullptr;
  // The list a group is bound to writes the filter of its own name.
  if (mountGroupConfig && mountGroupConfig->versionFilter()) {
    report.versionWhiteList = mountGroupConfig->versionFilter()->name().stdString();
  }
  readSides(report, mountGroupConfig.get(), records.mountStatus, publishGroupConfig.get(), records.publishStatus, name,
            listLimit);
  if (records.mountStatus) {
    report.initialMountsComplete = records.mountStatus->initialMountsComplete(Vex::String(groupName));
    countSwitches(report, *records.mountStatus, name, listLimit);
  }
  return report;
}

MountGroupReport MountGroupReport::read(const HubstoreServiceMountGroup& group, std::size_t listLimit) {
  MountGroupReport report;
  const Vex::String& name = group.groupName();
  report.groupName = name.stdString();
  HubstoreService* service = group.service();
  // A group is torn down only when its service goes.
  report.orphaned = !service || group.vexMarkedForDeletion();
  report.heldByService = service && service->serviceMountGroupRaw(name) == &group;
  report.closed = group.closed();
  if (group.versionWhiteList()) report.versionWhiteList = group.versionWhiteList()->name().stdString();
  report.hasMounter = static_cast<bool>(group.mounter());

  readSides(report, group.mountGroupConfig().get(), group.mountStatus().get(), group.publishGroupConfig().get(),
            group.publishStatus().get(), name, listLimit);
  if (report.orphaned) return report;
  // What the status machine reads for doInitialSwitchMountsComplete.
  const Vex::Ptr<ServiceMountStatusSm> machine = service->mountStatusSm();
  const Vex::Ptr<const ServiceMountStatus> machineStatus = machine ? machine->serviceMountStatus() : nullptr;
  report.initialMountsComplete = machineStatus && machineStatus->initialMountsComplete(name);
  return report;
}

bool MountGroupReport::complete() const {
  if (orphaned) return false;
  ReportFacts facts{*this};
  return completion::groupGap(facts) == completion::Gap::none;
}

std::vector<MountGroupReport::Wait> MountGroupReport::waitsFor() const {
  if (orphaned) return {Wait::service};
  std::vector<Wait> waits;
  if (!hasMountGroupConfig && !hasPublishGroupConfig) waits.push_back(Wait::groupConfig);
  if (!closed) {
    waits.push_back(Wait::close);
    if (!versionWhiteList) waits.push_back(Wait::versionWhiteList);
  }
  if (hasMountGroupConfig && withoutPathPrefix.total > 0) {
    waits.push_back(mountStatusWatched ? Wait::pathPrefix : Wait::mountStatus);
  }
  if (hasPublishGroupConfig) {
    if (!publishStatusWatched) {
      waits.push_back(Wait::publishStatus);
    } else {
      if (!hasPublishGroupStatus) waits.push_back(Wait::publishGroupStatus);
      if (withoutPublishStatus.total > 0) waits.push_back(Wait::publishedPaths);
    }
  }
  if (!initialMountsComplete) waits.push_back(Wait::initialSwitchMounts);
  return waits;
}

std::size_t MountGroupReport::switches() const {
  return std::accumulate(switchesByState.begin(), switchesByState.end(), std::size_t{0});
}

std::string MountGroupReport::summary() const {
  std::string out = "group " + reportQuoted(groupName) + ": ";
  if (orphaned) return out + "orphaned; its service is gone, it never completes";
  out += complete() ? (agentKnown ? "complete" : "complete if closed") : "not complete";
  const std::vector<Wait> waits = waitsFor();
  for (std::size_t i = 0; i < waits.size(); ++i) {
    out += i == 0 ? "; waits for " : ", ";
    out += waitText(waits[i]);
  }
  if (complete() && !hasMounter) out += "; no mounter, nobody is told";
  if (complete() && hasMounter && !heldByService) out += "; not held by its service, nobody is told";
  return out;
}

std::string MountGroupReport::text() const {
  std::string out = summary() + "\n";
  const char* unknown = "unknown (the agent's)";
  out += "closed: " + std::string(agentKnown ? boolText(closed) : unknown) + "\n";
  out += "version allow-list: " + (versionWhiteList ? reportQuoted(*versionWhiteList) : std::string("none")) + "\n";
  if (hasMountGroupConfig) {
    const char* note = mountStatusWatched || withoutPathPrefix.total == 0 ? "" : " (no mount status)";
    out += "controller mounts: " + std::to_string(controllerMounts) +
           ", without a mounted path prefix: " + boundedText(withoutPathPrefix, reportQuoted, note) + "\n";
  } else {
    out += "controller mounts: no mount group configuration\n";
  }
  if (hasPublishGroupConfig) {
    out += "publish mounts: " + std::to_string(publishMounts) +
           ", without a publish status: " + boundedText(withoutPublishStatus, reportQuoted) + "\n";
  } else {
    out += "publish mounts: no publish group configuration\n";
  }
  out += "publish group status: ";
  out += !publishStatusWatched ? "no publish status" : hasPublishGroupStatus ? "present" : "absent";
  out += "\n";
  out += "mounter: " + std::string(!agentKnown ? unknown : hasMounter ? "set" : "none") + "\n";
  out += "initial switch mounts: " + std::string(initialMountsComplete ? "complete" : "not complete") + "\n";
  out += "switches: " + std::to_string(switches());
  for (std::size_t state = 0; state < mountStateCount; ++state) {
    out += state == 0 ? ": " : ", ";
    out += mountStateName(static_cast<MountState>(state));
    out += ' ';
    out += std::to_string(switchesByState[state]);
  }
  out += "\n";
  out += "switches not mounted: " + boundedText(switchesNotMounted, [](const SwitchState& item) {
           return reportQuoted(item.system) + " " + mountStateName(item.state);
         });
  return out + "\n";
}

}  // namespace Controller
