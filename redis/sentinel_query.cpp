#include <hubstore/redis/sentinel_query.h>

#include <hiredis/hiredis.h>
#include <poll.h>

#include <charconv>
#include <string_view>

namespace hubstore::redis {

namespace {

constexpr std::string_view kSwitchChannel = "+switch-master";

std::string_view text(const redisReply& reply) { return {reply.str ? reply.str : "", reply.len}; }

bool writable(int fd) {
  pollfd p{fd, POLLOUT, 0};
  return ::poll(&p, 1, 0) > 0;
}

std::optional<int> port(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() || value <= 0 || value > 65535) {
    return std::nullopt;
  }
  return value;
}

}  // namespace

SentinelQuery::SentinelQuery(RedisEndpoint endpoint, std::chrono::milliseconds timeout)
    : endpoint_(std::move(endpoint)), timeout_(timeout) {
  connection_.pushHandlerIs([this](const redisReply& message) { announced(message); });
}

void SentinelQuery::ask() {
  stop();
  state_ = State::asking;
  asked_ = 0;
  anyAnswered_ = false;
  failures_.clear();
  error_.clear();
  askNext();
}

void SentinelQuery::stop() {
  connection_.close();
  state_ = State::idle;
  refusal_.reset();
  announced_.reset();
}

void SentinelQuery::askNext() {
  refusal_.reset();
  if (asked_ == endpoint_.sentinels.size()) {
    std::string why = anyAnswered_ ? "no sentinel knows master " + endpoint_.masterName
                                   : "no sentinel answered for master " + endpoint_.masterName;
    for (std::size_t i = 0; i < failures_.size(); ++i) why += (i ? "; " : " (") + failures_[i];
    error_ = why + ")";
    state_ = State::failed;
    return;
  }
  const RedisEndpoint::Address& sentinel = endpoint_.sentinels[asked_++];
  deadline_ = Clock::now() + timeout_;
  RedisEndpoint address;
  address.host = sentinel.host;
  address.port = sentinel.port;
  if (!connection_.open(address)) {
    skip(connectionError(), false);
    return;
  }
  connection_.command({"SENTINEL", "get-master-addr-by-name", endpoint_.masterName},
                      [this](const redisReply& reply) { answered(reply); });
  connection_.command({"SUBSCRIBE", kSwitchChannel}, nullptr);
}

void SentinelQuery::skip(const std::string& why, bool answered) {
  connection_.close();
  failures_.push_back(sentinel().describe() + ": " + why);
  anyAnswered_ = anyAnswered_ || answered;
  askNext();
}

std::string SentinelQuery::connectionError() const {
  constexpr std::string_view prefix = "sentinel connection: ";
  const std::string& error = connection_.error();
  return error.rfind(prefix, 0) == 0 ? error.substr(prefix.size()) : error;
}

void SentinelQuery::process() {
  if (state_ == State::found && connection_.isOpen()) {
    if (!connection_.flush() || !connection_.read()) error_ = sentinel().describe() + ": " + connectionError();
    return;
  }
  if (state_ != State::asking) return;
  if (connection_.connecting() && writable(connection_.fd()) && !connection_.finishConnect()) {
    skip(connectionError(), false);
    return;
  }
  const bool open = connection_.connecting() || (connection_.flush() && connection_.read());
  if (state_ == State::found) return;
  if (refusal_) {
    skip(*refusal_, true);
  } else if (!open) {
    skip(connectionError(), false);
  } else if (Clock::now() >= deadline_) {
    skip("no answer within " + std::to_string(timeout_.count()) + " ms", false);
  }
}

void SentinelQuery::answered(const redisReply& reply) {
  if (reply.type == REDIS_REPLY_NIL) {
    refusal_ = "no such master";
    return;
  }
  if (reply.type == REDIS_REPLY_ERROR) {
    refusal_ = std::string(text(reply));
    return;
  }
  const bool pair = reply.type == REDIS_REPLY_ARRAY && reply.elements == 2 &&
                    reply.element[0]->type == REDIS_REPLY_STRING && reply.element[1]->type == REDIS_REPLY_STRING;
  const std::optional<int> masterPort = pair ? port(text(*reply.element[1])) : std::nullopt;
  if (!masterPort) {
    refusal_ = "an answer that is no address";
    return;
  }
  master_ = {std::string(text(*reply.element[0])), *masterPort};
  state_ = State::found;
}

void SentinelQuery::announced(const redisReply& message) {
  // ["message", "+switch-master", "NAME OLD-HOST OLD-PORT NEW-HOST NEW-PORT"]
  if (state_ != State::found || text(*message.element[1]) != kSwitchChannel) return;
  std::vector<std::string_view> words;
  std::string_view rest = text(*message.element[2]);
  while (!rest.empty()) {
    const std::size_t blank = rest.find(' ');
    words.push_back(rest.substr(0, blank));
    rest = blank == std::string_view::npos ? std::string_view() : rest.substr(blank + 1);
  }
  if (words.size() != 5 || words[0] != endpoint_.masterName) return;
  if (const std::optional<int> newPort = port(words[4])) announced_ = RedisEndpoint::Address{std::string(words[3]), *newPort};
}

std::optional<RedisEndpoint::Address> SentinelQuery::takeAnnouncedMaster() {
  std::optional<RedisEndpoint::Address> announced = std::move(announced_);
  announced_.reset();
  return announced;
}

}  // namespace hubstore::redis
