#include <hubstore/redis/redis_store.h>

#include <hiredis/hiredis.h>
#include <poll.h>

#include <algorithm>
#include <stdexcept>

#include <hubstore/redis/redis_replies.h>
#include <hubstore/redis/redis_store_error.h>
#include <hubstore/redis/store_metrics.h>
#include <hubstore/service/service_metrics.h>
#include <hubstore/redis/server_check.h>

namespace hubstore::redis {

Vex::TraceHandle redisStoreTrace("RedisStore");

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

bool writable(int fd) {
  pollfd p{fd, POLLOUT, 0};
  return ::poll(&p, 1, 0) > 0;
}

}  // namespace

std::string RedisStore::metricsText(const Controller::HubstoreService* service) const {
  Vex::MetricsText metrics;
  if (service) Controller::ServiceMetrics::write(*service, metrics);
  StoreMetrics::write(*this, metrics);
  return metrics.text();
}

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
      keys_(options_.agentName) {
  if (options_.endpoint.viaSentinels()) sentinels_.emplace(options_.endpoint, options_.sentinelTimeout);
  data_.readOnlyIs(options_.readOnly);
  notifications_.readOnlyIs(options_.readOnly);
  notifications_.pushHandlerIs([this](const redisReply& message) {
    // ["pmessage", pattern, "__keyspace@DB__:KEY", event]
    if (message.elements < 4) return;
    const std::string_view channel = replies::text(*message.element[2]);
    const std::size_t colon = channel.find("__:");
    if (colon != std::string_view::npos) {
      follower_.notified(std::string(channel.substr(colon + 3)), replies::text(*message.element[3]));
    }
  });
}

RedisStore::~RedisStore() {
  writeThrough_.clear();
  data_.close();
  notifications_.close();
}

// ---------------------------------------------------------------------------
// Opening and the connections' lifecycle

void RedisStore::checkServer(const RedisEndpoint& endpoint, milliseconds silence) {
  ServerCheck::run(endpoint, silence, Options().sentinelTimeout);
}

void RedisStore::open() {
  if (state_ != State::closed) return;
  fatalError_.clear();
  lastError_.clear();
  backoff_ = milliseconds(0);
  const std::uint64_t before = repliesRead();
  startAttempt();
  const bool ready = waitUntil([this] { return !fatalError_.empty() || (live() && follower_.nothingToApply()); },
                               options_.openTimeout);
  std::string failure = fatalError_;
  if (failure.empty() && !ready) {
    const std::string silence = std::to_string(options_.openTimeout.count()) + " ms";
    const std::string why = lastError_.empty() ? std::string() : " (" + lastError_ + ")";
    failure = repliesRead() == before
                  ? "no answer from redis at " + server_.describe() + " within " + silence + why
                  : "redis at " + server_.describe() + " stopped answering after " + resync_.progress() +
                        ": nothing for " + silence + why;
  }
  if (!failure.empty()) {
    dropConnections();
    if (sentinels_) sentinels_->stop();
    roleSettled(false);
    poller_.timerIs(milliseconds(0));
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
  repliesAtAttempt_ = data_.repliesRead() + notifications_.repliesRead();
  roleUnconfirmed_ = server_.viaSentinels();
  for (RedisConnection* connection : {&data_, &notifications_}) {
    if (!connection->open(server_)) {
      lose(connection->error());
      return;
    }
    poller_.watch(connection->fd(), true, true);
  }
  poller_.timerIs(options_.attemptTimeout);
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
        poller_.timerIs(std::max(milliseconds(1), std::chrono::ceil<milliseconds>(sentinels_->deadline() - Clock::now())));
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
  poller_.timerIs(milliseconds(1));
}

void RedisStore::refused(const std::string& why) { loaded_ ? lose(why) : fatal(why); }

void RedisStore::leaseRelease() { lease_.release(); }

void RedisStore::leaveInRedis() { leaseRelease(); leaving_ = true; }

void RedisStore::dropConnections() {
  poller_.watch(data_.fd(), false, false);
  poller_.watch(notifications_.fd(), false, false);
  data_.close();
  notifications_.close();
}

void RedisStore::lose(const std::string& why) {
  if (state_ == State::closed && !fatalError_.empty()) return;
  if (state_ == State::disconnected && !data_.isOpen() && !notifications_.isOpen()) return;
  roleSettled(false);
  dropConnections();
  follower_.clear();
  resync_.clear();
  pongPending_ = false;
  // Their replies went with the connection.
  lease_.connectionLost();
  checkPending_ = false;
  lastError_ = why;
  backoff_ = backoff_.count() == 0 ? options_.backoffMin : std::min(backoff_ * 2, options_.backoffMax);
  poller_.timerIs(backoff_);
  stateIs(State::disconnected, why);
}

void RedisStore::fatal(const std::string& why) {
  roleSettled(false);
  dropConnections();
  if (sentinels_) sentinels_->stop();
  poller_.timerIs(milliseconds(0));
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

void RedisStore::updateInterest() {
  for (RedisConnection* connection : {&data_, &notifications_}) {
    if (!connection->isOpen()) continue;
    poller_.interestIs(connection->fd(), connection->connecting() || connection->wantsWrite());
  }
  if (sentinels_ && sentinels_->fd() >= 0) {
    // A sentinel connection is added when new; a closed one left the set.
    poller_.interestIs(sentinels_->fd(), sentinels_->wantsWrite(), true);
  }
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
    pollfd p{poller_.fd(), POLLIN, 0};
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
      if (std::uncaught_exceptions() > exceptions) store.poller_.wake();
    }
  } scope{*this};
  processing_ = true;
  poller_.drainWakes();
  if (poller_.timerFired()) {
    const bool askingSentinels = sentinels_ && sentinels_->state() == SentinelQuery::State::asking;
    if (state_ == State::disconnected) {
      startAttempt();
    } else if ((state_ == State::connecting && !askingSentinels) || state_ == State::syncing) {
      lose("nothing answered for " + std::to_string(options_.attemptTimeout.count()) + " ms" +
           (state_ == State::syncing ? ", after " + resync_.progress() : std::string()));
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
      handshake_.send();
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
    poller_.timerIs(options_.attemptTimeout);
  }
  if (live()) follower_.requestArrived();
  follower_.applyQueued();
  for (RedisConnection* connection : {&data_, &notifications_}) {
    if (!connection->flush()) {
      lose(connection->error());
      break;
    }
  }
  updateInterest();
}

void RedisStore::check() {
  poller_.timerIs(options_.checkInterval);
  if (data_.pending() > 0 && Clock::now() - lastAnswer_ > options_.attemptTimeout) {
    lose("nothing answered for " + std::to_string(options_.attemptTimeout.count()) + " ms");
    return;
  }
  if (owned(Side::config)) lease_.acquire(lease_.hold() == ConfigLease::Hold::held ? "renewal" : "standby");
  if (options_.readOnly && !notificationsOn_ && state_ == State::live) {
    resyncNow("polling: the server sends no keyspace notifications");
    return;
  }
  if (checkPending_) return;
  // The root records Redis should hold. A key deleted without a notification
  // (FLUSHALL, FLUSHDB) is found missing here.
  std::vector<std::string> roots;
  for (RecordSlot slot : kRecordSlots) {
    if (root(slot) && !follower_.rootAbsent(slot)) roots.push_back(keys_.recordKey(slot));
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
  poller_.timerIs(options_.attemptTimeout);
  resync_.start();
}

void RedisStore::synced() {
  backoff_ = milliseconds(0);
  poller_.timerIs(options_.checkInterval);
  loaded_ = true;
  stateIs(lease_.hold() == ConfigLease::Hold::standby ? State::standby : State::live, "");
  follower_.requestArrived();
}

Vex::Entity* RedisStore::root(RecordSlot slot) const {
  Vex::Ptr<Vex::Entity> record = em_->getEntity(Vex::String(keys_.recordPath(slot)));
  return record && RecordCodec::holds(slot, *record) ? record.get() : nullptr;
}

// ---------------------------------------------------------------------------
// The records

void RedisStore::ownedIs(Side side, bool owned) {
  if (options_.readOnly && owned) throw std::logic_error("a read-only store owns no side");
  owned_[static_cast<int>(side)] = owned;
  if (side == Side::config) lease_.configOwnedIs(owned);
  if (!loaded_) return;
  for (RecordSlot slot : kRecordSlots) {
    if (sideOf(slot) != side) continue;
    const std::string key = keys_.recordKey(slot);
    writeThrough_.unwatch(key);
    if (Vex::Entity* record = owned ? root(slot) : nullptr) writeThrough_.watch(*record, key);
  }
}

void RedisStore::recordIs(const Vex::String& path, const Vex::Ptr<Vex::Entity>& record) {
  if (options_.readOnly) throw std::logic_error("a read-only store places no record");
  const auto slot = keys_.recordAtPath(path.view());
  if (!slot || !record || !RecordCodec::holds(*slot, *record)) {
    em_->entityIs(path, record);
    return;
  }
  const std::string key = keys_.recordKey(*slot);
  if (Vex::Entity* old = root(*slot)) writer_.eraseSubtree(*old, key);
  writeThrough_.unwatch(key);
  em_->entityIs(path, record);
  writer_.writeSubtree(*record, key);
  if (owned(sideOf(*slot))) writeThrough_.watch(*record, key);
}

bool RedisStore::recordDel(const Vex::String& path) {
  if (options_.readOnly) throw std::logic_error("a read-only store removes no record");
  if (const auto slot = keys_.recordAtPath(path.view())) {
    const std::string key = keys_.recordKey(*slot);
    if (Vex::Entity* old = root(*slot)) writer_.eraseSubtree(*old, key);
    writeThrough_.unwatch(key);
  }
  return em_->entityDel(path);
}

// ---------------------------------------------------------------------------
// Waiting

bool RedisStore::sync(milliseconds silence) {
  if (!waitUntil([this] { return live(); }, silence)) return false;
  pongPending_ = true;
  notifications_.command({"PING"}, [this](const redisReply&) { pongPending_ = false; });
  return waitUntil(
      [this] {
        return live() && !pongPending_ && follower_.nothingArrived() && data_.pending() == 0 &&
               !data_.wantsWrite() && follower_.nothingToApply();
      },
      silence);
}

bool RedisStore::flush(milliseconds silence) {
  return waitUntil(
      [this] { return live() && data_.pending() == 0 && !data_.wantsWrite() && follower_.nothingToApply(); },
      silence);
}

}  // namespace hubstore::redis
