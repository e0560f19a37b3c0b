#include <hubstore/redis/store_metrics.h>

#include <cstdint>
#include <string_view>

#include <hubstore/redis/redis_store.h>

namespace hubstore::redis {

void StoreMetrics::write(const RedisStore& store, Vex::MetricsText& metrics) {
  using Vex::MetricsText;
  const std::string_view agent = store.options().agentName;
  const RedisStore::Statistics& statistics = store.statistics();
  const auto gauge = [&](std::string_view name, std::string_view help, auto value) {
    metrics.family(name, MetricsText::gauge, help);
    metrics.sample(name, {{"agent", agent}}, value);
  };
  const auto counter = [&](std::string_view name, std::string_view help, std::uint64_t value) {
    metrics.family(name, MetricsText::counter, help);
    metrics.sample(name, {{"agent", agent}}, value);
  };

  metrics.family("hubstore_store_state", MetricsText::gauge, "The store's state: 1 for the one it is in.");
  for (const RedisStore::State state : {RedisStore::State::closed, RedisStore::State::connecting,
                                        RedisStore::State::syncing, RedisStore::State::live,
                                        RedisStore::State::standby, RedisStore::State::disconnected}) {
    metrics.sample("hubstore_store_state", {{"agent", agent}, {"state", RedisStore::stateName(state)}},
                   std::uint64_t{store.state() == state});
  }
  gauge("hubstore_store_lease_held", "Whether this process holds the configuration's lease (1) or not (0).",
        std::uint64_t{store.leaseHeld()});
  gauge("hubstore_store_connections", "Connections open to the server: commands and notifications.",
        static_cast<std::uint64_t>(store.connectionsOpen()));
  gauge("hubstore_store_pending_replies", "Commands sent to the server and not answered yet.",
        static_cast<std::uint64_t>(store.pendingReplies()));
  counter("hubstore_store_resyncs_total", "Reads of every key of the agent, the first one included.",
          statistics.resyncs);
  gauge("hubstore_store_last_resync_duration_seconds", "How long the last read of every key took.",
        statistics.lastResyncSeconds);
  gauge("hubstore_store_last_resync_keys", "Keys the last read of every key found.", statistics.keysRead);
  counter("hubstore_store_bad_records_total", "Keys read that could not be read whole, left by other writers.",
          statistics.badRecords);
  counter("hubstore_store_old_layout_keys_total", "Keys of hubstore 0.2's layout met and not read.",
          statistics.oldLayoutKeys);
  counter("hubstore_store_repairs_total", "Owned keys another client changed or deleted, written back.",
          statistics.repairs);
  counter("hubstore_store_failed_writes_total", "Writes the server answered with an error.", statistics.failedWrites);
  counter("hubstore_store_fenced_writes_total", "Configuration writes refused because another process held the lease.",
          statistics.fencedWrites);
  counter("hubstore_store_leases_lost_total", "Times a lease this process held went to another process.",
          statistics.leasesLost);
}

}  // namespace hubstore::redis
