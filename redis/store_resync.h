#pragma once
/// \class hubstore::redis::StoreResync
/// The read of every key of the agent (SCAN and pipelined HGETALL), the first
/// one (the load) and each after a reconnect or whenever notifications may have
/// been missed. The load applies each key as it comes, both sides; a later one
/// brings the followed side in line with Redis (what changed, then what is
/// gone) and writes the owned side again where Redis differs from the records.
/// Keys of hubstore 0.2's layout are counted and not read.
///
/// A part of RedisStore.

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <unordered_set>

#include <hubstore/redis/fields.h>
#include <hubstore/redis/redis_key_schema.h>

namespace hubstore::redis {

class RedisStore;

class StoreResync {
 public:
  /// The resynchronisation of `store`, which owns it.
  explicit StoreResync(RedisStore& store) : store_(store) {}

  /// Starts reading every key of the agent (SCAN, then HGETALL of each).
  void start();
  /// What it has done so far, for an error message: "reading 230,000 of
  /// 510,000 keys".
  std::string progress() const;
  /// Whether `key` is of hubstore 0.2's layout; such keys are counted.
  bool isOldLayout(const std::string& key, const RedisKeySchema::Path& path);
  /// Forgets what was read: it went with a lost connection.
  void clear();

 private:
  void scanFrom(const std::string& cursor);
  void keyRead(const std::string& key, const RedisKeySchema::Path& path, std::optional<Fields> fields);
  void finish();
  std::map<std::string, Fields> localKeys(Side side) const;
  void forEachLocalKey(Side side, const std::function<void(const std::string& key)>& visit) const;

  RedisStore& store_;
  std::unordered_set<std::string> seen_;          // followed keys present in Redis
  std::map<std::string, Fields> ownedInRedis_;   // owned keys and what Redis holds
  // A later resynchronisation of the followed side applies in key order.
  std::map<std::string, Fields> followedInRedis_;
  bool scanStarted_ = false;
  bool scanDone_ = false;
  std::size_t resyncReads_ = 0;     // HGETALLs not answered yet
  std::size_t keysFound_ = 0;       // by this resynchronisation's SCAN so far
  std::chrono::steady_clock::time_point started_;
  std::size_t oldLayoutFound_ = 0;  // by this resynchronisation
  std::string oldLayoutExample_;
};

}  // namespace hubstore::redis
