#pragma once
/// \class hubstore::redis::StoreFollower
/// The followed side follows Redis. A key that a keyspace notification names is
/// read (HGETALL) and what was read is applied to the records through their
/// setters, so the library's handlers run; an owned key that another client may
/// have changed is read and handed to the writer's repair. What another writer
/// left that cannot be read is a bad record: traced with what is wrong,
/// counted, and changing nothing.
///
/// A part of RedisStore; its resynchronisation applies what it reads here too.

#include <deque>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include <hubstore/redis/fields.h>
#include <hubstore/redis/record_codec.h>
#include <hubstore/redis/redis_key_schema.h>

struct redisReply;

namespace hubstore::redis {

class RedisStore;

class StoreFollower {
 public:
  /// A key read, to be applied to the records.
  struct Applied {
    /// The key read.
    std::string key;
    std::optional<Fields> fields;  ///< nullopt: the key is gone
    bool load;                     ///< the first read, which fills the owned side too
  };

  /// The follower of `store`, which owns it.
  explicit StoreFollower(RedisStore& store) : store_(store) {}

  /// A keyspace notification: `event` was done to `key`.
  void notified(const std::string& key, std::string_view event);
  /// Reads the keys notified since the last call.
  void requestArrived();
  /// Queues a key read, to be applied by applyQueued().
  void queue(Applied change) { toApply_.push_back(std::move(change)); }
  /// Applies the queued keys, in the order they were read; an exception a
  /// handler throws leaves the rest queued.
  void applyQueued();
  /// Applies one key read, at `path` (the key parsed): a key of the owned side
  /// is applied only by the first read.
  void apply(const Applied& change, const RedisKeySchema::Path& path);
  /// Whether no notified key waits to be read.
  bool nothingArrived() const { return arrived_.empty(); }
  /// Whether nothing read waits to be applied.
  bool nothingToApply() const { return toApply_.empty(); }
  /// Forgets what was notified or read: it went with a lost connection, and
  /// the next resynchronisation reads everything.
  void clear();
  /// Told that a resynchronisation starts: it reads every key again.
  void resyncStarted();
  /// Whether the followed root record in `slot` was deleted in Redis (and
  /// emptied here).
  bool rootAbsent(RecordSlot slot) const { return absentRoots_.count(slot) > 0; }

  /// Traces and counts `key`, or part of it, that another writer left
  /// unreadable, with what is wrong (`problems`).
  void badRecord(const std::string& key, const std::vector<std::string>& problems);
  /// A read of `key` that the server refused with `error`: a key that holds no
  /// hash is a bad record, a refused permission a refusal of the store; anything
  /// else is traced.
  void unreadableKey(const std::string& key, const redisReply& error);

 private:
  void apply(const Applied& change);

  RedisStore& store_;
  // Notified keys not yet read, in arrival order, and what was read, not yet applied.
  std::vector<std::string> arrived_;
  std::unordered_set<std::string> arrivedSet_;
  // Owned keys that may have been changed by another client, to be checked.
  std::vector<std::string> toVerify_;
  std::unordered_set<std::string> toVerifySet_;
  std::deque<Applied> toApply_;
  // Root records the first read made, until it is done.
  std::set<RecordSlot> createdByLoad_;
  // Followed root records deleted in Redis (and emptied here).
  std::set<RecordSlot> absentRoots_;
  RecordCodec::Names names_;
};

}  // namespace hubstore::redis
