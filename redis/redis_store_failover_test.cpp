#include <hubstore/redis/redis_store.h>

#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "redis/test_agent.h"
#include "redis/test_redis_server.h"

namespace hubstore::redis {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Controller::testing::Log;
using testing::eventually;
using testing::TestAgent;
using testing::TestRedisServer;

constexpr auto kWait = 5000ms;
// A failover takes seconds (the sentinels' timeouts are 1 s and 3 s).
constexpr auto kFailoverWait = 30s;

// A private sentinel: a TestRedisServer in sentinel mode watching one master,
// its configuration file (which a sentinel rewrites) in a temporary directory
// of its own. Its timeouts are short, so that a failover takes seconds.
class TestSentinel : public TestRedisServer {
 public:
  TestSentinel(const std::string& masterName, int masterPort, int quorum = 2)
      : TestRedisServer({HUBSTORE_REDIS_SENTINEL, configFile(masterName, masterPort, quorum)}, "", {}) {}
  ~TestSentinel() {
    kill(SIGTERM);
    std::error_code ignored;
    std::filesystem::remove_all(std::filesystem::path(program_[1]).parent_path(), ignored);
  }

 private:
  static std::string configFile(const std::string& masterName, int masterPort, int quorum) {
    char directory[] = "/tmp/hubstore-sentinel-XXXXXX";
    if (!mkdtemp(directory)) throw std::runtime_error("no temporary directory for a sentinel");
    const std::string file = std::string(directory) + "/sentinel.conf";
    std::ofstream(file) << "dir " << directory << "\nsentinel monitor " << masterName << " 127.0.0.1 "
                        << masterPort << " " << quorum << "\nsentinel down-after-milliseconds " << masterName
                        << " 1000\nsentinel failover-timeout " << masterName << " 3000\n";
    return file;
  }
};

bool haveSentinel() { return !std::string_view(HUBSTORE_REDIS_SENTINEL).empty(); }

// Replication without files: the full sync goes over the socket at once and
// is loaded from it.
const std::vector<std::string> kDiskless = {"--repl-diskless-sync", "yes", "--repl-diskless-sync-delay", "0",
                                            "--repl-diskless-load", "swapdb"};

// A master, its replica and three sentinels on 127.0.0.1, and an agent with a
// service and group g1 over a store that owns the configuration, given the
// sentinels' URL; the fault is a forced failover (true) or a killed master.
class RedisStoreFailoverTest : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    if (!haveSentinel()) GTEST_SKIP() << "redis-sentinel is not installed";
    master = std::make_unique<TestRedisServer>("", kDiskless);
    replica = std::make_unique<TestRedisServer>("", kDiskless);
    replica->command({"REPLICAOF", "127.0.0.1", std::to_string(master->port())});
    for (int i = 0; i < 3; ++i) sentinels.push_back(std::make_unique<TestSentinel>("main", master->port()));
    // Each sentinel knows the other two and the replica, in sync: a failover
    // can be agreed on and has a replica to promote.
    const auto ready = [](const std::unique_ptr<TestSentinel>& sentinel) {
      const std::string replicas = sentinel->command({"SENTINEL", "replicas", "main"});
      return sentinel->command({"SENTINEL", "ckquorum", "main"}).rfind("OK 3 usable", 0) == 0 &&
             replicas.find(" flags slave ") != std::string::npos &&
             replicas.find("master-link-status ok") != std::string::npos;
    };
    ASSERT_TRUE(eventually([&] { return std::all_of(sentinels.begin(), sentinels.end(), ready); }, {}, kFailoverWait))
        << sentinels[0]->command({"SENTINEL", "ckquorum", "main"});

    const std::string url = "redis-sentinel://" + sentinels[0]->address() + "," + sentinels[1]->address() + "," +
                            sentinels[2]->address() + "#main";
    agent = std::make_unique<TestAgent>(url, Side::config);
    agent->open();
    agent->declareService();
    ASSERT_TRUE(agent->store->flush(kWait));
    ASSERT_EQ(testing::configIn(master->hashes("agentB:*")), config());
  }

  std::map<std::string, Fields> config() const {
    return agent->keys({RecordSlot::mountConfig, RecordSlot::publishConfig});
  }

  // Runs the agent until it is live on the new master, subscribed there,
  // with its configuration there, and says how long that took from `fault`.
  bool recoveryOn(const TestRedisServer& newMaster, Clock::time_point fault) {
    while (Clock::now() < fault + kFailoverWait) {
      agent->store->process();
      if (agent->store->state() == RedisStore::State::live &&
          newMaster.command({"CLIENT", "LIST", "TYPE", "pubsub"}).find(" psub=1 ") != std::string::npos &&
          testing::configIn(newMaster.hashes("agentB:*")) == config()) {
        const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - fault);
        std::cout << "[ recovery ] " << took.count() << " ms\n";
        RecordProperty("recovery_ms", static_cast<int>(took.count()));
        return true;
      }
      pollfd readable{agent->store->fd(), POLLIN, 0};
      ::poll(&readable, 1, 10);
    }
    return false;
  }

  std::unique_ptr<TestRedisServer> master;
  std::unique_ptr<TestRedisServer> replica;
  std::vector<std::unique_ptr<TestSentinel>> sentinels;
  std::unique_ptr<TestAgent> agent;
};

// The old master stays a master for seconds after a forced failover promotes
// the replica; the sentinel the store listens to announces it, so the store
// leaves it at once. A killed master: the store retries while the sentinels
// agree that it is down and promote the replica. Either way, what the agent
// wrote meanwhile is written on the new master, and a status written there by
// another client reaches the hook.
TEST_P(RedisStoreFailoverTest, TheAgentMovesToTheNewMaster) {
  const bool forced = GetParam();
  Clock::time_point fault = Clock::now();
  if (forced) {
    ASSERT_TRUE(eventually(
        [&] {
          fault = Clock::now();
          return sentinels[1]->command({"SENTINEL", "FAILOVER", "main"}) == "OK";
        },
        {}, 10s));
  } else {
    master->kill();
  }
  agent->service->serviceMountGroup("g1")->controllerMountIs("/remote/after", "/db/after", "t", "f");
  ASSERT_TRUE(recoveryOn(*replica, fault)) << agent->history;
  if (forced) {
    ASSERT_FALSE(agent->disconnects.empty());
    EXPECT_NE(agent->disconnects[0].find(" announced master main at " + replica->address()), std::string::npos)
        << agent->history;
  }
  EXPECT_EQ(replica->command({"HSET", "agentB:mountStatus.systemStatus[00:1c:73:00:00:01]", "name", "00:1c:73:00:00:01",
                              "[g1]", "mounted"}),
            "2");
  ASSERT_TRUE(agent->store->sync(kWait)) << agent->history;
  EXPECT_EQ(agent->mounter->calls(), (Log{"doHandleControllerMountState 00:1c:73:00:00:01 g1 mounted"}));
}

INSTANTIATE_TEST_SUITE_P(Fault, RedisStoreFailoverTest, ::testing::Values(true, false),
                         [](const auto& info) { return info.param ? "Forced" : "MasterKilled"; });

// What the store says when the sentinels cannot name a master, or name a
// replica: each sentinel that cannot say is skipped with its reason, in the
// order given (refused, silent for the sentinel timeout, no sentinel, not
// knowing the name); open() raises it once openTimeout passes without
// progress, and the state handler and the trace say it at each attempt.
TEST(RedisStoreSentinelTest, SentinelsThatNameNoMasterAreClearErrors) {
  if (!haveSentinel()) GTEST_SKIP() << "redis-sentinel is not installed";
  TestRedisServer server;
  TestRedisServer noSentinel;
  TestRedisServer replica("", {"--replicaof", "127.0.0.1", std::to_string(TestRedisServer::freePort())});
  TestSentinel sentinel("main", server.port(), 1);
  TestSentinel stale("main", replica.port(), 1);
  TestRedisServer silent;
  silent.stop();
  const std::string refused = "127.0.0.1:" + std::to_string(TestRedisServer::freePort());
  Vex::CapturingTraceSink sink;
  Vex::traceSinkIs(&sink);
  redisStoreTrace.levelsIs(1u << 5);
  const auto openError = [&sink](const std::string& url) -> std::string {
    sink.clear();
    TestAgent agent(url, Side::status, [](RedisStore::Options& options) {
      options.openTimeout = 500ms;
      options.sentinelTimeout = 100ms;
    });
    const auto start = Clock::now();
    const std::string error = testing::openError(*agent.store);
    if (error == "opened") return error;
    EXPECT_LT(Clock::now() - start, 3s);
    const std::string said = agent.disconnects.empty() ? "(none)" : agent.disconnects.back();
    EXPECT_NE(error.find(" (" + said + ")"), std::string::npos) << error;
    EXPECT_TRUE(std::any_of(sink.lines().begin(), sink.lines().end(), [&said](const std::string& line) {
      return line.rfind("5 RedisStore::state disconnected agent:agentB", 0) == 0 &&
             line.find(" why: " + said) != std::string::npos;
    })) << said;
    return error;
  };
  const std::string silentAt = silent.address(), noSentinelAt = noSentinel.address();
  EXPECT_EQ(openError("redis-sentinel://" + refused + "," + silentAt + "#main"),
            "no answer from redis at master main via sentinels " + refused + "," + silentAt +
                " within 500 ms (no sentinel answered for master main (" + refused + ": Connection refused; " +
                silentAt + ": no answer within 100 ms))");
  // The server's own text for an unknown command goes on after its name.
  const std::string unknown = openError("redis-sentinel://" + refused + "," + sentinel.address() + "," + noSentinelAt + "#other");
  EXPECT_EQ(unknown.rfind("no answer from redis at master other via sentinels " + refused + "," + sentinel.address() + "," +
                              noSentinelAt + " within 500 ms (no sentinel knows master other (" + refused +
                              ": Connection refused; " + sentinel.address() + ": no such master; " + noSentinelAt +
                              ": ERR unknown command 'SENTINEL'",
                          0),
            0u)
      << unknown;
  // A replica answers every attempt, which is no progress.
  EXPECT_EQ(openError("redis-sentinel://" + stale.address() + "#main"),
            "no answer from redis at master main at " + replica.address() + " within 500 ms (ROLE of master main at " +
                replica.address() + " says slave, not master)");
  EXPECT_EQ(openError("redis-sentinel://" + refused + "," + silentAt + "," + noSentinelAt + "," + sentinel.address() +
                      "#main"),
            "opened");
  redisStoreTrace.levelsIs(0);
  Vex::traceSinkIs(nullptr);
}

// A master made a replica under a live store (here by hand, without the
// sentinels knowing): the write it refuses is a lost connection, the
// attempts that find it a replica are lost too, and once it is a master
// again the store writes back what it refused.
TEST(RedisStoreSentinelTest, AMasterMadeAReplicaUnderTheStoreIsLeftUntilItIsAMasterAgain) {
  if (!haveSentinel()) GTEST_SKIP() << "redis-sentinel is not installed";
  TestRedisServer server;
  TestSentinel sentinel("main", server.port(), 1);
  TestAgent agent("redis-sentinel://" + sentinel.address() + "#main", Side::config);
  agent.open();
  ASSERT_TRUE(agent.store->flush(kWait));

  ASSERT_EQ(server.command({"REPLICAOF", "127.0.0.1", std::to_string(TestRedisServer::freePort())}), "OK");
  agent.mountConfig().leaderGenIdIs("7");
  const std::string where = "master main at " + server.address();
  eventually([&] { return agent.disconnects.size() >= 2; }, {agent.store.get()});
  ASSERT_EQ(agent.disconnects.size(), 2u) << agent.history;
  // The write is the lease's fenced script: the server names it after the text.
  const std::string refused = where + " refused a write: READONLY You can't write against a read only replica.";
  EXPECT_EQ(agent.disconnects[0].rfind(refused, 0), 0u) << agent.disconnects[0];
  EXPECT_EQ(agent.disconnects[1], "ROLE of " + where + " says slave, not master");

  ASSERT_EQ(server.command({"REPLICAOF", "NO", "ONE"}), "OK");
  ASSERT_TRUE(agent.store->sync(kWait));
  EXPECT_EQ(server.command({"HGET", "agentB:mountConfig", "leaderGenId"}), "7");
}

}  // namespace
}  // namespace hubstore::redis
