#pragma once
/// \class hubstore::redis::StoreWriter
/// The commands that write the owned side to Redis, on the store's one
/// pipelined data connection, in the order they are asked for: a hash written
/// whole or rewritten in one transaction, a field, a deletion, a record with
/// everything below it. Configuration writes go through the lease's fence. A
/// write the server refuses is counted and traced; READONLY from a master the
/// sentinels demoted is a lost connection. It also repairs an owned key that
/// another client changed or deleted.
///
/// A part of RedisStore.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/redis/fields.h>

namespace hubstore::redis {

class RedisStore;

class StoreWriter {
 public:
  /// The writer of `store`, which owns it.
  explicit StoreWriter(RedisStore& store) : store_(store) {}

  /// Writes the hash at `key` whole, with `fields`.
  void write(const std::string& key, const Fields& fields);
  /// Makes the hash at `key` hold exactly `fields`, where Redis holds `inRedis`.
  void rewrite(const std::string& key, const Fields& fields, const Fields& inRedis);
  /// Sets one field of the hash at `key`.
  void writeField(const std::string& key, const std::string& field, const std::string& value);
  /// Removes one field of the hash at `key`.
  void eraseField(const std::string& key, const std::string& field);
  /// Deletes `keys`.
  void erase(const std::vector<std::string>& keys);
  /// Writes the key of `record` at `key` and of every member below it.
  void writeSubtree(const Vex::Entity& record, const std::string& key);
  /// Deletes the key of `record` at `key` and of every member below it.
  void eraseSubtree(const Vex::Entity& record, const std::string& key);
  /// Writes an owned key back when Redis holds something else (`inRedis`,
  /// nullopt when the key is gone or holds no hash).
  void repair(const std::string& key, const std::optional<Fields>& inRedis);

 private:
  void send(const std::vector<std::string_view>& args, const std::string& what);
  bool isConfigKey(std::string_view key) const;

  RedisStore& store_;
};

}  // namespace hubstore::redis
