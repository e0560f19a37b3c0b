#include <hubstore/redis/sentinel_query.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <string>

#include "redis/test_redis_server.h"

namespace hubstore::redis {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// What the store says when no sentinel can name the master is the failover
// test's; here, what open() cannot see: a query that has failed holds no
// connection.
TEST(SentinelQueryTest, AFailedQueryHoldsNoConnection) {
  testing::TestRedisServer noSentinel;
  RedisEndpoint endpoint;
  endpoint.sentinels = {{"127.0.0.1", testing::TestRedisServer::freePort()}, {"127.0.0.1", noSentinel.port()}};
  endpoint.masterName = "main";
  SentinelQuery query(endpoint, 200ms);
  query.ask();
  const auto limit = Clock::now() + 5s;
  while (query.state() == SentinelQuery::State::asking && Clock::now() < limit) {
    pollfd ready{query.fd(), static_cast<short>(POLLIN | (query.wantsWrite() ? POLLOUT : 0)), 0};
    ::poll(&ready, query.fd() >= 0 ? 1 : 0, 10);
    query.process();
  }
  ASSERT_EQ(query.state(), SentinelQuery::State::failed) << query.error();
  EXPECT_EQ(query.fd(), -1);
}

}  // namespace
}  // namespace hubstore::redis
