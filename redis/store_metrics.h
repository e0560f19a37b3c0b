#pragma once
/// \class hubstore::redis::StoreMetrics
/// A RedisStore's numbers in the Prometheus text format, each family labelled
/// by `agent`:
/// - `hubstore_store_state` by `state` (1 for the store's state, 0 for the
///   others), `hubstore_store_lease_held`, `hubstore_store_connections`,
///   `hubstore_store_pending_replies`;
/// - `hubstore_store_resyncs_total`, `hubstore_store_last_resync_duration_seconds`,
///   `hubstore_store_last_resync_keys`;
/// - what other writers did: `hubstore_store_bad_records_total`,
///   `hubstore_store_old_layout_keys_total`, `hubstore_store_repairs_total`;
/// - `hubstore_store_failed_writes_total`, `hubstore_store_fenced_writes_total`,
///   `hubstore_store_leases_lost_total`.
/// Writing them reads the store's counters and writes nothing to Redis.

#include <hubstore/foundations/framework/metrics_text.h>

namespace hubstore::redis {

class RedisStore;

struct StoreMetrics {
  /// Appends the store's families to `metrics`.
  static void write(const RedisStore& store, Vex::MetricsText& metrics);
};

}  // namespace hubstore::redis
