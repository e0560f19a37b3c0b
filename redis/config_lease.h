#pragma once
/// \class hubstore::redis::ConfigLease
/// The configuration's lease, which says which process of an agent may write
/// its configuration. The key AGENT:lease holds the token of the process that
/// holds it, set with an expiry of leaseTime and renewed at every check, by a
/// script that takes it only when it is free or already this process's. Each
/// configuration write goes through a second script that checks the token in
/// the same step, so a process that has lost the lease has its writes refused
/// (FENCED) whatever their timing.
///
/// A part of RedisStore: it asks on the store's data connection and tells the
/// store when it becomes a standby or takes the lease over.

#include <string>
#include <string_view>
#include <vector>

#include <hubstore/redis/redis_connection.h>

namespace hubstore::redis {

class RedisStore;

class ConfigLease {
 public:
  /// Whether this process holds the lease: `none` when the configuration is not
  /// owned, `held`, or `standby` when another process holds it.
  enum class Hold { none, held, standby };

  /// The lease of `store`, which owns it; hold() is none until the store owns
  /// the configuration.
  explicit ConfigLease(RedisStore& store);

  /// Where the lease stands for this process.
  Hold hold() const { return hold_; }
  /// Takes the lease, or renews it; `why` says what asked.
  void acquire(const std::string& why);
  /// Gives it up at once when held; nothing more is written.
  void release();
  /// Tells the lease whether the store owns the configuration (once loaded,
  /// its writes go at once, the lease taken as held until the server says
  /// otherwise).
  void configOwnedIs(bool owned);
  /// Told that the connection went, and the answer to a request with it.
  void connectionLost() { pending_ = false; }
  /// Sends a write of the configuration that the server makes only while this
  /// process holds the lease; nothing while it does not.
  void writeFenced(const std::vector<std::string_view>& args, RedisConnection::Callback onReply);

 private:
  void lost(const std::string& why);

  RedisStore& store_;
  Hold hold_ = Hold::none;
  std::string token_;
  bool pending_ = false;
  bool assumed_ = false;  // held until the server's answer says otherwise
};

}  // namespace hubstore::redis
