#include <hubstore/redis/redis_connection.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <cctype>
#include <chrono>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

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
  server.command({"CLIENT", "KILL", "TYPE", "normal", "SKIPME", "yes"});
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

// The server's own list of the commands that write, and of its dangerous
// ones (CONFIG SET, FLUSHALL, ...): a read-only connection sends none of
// them, and still sends every read a store makes.
TEST(RedisConnectionTest, AReadOnlyConnectionRefusesEveryCommandThatCouldWrite) {
  testing::TestRedisServer server;
  std::istringstream names(server.command({"COMMAND", "LIST", "FILTERBY", "ACLCAT", "write"}) + " " +
                           server.command({"COMMAND", "LIST", "FILTERBY", "ACLCAT", "dangerous"}));
  std::vector<std::string> refused{std::istream_iterator<std::string>(names), {}};
  ASSERT_GT(refused.size(), 100u);
  RedisConnection connection("data");
  connection.readOnlyIs(true);
  for (std::string name : refused) {
    // Two dangerous ones only read, and a store sends them.
    if (name == "role" || name == "config|get") continue;
    for (char& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    // "CLIENT|KILL": a command and its subcommand.
    const std::size_t bar = name.find('|');
    const std::string command = name.substr(0, bar);
    const std::string sub = bar == std::string::npos ? "k" : name.substr(bar + 1);
    EXPECT_THROW(connection.command({command, sub, "v"}, nullptr), std::logic_error) << name;
  }
  for (const std::vector<std::string_view>& read :
       std::vector<std::vector<std::string_view>>{{"HGETALL", "k"}, {"SCAN", "0"}, {"EXISTS", "k"}, {"PING"},
                                                   {"PSUBSCRIBE", "p"}, {"CONFIG", "GET", "x"}, {"CLIENT", "SETNAME", "n"}}) {
    EXPECT_NO_THROW(connection.command(read, nullptr)) << read[0];
  }
}

}  // namespace
}  // namespace hubstore::redis
