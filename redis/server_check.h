#pragma once
/// \class hubstore::redis::ServerCheck
/// Whether a server answers and takes an endpoint's login and database, and
/// nothing more (no key, no channel), on a blocking connection of its own:
/// RedisStore::checkServer. Through sentinels: the master they name now.

#include <chrono>

#include <hubstore/redis/redis_endpoint.h>

namespace hubstore::redis {

class ServerCheck {
 public:
  /// Raises RedisStoreError with what failed: no answer for `silence`, a
  /// refused login or database, or no sentinel that names the master (each
  /// given `sentinelTimeout`).
  static void run(const RedisEndpoint& endpoint, std::chrono::milliseconds silence,
                  std::chrono::milliseconds sentinelTimeout);
};

}  // namespace hubstore::redis
