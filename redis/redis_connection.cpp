#include <hubstore/redis/redis_connection.h>

#include <hubstore/redis/resp_reader.h>

// hiredis 0.14's sds.h declares its functions without C linkage.
extern "C" {
#include <hiredis/sds.h>
}
#include <hiredis/hiredis.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace hubstore::redis {

namespace {

// A subscription's message, as opposed to the reply to a command.
bool isPush(const redisReply& reply) {
  if (reply.type != REDIS_REPLY_ARRAY || reply.elements < 3 || reply.element[0]->type != REDIS_REPLY_STRING) {
    return false;
  }
  const std::string_view kind(reply.element[0]->str, reply.element[0]->len);
  return kind == "pmessage" || kind == "message";
}

// The commands a read-only connection sends: none of them changes a key or
// the server's configuration.
bool readsOnly(const std::vector<std::string_view>& args) {
  static constexpr std::string_view reads[] = {"AUTH", "SELECT",  "ROLE",      "PING",      "EXISTS",
                                               "SCAN", "HGETALL", "SUBSCRIBE", "PSUBSCRIBE"};
  if (args.empty()) return false;
  if (args[0] == "CONFIG") return args.size() > 1 && args[1] == "GET";
  if (args[0] == "CLIENT") return args.size() > 1 && args[1] == "SETNAME";
  return std::find(std::begin(reads), std::end(reads), args[0]) != std::end(reads);
}

}  // namespace

RedisConnection::RedisConnection(std::string name) : name_(std::move(name)) {}

RedisConnection::~RedisConnection() { close(); }

bool RedisConnection::open(const RedisEndpoint& endpoint) {
  close();
  error_.clear();
  context_ = endpoint.socketPath.empty() ? redisConnectNonBlock(endpoint.host.c_str(), endpoint.port)
                                         : redisConnectUnixNonBlock(endpoint.socketPath.c_str());
  if (!context_) return fail("out of memory");
  if (context_->err) return fail(context_->errstr);
  reader_ = std::make_unique<RespReader>();
  connecting_ = true;
  return true;
}

void RedisConnection::close() {
  if (context_) redisFree(context_);
  context_ = nullptr;
  connecting_ = false;
  bufferedInput_ = false;
  callbacks_.clear();
  // The reader stays until the next open(): a callback that closes the
  // connection is still reading its reply.
}

bool RedisConnection::fail(const std::string& why) {
  error_ = name_ + " connection: " + why;
  close();
  return false;
}

bool RedisConnection::finishConnect() {
  if (!connecting_) return isOpen();
  int error = 0;
  socklen_t length = sizeof error;
  if (getsockopt(context_->fd, SOL_SOCKET, SO_ERROR, &error, &length) != 0) error = errno;
  if (error != 0) return fail(std::strerror(error));
  connecting_ = false;
  return true;
}

int RedisConnection::fd() const { return context_ ? context_->fd : -1; }

void RedisConnection::command(const std::vector<std::string_view>& args, Callback onReply) {
  if (readOnly_ && !readsOnly(args)) {
    throw std::logic_error(name_ + " connection is read-only: refused to send " +
                           std::string(args.empty() ? std::string_view() : args[0]));
  }
  if (!context_) return;
  std::vector<const char*> argv;
  std::vector<std::size_t> lengths;
  argv.reserve(args.size());
  lengths.reserve(args.size());
  for (std::string_view arg : args) {
    argv.push_back(arg.data());
    lengths.push_back(arg.size());
  }
  redisAppendCommandArgv(context_, static_cast<int>(argv.size()), argv.data(), lengths.data());
  callbacks_.push_back(std::move(onReply));
}

bool RedisConnection::wantsWrite() const { return context_ && context_->obuf && sdslen(context_->obuf) > 0; }

bool RedisConnection::flush() {
  if (!context_ || connecting_) return true;
  // hiredis writes with write(2), which raises SIGPIPE on a connection the
  // server closed; send(2) with MSG_NOSIGNAL reports EPIPE instead.
  while (sdslen(context_->obuf) > 0) {
    const ssize_t n = send(context_->fd, context_->obuf, sdslen(context_->obuf), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n < 0) {
      if (errno == EAGAIN || errno == EWOULDBLOCK) break;  // the socket is full: wait until writable
      if (errno == EINTR) continue;
      return fail(std::strerror(errno));
    }
    sdsrange(context_->obuf, static_cast<int>(n), -1);
  }
  return true;
}

bool RedisConnection::read() {
  if (!context_ || connecting_) return isOpen();
  if (bufferedInput_ && !dispatchBuffered()) return false;
  // Reads until the socket is empty, with a bound so one busy connection
  // cannot hold the event loop for long.
  constexpr std::size_t kRead = 64 * 1024;
  for (int round = 0; round < 64 && context_; ++round) {
    // Received straight into the reader's buffer.
    const ssize_t n = recv(context_->fd, reader_->space(kRead), kRead, MSG_DONTWAIT);
    if (n == 0) return fail("the server closed the connection");
    if (n < 0) {
      if (errno == EAGAIN || errno == EWOULDBLOCK) break;
      if (errno == EINTR) continue;
      return fail(std::strerror(errno));
    }
    reader_->written(static_cast<std::size_t>(n));
    if (reader_->failed()) return fail(reader_->error());
    bufferedInput_ = true;
    if (!dispatchBuffered()) return false;
    // What the replies asked for goes at once, so that the server works on
    // it while the next replies are read (a fleet's read, page by page).
    if (wantsWrite() && !flush()) return false;
  }
  return isOpen();
}

bool RedisConnection::dispatchBuffered() {
  while (context_) {
    const redisReply* reply = reader_->next();
    if (!reply) {
      if (reader_->failed()) return fail(reader_->error());
      break;
    }
    ++repliesRead_;
    if (isPush(*reply)) {
      if (pushHandler_) pushHandler_(*reply);
      continue;
    }
    if (callbacks_.empty()) return fail("a reply that no command asked for");
    Callback callback = std::move(callbacks_.front());
    callbacks_.pop_front();
    if (callback) callback(*reply);
  }
  bufferedInput_ = false;
  return isOpen();
}

}  // namespace hubstore::redis
