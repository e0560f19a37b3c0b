#pragma once
/// \class hubstore::redis::RedisConnection
/// One non-blocking connection to a Redis
/// server, driven by its owner's event loop. Commands are appended to an
/// output buffer and written when the owner calls flush(); replies are read by
/// read() and handed, in order, to the callback given with each command.
/// Messages that answer no command (a subscription's "pmessage") go to the
/// push handler.
///
///     RedisConnection data("data");
///     if (!data.open(endpoint)) fail(data.error());
///     ... when fd() is writable: data.finishConnect();
///     data.command({"HGETALL", key}, [](const redisReply& reply) {...});
///     data.flush();                 // when wantsWrite(): again once writable
///     ... when fd() is readable: if (!data.read()) lost(data.error());
///
/// A callback may throw: the reply it was given is consumed, and the replies
/// after it stay buffered for the next read(), which hands them on before it
/// reads the socket again (hasBufferedInput() says so meanwhile). Closing drops
/// the callbacks of replies not yet read.

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <hubstore/redis/redis_endpoint.h>

struct redisContext;
struct redisReply;

namespace hubstore::redis {

class RespReader;

class RedisConnection {
 public:
  /// Receives one reply (or pushed message), valid only for the call.
  using Callback = std::function<void(const redisReply& reply)>;

  /// A closed connection; `name` goes into error messages
  /// ("notifications connection: ...").
  explicit RedisConnection(std::string name);
  /// Closes it.
  ~RedisConnection();
  /// Not copyable: it owns its socket.
  ///@{
  RedisConnection(const RedisConnection&) = delete;
  RedisConnection& operator=(const RedisConnection&) = delete;
  ///@}

  /// Starts a non-blocking connect (closing any connection first); false
  /// (with error()) when it failed at once.
  bool open(const RedisEndpoint& endpoint);
  /// Closes the socket and drops the callbacks of replies not yet read.
  void close();
  /// Whether a connection is open or opening.
  bool isOpen() const { return context_ != nullptr; }
  /// The connect has not completed yet: wait for fd() to be writable.
  bool connecting() const { return connecting_; }
  /// Ends a connect in progress; false (with error()) when it was refused.
  bool finishConnect();
  /// The socket to wait on; -1 when closed.
  int fd() const;

  /// Appends the command `args` to the output buffer; `onReply` gets its
  /// reply. Nothing is sent before flush(); a closed connection ignores it.
  void command(const std::vector<std::string_view>& args, Callback onReply);
  /// A read-only connection refuses, by raising std::logic_error before
  /// anything is buffered, every command that could change the database:
  /// it sends only AUTH, SELECT, ROLE, PING, EXISTS, SCAN, HGETALL,
  /// SUBSCRIBE, PSUBSCRIBE, CONFIG GET and CLIENT SETNAME.
  void readOnlyIs(bool readOnly) { readOnly_ = readOnly; }
  /// Installs the handler of messages that answer no command.
  void pushHandlerIs(Callback handler) { pushHandler_ = std::move(handler); }
  /// Writes what the socket takes; false (with error()) when that lost the
  /// connection. A connection the server closed is an error, never SIGPIPE.
  bool flush();
  /// Whether commands wait in the output buffer.
  bool wantsWrite() const;
  /// Reads what has arrived and hands each reply on; false (with error()) when
  /// the connection is lost.
  bool read();
  /// Whether replies read wait for the next read() (after a callback threw).
  bool hasBufferedInput() const { return bufferedInput_; }
  /// Replies still to come.
  std::size_t pending() const { return callbacks_.size(); }
  /// Replies and messages read, over every connection made: progress.
  std::uint64_t repliesRead() const { return repliesRead_; }
  /// Why the last failing call failed.
  const std::string& error() const { return error_; }

 private:
  bool fail(const std::string& why);
  // Hands on the replies the reader holds; false on a protocol error.
  bool dispatchBuffered();

  std::string name_;
  redisContext* context_ = nullptr;
  bool connecting_ = false;
  bool readOnly_ = false;
  bool bufferedInput_ = false;
  std::deque<Callback> callbacks_;
  Callback pushHandler_;
  std::uint64_t repliesRead_ = 0;
  // Replies are read by our own reader, not hiredis's (hiredis still
  // connects and formats the commands).
  std::unique_ptr<RespReader> reader_;
  std::string error_;
};

}  // namespace hubstore::redis
