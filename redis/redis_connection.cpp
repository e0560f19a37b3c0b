#include <hubstore/redis/redis_connection.h>

// hiredis 0.14's sds.h declares its functions without C linkage.
extern "C" {
#include <hiredis/sds.h>
}
#include <hiredis/hiredis.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <vector>
#include <cstring>
#include <memory>

namespace hubstore::redis {

// Replies are built in one arena, emptied once a reply has been handed on,
// rather than with an allocation per element: an agent's start reads tens of
// thousands of hashes of tens of fields each. A reply lives until its
// callback returns.
class RedisConnection::ReplyArena {
 public:
  void* allocate(std::size_t bytes) {
    bytes = (bytes + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1);
    while (block_ < blocks_.size() && used_ + bytes > blocks_[block_].size) {
      ++block_;
      used_ = 0;
    }
    if (block_ == blocks_.size()) {
      blocks_.push_back({std::make_unique<std::byte[]>(std::max(bytes, kBlockBytes)), std::max(bytes, kBlockBytes)});
    }
    void* at = blocks_[block_].bytes.get() + used_;
    used_ += bytes;
    return at;
  }
  // Keeps the blocks: the next replies are as large.
  void clear() {
    block_ = 0;
    used_ = 0;
  }

 private:
  static constexpr std::size_t kBlockBytes = 64 * 1024;
  struct Block {
    std::unique_ptr<std::byte[]> bytes;
    std::size_t size;
  };
  std::vector<Block> blocks_;
  std::size_t block_ = 0;
  std::size_t used_ = 0;
};

namespace {

redisReply* newReply(const redisReadTask* task, int type) {
  auto* arena = static_cast<RedisConnection::ReplyArena*>(task->privdata);
  auto* reply = static_cast<redisReply*>(arena->allocate(sizeof(redisReply)));
  std::memset(reply, 0, sizeof *reply);
  reply->type = type;
  if (task->parent) static_cast<redisReply*>(task->parent->obj)->element[task->idx] = reply;
  return reply;
}

void* createString(const redisReadTask* task, char* text, std::size_t length) {
  redisReply* reply = newReply(task, task->type);
  auto* copy = static_cast<char*>(static_cast<RedisConnection::ReplyArena*>(task->privdata)->allocate(length + 1));
  std::memcpy(copy, text, length);
  copy[length] = '\0';
  reply->str = copy;
  reply->len = length;
  return reply;
}

void* createArray(const redisReadTask* task, int elements) {
  redisReply* reply = newReply(task, REDIS_REPLY_ARRAY);
  if (elements > 0) {
    auto* arena = static_cast<RedisConnection::ReplyArena*>(task->privdata);
    reply->element = static_cast<redisReply**>(arena->allocate(sizeof(redisReply*) * static_cast<std::size_t>(elements)));
  }
  reply->elements = static_cast<std::size_t>(std::max(elements, 0));
  return reply;
}

void* createInteger(const redisReadTask* task, long long value) {
  redisReply* reply = newReply(task, REDIS_REPLY_INTEGER);
  reply->integer = value;
  return reply;
}

void* createNil(const redisReadTask* task) { return newReply(task, REDIS_REPLY_NIL); }

// The arena owns every reply.
void freeNothing(void*) {}

redisReplyObjectFunctions kArenaReplies = {createString, createArray, createInteger, createNil, freeNothing};

// A subscription's message, as opposed to the reply to a command.
bool isPush(const redisReply& reply) {
  if (reply.type != REDIS_REPLY_ARRAY || reply.elements < 3 || reply.element[0]->type != REDIS_REPLY_STRING) {
    return false;
  }
  const std::string_view kind(reply.element[0]->str, reply.element[0]->len);
  return kind == "pmessage" || kind == "message";
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
  if (!arena_) arena_ = std::make_unique<ReplyArena>();
  context_->reader->fn = &kArenaReplies;
  context_->reader->privdata = arena_.get();
  connecting_ = true;
  return true;
}

void RedisConnection::close() {
  if (context_) redisFree(context_);
  context_ = nullptr;
  connecting_ = false;
  bufferedInput_ = false;
  callbacks_.clear();
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
  // cannot hold the event loop for long. Small reads: hiredis moves what is
  // left of its buffer after each reply it takes out, so the cost of a feed
  // grows with its size.
  char buffer[16 * 1024];
  for (int round = 0; round < 256 && context_; ++round) {
    const ssize_t n = recv(context_->fd, buffer, sizeof buffer, MSG_DONTWAIT);
    if (n == 0) return fail("the server closed the connection");
    if (n < 0) {
      if (errno == EAGAIN || errno == EWOULDBLOCK) break;
      if (errno == EINTR) continue;
      return fail(std::strerror(errno));
    }
    if (redisReaderFeed(context_->reader, buffer, static_cast<std::size_t>(n)) != REDIS_OK) {
      return fail("protocol error");
    }
    bufferedInput_ = true;
    if (!dispatchBuffered()) return false;
  }
  return isOpen();
}

bool RedisConnection::dispatchBuffered() {
  while (context_) {
    void* raw = nullptr;
    if (redisReaderGetReply(context_->reader, &raw) != REDIS_OK) return fail("protocol error");
    if (!raw) break;
    // Emptied once the reply is handed on, also when its callback throws.
    struct Done {
      ReplyArena& arena;
      ~Done() { arena.clear(); }
    } done{*arena_};
    const redisReply* reply = static_cast<const redisReply*>(raw);
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
