#pragma once
/// \class hubstore::redis::WriteThrough
/// The owned side written through. It watches every record and record member of
/// the sides the store owns (one RecordWatcher each) and turns each change into
/// the write of the key, or the field of a holder's hash, that holds it: a
/// member added is written whole and watched, a member removed is deleted with
/// everything below it.
///
/// A part of RedisStore; the writes go through its StoreWriter.

#include <map>
#include <string>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/redis/record_watcher.h>

namespace hubstore::redis {

class RedisStore;

class WriteThrough : private RecordWatcher::Owner {
 public:
  /// The write-through of `store`, which owns it; watches nothing yet.
  explicit WriteThrough(RedisStore& store) : store_(store) {}

  /// Watches `record`, held at `key`, and every member below it.
  void watch(const Vex::Entity& record, const std::string& key);
  /// Drops the watchers of the record at `address` and of everything below it.
  void unwatch(const std::string& address);
  /// Drops every watcher.
  void clear() { watchers_.clear(); }

 private:
  void recordChanged(const RecordWatcher& watcher, Vex::AttributeId attribute, const void* key) override;
  void watchField(const Vex::Entity& member, const std::string& key, const std::string& field);
  static std::string watchAddress(const std::string& key, const std::string& field);
  // A filter that joins or leaves its collection changes how the groups that
  // point at it name it: they are written again.
  void rewriteFilterUsers(const std::string& filterName);

  RedisStore& store_;
  // By watchAddress: a record's key, or its holder's key and its field.
  std::map<std::string, Vex::Ptr<RecordWatcher>> watchers_;
};

}  // namespace hubstore::redis
