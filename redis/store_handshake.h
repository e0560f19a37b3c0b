#pragma once
/// \class hubstore::redis::StoreHandshake
/// What a RedisStore asks of a server once its two connections are up, before
/// it reads anything: the login and the database; through sentinels, that ROLE
/// says master; that the user may read the agent's keys; the keyspace event
/// classes the store needs (added with CONFIG SET where missing); the
/// configuration's lease, for a process that owns the configuration; and the
/// subscription to the agent's keyspace channel. The resynchronisation starts
/// once the steps it waits for are answered. A refusal names what was refused
/// and, for a missing permission, the permission.
///
/// A part of RedisStore.

namespace hubstore::redis {

class RedisStore;

class StoreHandshake {
 public:
  /// The handshake of `store`, which owns it.
  explicit StoreHandshake(RedisStore& store) : store_(store) {}

  /// Sends every step of the handshake on the store's two connections; the
  /// store's resynchronisation starts once the steps it waits for are
  /// answered.
  void send();

 private:
  void stepDone();

  RedisStore& store_;
  int steps_ = 0;  // answers the resynchronisation still waits for
};

}  // namespace hubstore::redis
