#include <hubstore/redis/config_lease.h>

#include <hiredis/hiredis.h>
#include <unistd.h>

#include <random>

#include <hubstore/redis/redis_replies.h>
#include <hubstore/redis/redis_store.h>

namespace hubstore::redis {

namespace {

using replies::isError;
using replies::text;

// The lease's scripts, so that each step is atomic.
// KEYS[1] the lease, ARGV[1] this process's token, ARGV[2] milliseconds:
// takes the lease when free, renews it when held; 1 when held after.
constexpr const char* kLeaseAcquire =
    "local holder = redis.call('GET', KEYS[1]) "
    "if holder and holder ~= ARGV[1] then return 0 end "
    "redis.call('SET', KEYS[1], ARGV[1], 'PX', ARGV[2]) return 1";
// Gives the lease up when held.
constexpr const char* kLeaseRelease =
    "if redis.call('GET', KEYS[1]) == ARGV[1] then redis.call('DEL', KEYS[1]) end return 1";
// A configuration write, done only while this process holds the lease:
// ARGV[2] the command (HSET, HDEL or DEL), then its arguments, passed on a
// thousand at a time.
constexpr const char* kFencedWrite =
    "if redis.call('GET', KEYS[1]) ~= ARGV[1] then "
    "return redis.error_reply('FENCED another process holds the configuration lease') end "
    "local command, last, done = ARGV[2], #ARGV, 0 "
    "if command == 'DEL' then "
    "for i = 3, last, 1000 do done = done + redis.call(command, unpack(ARGV, i, math.min(i + 999, last))) end "
    "else "
    "for i = 4, last, 1000 do done = done + redis.call(command, ARGV[3], unpack(ARGV, i, math.min(i + 999, last))) end "
    "end "
    "return done";

// A token no other process of the agent holds.
std::string newLeaseToken() {
  std::random_device random;
  char host[64] = "";
  gethostname(host, sizeof host - 1);
  return std::string(host) + ":" + std::to_string(getpid()) + ":" + std::to_string(random()) + std::to_string(random());
}

}  // namespace

ConfigLease::ConfigLease(RedisStore& store) : store_(store), token_(newLeaseToken()) {}

void ConfigLease::acquire(const std::string& why) {
  if (pending_ || store_.leaving_ || !store_.data_.isOpen()) return;
  pending_ = true;
  const RedisKeySchema& keys = store_.keys_;
  const std::string lease = keys.leaseKey();
  const std::string time = std::to_string(store_.options_.leaseTime.count());
  store_.data_.command({"EVAL", kLeaseAcquire, "1", lease, token_, time}, [this, why](const redisReply& reply) {
    const RedisKeySchema& keys = store_.keys_;
    pending_ = false;
    if (isError(reply) && text(reply).rfind("READONLY", 0) == 0) {
      store_.lose(store_.server_.describe() + " refused the lease: " + std::string(text(reply)));
      return;
    }
    if (isError(reply)) {
      store_.refused("redis at " + store_.options_.endpoint.describe() + " refused the lease script: " +
                     std::string(text(reply)) +
                     replies::permissionNeeded(reply, "the command permission +eval (and +get +set on ~" +
                                                          keys.pattern() + ")"));
      return;
    }
    const bool held = reply.type == REDIS_REPLY_INTEGER && reply.integer == 1;
    if (!store_.owned(Side::config) || store_.leaving_) return;
    if (held && hold_ != Hold::held) {
      const bool takingOver = hold_ == Hold::standby && store_.live();
      hold_ = Hold::held;
      VEX_TRACE(redisStoreTrace, 5) << "RedisStore::lease agent:" << std::string_view(keys.agentName())
                                    << " held (" << std::string_view(why) << ")";
      // What differs is written: a standby's records followed Redis, and its
      // own declarations meanwhile are written now.
      if (takingOver) store_.resyncNow("took the configuration's lease over");
    } else if (!held && hold_ == Hold::held && !assumed_) {
      lost("another process of agent " + keys.agentName() + " holds the configuration's lease");
    } else if (!held && hold_ != Hold::standby) {
      hold_ = Hold::standby;
      if (store_.live()) {
        store_.stateIs(RedisStore::State::standby,
                       "another process of agent " + keys.agentName() + " holds the configuration's lease");
      }
    }
    assumed_ = false;
  });
}

void ConfigLease::lost(const std::string& why) {
  hold_ = Hold::standby;
  ++store_.statistics_.leasesLost;
  VEX_TRACE(redisStoreTrace, 5) << "RedisStore::leaseLost agent:" << std::string_view(store_.keys_.agentName())
                                << " why: " << std::string_view(why);
  if (store_.live()) store_.stateIs(RedisStore::State::standby, why);
}

void ConfigLease::release() {
  if (hold_ == Hold::none) return;
  const bool held = hold_ == Hold::held;
  hold_ = Hold::standby;
  store_.leaving_ = true;
  if (held && store_.data_.isOpen()) {
    store_.data_.command({"EVAL", kLeaseRelease, "1", store_.keys_.leaseKey(), token_}, nullptr);
    if (!store_.processing_) store_.poller_.wake();
  }
}

void ConfigLease::configOwnedIs(bool owned) {
  // The configuration's writes follow the lease's request on the one
  // connection: they pass when it is granted and are refused when not.
  if (owned && hold_ == Hold::none && store_.loaded_) {
    hold_ = Hold::held;
    assumed_ = true;
    acquire("owning the configuration");
  }
  if (!owned) hold_ = Hold::none;
}

void ConfigLease::writeFenced(const std::vector<std::string_view>& args, RedisConnection::Callback onReply) {
  if (hold_ != Hold::held) return;
  const std::string lease = store_.keys_.leaseKey();
  std::vector<std::string_view> script{"EVAL", kFencedWrite, "1", lease, token_};
  script.insert(script.end(), args.begin(), args.end());
  store_.data_.command(script, std::move(onReply));
}

}  // namespace hubstore::redis
