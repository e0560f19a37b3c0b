#pragma once
/// \class Controller::ServiceReport
/// A service at a glance, read off the records without running anything: its
/// closed flag, whether its mount configuration is warm and its publish
/// configuration ready, one MountGroupReport per group in name order, and the
/// fleet's switches with their group statuses counted by mount state.
///
///     ServiceReport report = service->completionReport();
///     std::cout << report.text();
///       service inventory: closed true, warm true, ready false
///       group g1: complete
///       group g2: not complete; waits for closing, initial switch mounts
///       switches: 2, group statuses: 3: unknown 0, mounting 1, mounted 2, unmounted 0, failed 0

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include <hubstore/mountgroup/mount_group_report.h>

namespace Controller {

class HubstoreService;

struct ServiceReport {
  /// The report on `service`; `listLimit` bounds each group report's lists.
  static ServiceReport of(const HubstoreService& service,
                          std::size_t listLimit = MountGroupReport::defaultListLimit);

  /// The service's name.
  std::string serviceName;
  /// Whether the service is closed.
  bool closed = false;
  bool warm = false;   ///< the mount configuration's warm flag
  bool ready = false;  ///< the publish configuration's ready flag
  /// One report per declared group, in name order.
  std::vector<MountGroupReport> groups;
  /// Switch statuses in the service mount status.
  std::size_t switches = 0;
  /// Their group statuses, declared groups or not, by mount state.
  std::array<std::size_t, MountGroupReport::mountStateCount> groupStatusesByState{};

  /// The sum of groupStatusesByState.
  std::size_t groupStatuses() const;
  /// The service line, each group's summary, the switch line; each line ended
  /// by a newline.
  std::string text() const;
};

}  // namespace Controller
