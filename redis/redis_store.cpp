#include <hubstore/redis/redis_store.h>

#include <hiredis/hiredis.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <random>
#include <cstring>

#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/redis/redis_store_error.h>

namespace hubstore::redis {

Vex::TraceHandle redisStoreTrace("RedisStore");

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::size_t kScanCount = 1000;
constexpr std::size_t kDeleteBatch = 1000;

std::string_view text(const redisReply& reply) { return {reply.str ? reply.str : "", reply.len}; }

bool isError(const redisReply& reply) { return reply.type == REDIS_REPLY_ERROR; }

// A hash's fields, or nullopt for a key that does not exist (an empty hash).
std::optional<Fields> hashFields(const redisReply& reply) {
  if (reply.type != REDIS_REPLY_ARRAY || reply.elements == 0) return std::nullopt;
  // Put in name order as views, which move cheaply, then copied once.
  std::vector<std::pair<std::string_view, std::string_view>> views;
  views.reserve(reply.elements / 2);
  for (std::size_t i = 0; i + 1 < reply.elements; i += 2) views.emplace_back(text(*reply.element[i]), text(*reply.element[i + 1]));
  // A writer's hash is in order but for a field or two (its "name" written
  // first): an insertion sort moves them in a pass, where it is short.
  const auto byName = [](const auto& a, const auto& b) { return a.first < b.first; };
  if (views.size() > 128) {
    std::sort(views.begin(), views.end(), byName);
  } else {
    for (std::size_t i = 1; i < views.size(); ++i) {
      for (std::size_t j = i; j > 0 && byName(views[j], views[j - 1]); --j) std::swap(views[j], views[j - 1]);
    }
  }
  std::vector<Fields::value_type> fields;
  fields.reserve(views.size());
  for (const auto& [name, value] : views) fields.emplace_back(std::string(name), std::string(value));
  return Fields::inOrder(std::move(fields));
}

// The keyspace event classes the store needs: keyspace channel (K), generic
// commands such as DEL (g), hash commands (h), expiry (x) and eviction (e);
// and the commands of the other types, so that a value of another type
// written where a hash belongs is seen at once: strings ($), lists (l), sets
// (s), sorted sets (z), streams (t).
std::string neededEventFlags(const std::string& current) {
  std::string flags = current;
  const bool all = current.find('A') != std::string::npos;
  for (char flag : std::string("Kghxe$lszt")) {
    if (flag != 'K' && all) continue;
    if (flags.find(flag) == std::string::npos) flags += flag;
  }
  return flags;
}

// The configuration's lease, in scripts so that each step is atomic.
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

// 230000 -> "230,000"
std::string withSeparators(std::size_t count) {
  const std::string digits = std::to_string(count);
  std::string text;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) text += ',';
    text += digits[i];
  }
  return text;
}

void drain(int fd) {
  std::uint64_t count = 0;
  while (::read(fd, &count, sizeof count) == static_cast<ssize_t>(sizeof count)) {
  }
}

bool writable(int fd) {
  pollfd p{fd, POLLOUT, 0};
  return ::poll(&p, 1, 0) > 0;
}

}  // namespace

const char* RedisStore::stateName(State state) {
  switch (state) {
    case State::closed:
      return "closed";
    case State::connecting:
      return "connecting";
    case State::syncing:
      return "syncing";
    case State::live:
      return "live";
    case State::standby:
      return "standby";
    case State::disconnected:
      return "disconnected";
  }
  return "invalid";
}

RedisStore::RedisStore(Vex::Ptr<Mirra::EntityManager> entityManager, Options options)
    : em_(std::move(entityManager)),
      options_(std::move(options)),
      server_(options_.endpoint),
      keys_(options_.agentName),
      leaseToken_(newLeaseToken()) {
  if (options_.endpoint.viaSentinels()) sentinels_.emplace(options_.endpoint, options_.sentinelTimeout);
  poll_ = epoll_create1(EPOLL_CLOEXEC);
  timer_ = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
  wake_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (poll_ < 0 || timer_ < 0 || wake_ < 0) throw RedisStoreError(std::string("RedisStore: ") + std::strerror(errno));
  for (int fd : {timer_, wake_}) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    epoll_ctl(poll_, EPOLL_CTL_ADD, fd, &event);
  }
  notifications_.pushHandlerIs([this](const redisReply& message) {
    // ["pmessage", pattern, "__keyspace@DB__:KEY", event]
    if (message.elements < 4) return;
    const std::string_view channel = text(*message.element[2]);
    const std::size_t colon = channel.find("__:");
    if (colon != std::string_view::npos) {
      onNotification(std::string(channel.substr(colon + 3)), text(*message.element[3]));
    }
  });
}

RedisStore::~RedisStore() {
  watchers_.clear();
  data_.close();
  notifications_.close();
  for (int fd : {poll_, timer_, wake_}) {
    if (fd >= 0) ::close(fd);
  }
}

// ---------------------------------------------------------------------------
// Opening and the connection's lifecycle

void RedisStore::checkServer(const RedisEndpoint& given, milliseconds silence) {
  RedisEndpoint endpoint = given;
  if (endpoint.viaSentinels()) {
    // The master the sentinels name now.
    SentinelQuery query(endpoint, Options().sentinelTimeout);
    query.ask();
    while (query.state() == SentinelQuery::State::asking) {
      pollfd p{query.fd(), static_cast<short>(POLLIN | (query.wantsWrite() ? POLLOUT : 0)), 0};
      ::poll(&p, query.fd() >= 0 ? 1 : 0, 50);
      query.process();
    }
    if (query.state() != SentinelQuery::State::found) {
      throw RedisStoreError("no answer from redis at " + endpoint.describe() + " (" + query.error() + ")");
    }
    endpoint.host = query.master().host;
    endpoint.port = query.master().port;
  }
  RedisConnection connection("data");
  const std::string where = "redis at " + endpoint.describe();
  auto fail = [&](const std::string& why) { throw RedisStoreError(why); };
  if (!connection.open(endpoint)) {
    fail("no answer from " + where + " within " + std::to_string(silence.count()) + " ms (" + connection.error() + ")");
  }
  std::string refusal;
  bool answered = false;
  if (!endpoint.password.empty()) {
    std::vector<std::string_view> auth{"AUTH"};
    if (!endpoint.user.empty()) auth.push_back(endpoint.user);
    auth.push_back(endpoint.password);
    connection.command(auth, [&](const redisReply& reply) {
      if (isError(reply) && refusal.empty()) refusal = where + " refused the login: " + std::string(text(reply));
    });
  }
  if (endpoint.database != 0) {
    connection.command({"SELECT", std::to_string(endpoint.database)}, [&](const redisReply& reply) {
      if (isError(reply) && refusal.empty()) {
        refusal = where + " has no database " + std::to_string(endpoint.database) + ": " + std::string(text(reply));
      }
    });
  }
  connection.command({"PING"}, [&](const redisReply&) { answered = true; });
  auto lastAnswer = Clock::now();
  std::uint64_t replies = 0;
  while (!answered) {
    if (!connection.isOpen()) fail("no answer from " + where + " (" + connection.error() + ")");
    pollfd p{connection.fd(), static_cast<short>(POLLIN | (connection.connecting() || connection.wantsWrite() ? POLLOUT : 0)), 0};
    ::poll(&p, 1, 50);
    if (connection.connecting() && (p.revents & (POLLOUT | POLLERR | POLLHUP)) && !connection.finishConnect()) {
      fail("no answer from " + where + " within " + std::to_string(silence.count()) + " ms (" + connection.error() + ")");
    }
    if (!connection.flush() || !connection.read()) {
      if (!refusal.empty()) fail(refusal);
      fail("no answer from " + where + " (" + connection.error() + ")");
    }
    if (connection.repliesRead() != replies) {
      replies = connection.repliesRead();
      lastAnswer = Clock::now();
    }
    if (Clock::now() - lastAnswer > silence) {
      fail("no answer from " + where + " within " + std::to_string(silence.count()) + " ms");
    }
  }
  if (!refusal.empty()) fail(refusal);
}

void RedisStore::open() {
  if (state_ != State::closed) return;
  fatalError_.clear();
  lastError_.clear();
  backoff_ = milliseconds(0);
  const std::uint64_t before = repliesRead();
  startAttempt();
  const bool ready = waitUntil([this] { return !fatalError_.empty() || (live() && toApply_.empty()); },
                               options_.openTimeout);
  std::string failure = fatalError_;
  if (failure.empty() && !ready) {
    const std::string silence = std::to_string(options_.openTimeout.count()) + " ms";
    const std::string why = lastError_.empty() ? std::string() : " (" + lastError_ + ")";
    failure = repliesRead() == before
                  ? "no answer from redis at " + server_.describe() + " within " + silence + why
                  : "redis at " + server_.describe() + " stopped answering after " + resyncProgress() +
                        ": nothing for " + silence + why;
  }
  if (!failure.empty()) {
    watchFd(data_.fd(), false, false);
    watchFd(notifications_.fd(), false, false);
    data_.close();
    notifications_.close();
    if (sentinels_) sentinels_->stop();
    roleSettled(false);
    timerIs(milliseconds(0));
    state_ = State::closed;
    throw RedisStoreError(failure);
  }
  for (Side side : {Side::config, Side::status}) {
    if (owned(side)) ownedIs(side, true);
  }
}

std::uint64_t RedisStore::repliesRead() const {
  const std::uint64_t read = data_.repliesRead() + notifications_.repliesRead();
  // An attempt's replies count once ROLE has said master, so that open()
  // gives up on sentinels that keep naming a replica.
  return (roleUnconfirmed_ ? repliesAtAttempt_ : read) - unconfirmedReplies_;
}

void RedisStore::roleSettled(bool counted) {
  if (!roleUnconfirmed_) return;
  if (!counted) unconfirmedReplies_ += data_.repliesRead() + notifications_.repliesRead() - repliesAtAttempt_;
  roleUnconfirmed_ = false;
}

std::string RedisStore::resyncProgress() const {
  if (!scanStarted_) return "the login";
  const std::size_t read = keysFound_ - resyncReads_;
  return "reading " + withSeparators(read) + (scanDone_ ? " of " : " of the ") + withSeparators(keysFound_) +
         (scanDone_ ? " keys" : " keys found so far");
}

void RedisStore::startAttempt() {
  if (!sentinels_) {
    connectToServer();
    return;
  }
  // The master is wherever the sentinels say it is now.
  sentinels_->ask();
  stateIs(State::connecting, "");
  followSentinels();
}

void RedisStore::connectToServer() {
  handshakeSteps_ = 2;
  repliesAtAttempt_ = data_.repliesRead() + notifications_.repliesRead();
  roleUnconfirmed_ = server_.viaSentinels();
  for (RedisConnection* connection : {&data_, &notifications_}) {
    if (!connection->open(server_)) {
      lose(connection->error());
      return;
    }
    watchFd(connection->fd(), true, true);
  }
  timerIs(options_.attemptTimeout);
  stateIs(State::connecting, "");
}

void RedisStore::followSentinels() {
  const bool asking = sentinels_->state() == SentinelQuery::State::asking;
  const bool listening = sentinels_->listening();
  sentinels_->process();
  if (listening && !sentinels_->listening()) {
    VEX_TRACE(redisStoreTrace, 5) << "RedisStore::sentinel not told of failovers until the next reconnect: "
                                  << std::string_view(sentinels_->error());
  }
  if (asking) {
    switch (sentinels_->state()) {
      case SentinelQuery::State::asking:
        timerIs(std::max(milliseconds(1), std::chrono::ceil<milliseconds>(sentinels_->deadline() - Clock::now())));
        break;
      case SentinelQuery::State::found:
        server_.host = sentinels_->master().host;
        server_.port = sentinels_->master().port;
        connectToServer();
        break;
      case SentinelQuery::State::failed:
        lose(sentinels_->error());
        break;
      case SentinelQuery::State::idle:
        break;
    }
    return;
  }
  const std::optional<RedisEndpoint::Address> moved = sentinels_->takeAnnouncedMaster();
  if (!moved || (state_ != State::disconnected && *moved == RedisEndpoint::Address{server_.host, server_.port})) return;
  // A failover: the next attempt goes at once, without its back-off.
  const std::string why = "sentinel " + sentinels_->sentinel().describe() + " announced master " +
                          options_.endpoint.masterName + " at " + moved->describe();
  if (state_ == State::disconnected) {
    VEX_TRACE(redisStoreTrace, 5) << "RedisStore::failover " << std::string_view(why);
  } else {
    lose(why);
  }
  timerIs(milliseconds(1));
}

void RedisStore::sendHandshake() {
  const RedisEndpoint& endpoint = server_;
  if (!endpoint.password.empty()) {
    std::vector<std::string_view> auth{"AUTH"};
    if (!endpoint.user.empty()) auth.push_back(endpoint.user);
    auth.push_back(endpoint.password);
    auto checkLogin = [this](const redisReply& reply) {
      if (!isError(reply)) return;
      const std::string why = "redis at " + server_.describe() + " refused the login: " +
                              std::string(text(reply));
      refused(why);
    };
    data_.command(auth, checkLogin);
    notifications_.command(auth, checkLogin);
  }
  if (endpoint.database != 0) {
    const std::string database = std::to_string(endpoint.database);
    data_.command({"SELECT", database}, [this](const redisReply& reply) {
      if (!isError(reply)) return;
      const std::string why = "redis at " + server_.describe() + " has no database " +
                              std::to_string(server_.database) + ": " + std::string(text(reply));
      refused(why);
    });
  }
  if (endpoint.viaSentinels()) {
    // A sentinel's answer can be stale just after a failover. The replies on
    // data_ come in order, so the resynchronisation, which waits for the
    // CONFIG GET below, never starts on a replica.
    data_.command({"ROLE"}, [this](const redisReply& reply) {
      const bool array = reply.type == REDIS_REPLY_ARRAY && reply.elements > 0;
      const std::string_view role = array ? text(*reply.element[0]) : text(reply);
      if (role == "master") {
        roleSettled(true);
      } else {
        lose("ROLE of " + server_.describe() + " says " + std::string(role) + ", not master");
      }
    });
  }
  // A user without the agent's keys is told now, not at its first write.
  const std::string statusKey = keys_.recordKey(RecordSlot::status);
  data_.command({"EXISTS", statusKey}, [this, statusKey](const redisReply& reply) {
    if (!isError(reply)) return;
    refused("redis at " + server_.describe() + " refused to read " + statusKey + ": " +
            std::string(text(reply)) +
            needs(reply, "the key permission ~" + keys_.pattern() + " and the command permission +exists"));
  });
  data_.command({"CONFIG", "GET", "notify-keyspace-events"}, [this](const redisReply& reply) {
    if (isError(reply) || reply.type != REDIS_REPLY_ARRAY || reply.elements != 2) {
      VEX_TRACE(redisStoreTrace, 5) << "RedisStore::keyspaceNotifications unknown: "
                                    << (isError(reply) ? text(reply) : std::string_view("no value"));
      handshakeStepDone();
      return;
    }
    const std::string current(text(*reply.element[1]));
    const std::string needed = neededEventFlags(current);
    if (needed == current) {
      handshakeStepDone();
      return;
    }
    data_.command({"CONFIG", "SET", "notify-keyspace-events", needed}, [this](const redisReply& set) {
      // Without notifications the store still resynchronises on reconnect;
      // say so rather than refuse to run.
      if (isError(set)) {
        VEX_TRACE(redisStoreTrace, 5) << "RedisStore::keyspaceNotifications cannot be enabled: " << text(set);
      }
      handshakeStepDone();
    });
  });
  const std::string channels =
      "__keyspace@" + std::to_string(endpoint.database) + "__:" + keys_.pattern();
  // Whether this process writes the configuration is known before the read.
  if (owned(Side::config) && !leaving_) {
    ++handshakeSteps_;
    leaseAcquire("connected");
    data_.command({"PING"}, [this](const redisReply&) { handshakeStepDone(); });
  }
  notifications_.command({"PSUBSCRIBE", channels}, [this, channels](const redisReply& reply) {
    if (!isError(reply)) {
      handshakeStepDone();
      return;
    }
    refused("redis at " + server_.describe() + " refused the subscription to " + channels + ": " +
            std::string(text(reply)) + needs(reply, "the channel permission &" + channels));
  });
}

std::string RedisStore::needs(const redisReply& error, const std::string& permission) const {
  return text(error).rfind("NOPERM", 0) == 0 ? " (the user needs " + permission + ")" : std::string();
}

void RedisStore::refused(const std::string& why) { loaded_ ? lose(why) : fatal(why); }

void RedisStore::leaseAcquire(const std::string& why) {
  if (leasePending_ || leaving_ || !data_.isOpen()) return;
  leasePending_ = true;
  const std::string lease = keys_.leaseKey();
  const std::string time = std::to_string(options_.leaseTime.count());
  data_.command({"EVAL", kLeaseAcquire, "1", lease, leaseToken_, time}, [this, why](const redisReply& reply) {
    leasePending_ = false;
    if (isError(reply) && text(reply).rfind("READONLY", 0) == 0) {
      lose(server_.describe() + " refused the lease: " + std::string(text(reply)));
      return;
    }
    if (isError(reply)) {
      refused("redis at " + options_.endpoint.describe() + " refused the lease script: " + std::string(text(reply)) +
              needs(reply, "the command permission +eval (and +get +set on ~" + keys_.pattern() + ")"));
      return;
    }
    const bool held = reply.type == REDIS_REPLY_INTEGER && reply.integer == 1;
    if (!owned(Side::config) || leaving_) return;
    if (held && lease_ != Lease::held) {
      const bool takingOver = lease_ == Lease::standby && live();
      lease_ = Lease::held;
      VEX_TRACE(redisStoreTrace, 5) << "RedisStore::lease agent:" << std::string_view(keys_.agentName())
                                    << " held (" << std::string_view(why) << ")";
      // What differs is written: a standby's records followed Redis, and its
      // own declarations meanwhile are written now.
      if (takingOver) resyncNow("took the configuration's lease over");
    } else if (!held && lease_ == Lease::held && !leaseAssumed_) {
      leaseLost("another process of agent " + keys_.agentName() + " holds the configuration's lease");
    } else if (!held && lease_ != Lease::standby) {
      lease_ = Lease::standby;
      if (live()) stateIs(State::standby, "another process of agent " + keys_.agentName() + " holds the configuration's lease");
    }
    leaseAssumed_ = false;
  });
}

void RedisStore::leaseLost(const std::string& why) {
  lease_ = Lease::standby;
  ++statistics_.leasesLost;
  VEX_TRACE(redisStoreTrace, 5) << "RedisStore::leaseLost agent:" << std::string_view(keys_.agentName()) << " why: "
                                << std::string_view(why);
  if (live()) stateIs(State::standby, why);
}

void RedisStore::leaseRelease() {
  if (lease_ == Lease::none) return;
  const bool held = lease_ == Lease::held;
  lease_ = Lease::standby;
  leaving_ = true;
  if (held && data_.isOpen()) {
    data_.command({"EVAL", kLeaseRelease, "1", keys_.leaseKey(), leaseToken_}, nullptr);
    if (!processing_) wake();
  }
}

void RedisStore::leaveInRedis() { leaseRelease(); leaving_ = true; }

void RedisStore::handshakeStepDone() {
  if (--handshakeSteps_ == 0) startResync();
}

void RedisStore::lose(const std::string& why) {
  if (state_ == State::closed && !fatalError_.empty()) return;
  if (state_ == State::disconnected && !data_.isOpen() && !notifications_.isOpen()) return;
  roleSettled(false);
  watchFd(data_.fd(), false, false);
  watchFd(notifications_.fd(), false, false);
  data_.close();
  notifications_.close();
  arrived_.clear();
  arrivedSet_.clear();
  toVerify_.clear();
  toVerifySet_.clear();
  toApply_.clear();
  seen_.clear();
  ownedInRedis_.clear();
  followedInRedis_.clear();
  pongPending_ = false;
  // Their replies went with the connection.
  leasePending_ = false;
  checkPending_ = false;
  lastError_ = why;
  backoff_ = backoff_.count() == 0 ? options_.backoffMin : std::min(backoff_ * 2, options_.backoffMax);
  timerIs(backoff_);
  stateIs(State::disconnected, why);
}

void RedisStore::fatal(const std::string& why) {
  roleSettled(false);
  watchFd(data_.fd(), false, false);
  watchFd(notifications_.fd(), false, false);
  data_.close();
  notifications_.close();
  if (sentinels_) sentinels_->stop();
  timerIs(milliseconds(0));
  fatalError_ = why;
  stateIs(State::closed, why);
}

void RedisStore::stateIs(State state, const std::string& detail) {
  if (state == state_ && detail.empty()) return;
  state_ = state;
  VEX_TRACE(redisStoreTrace, 5) << "RedisStore::state " << stateName(state) << " agent:" << std::string_view(keys_.agentName())
                                << " at:" << std::string_view(server_.describe())
                                << std::string_view(detail.empty() ? std::string() : " why: " + detail);
  if (stateHandler_) stateHandler_(state, detail);
}

void RedisStore::watchFd(int fd, bool writable, bool add) {
  if (fd < 0) return;
  epoll_event event{};
  event.events = EPOLLIN | (writable ? EPOLLOUT : 0u);
  event.data.fd = fd;
  if (!add && !writable) {
    epoll_ctl(poll_, EPOLL_CTL_DEL, fd, &event);
    return;
  }
  epoll_ctl(poll_, add ? EPOLL_CTL_ADD : EPOLL_CTL_MOD, fd, &event);
}

void RedisStore::updateInterest() {
  for (RedisConnection* connection : {&data_, &notifications_}) {
    if (!connection->isOpen()) continue;
    epoll_event event{};
    event.events = EPOLLIN | (connection->connecting() || connection->wantsWrite() ? EPOLLOUT : 0u);
    event.data.fd = connection->fd();
    epoll_ctl(poll_, EPOLL_CTL_MOD, connection->fd(), &event);
  }
  if (sentinels_ && sentinels_->fd() >= 0) {
    epoll_event event{};
    event.events = EPOLLIN | (sentinels_->wantsWrite() ? EPOLLOUT : 0u);
    event.data.fd = sentinels_->fd();
    // A sentinel connection is added when new; a closed one left the set.
    if (epoll_ctl(poll_, EPOLL_CTL_MOD, event.data.fd, &event) != 0 && errno == ENOENT) {
      epoll_ctl(poll_, EPOLL_CTL_ADD, event.data.fd, &event);
    }
  }
}

void RedisStore::timerIs(milliseconds delay) {
  itimerspec spec{};
  spec.it_value.tv_sec = delay.count() / 1000;
  spec.it_value.tv_nsec = (delay.count() % 1000) * 1000000;
  timerfd_settime(timer_, 0, &spec, nullptr);
}

void RedisStore::wake() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t n = ::write(wake_, &one, sizeof one);
}

bool RedisStore::waitUntil(const std::function<bool()>& done, milliseconds silence) {
  std::uint64_t seen = repliesRead();
  auto lastAnswer = Clock::now();
  while (true) {
    process();
    if (done()) return true;
    const auto now = Clock::now();
    if (repliesRead() != seen) {
      seen = repliesRead();
      lastAnswer = now;
    }
    const auto left = std::chrono::duration_cast<milliseconds>(lastAnswer + silence - now);
    if (left.count() <= 0) return false;
    pollfd p{poll_, POLLIN, 0};
    ::poll(&p, 1, static_cast<int>(std::min<long long>(left.count(), 100)));
  }
}

void RedisStore::process() {
  if (processing_) return;
  struct Scope {
    RedisStore& store;
    int exceptions = std::uncaught_exceptions();
    ~Scope() {
      store.processing_ = false;
      // What an exception left undone waits for the next call.
      if (std::uncaught_exceptions() > exceptions) store.wake();
    }
  } scope{*this};
  processing_ = true;
  drain(wake_);
  std::uint64_t expirations = 0;
  const bool timerFired = ::read(timer_, &expirations, sizeof expirations) == static_cast<ssize_t>(sizeof expirations);
  if (timerFired) {
    const bool askingSentinels = sentinels_ && sentinels_->state() == SentinelQuery::State::asking;
    if (state_ == State::disconnected) {
      startAttempt();
    } else if ((state_ == State::connecting && !askingSentinels) || state_ == State::syncing) {
      lose("nothing answered for " + std::to_string(options_.attemptTimeout.count()) + " ms" +
           (state_ == State::syncing ? ", after " + resyncProgress() : std::string()));
    } else if (live()) {
      check();
    }
  }
  if (sentinels_) followSentinels();
  if (state_ == State::connecting) {
    bool connected = true;
    for (RedisConnection* connection : {&data_, &notifications_}) {
      if (connection->connecting() && writable(connection->fd()) && !connection->finishConnect()) {
        lose(connection->error());
        break;
      }
      connected = connected && connection->isOpen() && !connection->connecting();
    }
    if (connected && state_ == State::connecting) {
      stateIs(State::syncing, "");
      sendHandshake();
    }
  }
  const std::uint64_t before = repliesRead();
  if (before != lastReplies_) {
    lastReplies_ = before;
    lastAnswer_ = Clock::now();
  }
  for (RedisConnection* connection : {&notifications_, &data_}) {
    if (connection->isOpen() && !connection->connecting() && !connection->read() && !connection->isOpen()) {
      if (fatalError_.empty() && state_ != State::disconnected) lose(connection->error());
    }
  }
  // A long resynchronisation is no lost connection while replies keep coming.
  if ((state_ == State::syncing || state_ == State::connecting) && repliesRead() != before) {
    timerIs(options_.attemptTimeout);
  }
  if (live()) requestArrived();
  applyQueued();
  for (RedisConnection* connection : {&data_, &notifications_}) {
    if (!connection->flush()) {
      lose(connection->error());
      break;
    }
  }
  updateInterest();
}

void RedisStore::check() {
  timerIs(options_.checkInterval);
  if (data_.pending() > 0 && Clock::now() - lastAnswer_ > options_.attemptTimeout) {
    lose("nothing answered for " + std::to_string(options_.attemptTimeout.count()) + " ms");
    return;
  }
  if (owned(Side::config)) leaseAcquire(lease_ == Lease::held ? "renewal" : "standby");
  if (checkPending_) return;
  // The root records Redis should hold. A key deleted without a notification
  // (FLUSHALL, FLUSHDB) is found missing here.
  std::vector<std::string> roots;
  for (RecordSlot slot : kRecordSlots) {
    if (root(slot) && !absentRoots_.count(slot)) roots.push_back(keys_.recordKey(slot));
  }
  std::vector<std::string_view> args{"EXISTS"};
  for (const std::string& key : roots) args.push_back(key);
  if (roots.empty()) args = {"PING"};
  checkPending_ = true;
  lastAnswer_ = std::max(lastAnswer_, Clock::now() - options_.checkInterval);
  data_.command(args, [this, expected = roots.size()](const redisReply& reply) {
    checkPending_ = false;
    if (expected == 0 || reply.type != REDIS_REPLY_INTEGER || reply.integer == static_cast<long long>(expected)) {
      return;
    }
    VEX_TRACE(redisStoreTrace, 5) << "RedisStore::keysGone agent:" << std::string_view(keys_.agentName())
                                  << " roots:" << static_cast<unsigned long long>(expected - reply.integer)
                                  << ": deleted without a notification, read again";
    resyncNow("the agent's keys were deleted without a notification");
  });
}

void RedisStore::resyncNow(const std::string& why) {
  if (!live()) return;
  stateIs(State::syncing, why);
  timerIs(options_.attemptTimeout);
  startResync();
}

// ---------------------------------------------------------------------------
// Reading: notifications, resynchronisation, applying to the records

void RedisStore::onNotification(const std::string& key, std::string_view event) {
  if (key == keys_.leaseKey()) return;
  const auto path = keys_.parse(key);
  if (!path) {
    badRecord(key, {"not a key of the agent's records"});
    return;
  }
  if (isOldLayout(key, *path)) return;
  const Side side = sideOf(path->record);
  if (!owned(side)) {
    if (arrivedSet_.insert(key).second) arrived_.push_back(key);
    return;
  }
  // A standby neither follows the configuration nor mends it: it is the
  // active process's.
  if (!writes(side)) return;
  // The store writes its own keys with HSET; anything else (a deletion, a
  // value of another type) may be another client's, and is checked.
  if (event != "hset" && toVerifySet_.insert(key).second) toVerify_.push_back(key);
}

void RedisStore::verifyOwned(const std::string& key, const std::optional<Fields>& inRedis) {
  const auto path = keys_.parse(key);
  if (!path || !writes(sideOf(path->record))) return;
  const Vex::Entity* record = root(path->record);
  const std::optional<Fields> local = record ? RecordCodec::fieldsAt(*record, path->steps) : std::nullopt;
  if (local == inRedis) return;
  ++statistics_.repairs;
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

bool RedisStore::isOldLayout(const std::string& key, const RedisKeySchema::Path& path) {
  if (!RecordCodec::isFieldMemberKey(path)) return false;
  ++statistics_.oldLayoutKeys;
  if (oldLayoutFound_++ == 0) oldLayoutExample_ = key;
  if (live()) {
    VEX_TRACE(redisStoreTrace, 5) << "RedisStore::oldLayout " << std::string_view(key)
                                  << ": a key of hubstore 0.2's layout, not read (see CHANGELOG)";
  }
  return true;
}

void RedisStore::requestArrived() {
  for (const std::string& key : toVerify_) {
    data_.command({"HGETALL", key}, [this, key](const redisReply& reply) {
      if (isError(reply)) {
        verifyOwned(key, std::nullopt);  // another type where a hash belongs: written again
        return;
      }
      verifyOwned(key, hashFields(reply));
    });
  }
  toVerify_.clear();
  toVerifySet_.clear();
  if (arrived_.empty()) return;
  for (const std::string& key : arrived_) {
    data_.command({"HGETALL", key}, [this, key](const redisReply& reply) {
      if (isError(reply)) {
        unreadableKey(key, reply);
        return;
      }
      toApply_.push_back({key, hashFields(reply), false});
    });
  }
  arrived_.clear();
  arrivedSet_.clear();
}

void RedisStore::startResync() {
  if (loaded_) createdByLoad_.clear();
  absentRoots_.clear();
  checkPending_ = false;
  seen_.clear();
  ownedInRedis_.clear();
  scanStarted_ = true;
  scanDone_ = false;
  resyncReads_ = 0;
  keysFound_ = 0;
  oldLayoutFound_ = 0;
  oldLayoutExample_.clear();
  scanFrom("0");
}

void RedisStore::scanFrom(const std::string& cursor) {
  const std::string pattern = keys_.pattern();
  const std::string count = std::to_string(kScanCount);
  data_.command({"SCAN", cursor, "MATCH", pattern, "COUNT", count}, [this](const redisReply& reply) {
    if (reply.type != REDIS_REPLY_ARRAY || reply.elements != 2) {
      refused("redis at " + server_.describe() + " refused SCAN: " + std::string(text(reply)) +
              needs(reply, "the command permission +scan"));
      return;
    }
    const std::string next(text(*reply.element[0]));
    const redisReply& found = *reply.element[1];
    if (next != "0") scanFrom(next);
    const std::string lease = keys_.leaseKey();
    for (std::size_t i = 0; i < found.elements; ++i) {
      std::string key(text(*found.element[i]));
      if (key == lease) continue;
      auto path = keys_.parse(key);
      if (!path) badRecord(key, {"not a key of the agent's records"});
      if (!path || isOldLayout(key, *path)) continue;
      ++resyncReads_;
      ++keysFound_;
      data_.command({"HGETALL", key}, [this, key, path = std::move(*path)](const redisReply& hash) {
        if (isError(hash)) {
          --resyncReads_;
          // What the records hold of it stays: it is not taken as gone.
          seen_.insert(key);
          unreadableKey(key, hash);
        } else {
          resyncKeyRead(key, path, hashFields(hash));
          return;
        }
        if (scanDone_ && resyncReads_ == 0) finishResync();
      });
    }
    if (next == "0") {
      scanDone_ = true;
      if (resyncReads_ == 0) finishResync();
    }
  });
}

void RedisStore::resyncKeyRead(const std::string& key, const RedisKeySchema::Path& path, std::optional<Fields> fields) {
  --resyncReads_;
  const Side side = sideOf(path.record);
  if (fields) {
    if (!loaded_) {
      // The first read is applied as it comes, so that no more than one
      // key's fields are held at a time however large the fleet.
      seen_.insert(key);
      try {
        apply({key, std::move(fields), true}, path);
      } catch (...) {
        if (scanDone_ && resyncReads_ == 0) finishResync();
        throw;
      }
    } else if (!owned(side)) {
      seen_.insert(key);
      followedInRedis_[key] = std::move(*fields);
    } else {
      ownedInRedis_[key] = std::move(*fields);
    }
  }
  if (scanDone_ && resyncReads_ == 0) finishResync();
}

void RedisStore::finishResync() {
  std::size_t rewritten = 0;
  std::size_t removed = 0;
  for (Side side : {Side::config, Side::status}) {
    if (!loaded_ || !owned(side)) {
      // Followed: records first, then their members; what Redis no longer
      // holds leaves the records, members before their records.
      for (auto& [key, fields] : followedInRedis_) {
        if (sideOf(keys_.parse(key)->record) == side) toApply_.push_back({key, std::move(fields), false});
      }
      std::vector<std::string> gone;
      forEachLocalKey(side, [&](const std::string& key) {
        if (!seen_.count(key)) gone.push_back(key);
      });
      std::sort(gone.begin(), gone.end());
      for (auto it = gone.rbegin(); it != gone.rend(); ++it) toApply_.push_back({*it, std::nullopt, !loaded_});
      removed += gone.size();
      continue;
    }
    // A standby's own declarations wait for the lease.
    if (!writes(side)) continue;
    const std::map<std::string, Fields> local = localKeys(side);
    // Owned: Redis is brought in line with the records.
    for (const auto& [key, fields] : local) {
      auto inRedis = ownedInRedis_.find(key);
      if (inRedis == ownedInRedis_.end()) {
        write(key, fields);
        ++rewritten;
      } else if (inRedis->second != fields) {
        rewrite(key, fields, inRedis->second);
        ++rewritten;
      }
    }
    std::vector<std::string> extra;
    for (const auto& [key, fields] : ownedInRedis_) {
      const auto path = keys_.parse(key);
      if (sideOf(path->record) == side && !local.count(key)) extra.push_back(key);
    }
    erase(extra);
    rewritten += extra.size();
  }
  if (oldLayoutFound_) {
    VEX_TRACE(redisStoreTrace, 5) << "RedisStore::oldLayout agent:" << std::string_view(keys_.agentName()) << " keys:"
                                  << oldLayoutFound_ << " e.g. " << std::string_view(oldLayoutExample_)
                                  << ": keys of hubstore 0.2's layout, not read (see CHANGELOG)";
  }
  VEX_TRACE(redisStoreTrace, 7) << "RedisStore::resync agent:" << std::string_view(keys_.agentName()) << " read:" << seen_.size()
                                << " rewritten:" << rewritten << " removed:" << removed;
  ++statistics_.resyncs;
  statistics_.keysRead = keysFound_;
  seen_.clear();
  ownedInRedis_.clear();
  followedInRedis_.clear();
  scanStarted_ = false;
  backoff_ = milliseconds(0);
  timerIs(options_.checkInterval);
  loaded_ = true;
  stateIs(lease_ == Lease::standby ? State::standby : State::live, "");
  requestArrived();
}

void RedisStore::applyQueued() {
  while (!toApply_.empty()) {
    const Applied change = std::move(toApply_.front());
    toApply_.pop_front();
    apply(change);
  }
}

Vex::Entity* RedisStore::root(RecordSlot slot) const {
  Vex::Ptr<Vex::Entity> record = em_->getEntity(Vex::String(keys_.recordPath(slot)));
  return record && RecordCodec::holds(slot, *record) ? record.get() : nullptr;
}

void RedisStore::apply(const Applied& change) {
  if (const auto path = keys_.parse(change.key)) apply(change, *path);
}

void RedisStore::apply(const Applied& change, const RedisKeySchema::Path& at) {
  const RedisKeySchema::Path* path = &at;
  if (!change.load && owned(sideOf(path->record))) return;
  std::vector<std::string> problems;
  const RecordCodec::Context context{[this](RecordSlot slot) { return root(slot); }, &problems, &names_};
  const Fields* fields = change.fields ? &*change.fields : nullptr;
  Vex::Ptr<Vex::Entity> entity(root(path->record));
  if (!entity) {
    if (!fields) return;
    // A record this process does not have yet: the agent's name is the name
    // of every per-service record.
    const bool isStatus = path->record == RecordSlot::status;
    const Fields* own = path->steps.empty() ? fields : nullptr;
    const std::string name = own && own->count("name") ? own->at("name")
                             : isStatus                ? std::string("status")
                                                       : keys_.agentName();
    entity = RecordCodec::newRecord(path->record, Vex::Name(name));
    em_->entityIs(Vex::String(keys_.recordPath(path->record)), entity);
    if (change.load) createdByLoad_.insert(path->record);
  }
  if (!fields && path->steps.empty() && change.load && createdByLoad_.erase(path->record)) {
    // A first read that the server's loss cut short, then found gone: the
    // record it made leaves whole, so nothing half loaded stays behind. No
    // one can hold it yet.
    em_->entityDel(Vex::String(keys_.recordPath(path->record)));
    return;
  }
  RecordCodec::applyPath(*entity, path->steps, fields, context);
  if (!problems.empty()) badRecord(change.key, problems);
  if (!path->steps.empty() || change.load) return;
  // A root record another client deleted is emptied once; its members'
  // keys are read again when it comes back.
  if (!fields) {
    absentRoots_.insert(path->record);
  } else if (absentRoots_.erase(path->record)) {
    resyncNow("a root record came back");
  }
}

void RedisStore::unreadableKey(const std::string& key, const redisReply& error) {
  const std::string_view why = text(error);
  if (why.rfind("WRONGTYPE", 0) == 0) {
    badRecord(key, {"not a hash (" + std::string(why) + ")"});
  } else if (why.rfind("NOPERM", 0) == 0) {
    refused("redis at " + server_.describe() + " refused to read " + key + ": " + std::string(why) +
            needs(error, "the key permission ~" + keys_.pattern() + " and the command permission +hgetall"));
  } else {
    VEX_TRACE(redisStoreTrace, 5) << "RedisStore::read " << std::string_view(key) << ": " << why;
  }
}

void RedisStore::badRecord(const std::string& key, const std::vector<std::string>& problems) {
  ++statistics_.badRecords;
  if (!redisStoreTrace.enabled(5)) return;
  std::string what;
  for (const std::string& problem : problems) what += (what.empty() ? "" : "; ") + problem;
  VEX_TRACE(redisStoreTrace, 5) << "RedisStore::badRecord " << std::string_view(key) << ": " << std::string_view(what);
}

// ---------------------------------------------------------------------------
// Writing: the owned side follows its records

void RedisStore::ownedIs(Side side, bool owned) {
  owned_[static_cast<int>(side)] = owned;
  if (side == Side::config) {
    // The configuration's writes follow the lease's request on the one
    // connection: they pass when it is granted and are refused when not.
    if (owned && lease_ == Lease::none && loaded_) {
      lease_ = Lease::held;
      leaseAssumed_ = true;
      leaseAcquire("owning the configuration");
    }
    if (!owned) lease_ = Lease::none;
  }
  if (!loaded_) return;
  for (RecordSlot slot : kRecordSlots) {
    if (sideOf(slot) != side) continue;
    const std::string key = keys_.recordKey(slot);
    unwatch(key);
    if (Vex::Entity* record = owned ? root(slot) : nullptr) watch(*record, key);
  }
}

void RedisStore::recordIs(const Vex::String& path, const Vex::Ptr<Vex::Entity>& record) {
  const auto slot = keys_.recordAtPath(path.view());
  if (!slot || !record || !RecordCodec::holds(*slot, *record)) {
    em_->entityIs(path, record);
    return;
  }
  const std::string key = keys_.recordKey(*slot);
  if (Vex::Entity* old = root(*slot)) eraseSubtree(*old, key);
  unwatch(key);
  em_->entityIs(path, record);
  writeSubtree(*record, key);
  if (owned(sideOf(*slot))) watch(*record, key);
}

bool RedisStore::recordDel(const Vex::String& path) {
  if (const auto slot = keys_.recordAtPath(path.view())) {
    const std::string key = keys_.recordKey(*slot);
    if (Vex::Entity* old = root(*slot)) eraseSubtree(*old, key);
    unwatch(key);
  }
  return em_->entityDel(path);
}

void RedisStore::recordChanged(const RecordWatcher& watcher, Vex::AttributeId attribute, const void* key) {
  const Vex::Entity* entity = watcher.notifier();
  if (!entity) return;
  const std::string& entityKey = watcher.key();
  if (!watcher.field().empty()) {
    // A record held in a field of its holder's hash: a group status's state.
    writeField(entityKey, watcher.field(), RecordCodec::fieldValue(*entity));
    return;
  }
  const RecordCodec::Collection* collection = RecordCodec::collection(*entity, attribute);
  if (!collection) {
    write(entityKey, RecordCodec::ownFields(*entity));
    return;
  }
  if (!key) return;
  const std::string memberName = RecordCodec::keyText(*collection, key);
  if (collection->inFields) {
    const std::string field = RecordCodec::memberField(memberName);
    unwatch(watchAddress(entityKey, field));
    if (auto value = RecordCodec::fieldMember(*entity, *collection, memberName)) {
      writeField(entityKey, field, *value);
      if (const Vex::Entity* member = collection->holdsRecords
                                          ? RecordCodec::recordMember(*entity, *collection, memberName)
                                          : nullptr) {
        watchField(*member, entityKey, field);
      }
    } else {
      eraseField(entityKey, field);
    }
    return;
  }
  const std::string memberKey = RedisKeySchema::memberKey(entityKey, collection->name, memberName);
  if (!collection->holdsRecords) {
    if (auto fields = RecordCodec::valueMember(*entity, *collection, memberName)) {
      write(memberKey, *fields);
    } else {
      erase({memberKey});
    }
    return;
  }
  const Vex::Entity* member = RecordCodec::recordMember(*entity, *collection, memberName);
  if (auto old = watchers_.find(memberKey); old != watchers_.end()) {
    if (old->second->notifier() == member) return;
    if (Vex::Ptr<const Vex::Entity> gone = old->second->notifierPtr()) eraseSubtree(*gone, memberKey);
    unwatch(memberKey);
  }
  if (member) {
    writeSubtree(*member, memberKey);
    watch(*member, memberKey);
  }
  // A filter that joins or leaves its collection changes how the groups that
  // point at it name it.
  const std::string_view name = collection->name;
  if (name == "systemFilter" || name == "versionFilter") rewriteFilterUsers(memberName);
}

void RedisStore::rewriteFilterUsers(const std::string& filterName) {
  for (RecordSlot slot : {RecordSlot::mountConfig, RecordSlot::publishConfig}) {
    const Vex::Entity* config = root(slot);
    if (!config) continue;
    const std::string configKey = keys_.recordKey(slot);
    RecordCodec::forEachRecordMember(
        *config, [&](const RecordCodec::Collection& collection, const std::string& key, const Vex::Entity& member) {
          const std::string_view kind = collection.name;
          if (kind != "mountGroupConfig" && kind != "publishGroupConfig") return;
          const Fields fields = RecordCodec::ownFields(member);
          for (const char* filter : {"systemFilter", "versionFilter"}) {
            const std::string& place = fields.at(filter);
            if (place == RedisKeySchema::memberKey("mountConfig", filter, filterName) ||
                place == RedisKeySchema::memberKey("publishConfig", filter, filterName) ||
                place == "detached " + RedisKeySchema::quoted(filterName)) {
              write(RedisKeySchema::memberKey(configKey, collection.name, key), fields);
              return;
            }
          }
        });
  }
}

bool RedisStore::isConfigKey(std::string_view key) const {
  const std::string& prefix = keys_.prefix();
  if (key.substr(0, prefix.size()) != prefix) return false;
  key.remove_prefix(prefix.size());
  return key.substr(0, 11) == "mountConfig" || key.substr(0, 13) == "publishConfig";
}

void RedisStore::send(const std::vector<std::string_view>& args, const std::string& what) {
  // Before the login nothing is sent; the resynchronisation writes it.
  if (!data_.isOpen() || state_ == State::connecting || leaving_) return;
  const bool idle = !data_.wantsWrite();
  auto onReply = [this, what](const redisReply& reply) {
    if (!isError(reply)) return;
    if (text(reply).rfind("FENCED", 0) == 0) {
      ++statistics_.fencedWrites;
      VEX_TRACE(redisStoreTrace, 5) << "RedisStore::fencedWrite " << std::string_view(what) << ": " << text(reply);
      // Held no more, or the lease key went with a FLUSHALL: ask again.
      if (lease_ == Lease::held) leaseAcquire("a write was refused");
      return;
    }
    if (server_.viaSentinels() && text(reply).rfind("READONLY", 0) == 0) {
      // The master was made a replica under the store: the sentinels know the new one.
      lose(server_.describe() + " refused a write: " + std::string(text(reply)));
      return;
    }
    ++statistics_.failedWrites;
    VEX_TRACE(redisStoreTrace, 5) << "RedisStore::writeFailed " << std::string_view(what) << ": " << text(reply);
  };
  // A configuration write is made only while this process holds the lease,
  // checked by the server in the same step as the write.
  const bool fenced = lease_ != Lease::none && args.size() > 1 && args[0] != "MULTI" && args[0] != "EXEC" &&
                      isConfigKey(args[1]);
  if (!fenced) {
    data_.command(args, onReply);
  } else if (lease_ == Lease::held) {
    const std::string lease = keys_.leaseKey();
    std::vector<std::string_view> script{"EVAL", kFencedWrite, "1", lease, leaseToken_};
    script.insert(script.end(), args.begin(), args.end());
    data_.command(script, onReply);
  }
  if (idle && !processing_) wake();
}

void RedisStore::write(const std::string& key, const Fields& fields) {
  std::vector<std::string_view> args{"HSET", key};
  args.reserve(2 + 2 * fields.size());
  for (const auto& [name, value] : fields) {
    args.push_back(name);
    args.push_back(value);
  }
  send(args, key);
}

void RedisStore::rewrite(const std::string& key, const Fields& fields, const Fields& inRedis) {
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

void RedisStore::writeField(const std::string& key, const std::string& field, const std::string& value) {
  send({"HSET", key, field, value}, key);
}

void RedisStore::eraseField(const std::string& key, const std::string& field) { send({"HDEL", key, field}, key); }

void RedisStore::erase(const std::vector<std::string>& keys) {
  for (std::size_t from = 0; from < keys.size(); from += kDeleteBatch) {
    std::vector<std::string_view> args{"DEL"};
    for (std::size_t i = from; i < std::min(keys.size(), from + kDeleteBatch); ++i) args.push_back(keys[i]);
    send(args, "DEL");
  }
}

void RedisStore::writeSubtree(const Vex::Entity& record, const std::string& key) {
  RecordCodec::flatten(record, key, [this](const std::string& member, const Fields& fields) { write(member, fields); });
}

void RedisStore::eraseSubtree(const Vex::Entity& record, const std::string& key) {
  std::vector<std::string> keys;
  RecordCodec::flatten(record, key, [&keys](const std::string& member, const Fields&) { keys.push_back(member); });
  erase(keys);
}

std::string RedisStore::watchAddress(const std::string& key, const std::string& field) {
  // A newline is in no key: it keeps a holder's field watchers beside the holder's.
  return key + '\n' + field;
}

void RedisStore::watch(const Vex::Entity& record, const std::string& key) {
  watchers_[key] = RecordWatcher::RecordWatcherIs(this, key, &record);
  RecordCodec::forEachRecordMember(
      record, [&](const RecordCodec::Collection& collection, const std::string& name, const Vex::Entity& member) {
        if (collection.inFields) {
          watchField(member, key, RecordCodec::memberField(name));
        } else {
          watch(member, RedisKeySchema::memberKey(key, collection.name, name));
        }
      });
}

void RedisStore::watchField(const Vex::Entity& member, const std::string& key, const std::string& field) {
  watchers_[watchAddress(key, field)] = RecordWatcher::RecordWatcherIs(this, key, &member, field);
}

void RedisStore::unwatch(const std::string& address) {
  for (auto it = watchers_.lower_bound(address); it != watchers_.end() && it->first.compare(0, address.size(), address) == 0;) {
    const char next = it->first.size() > address.size() ? it->first[address.size()] : '.';
    it = next == '.' || next == '\n' ? watchers_.erase(it) : std::next(it);
  }
}

void RedisStore::forEachLocalKey(Side side, const std::function<void(const std::string& key)>& visit) const {
  for (RecordSlot slot : kRecordSlots) {
    if (sideOf(slot) != side) continue;
    if (const Vex::Entity* record = root(slot)) RecordCodec::forEachKey(*record, keys_.recordKey(slot), visit);
  }
}

std::map<std::string, Fields> RedisStore::localKeys(Side side) const {
  std::map<std::string, Fields> keys;
  for (RecordSlot slot : kRecordSlots) {
    if (sideOf(slot) != side) continue;
    if (const Vex::Entity* record = root(slot)) {
      RecordCodec::flatten(*record, keys_.recordKey(slot),
                           [&keys](const std::string& key, const Fields& fields) { keys.emplace(key, fields); });
    }
  }
  return keys;
}

// ---------------------------------------------------------------------------
// Waiting

bool RedisStore::sync(milliseconds silence) {
  if (!waitUntil([this] { return live(); }, silence)) return false;
  pongPending_ = true;
  notifications_.command({"PING"}, [this](const redisReply&) { pongPending_ = false; });
  return waitUntil(
      [this] {
        return live() && !pongPending_ && arrived_.empty() && data_.pending() == 0 &&
               !data_.wantsWrite() && toApply_.empty();
      },
      silence);
}

bool RedisStore::flush(milliseconds silence) {
  return waitUntil(
      [this] { return live() && data_.pending() == 0 && !data_.wantsWrite() && toApply_.empty(); },
      silence);
}

}  // namespace hubstore::redis
