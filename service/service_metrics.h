#pragma once
/// \class Controller::ServiceMetrics
/// A service's numbers in the Prometheus text format, for an agent to serve
/// however its platform serves metrics.
///
///     std::string text = service->metricsText();
///       # HELP hubstore_group_complete Whether the group's mounts and publications are complete (1) or not (0).
///       # TYPE hubstore_group_complete gauge
///       hubstore_group_complete{service="inventory",group="g1"} 1
///       ...
///
/// The families, each labelled by `service`:
/// - `hubstore_service_closed`, `hubstore_service_switches` (switch statuses
///   in the mount status);
/// - per group (`group`): `hubstore_group_switches` by `state` (the switches
///   with a status for the group), `hubstore_group_complete`,
///   `hubstore_group_initial_mounts_complete`;
/// - per hook (`hook`): `hubstore_hook_calls_total` and
///   `hubstore_hook_duration_seconds_total` (the time of the calls made while
///   HookStatistics::timing() is on).
///
/// It reads what ServiceReport reads, and so costs about one sweep of the
/// fleet: no record is written, no hook called, nothing traced.

#include <string>

#include <hubstore/foundations/framework/metrics_text.h>

namespace Controller {

class HubstoreService;

struct ServiceMetrics {
  /// Appends the service's families to `metrics`.
  static void write(const HubstoreService& service, Vex::MetricsText& metrics);
  /// The service's families alone.
  static std::string text(const HubstoreService& service);
};

}  // namespace Controller
