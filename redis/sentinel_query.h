#pragma once
/// \class hubstore::redis::SentinelQuery
/// Where the master of a redis-sentinel://
/// endpoint is, asked of its sentinels without blocking, for an owner's event
/// loop; then whether the sentinel that answered announces a failover.
///
///     SentinelQuery query(endpoint, 500ms);
///     query.ask();
///     while (query.state() == SentinelQuery::State::asking) {
///       ... poll fd() (for writing too when wantsWrite()) until deadline() ...
///       query.process();
///     }
///     found: master() is where the master is; failed: error() says why not.
///
/// The sentinels are asked in the order given, `SENTINEL
/// get-master-addr-by-name NAME`, without credentials (the endpoint's are the
/// master's). One that cannot be reached, does not answer within the timeout,
/// answers an error or does not know the master is skipped. The one that
/// answers is then listened to (+switch-master, subscribed to in the same
/// write as the question, so that no failover falls between the two) until
/// the next ask() or stop(): takeAnnouncedMaster() gives where a failover
/// moved the master.

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <hubstore/redis/redis_connection.h>
#include <hubstore/redis/redis_endpoint.h>

namespace hubstore::redis {

class SentinelQuery {
 public:
  /// The clock of deadline().
  using Clock = std::chrono::steady_clock;
  /// idle before ask() and after stop(); asking until a sentinel gives the
  /// master (found) or none does (failed).
  enum class State { idle, asking, found, failed };

  /// A query of `endpoint`'s sentinels, idle. `timeout`: how long each
  /// sentinel has to answer, from the connect on.
  SentinelQuery(RedisEndpoint endpoint, std::chrono::milliseconds timeout);

  /// Asks from the first sentinel on, dropping the one listened to.
  void ask();
  /// Closes the connection and forgets an announcement not taken: idle.
  void stop();
  /// Connects, writes, reads what has arrived, and skips a sentinel still
  /// silent at deadline(). Call when fd() is ready or the deadline is past.
  void process();

  /// Where the query stands.
  State state() const { return state_; }
  /// The socket to wait on; -1 when there is none.
  int fd() const { return connection_.fd(); }
  /// Whether to wait for fd() to be writable too.
  bool wantsWrite() const { return connection_.connecting() || connection_.wantsWrite(); }
  /// While asking: when the sentinel asked now is skipped.
  Clock::time_point deadline() const { return deadline_; }
  /// found: where the master is, and the sentinel that said so.
  ///@{
  const RedisEndpoint::Address& master() const { return master_; }
  const RedisEndpoint::Address& sentinel() const { return endpoint_.sentinels[asked_ - 1]; }
  ///@}
  /// found: the sentinel is still listened to.
  bool listening() const { return state_ == State::found && connection_.isOpen(); }
  /// Where the sentinel announced that a failover moved the master; once.
  std::optional<RedisEndpoint::Address> takeAnnouncedMaster();
  /// failed: "no sentinel answered for master NAME (HOST:PORT: why; ...)", or
  /// "no sentinel knows master NAME (...)" when one answered. found and no
  /// longer listening: why the sentinel was lost.
  const std::string& error() const { return error_; }

 private:
  void askNext();
  void answered(const redisReply& reply);
  void announced(const redisReply& message);
  // The sentinel asked now gives no address: on to the next one.
  void skip(const std::string& why, bool answered);
  std::string connectionError() const;

  RedisEndpoint endpoint_;
  std::chrono::milliseconds timeout_;
  RedisConnection connection_{"sentinel"};
  State state_ = State::idle;
  std::size_t asked_ = 0;  // sentinels asked so far, the current one included
  Clock::time_point deadline_;
  // What a reply decided, acted on once the read is over: the connection is
  // not replaced under its own read.
  std::optional<std::string> refusal_;
  bool anyAnswered_ = false;
  std::vector<std::string> failures_;
  RedisEndpoint::Address master_;
  std::optional<RedisEndpoint::Address> announced_;
  std::string error_;
};

}  // namespace hubstore::redis
