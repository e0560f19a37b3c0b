#include <hubstore/redis/store_follower.h>

#include <hiredis/hiredis.h>

#include <hubstore/redis/redis_replies.h>
#include <hubstore/redis/redis_store.h>

namespace hubstore::redis {

using replies::isError;
using replies::text;

void StoreFollower::notified(const std::string& key, std::string_view event) {
  const RedisKeySchema& keys = store_.keys_;
  if (key == keys.leaseKey()) return;
  const auto path = keys.parse(key);
  if (!path) {
    badRecord(key, {"not a key of the agent's records"});
    return;
  }
  if (store_.resync_.isOldLayout(key, *path)) return;
  const Side side = sideOf(path->record);
  if (!store_.owned(side)) {
    if (arrivedSet_.insert(key).second) arrived_.push_back(key);
    return;
  }
  // A standby neither follows the configuration nor mends it: it is the
  // active process's.
  if (!store_.writes(side)) return;
  // The store writes its own keys with HSET; anything else (a deletion, a
  // value of another type) may be another client's, and is checked.
  if (event != "hset" && toVerifySet_.insert(key).second) toVerify_.push_back(key);
}

void StoreFollower::requestArrived() {
  RedisConnection& data = store_.data_;
  for (const std::string& key : toVerify_) {
    data.command({"HGETALL", key}, [this, key](const redisReply& reply) {
      if (isError(reply)) {
        store_.writer_.repair(key, std::nullopt);  // another type where a hash belongs: written again
        return;
      }
      store_.writer_.repair(key, replies::hashFields(reply));
    });
  }
  toVerify_.clear();
  toVerifySet_.clear();
  if (arrived_.empty()) return;
  for (const std::string& key : arrived_) {
    data.command({"HGETALL", key}, [this, key](const redisReply& reply) {
      if (isError(reply)) {
        unreadableKey(key, reply);
        return;
      }
      toApply_.push_back({key, replies::hashFields(reply), false});
    });
  }
  arrived_.clear();
  arrivedSet_.clear();
}

void StoreFollower::clear() {
  arrived_.clear();
  arrivedSet_.clear();
  toVerify_.clear();
  toVerifySet_.clear();
  toApply_.clear();
}

void StoreFollower::resyncStarted() {
  if (store_.loaded_) createdByLoad_.clear();
  absentRoots_.clear();
}

void StoreFollower::applyQueued() {
  while (!toApply_.empty()) {
    const Applied change = std::move(toApply_.front());
    toApply_.pop_front();
    apply(change);
  }
}

void StoreFollower::apply(const Applied& change) {
  if (const auto path = store_.keys_.parse(change.key)) apply(change, *path);
}

void StoreFollower::apply(const Applied& change, const RedisKeySchema::Path& at) {
  const RedisKeySchema::Path* path = &at;
  if (!change.load && store_.owned(sideOf(path->record))) return;
  std::vector<std::string> problems;
  const RecordCodec::Context context{[this](RecordSlot slot) { return store_.root(slot); }, &problems, &names_};
  const Fields* fields = change.fields ? &*change.fields : nullptr;
  Vex::Ptr<Vex::Entity> entity(store_.root(path->record));
  const RedisKeySchema& keys = store_.keys_;
  if (!entity) {
    if (!fields) return;
    // A record this process does not have yet: the agent's name is the name
    // of every per-service record.
    const bool isStatus = path->record == RecordSlot::status;
    const Fields* own = path->steps.empty() ? fields : nullptr;
    const std::string name = own && own->count("name") ? own->at("name")
                             : isStatus                ? std::string("status")
                                                       : keys.agentName();
    entity = RecordCodec::newRecord(path->record, Vex::Name(name));
    store_.em_->entityIs(Vex::String(keys.recordPath(path->record)), entity);
    if (change.load) createdByLoad_.insert(path->record);
  }
  if (!fields && path->steps.empty() && change.load && createdByLoad_.erase(path->record)) {
    // A first read that the server's loss cut short, then found gone: the
    // record it made leaves whole, so nothing half loaded stays behind. No
    // one can hold it yet.
    store_.em_->entityDel(Vex::String(keys.recordPath(path->record)));
    return;
  }
  RecordCodec::applyPath(*entity, path->steps, fields, context);
  if (!problems.empty()) badRecord(change.key, problems);
  if (!path->steps.empty() || change.load) return;
  // A root record another client deleted is emptied once; its members'
  // keys are read again when it comes back.
  if (!fields) {
    absentRoots_.insert(path->record);
  } else if (absentRoots_.erase(path->record)) {
    store_.resyncNow("a root record came back");
  }
}

void StoreFollower::unreadableKey(const std::string& key, const redisReply& error) {
  const std::string_view why = text(error);
  if (why.rfind("WRONGTYPE", 0) == 0) {
    badRecord(key, {"not a hash (" + std::string(why) + ")"});
  } else if (why.rfind("NOPERM", 0) == 0) {
    store_.refused("redis at " + store_.server_.describe() + " refused to read " + key + ": " + std::string(why) +
                   replies::permissionNeeded(error, "the key permission ~" + store_.keys_.pattern() +
                                                        " and the command permission +hgetall"));
  } else {
    VEX_TRACE(redisStoreTrace, 5) << "RedisStore::read " << std::string_view(key) << ": " << why;
  }
}

void StoreFollower::badRecord(const std::string& key, const std::vector<std::string>& problems) {
  ++store_.statistics_.badRecords;
  if (!redisStoreTrace.enabled(5)) return;
  std::string what;
  for (const std::string& problem : problems) what += (what.empty() ? "" : "; ") + problem;
  VEX_TRACE(redisStoreTrace, 5) << "RedisStore::badRecord " << std::string_view(key) << ": " << std::string_view(what);
}

}  // namespace hubstore::redis
