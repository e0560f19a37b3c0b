#include <hubstore/redis/redis_connection.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <string>
#include <thread>

#include "redis/test_redis_server.h"

namespace hubstore::redis {
namespace {

// Without MSG_NOSIGNAL the second write after the server closed the
// connection raises SIGPIPE, which ends this test's process.
TEST(RedisConnectionTest, WritingToAConnectionTheServerClosedIsAnErrorNotSigpipe) {
  testing::TestRedisServer server;
  RedisConnection connection("data");
  ASSERT_TRUE(connection.open(RedisEndpoint::parse(server.url())));
  pollfd writable{connection.fd(), POLLOUT, 0};
  ASSERT_EQ(poll(&writable, 1, 5000), 1);
  ASSERT_TRUE(connection.finishConnect());
  redisContext* killer = server.connect();
  ASSERT_TRUE(killer);
  freeReplyObject(redisCommand(killer, "CLIENT KILL TYPE normal SKIPME yes"));
  redisFree(killer);
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const std::string value(4096, 'x');
  bool written = true;
  for (int round = 0; round < 50 && written; ++round) {
    for (int i = 0; i < 100; ++i) connection.command({"SET", "k", value}, nullptr);
    written = connection.flush();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  EXPECT_FALSE(written);
  EXPECT_EQ(connection.error().rfind("data connection: ", 0), 0u) << connection.error();
  EXPECT_FALSE(connection.isOpen());
}

}  // namespace
}  // namespace hubstore::redis
