#include <hubstore/redis/redis_store.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <hubstore/foundations/platform/agent.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/redis/redis_store_error.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/testing/recording_mounter.h>
#include "redis/test_agent_service.h"
#include "redis/test_redis_sentinel.h"

namespace hubstore::redis {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Controller::testing::Log;
using Controller::testing::RecordingMounter;
using testing::commandText;
using testing::TestRedisServer;
using testing::TestSentinel;

constexpr auto kWait = 5000ms;
// A failover takes seconds (the sentinels' timeouts are 1 s and 3 s).
constexpr auto kFailoverWait = 30s;
const std::string kSwitchKey = "agentB:mountStatus.systemStatus[00:1c:73:00:00:01]";

bool haveSentinel() { return !std::string_view(HUBSTORE_REDIS_SENTINEL).empty(); }

bool waitFor(const std::function<bool()>& done, Clock::duration limit) {
  const auto deadline = Clock::now() + limit;
  while (!done()) {
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(50ms);
  }
  return true;
}

// The agent's configuration as `server` holds it.
std::map<std::string, Fields> configAt(const TestRedisServer& server) {
  return testing::configIn(server.hashes("agentB:*"));
}

// Replication without files: the full sync goes over the socket at once and
// is loaded from it.
std::vector<std::string> replicationArgs(std::vector<std::string> more = {}) {
  std::vector<std::string> args{"--repl-diskless-sync", "yes", "--repl-diskless-sync-delay", "0",
                                "--repl-diskless-load", "swapdb"};
  args.insert(args.end(), more.begin(), more.end());
  return args;
}

std::string sentinelUrl(const std::vector<const TestSentinel*>& sentinels, const std::string& master) {
  std::string url = "redis-sentinel://";
  for (std::size_t i = 0; i < sentinels.size(); ++i) url += (i ? "," : "") + sentinels[i]->address();
  return url + "#" + master;
}

// A master, its replica and three sentinels on 127.0.0.1, and an agent with a
// service and group g1 over a store that owns the configuration, given the
// sentinels' URL.
class RedisStoreFailoverTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!haveSentinel()) GTEST_SKIP() << "redis-sentinel is not installed";
    master = std::make_unique<TestRedisServer>("", replicationArgs());
    replica = std::make_unique<TestRedisServer>(
        "", replicationArgs({"--replicaof", "127.0.0.1", std::to_string(master->port())}));
    for (int i = 0; i < 3; ++i) sentinels.push_back(std::make_unique<TestSentinel>("main", master->port()));
    // Each sentinel knows the other two and the replica, in sync: a failover
    // can be agreed on and has a replica to promote.
    ASSERT_TRUE(waitFor(
        [&] {
          for (const auto& sentinel : sentinels) {
            const std::string replicas = sentinel->command({"SENTINEL", "replicas", "main"});
            if (sentinel->command({"SENTINEL", "ckquorum", "main"}).rfind("OK 3 usable", 0) != 0 ||
                replicas.find(" flags slave ") == std::string::npos ||
                replicas.find("master-link-status ok") == std::string::npos) {
              return false;
            }
          }
          return true;
        },
        kFailoverWait))
        << sentinels[0]->command({"SENTINEL", "ckquorum", "main"});

    RedisStore::Options options{
        RedisEndpoint::parse(sentinelUrl({sentinels[0].get(), sentinels[1].get(), sentinels[2].get()}, "main")),
        "agentB"};
    store = std::make_unique<RedisStore>(em, options);
    store->stateHandlerIs([this](RedisStore::State state, const std::string& why) {
      history += std::string(RedisStore::stateName(state)) + (why.empty() ? "" : " (" + why + ")") + "\n";
      if (state == RedisStore::State::disconnected) disconnects.push_back(why);
    });
    store->ownedIs(Side::config, true);
    store->open();
    testing::createRecords(*store);
    hostingAgent = Mirra::Agent::AgentIs("agentB");
    Controller::globalAgent = hostingAgent.get();
    mounter = Vex::make<RecordingMounter>();
    service = testing::declareTestService(em, mounter);
    ASSERT_TRUE(store->flush(kWait));
    ASSERT_EQ(configAt(*master), config());
  }
  void TearDown() override {
    service = nullptr;
    Controller::globalAgent = nullptr;
  }

  std::map<std::string, Fields> config() const {
    return testing::recordKeys(*em, store->keys(), {RecordSlot::mountConfig, RecordSlot::publishConfig});
  }

  // Runs the agent until it is live on the new master, subscribed there,
  // with its configuration there; how long that took from `fault`.
  std::optional<std::chrono::milliseconds> recoveryOn(const TestRedisServer& newMaster, Clock::time_point fault) {
    while (Clock::now() < fault + kFailoverWait) {
      store->process();
      if (store->state() == RedisStore::State::live &&
          commandText(newMaster.port(), {"CLIENT", "LIST", "TYPE", "pubsub"}).find(" psub=1 ") != std::string::npos &&
          configAt(newMaster) == config()) {
        const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - fault);
        std::cout << "[ recovery ] " << took.count() << " ms\n";
        RecordProperty("recovery_ms", static_cast<int>(took.count()));
        return took;
      }
      pollfd readable{store->fd(), POLLIN, 0};
      ::poll(&readable, 1, 10);
    }
    return std::nullopt;
  }

  // A status written on the new master by another client reaches the hook.
  void statusReachesTheHookThrough(const TestRedisServer& newMaster) {
    EXPECT_EQ(commandText(newMaster.port(), {"HSET", kSwitchKey, "name", "00:1c:73:00:00:01", "[g1]", "mounted"}),
              "2");
    ASSERT_TRUE(store->sync(kWait)) << history;
    EXPECT_EQ(mounter->calls(), (Log{"doHandleControllerMountState 00:1c:73:00:00:01 g1 mounted"}));
  }

  std::unique_ptr<TestRedisServer> master;
  std::unique_ptr<TestRedisServer> replica;
  std::vector<std::unique_ptr<TestSentinel>> sentinels;
  Vex::Ptr<Mirra::EntityManager> em = Mirra::EntityManager::EntityManagerIs();
  std::unique_ptr<RedisStore> store;
  std::string history;
  std::vector<std::string> disconnects;
  Vex::Ptr<Mirra::Agent> hostingAgent;
  Vex::Ptr<RecordingMounter> mounter;
  Vex::Ptr<Controller::HubstoreService> service;
};

// The old master stays a master for seconds after the replica is promoted;
// the sentinel the store listens to announces the failover, so the store
// leaves it at once. What the agent wrote there meanwhile is lost with it and
// written again on the new master.
TEST_F(RedisStoreFailoverTest, AForcedFailoverMovesTheAgentToTheNewMaster) {
  Clock::time_point fault;
  ASSERT_TRUE(waitFor(
      [&] {
        fault = Clock::now();
        return sentinels[1]->command({"SENTINEL", "FAILOVER", "main"}) == "OK";
      },
      10s));
  service->serviceMountGroup("g1")->controllerMountIs("/remote/after", "/db/after", "t", "f");
  ASSERT_TRUE(recoveryOn(*replica, fault)) << history;
  ASSERT_FALSE(disconnects.empty());
  EXPECT_NE(disconnects[0].find(" announced master main at 127.0.0.1:" + std::to_string(replica->port())),
            std::string::npos)
      << history;
  statusReachesTheHookThrough(*replica);
}

// The master's process killed: the store retries while the sentinels agree
// that it is down and promote the replica, then writes its configuration
// there (with a change made meanwhile).
TEST_F(RedisStoreFailoverTest, AKilledMasterIsReplacedAndTheAgentWritesItsConfigurationOnTheNewOne) {
  const auto fault = Clock::now();
  master->kill();
  service->serviceMountGroup("g1")->controllerMountIs("/remote/after", "/db/after", "t", "f");
  ASSERT_TRUE(recoveryOn(*replica, fault)) << history;
  EXPECT_EQ(configAt(*replica).count("agentB:mountConfig.mountGroupConfig[g1].mountConfig[/remote/after]"),
            1u);
  statusReachesTheHookThrough(*replica);
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
  SilentPort silent;
  const std::string refused = at(TestRedisServer::freePort());
  Vex::CapturingTraceSink sink;
  Vex::traceSinkIs(&sink);
  redisStoreTrace.levelsIs(1u << 5);
  const auto openError = [&sink](const std::string& url) -> std::string {
    sink.clear();
    RedisStore::Options options{RedisEndpoint::parse(url), "agentB"};
    options.openTimeout = 500ms;
    options.sentinelTimeout = 100ms;
    RedisStore store(Mirra::EntityManager::EntityManagerIs(), options);
    std::string said;
    store.stateHandlerIs([&said](RedisStore::State state, const std::string& why) {
      if (state == RedisStore::State::disconnected) said = why;
    });
    const auto start = Clock::now();
    try {
      store.open();
      return "opened";
    } catch (const RedisStoreError& error) {
      EXPECT_LT(Clock::now() - start, 3s);
      EXPECT_NE(std::string(error.what()).find(" (" + said + ")"), std::string::npos) << error.what();
      bool traced = false;
      for (const std::string& line : sink.lines()) {
        traced = traced || (line.rfind("5 RedisStore::state disconnected agent:agentB", 0) == 0 &&
                            line.find(" why: " + said) != std::string::npos);
      }
      EXPECT_TRUE(traced) << said;
      return error.what();
    }
  };
  const std::string silentAt = at(silent.port());
  const std::string noSentinelAt = at(noSentinel.port());
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
            "no answer from redis at master main at " + at(replica.port()) + " within 500 ms (ROLE of master main at " +
                at(replica.port()) + " says slave, not master)");
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
  auto em = Mirra::EntityManager::EntityManagerIs();
  RedisStore store(em, {RedisEndpoint::parse("redis-sentinel://" + sentinel.address() + "#main"), "agentB"});
  std::vector<std::string> disconnects;
  store.stateHandlerIs([&disconnects](RedisStore::State state, const std::string& why) {
    if (state == RedisStore::State::disconnected) disconnects.push_back(why);
  });
  store.ownedIs(Side::config, true);
  store.open();
  const auto config = Controller::ServiceMountConfig::ServiceMountConfigIs("agentB");
  store.recordIs(Vex::String(store.keys().recordPath(RecordSlot::mountConfig)), config);
  ASSERT_TRUE(store.flush(kWait));

  ASSERT_EQ(commandText(server.port(), {"REPLICAOF", "127.0.0.1", std::to_string(TestRedisServer::freePort())}),
            "OK");
  config->leaderGenIdIs("7");
  const std::string where = "master main at " + at(server.port());
  const auto deadline = Clock::now() + kWait;
  while (disconnects.size() < 2 && Clock::now() < deadline) {
    store.process();
    pollfd readable{store.fd(), POLLIN, 0};
    ::poll(&readable, 1, 10);
  }
  ASSERT_EQ(disconnects.size(), 2u);
  // The write is the lease's fenced script: the server names it after the text.
  EXPECT_EQ(disconnects[0].rfind(where + " refused a write: READONLY You can't write against a read only replica.", 0), 0u)
      << disconnects[0];
  EXPECT_EQ(disconnects[1], "ROLE of " + where + " says slave, not master");

  ASSERT_EQ(commandText(server.port(), {"REPLICAOF", "NO", "ONE"}), "OK");
  ASSERT_TRUE(store.sync(kWait));
  EXPECT_EQ(commandText(server.port(), {"HGET", "agentB:mountConfig", "leaderGenId"}), "7");
}

}  // namespace
}  // namespace hubstore::redis
