#include <hubstore/redis/sentinel_query.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "redis/test_redis_sentinel.h"

namespace hubstore::redis {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using testing::TestRedisServer;
using testing::TestSentinel;

// Drives a query as an event loop does, for at most 5 s.
void run(SentinelQuery& query) {
  const auto limit = Clock::now() + 5s;
  while (query.state() == SentinelQuery::State::asking && Clock::now() < limit) {
    pollfd ready{query.fd(), static_cast<short>(POLLIN | (query.wantsWrite() ? POLLOUT : 0)), 0};
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(query.deadline() - Clock::now());
    ::poll(&ready, query.fd() >= 0 ? 1 : 0, static_cast<int>(std::max<long long>(0, left.count())));
    query.process();
  }
}

RedisEndpoint sentinelsAt(const std::vector<int>& ports, const std::string& master) {
  RedisEndpoint endpoint;
  for (int port : ports) endpoint.sentinels.push_back({"127.0.0.1", port});
  endpoint.masterName = master;
  return endpoint;
}

std::string at(int port) { return "127.0.0.1:" + std::to_string(port); }

// A port that accepts connections (the kernel's backlog does) and never
// answers.
class SilentPort {
 public:
  SilentPort() : fd_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address);
    listen(fd_, 8);
    getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
  }
  ~SilentPort() { close(fd_); }
  int port() const { return port_; }

 private:
  int fd_;
  int port_ = 0;
};

// Each sentinel that cannot say where the master is is skipped, with its
// reason, in the order given: one refused, one silent (waited for no longer
// than the timeout), a server that is no sentinel, one that does not know
// the name.
TEST(SentinelQueryTest, SkipsEachSentinelThatCannotSayAndTellsWhyWhenNoneCould) {
  if (std::string_view(HUBSTORE_REDIS_SENTINEL).empty()) GTEST_SKIP() << "redis-sentinel is not installed";
  TestRedisServer master;
  TestRedisServer noSentinel;
  TestSentinel sentinel("main", master.port(), 1);
  SilentPort silent;
  const int refused = TestRedisServer::freePort();

  SentinelQuery query(sentinelsAt({refused, silent.port(), noSentinel.port(), sentinel.port()}, "main"), 200ms);
  const auto start = Clock::now();
  query.ask();
  run(query);
  const auto took = Clock::now() - start;
  ASSERT_EQ(query.state(), SentinelQuery::State::found) << query.error();
  EXPECT_EQ(query.master(), (RedisEndpoint::Address{"127.0.0.1", master.port()}));
  EXPECT_EQ(query.sentinel().port, sentinel.port());
  EXPECT_TRUE(query.listening());
  EXPECT_GE(took, 200ms);
  EXPECT_LT(took, 2s);

  SentinelQuery unknown(sentinelsAt({refused, sentinel.port(), noSentinel.port()}, "other"), 200ms);
  unknown.ask();
  run(unknown);
  ASSERT_EQ(unknown.state(), SentinelQuery::State::failed);
  EXPECT_EQ(unknown.error().rfind("no sentinel knows master other (" + at(refused) + ": Connection refused; " +
                                      at(sentinel.port()) + ": no such master; " + at(noSentinel.port()) +
                                      ": ERR unknown command 'SENTINEL'",
                                  0),
            0u)
      << unknown.error();
  EXPECT_EQ(unknown.fd(), -1);

  SentinelQuery unanswered(sentinelsAt({refused, silent.port()}, "main"), 100ms);
  unanswered.ask();
  run(unanswered);
  ASSERT_EQ(unanswered.state(), SentinelQuery::State::failed);
  EXPECT_EQ(unanswered.error(), "no sentinel answered for master main (" + at(refused) + ": Connection refused; " +
                                    at(silent.port()) + ": no answer within 100 ms)");
}

}  // namespace
}  // namespace hubstore::redis
