#include <hubstore/redis/store_resync.h>

#include <hiredis/hiredis.h>

#include <algorithm>
#include <vector>

#include <hubstore/redis/record_codec.h>
#include <hubstore/redis/redis_replies.h>
#include <hubstore/redis/redis_store.h>

namespace hubstore::redis {

namespace {

using replies::isError;
using replies::text;

constexpr std::size_t kScanCount = 1000;

// 230000 -> "230,000"
std::string withSeparators(std::size_t count) {
  const std::string digits = std::to_string(count);
  std::string text;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) text += ',';
    text += digits[i];
  }
  return text;
}

}  // namespace

std::string StoreResync::progress() const {
  if (!scanStarted_) return "the login";
  const std::size_t read = keysFound_ - resyncReads_;
  return "reading " + withSeparators(read) + (scanDone_ ? " of " : " of the ") + withSeparators(keysFound_) +
         (scanDone_ ? " keys" : " keys found so far");
}

bool StoreResync::isOldLayout(const std::string& key, const RedisKeySchema::Path& path) {
  if (!RecordCodec::isFieldMemberKey(path)) return false;
  ++store_.statistics_.oldLayoutKeys;
  if (oldLayoutFound_++ == 0) oldLayoutExample_ = key;
  if (store_.live()) {
    VEX_TRACE(redisStoreTrace, 5) << "RedisStore::oldLayout " << std::string_view(key)
                                  << ": a key of hubstore 0.2's layout, not read (see CHANGELOG)";
  }
  return true;
}

void StoreResync::clear() {
  seen_.clear();
  ownedInRedis_.clear();
  followedInRedis_.clear();
}

void StoreResync::start() {
  started_ = std::chrono::steady_clock::now();
  store_.follower_.resyncStarted();
  store_.checkPending_ = false;
  seen_.clear();
  ownedInRedis_.clear();
  scanStarted_ = true;
  scanDone_ = false;
  resyncReads_ = 0;
  keysFound_ = 0;
  oldLayoutFound_ = 0;
  oldLayoutExample_.clear();
  scanFrom("0");
}

void StoreResync::scanFrom(const std::string& cursor) {
  const RedisKeySchema& keys = store_.keys_;
  const std::string pattern = keys.pattern();
  const std::string count = std::to_string(kScanCount);
  store_.data_.command({"SCAN", cursor, "MATCH", pattern, "COUNT", count}, [this](const redisReply& reply) {
    const RedisKeySchema& keys = store_.keys_;
    if (reply.type != REDIS_REPLY_ARRAY || reply.elements != 2) {
      store_.refused("redis at " + store_.server_.describe() + " refused SCAN: " + std::string(text(reply)) +
                     replies::permissionNeeded(reply, "the command permission +scan"));
      return;
    }
    const std::string next(text(*reply.element[0]));
    const redisReply& found = *reply.element[1];
    if (next != "0") scanFrom(next);
    const std::string lease = keys.leaseKey();
    for (std::size_t i = 0; i < found.elements; ++i) {
      std::string key(text(*found.element[i]));
      if (key == lease) continue;
      auto path = keys.parse(key);
      if (!path) store_.follower_.badRecord(key, {"not a key of the agent's records"});
      if (!path || isOldLayout(key, *path)) continue;
      ++resyncReads_;
      ++keysFound_;
      store_.data_.command({"HGETALL", key}, [this, key, path = std::move(*path)](const redisReply& hash) {
        if (isError(hash)) {
          --resyncReads_;
          // What the records hold of it stays: it is not taken as gone.
          seen_.insert(key);
          store_.follower_.unreadableKey(key, hash);
        } else {
          keyRead(key, path, replies::hashFields(hash));
          return;
        }
        if (scanDone_ && resyncReads_ == 0) finish();
      });
    }
    if (next == "0") {
      scanDone_ = true;
      if (resyncReads_ == 0) finish();
    }
  });
}

void StoreResync::keyRead(const std::string& key, const RedisKeySchema::Path& path, std::optional<Fields> fields) {
  --resyncReads_;
  const Side side = sideOf(path.record);
  if (fields) {
    if (!store_.loaded_) {
      // The first read is applied as it comes, so that no more than one
      // key's fields are held at a time however large the fleet.
      seen_.insert(key);
      try {
        store_.follower_.apply({key, std::move(fields), true}, path);
      } catch (...) {
        if (scanDone_ && resyncReads_ == 0) finish();
        throw;
      }
    } else if (!store_.owned(side)) {
      seen_.insert(key);
      followedInRedis_[key] = std::move(*fields);
    } else {
      ownedInRedis_[key] = std::move(*fields);
    }
  }
  if (scanDone_ && resyncReads_ == 0) finish();
}

void StoreResync::finish() {
  const RedisKeySchema& keys = store_.keys_;
  StoreWriter& writer = store_.writer_;
  const bool loaded = store_.loaded_;
  std::size_t rewritten = 0;
  std::size_t removed = 0;
  for (Side side : {Side::config, Side::status}) {
    if (!loaded || !store_.owned(side)) {
      // Followed: records first, then their members; what Redis no longer
      // holds leaves the records, members before their records.
      for (auto& [key, fields] : followedInRedis_) {
        if (sideOf(keys.parse(key)->record) == side) store_.follower_.queue({key, std::move(fields), false});
      }
      std::vector<std::string> gone;
      forEachLocalKey(side, [&](const std::string& key) {
        if (!seen_.count(key)) gone.push_back(key);
      });
      std::sort(gone.begin(), gone.end());
      for (auto it = gone.rbegin(); it != gone.rend(); ++it) store_.follower_.queue({*it, std::nullopt, !loaded});
      removed += gone.size();
      continue;
    }
    // A standby's own declarations wait for the lease.
    if (!store_.writes(side)) continue;
    const std::map<std::string, Fields> local = localKeys(side);
    // Owned: Redis is brought in line with the records.
    for (const auto& [key, fields] : local) {
      auto inRedis = ownedInRedis_.find(key);
      if (inRedis == ownedInRedis_.end()) {
        writer.write(key, fields);
        ++rewritten;
      } else if (inRedis->second != fields) {
        writer.rewrite(key, fields, inRedis->second);
        ++rewritten;
      }
    }
    std::vector<std::string> extra;
    for (const auto& [key, fields] : ownedInRedis_) {
      const auto path = keys.parse(key);
      if (sideOf(path->record) == side && !local.count(key)) extra.push_back(key);
    }
    writer.erase(extra);
    rewritten += extra.size();
  }
  if (oldLayoutFound_) {
    VEX_TRACE(redisStoreTrace, 5) << "RedisStore::oldLayout agent:" << std::string_view(keys.agentName()) << " keys:"
                                  << oldLayoutFound_ << " e.g. " << std::string_view(oldLayoutExample_)
                                  << ": keys of hubstore 0.2's layout, not read (see CHANGELOG)";
  }
  VEX_TRACE(redisStoreTrace, 7) << "RedisStore::resync agent:" << std::string_view(keys.agentName()) << " read:" << seen_.size()
                                << " rewritten:" << rewritten << " removed:" << removed;
  ++store_.statistics_.resyncs;
  store_.statistics_.keysRead = keysFound_;
  store_.statistics_.lastResyncSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
  seen_.clear();
  ownedInRedis_.clear();
  followedInRedis_.clear();
  scanStarted_ = false;
  store_.synced();
}

void StoreResync::forEachLocalKey(Side side, const std::function<void(const std::string& key)>& visit) const {
  for (RecordSlot slot : kRecordSlots) {
    if (sideOf(slot) != side) continue;
    if (const Vex::Entity* record = store_.root(slot)) RecordCodec::forEachKey(*record, store_.keys_.recordKey(slot), visit);
  }
}

std::map<std::string, Fields> StoreResync::localKeys(Side side) const {
  std::map<std::string, Fields> keys;
  for (RecordSlot slot : kRecordSlots) {
    if (sideOf(slot) != side) continue;
    if (const Vex::Entity* record = store_.root(slot)) {
      RecordCodec::flatten(*record, store_.keys_.recordKey(slot),
                           [&keys](const std::string& key, const Fields& fields) { keys.emplace(key, fields); });
    }
  }
  return keys;
}

}  // namespace hubstore::redis
