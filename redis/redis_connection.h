#pragma once
// hubstore::redis::RedisConnection: one non-blocking connection to a Redis
// server, driven by its owner's event loop. Commands are appended to an
// output buffer and written when the owner calls flush(); replies are read by
// read() and handed, in order, to the callback given with each command.
// Messages that answer no command (a subscription's "pmessage") go to the
// push handler.
//
//   RedisConnection data("data");
//   if (!data.open(endpoint)) fail(data.error());
//   ... when fd() is writable: data.finishConnect();
//   data.command({"HGETALL", key}, [](const redisReply& reply) {...});
//   data.flush();                 // when wantsWrite(): again once writable
//   ... when fd() is readable: if (!data.read()) lost(data.error());
//
// A callback may throw: the reply it was given is consumed, and the replies
// after it stay buffered for the next read(), which hands them on before it
// reads the socket again (hasBufferedInput() says so meanwhile). Closing drops
// the callbacks of replies not yet read.

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
  using Callback = std::function<void(const redisReply& reply)>;

  // `name` goes into error messages ("notifications connection: ...").
  explicit RedisConnection(std::string name);
  ~RedisConnection();
  RedisConnection(const RedisConnection&) = delete;
  RedisConnection& operator=(const RedisConnection&) = delete;

  // Starts a non-blocking connect; false (with error()) when it failed at once.
  bool open(const RedisEndpoint& endpoint);
  void close();
  bool isOpen() const { return context_ != nullptr; }
  // The connect has not completed yet: wait for fd() to be writable.
  bool connecting() const { return connecting_; }
  // Ends a connect in progress; false (with error()) when it was refused.
  bool finishConnect();
  int fd() const;

  void command(const std::vector<std::string_view>& args, Callback onReply);
  void pushHandlerIs(Callback handler) { pushHandler_ = std::move(handler); }
  // Writes what the socket takes; false (with error()) when that lost the
  // connection. A connection the server closed is an error, never SIGPIPE.
  bool flush();
  bool wantsWrite() const;
  // Reads what has arrived and hands each reply on; false (with error()) when
  // the connection is lost.
  bool read();
  bool hasBufferedInput() const { return bufferedInput_; }
  // Replies still to come.
  std::size_t pending() const { return callbacks_.size(); }
  // Replies and messages read, over every connection made: progress.
  std::uint64_t repliesRead() const { return repliesRead_; }
  const std::string& error() const { return error_; }

 private:
  bool fail(const std::string& why);
  // Hands on the replies the reader holds; false on a protocol error.
  bool dispatchBuffered();

  std::string name_;
  redisContext* context_ = nullptr;
  bool connecting_ = false;
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
