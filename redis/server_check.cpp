#include <hubstore/redis/server_check.h>

#include <hiredis/hiredis.h>
#include <poll.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <hubstore/redis/redis_connection.h>
#include <hubstore/redis/redis_replies.h>
#include <hubstore/redis/redis_store_error.h>
#include <hubstore/redis/sentinel_query.h>

namespace hubstore::redis {

using replies::isError;
using replies::text;

void ServerCheck::run(const RedisEndpoint& given, std::chrono::milliseconds silence,
                      std::chrono::milliseconds sentinelTimeout) {
  using Clock = std::chrono::steady_clock;
  RedisEndpoint endpoint = given;
  if (endpoint.viaSentinels()) {
    // The master the sentinels name now.
    SentinelQuery query(endpoint, sentinelTimeout);
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

}  // namespace hubstore::redis
