#include <hubstore/redis/store_writer.h>

#include <hiredis/hiredis.h>

#include <algorithm>

#include <hubstore/redis/record_codec.h>
#include <hubstore/redis/redis_replies.h>
#include <hubstore/redis/redis_store.h>

namespace hubstore::redis {

namespace {

using replies::isError;
using replies::text;

constexpr std::size_t kDeleteBatch = 1000;

}  // namespace

void StoreWriter::repair(const std::string& key, const std::optional<Fields>& inRedis) {
  const auto path = store_.keys_.parse(key);
  if (!path || !store_.writes(sideOf(path->record))) return;
  const Vex::Entity* record = store_.root(path->record);
  const std::optional<Fields> local = record ? RecordCodec::fieldsAt(*record, path->steps) : std::nullopt;
  if (local == inRedis) return;
  ++store_.statistics_.repairs;
  VEX_TRACE(redisStoreTrace, 5) << "RedisStore::repair " << std::string_view(key)
                                << (local ? (inRedis ? ": changed by another client, written again"
                                                     : ": deleted by another client, written again")
                                          : ": written by another client, deleted");
  if (!local) {
    erase({key});
  } else if (inRedis) {
    rewrite(key, *local, *inRedis);
  } else {
    write(key, *local);
  }
}

bool StoreWriter::isConfigKey(std::string_view key) const {
  const std::string& prefix = store_.keys_.prefix();
  if (key.substr(0, prefix.size()) != prefix) return false;
  key.remove_prefix(prefix.size());
  return key.substr(0, 11) == "mountConfig" || key.substr(0, 13) == "publishConfig";
}

void StoreWriter::send(const std::vector<std::string_view>& args, const std::string& what) {
  RedisConnection& data = store_.data_;
  // Before the login nothing is sent; the resynchronisation writes it.
  if (!data.isOpen() || store_.state_ == RedisStore::State::connecting || store_.leaving_) return;
  const bool idle = !data.wantsWrite();
  auto onReply = [this, what](const redisReply& reply) {
    if (!isError(reply)) return;
    if (text(reply).rfind("FENCED", 0) == 0) {
      ++store_.statistics_.fencedWrites;
      VEX_TRACE(redisStoreTrace, 5) << "RedisStore::fencedWrite " << std::string_view(what) << ": " << text(reply);
      // Held no more, or the lease key went with a FLUSHALL: ask again.
      if (store_.lease_.hold() == ConfigLease::Hold::held) store_.lease_.acquire("a write was refused");
      return;
    }
    if (store_.server_.viaSentinels() && text(reply).rfind("READONLY", 0) == 0) {
      // The master was made a replica under the store: the sentinels know the new one.
      store_.lose(store_.server_.describe() + " refused a write: " + std::string(text(reply)));
      return;
    }
    ++store_.statistics_.failedWrites;
    VEX_TRACE(redisStoreTrace, 5) << "RedisStore::writeFailed " << std::string_view(what) << ": " << text(reply);
  };
  // A configuration write is made only while this process holds the lease,
  // checked by the server in the same step as the write.
  const bool fenced = store_.lease_.hold() != ConfigLease::Hold::none && args.size() > 1 && args[0] != "MULTI" &&
                      args[0] != "EXEC" && isConfigKey(args[1]);
  if (fenced) {
    store_.lease_.writeFenced(args, onReply);
  } else {
    data.command(args, onReply);
  }
  if (idle && !store_.processing_) store_.poller_.wake();
}

void StoreWriter::write(const std::string& key, const Fields& fields) {
  std::vector<std::string_view> args{"HSET", key};
  args.reserve(2 + 2 * fields.size());
  for (const auto& [name, value] : fields) {
    args.push_back(name);
    args.push_back(value);
  }
  send(args, key);
}

void StoreWriter::rewrite(const std::string& key, const Fields& fields, const Fields& inRedis) {
  std::vector<std::string_view> extra{"HDEL", key};
  for (const auto& [name, value] : inRedis) {
    if (!fields.count(name)) extra.push_back(name);
  }
  if (extra.size() == 2) {
    write(key, fields);
    return;
  }
  // One transaction, so that no reader sees the hash half rewritten.
  send({"MULTI"}, key);
  send(extra, key);
  write(key, fields);
  send({"EXEC"}, key);
}

void StoreWriter::writeField(const std::string& key, const std::string& field, const std::string& value) {
  send({"HSET", key, field, value}, key);
}

void StoreWriter::eraseField(const std::string& key, const std::string& field) { send({"HDEL", key, field}, key); }

void StoreWriter::erase(const std::vector<std::string>& keys) {
  for (std::size_t from = 0; from < keys.size(); from += kDeleteBatch) {
    std::vector<std::string_view> args{"DEL"};
    for (std::size_t i = from; i < std::min(keys.size(), from + kDeleteBatch); ++i) args.push_back(keys[i]);
    send(args, "DEL");
  }
}

void StoreWriter::writeSubtree(const Vex::Entity& record, const std::string& key) {
  RecordCodec::flatten(record, key, [this](const std::string& member, const Fields& fields) { write(member, fields); });
}

void StoreWriter::eraseSubtree(const Vex::Entity& record, const std::string& key) {
  std::vector<std::string> keys;
  RecordCodec::flatten(record, key, [&keys](const std::string& member, const Fields&) { keys.push_back(member); });
  erase(keys);
}

}  // namespace hubstore::redis
