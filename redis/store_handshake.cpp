#include <hubstore/redis/store_handshake.h>

#include <hiredis/hiredis.h>

#include <string>
#include <string_view>
#include <vector>

#include <hubstore/redis/redis_replies.h>
#include <hubstore/redis/redis_store.h>

namespace hubstore::redis {

namespace {

using replies::isError;
using replies::permissionNeeded;
using replies::text;

// The keyspace event classes the store needs: keyspace channel (K), generic
// commands such as DEL (g), hash commands (h), expiry (x) and eviction (e);
// and the commands of the other types, so that a value of another type
// written where a hash belongs is seen at once: strings ($), lists (l), sets
// (s), sorted sets (z), streams (t).
constexpr std::string_view kNeededEventFlags = "Kghxe$lszt";

std::string neededEventFlags(const std::string& current) {
  std::string flags = current;
  const bool all = current.find('A') != std::string::npos;
  for (char flag : kNeededEventFlags) {
    if (flag != 'K' && all) continue;
    if (flags.find(flag) == std::string::npos) flags += flag;
  }
  return flags;
}

}  // namespace

void StoreHandshake::stepDone() {
  if (--steps_ == 0) store_.resync_.start();
}

void StoreHandshake::send() {
  RedisStore& store = store_;
  RedisConnection& data = store.data_;
  RedisConnection& notifications = store.notifications_;
  const RedisEndpoint& endpoint = store.server_;
  const RedisKeySchema& keys = store.keys_;
  // The keyspace events and the subscription.
  steps_ = 2;
  if (!endpoint.password.empty()) {
    std::vector<std::string_view> auth{"AUTH"};
    if (!endpoint.user.empty()) auth.push_back(endpoint.user);
    auth.push_back(endpoint.password);
    auto checkLogin = [&store](const redisReply& reply) {
      if (!isError(reply)) return;
      const std::string why = "redis at " + store.server_.describe() + " refused the login: " +
                              std::string(text(reply));
      store.refused(why);
    };
    data.command(auth, checkLogin);
    notifications.command(auth, checkLogin);
  }
  if (endpoint.database != 0) {
    const std::string database = std::to_string(endpoint.database);
    data.command({"SELECT", database}, [&store](const redisReply& reply) {
      if (!isError(reply)) return;
      const std::string why = "redis at " + store.server_.describe() + " has no database " +
                              std::to_string(store.server_.database) + ": " + std::string(text(reply));
      store.refused(why);
    });
  }
  if (endpoint.viaSentinels()) {
    // A sentinel's answer can be stale just after a failover. The replies on
    // the data connection come in order, so the resynchronisation, which
    // waits for the CONFIG GET below, never starts on a replica.
    data.command({"ROLE"}, [&store](const redisReply& reply) {
      const bool array = reply.type == REDIS_REPLY_ARRAY && reply.elements > 0;
      const std::string_view role = array ? text(*reply.element[0]) : text(reply);
      if (role == "master") {
        store.roleSettled(true);
      } else {
        store.lose("ROLE of " + store.server_.describe() + " says " + std::string(role) + ", not master");
      }
    });
  }
  if (!store.options_.clientName.empty()) {
    for (RedisConnection* connection : {&data, &notifications}) {
      connection->command({"CLIENT", "SETNAME", store.options_.clientName}, nullptr);
    }
  }
  // A user without the agent's keys is told now, not at its first write.
  const std::string statusKey = keys.recordKey(RecordSlot::status);
  data.command({"EXISTS", statusKey}, [&store, statusKey](const redisReply& reply) {
    if (!isError(reply)) return;
    store.refused("redis at " + store.server_.describe() + " refused to read " + statusKey + ": " +
                  std::string(text(reply)) +
                  permissionNeeded(reply, "the key permission ~" + store.keys_.pattern() +
                                              " and the command permission +exists"));
  });
  data.command({"CONFIG", "GET", "notify-keyspace-events"}, [this](const redisReply& reply) {
    if (isError(reply) || reply.type != REDIS_REPLY_ARRAY || reply.elements != 2) {
      VEX_TRACE(redisStoreTrace, 5) << "RedisStore::keyspaceNotifications unknown: "
                                    << (isError(reply) ? text(reply) : std::string_view("no value"));
      stepDone();
      return;
    }
    const std::string current(text(*reply.element[1]));
    const std::string needed = neededEventFlags(current);
    store_.notificationsOn_ = needed == current;
    if (needed == current) {
      stepDone();
      return;
    }
    if (store_.options_.readOnly) {
      VEX_TRACE(redisStoreTrace, 5) << "RedisStore::keyspaceNotifications off (notify-keyspace-events '"
                                    << std::string_view(current)
                                    << "' lacks some of '" << kNeededEventFlags
                                    << "'), not set by a read-only store: polling";
      stepDone();
      return;
    }
    store_.data_.command({"CONFIG", "SET", "notify-keyspace-events", needed}, [this](const redisReply& set) {
      // Without notifications the store still resynchronises on reconnect;
      // say so rather than refuse to run.
      store_.notificationsOn_ = !isError(set);
      if (isError(set)) {
        VEX_TRACE(redisStoreTrace, 5) << "RedisStore::keyspaceNotifications cannot be enabled: " << text(set);
      }
      stepDone();
    });
  });
  const std::string channels = "__keyspace@" + std::to_string(endpoint.database) + "__:" + keys.pattern();
  // Whether this process writes the configuration is known before the read.
  if (store.owned(Side::config) && !store.leaving_) {
    ++steps_;
    store.lease_.acquire("connected");
    data.command({"PING"}, [this](const redisReply&) { stepDone(); });
  }
  notifications.command({"PSUBSCRIBE", channels}, [this, channels](const redisReply& reply) {
    if (!isError(reply)) {
      stepDone();
      return;
    }
    store_.refused("redis at " + store_.server_.describe() + " refused the subscription to " + channels + ": " +
                   std::string(text(reply)) + permissionNeeded(reply, "the channel permission &" + channels));
  });
}

}  // namespace hubstore::redis
