#include <hubstore/redis/redis_store.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <regex>
#include <sstream>
#include <thread>
#include <string>
#include <vector>

#include "redis/test_agent.h"
#include "redis/test_redis_server.h"

namespace hubstore::redis {
namespace {

using namespace std::chrono_literals;
using Controller::testing::Log;
using testing::configIn;
using testing::eventually;
using testing::TestAgent;
using testing::TestRedisServer;

constexpr auto kWait = 5000ms;

// An agent with a service and group g1 over a store that owns the
// configuration, and a mount machinery over another store that owns the
// status: two processes around one server, in one test.
class RedisStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    agent.open();
    ASSERT_TRUE(agent.store->flush(kWait));
    agent.declareService();
    ASSERT_TRUE(agent.store->flush(kWait));
    machinery.store->open();
  }
  // A write by another client, and the agent synchronised after it.
  void written(const std::vector<std::string>& args) {
    server.command(args);
    ASSERT_TRUE(agent.store->sync(kWait));
  }
  // A group status of g1 the mount machinery writes, and the agent synchronised after it.
  void machineryWrites(const std::string& switchId, Controller::MountState state) {
    machinery.mountStatus().systemStatusIs(switchId)->serviceMountGroupStatusIs("g1", state);
    ASSERT_TRUE(machinery.store->flush(kWait));
    ASSERT_TRUE(agent.store->sync(kWait));
  }

  TestRedisServer server;
  TestAgent agent{server.url(), Side::config};
  TestAgent machinery{server.url(), Side::status};
  const std::string system = "agentB:mountStatus.systemStatus[00:1c:73:00:00:01]";  // switch 1's status
};

// Bursts of changes, half undone, with every connection killed in the middle
// of each burst or not: Redis ends where the records are, the agent lives on,
// and a later status write reaches its hook.
TEST_F(RedisStoreTest, TheConfigurationFollowsItsRecordsAlsoWhenConnectionsAreKilledWithWritesPending) {
  EXPECT_EQ(server.hashes("agentB:*"), agent.keys());
  auto group = agent.service->serviceMountGroup("g1");
  // Round 0 keeps the connections; the others kill them after the burst's
  // first half, partly sent: what follows goes to the closed sockets first.
  for (int round = 0; round <= 25; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    const int mount = round * 200;
    for (int i = 0; i < 200; ++i) group->controllerMountIs("/remote/" + std::to_string(mount + i), "/db", "t", "f");
    agent.store->process();
    if (round > 0) server.command({"CLIENT", "KILL", "SKIPME", "yes"});
    for (int i = 0; i < 200; i += 2) group->controllerMountDel("/remote/" + std::to_string(mount + i));
    ASSERT_TRUE(agent.store->flush(kWait));
    if (round == 0 || round == 25) {
      EXPECT_EQ(configIn(server.hashes("agentB:*")), configIn(agent.keys()));
    }
  }
  written({"HSET", system, "name", "00:1c:73:00:00:01", "[g1]", "mounted"});
  EXPECT_EQ(agent.mounter->calls(), (Log{"doHandleControllerMountState 00:1c:73:00:00:01 g1 mounted"}));
  group = nullptr;
  agent.service->serviceMountGroupDel("g1");
  agent.service->serviceMountGroupIs("g2", agent.mounter)->controllerMountIs("/remote/b", "/db/b", "t", "f");
  ASSERT_TRUE(agent.store->flush(kWait));
  EXPECT_EQ(configIn(server.hashes("agentB:*")), configIn(agent.keys()));
  EXPECT_EQ(agent.store->statistics().failedWrites, 0u);
}

// A status written by hand reaches the hooks; its removal calls none. A
// followed root deleted in Redis is emptied once and read again when it comes
// back: the switches Redis still holds return as new switches, reported, and
// later writes reach the hooks. States written by a mount machinery's process
// are tests/redis/machinery_test.py's and fleet_reports' in
// tests/redis/cross_process_test.py.
TEST_F(RedisStoreTest, StatusWrittenElsewhereReachesTheHooksAndItsRemovalNone) {
  written({"HSET", system, "name", "00:1c:73:00:00:01", "[g1]", "failed"});
  written({"DEL", "agentB:mountStatus"});
  EXPECT_FALSE(agent.mountStatus().systemStatus("00:1c:73:00:00:01"));
  written({"HSET", "agentB:mountStatus", "name", "agentB"});
  EXPECT_TRUE(eventually([&] { return agent.store->state() == RedisStore::State::live; }, {agent.store.get()}));
  ASSERT_TRUE(agent.store->sync(kWait));
  EXPECT_EQ(agent.keys(), server.hashes("agentB:*"));
  written({"HSET", system, "[g1]", "mounted"});
  server.command({"HDEL", system, "[g1]"});
  written({"DEL", system});
  EXPECT_EQ(agent.mounter->calls(), (Log{"doHandleControllerMountState 00:1c:73:00:00:01 g1 failed",
                                         "doHandleControllerMountState 00:1c:73:00:00:01 g1 failed",
                                         "doHandleControllerMountState 00:1c:73:00:00:01 g1 mounted"}));
  EXPECT_FALSE(agent.mountStatus().systemStatus("00:1c:73:00:00:01"));
  EXPECT_EQ(agent.keys(), server.hashes("agentB:*"));
}

// Keys of hubstore 0.2's layout beside: counted, by a live store and by the
// load, and never read.
TEST_F(RedisStoreTest, AStartingProcessLoadsWhatRedisHoldsButKeysOfTheOldLayout) {
  machineryWrites("00:1c:73:00:00:02", Controller::mountStateFailed);
  const std::string old = system + ".serviceMountGroupStatus[g1]";
  server.command({"HSET", system, "name", "00:1c:73:00:00:01"});
  written({"HSET", old, "name", "g1", "mountState", "mounted"});
  EXPECT_EQ(agent.store->statistics().oldLayoutKeys, 1u);
  EXPECT_EQ(agent.mounter->calls(), (Log{"doHandleControllerMountState 00:1c:73:00:00:02 g1 failed"}));
  TestAgent restarted(server.url(), Side::config);
  restarted.store->open();
  EXPECT_EQ(restarted.store->statistics().oldLayoutKeys, 1u);
  auto inRedis = server.hashes("agentB:*");
  inRedis.erase(old);
  EXPECT_EQ(restarted.keys(), inRedis);
  EXPECT_EQ(restarted.mountStatus().systemStatus("00:1c:73:00:00:02")->serviceMountGroupStatus("g1")->mountState(),
            Controller::mountStateFailed);
  EXPECT_TRUE(restarted.mountConfig().warm());
}

TEST_F(RedisStoreTest, AServerRestartedEmptyGetsTheConfigurationBackWithItsChangesMeanwhile) {
  machineryWrites("00:1c:73:00:00:01", Controller::mountStateMounted);
  server.kill();
  // The agent goes on changing its configuration while the server is away.
  agent.service->serviceMountGroup("g1")->controllerMountIs("/remote/late", "/db/late", "t", "f");
  server.start();
  machinery.store.reset();
  ASSERT_TRUE(agent.store->sync(kWait));
  EXPECT_NE(agent.history.find("disconnected"), std::string::npos);
  EXPECT_TRUE(agent.history.ends_with("\nlive\n")) << agent.history;
  EXPECT_EQ(configIn(server.hashes("agentB:*")), configIn(agent.keys()));
  // The status the server lost has left the agent's records; the status
  // record stays the same object, emptied.
  EXPECT_FALSE(agent.mountStatus().systemStatus("00:1c:73:00:00:01"));
  // The agent listens to the restarted server: a later status reaches the hook.
  agent.mounter->callsDelAll();
  written({"HSET", system, "[g1]", "failed"});
  EXPECT_EQ(agent.mounter->calls(), (Log{"doHandleControllerMountState 00:1c:73:00:00:01 g1 failed"}));
}

// What another client does to a side a process owns is undone, however the
// owner learns of it: a notification (a key, a field or a root deleted:
// repaired at once), a lost notification connection (a state changed and a
// group status added: the resynchronisation writes the hash back field by
// field), or nothing at all (FLUSHALL: the periodic check finds the roots
// gone).
TEST_F(RedisStoreTest, WhatAnotherClientDoesToAnOwnedSideIsWrittenBack) {
  machineryWrites("00:1c:73:00:00:01", Controller::mountStateMounted);
  const auto declared = server.hashes("agentB:*");
  struct Case {
    const char* what;
    std::vector<std::vector<std::string>> commands;
    std::uint64_t repairs;
  };
  for (const Case& c : std::vector<Case>{
      {"configuration deleted",
       {{"DEL", "agentB:mountConfig.mountGroupConfig[g1].mountConfig[/remote/a]"},
        {"HDEL", "agentB:mountConfig.systemFilter[L]", "[00:1c:73:00:00:01]"},
        {"DEL", "agentB:publishConfig"}},
       3},
      {"status changed unheard",
       {{"HSET", system, "[g1]", "failed", "[gx]", "mounting"}, {"CLIENT", "KILL", "TYPE", "pubsub"}},
       0},
      {"FLUSHALL", {{"FLUSHALL"}}, 0}}) {
    SCOPED_TRACE(c.what);
    const std::uint64_t repairs = agent.store->statistics().repairs;
    for (const auto& args : c.commands) server.command(args);
    EXPECT_TRUE(eventually([&] { return server.hashes("agentB:*") == declared && agent.keys() == declared; },
                           {agent.store.get(), machinery.store.get()}));
    EXPECT_EQ(agent.store->statistics().repairs - repairs, c.repairs);
  }
}

// What another writer leaves that cannot be read is traced with its key and
// what is wrong, counted, and changes nothing: the records keep their last
// good values, and a later good write reaches its hook.
TEST_F(RedisStoreTest, WritesThatCannotBeReadChangeNothingAndAreTracedWithTheirKey) {
  const std::string other = "agentB:mountStatus.systemStatus[00:1c:73:00:00:02]";
  written({"HSET", system, "name", "00:1c:73:00:00:01", "[g1]", "mounted"});
  const auto before = agent.keys();
  struct Case {
    std::vector<std::vector<std::string>> writes;
    std::string key;
    std::string says;
  };
  const std::vector<Case> cases = {
      {{{"HSET", system, "[g1]", "bogus"}}, system, "field [g1]: 'bogus' is no mount state"},
      {{{"HSET", system, "colour", "blue"}}, system, "unknown field colour"},
      {{{"HSET", system, "[g2]", std::string(1 << 20, 'm')}}, system, "field [g2]: 1048576 bytes, over 65536"},
      {{{"MULTI"}, {"DEL", system}, {"SET", system, "a string"}, {"EXEC"}}, system, "not a hash (WRONGTYPE"},
      {{{"RPUSH", other, "a", "list"}}, other, "not a hash (WRONGTYPE"},
      {{{"HSET", "agentB:mountStatus.systemStatus[00:1c", "x", "y"}}, "agentB:mountStatus.systemStatus[00:1c",
       "not a key of the agent's records"},
      {{{"HSET", "agentB:mountStatus.nothing[x]", "value", "1"}}, "agentB:mountStatus.nothing[x]",
       "no collection nothing of Controller::ServiceMountStatus"},
      {{{"HSET", "agentB:mountStatus.initialMountsComplete[g1]", "value", "yes"}},
       "agentB:mountStatus.initialMountsComplete[g1]", "field value: 'yes' is not true or false"},
  };
  Vex::CapturingTraceSink sink;
  Vex::traceSinkIs(&sink);
  redisStoreTrace.levelsIs(1u << 5);
  std::uint64_t bad = agent.store->statistics().badRecords;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.says);
    sink.clear();
    for (const auto& write : c.writes) server.command(write);
    ASSERT_TRUE(agent.store->sync(kWait));
    EXPECT_EQ(agent.store->statistics().badRecords, ++bad);
    ASSERT_EQ(sink.lines().size(), 1u);
    EXPECT_EQ(sink.lines()[0].rfind("5 RedisStore::badRecord " + c.key + ": " + c.says, 0), 0u) << sink.lines()[0];
    EXPECT_EQ(agent.keys().at(system), before.at(system));
    server.command({"DEL", system, other});
    server.command({"HSET", system, "name", "00:1c:73:00:00:01", "[g1]", "mounted"});
  }
  // A new switch whose state cannot be read is created without that status.
  written({"HSET", other, "name", "00:1c:73:00:00:02", "[g1]", "bogus"});
  EXPECT_EQ(agent.keys().at(other), (Fields{{"name", "00:1c:73:00:00:02"}}));
  redisStoreTrace.levelsIs(0);
  Vex::traceSinkIs(nullptr);
  agent.mounter->callsDelAll();
  written({"HSET", system, "[g1]", "failed"});
  EXPECT_EQ(agent.mounter->calls(), (Log{"doHandleControllerMountState 00:1c:73:00:00:01 g1 failed"}));
}

// agentB's status record and `switches` switches of one group status each,
// written raw.
void loadFleet(const TestRedisServer& server, int switches) {
  server.command({"EVAL",
                  "redis.call('HSET', 'agentB:mountStatus', 'name', 'agentB') for i = 0, ARGV[1] - 1 do "
                  "redis.call('HSET', 'agentB:mountStatus.systemStatus[s' .. i .. ']', 'name', 's' .. i, '[g1]', "
                  "'mounted') end",
                  "0", std::to_string(switches)});
}

// A fleet takes as long to read as it takes: the limits count silence.
TEST(RedisStoreOpenTest, AFleetOpensWithLimitsShorterThanItsReadAndAStallOrALostServerIsSurvived) {
  TestRedisServer server;
  constexpr int kSwitches = 20000;
  loadFleet(server, kSwitches);
  RedisStore::Options options{RedisEndpoint::parse(server.url()), "agentB"};
  options.openTimeout = options.attemptTimeout = 150ms;
  const auto start = std::chrono::steady_clock::now();
  RedisStore store(Mirra::EntityManager::EntityManagerIs(), options);
  store.open();
  EXPECT_GT(std::chrono::steady_clock::now() - start, options.openTimeout) << "the read was too quick to prove it";
  EXPECT_EQ(store.statistics().keysRead, static_cast<std::uint64_t>(kSwitches + 1));

  // The server killed in the middle of the first read and restarted empty:
  // the open waits for it, and nothing that read made is left half loaded.
  auto em = Mirra::EntityManager::EntityManagerIs();
  RedisStore restarted(em, {RedisEndpoint::parse(server.url()), "agentB"});
  std::atomic<bool> syncing = false;
  std::atomic<int> readBefore = 0;
  restarted.stateHandlerIs([&](RedisStore::State state, const std::string&) {
    if (state == RedisStore::State::syncing) syncing = true;
    if (state == RedisStore::State::disconnected && readBefore == 0) {
      readBefore = static_cast<int>(em->getEntity("controller/mount/status/service/agentB") != nullptr) + 1;
    }
  });
  std::thread restart([&] {
    while (!syncing) std::this_thread::sleep_for(1ms);
    // The read of 20,000 keys takes hundreds of milliseconds in a debug build.
    std::this_thread::sleep_for(50ms);
    server.kill();
    std::this_thread::sleep_for(100ms);
    server.start();
  });
  restarted.open();
  restart.join();
  EXPECT_EQ(readBefore, 2) << "the server went before the first read had made the status record";
  EXPECT_FALSE(em->getEntity("controller/mount/status/service/agentB"));
  EXPECT_EQ(restarted.state(), RedisStore::State::live);

  // Paused while the read of the fleet loaded again goes on: it stops
  // answering, and the error says how far it got.
  loadFleet(server, kSwitches);
  syncing = false;
  RedisStore stalled(Mirra::EntityManager::EntityManagerIs(), options);
  stalled.stateHandlerIs([&](RedisStore::State state, const std::string&) {
    if (state == RedisStore::State::syncing) syncing = true;
  });
  std::thread pause([&] {
    while (!syncing) std::this_thread::sleep_for(1ms);
    std::this_thread::sleep_for(50ms);
    server.command({"CLIENT", "PAUSE", "2000", "ALL"});
  });
  const std::string error = testing::openError(stalled);
  pause.join();
  EXPECT_TRUE(std::regex_search(error, std::regex("stopped answering after reading [0-9,]+ of .*keys.*: nothing for "
                                                  "150 ms")))
      << error;
}

// Two processes of one agent: the second waits as a standby while the first
// renews its lease; when the first stops (here: stops running, as under
// SIGSTOP), the standby takes over within the lease time and a check, and
// writes what it declares; the first, running again, has its write refused by
// the lease's check, learns it lost the lease and writes nothing more.
TEST(RedisStoreLeaseTest, AStandbyTakesOverAndTheOldActiveIsFenced) {
  TestRedisServer server;
  const auto shortLease = [](RedisStore::Options& options) {
    options.leaseTime = 600ms;
    options.checkInterval = 100ms;
  };
  TestAgent first(server.url(), Side::config, shortLease);
  TestAgent second(server.url(), Side::config, shortLease);
  for (auto [process, group] : {std::pair{&first, "g1"}, std::pair{&second, "g2"}}) {
    process->open();
    process->mountConfig().mountGroupConfigIs(group);
    ASSERT_TRUE(process->store->flush(kWait));
  }
  EXPECT_TRUE(first.store->leaseHeld());
  EXPECT_EQ(second.store->state(), RedisStore::State::standby);
  EXPECT_EQ(server.hashes("agentB:*").count("agentB:mountConfig.mountGroupConfig[g2]"), 0u);
  // While the first runs, it renews its lease: the second stays a standby
  // well past the lease time.
  EXPECT_FALSE(eventually([&] { return second.store->leaseHeld(); }, {first.store.get(), second.store.get()}, 1500ms));

  // The first stops; the standby takes over and writes what differs.
  const auto stopped = std::chrono::steady_clock::now();
  ASSERT_TRUE(eventually([&] { return second.store->leaseHeld(); }, {second.store.get()}));
  const auto tookOver = std::chrono::steady_clock::now() - stopped;
  EXPECT_LT(tookOver, 600ms + 100ms + 500ms);
  ASSERT_TRUE(second.store->flush(kWait));
  const auto inRedis = server.hashes("agentB:*");
  EXPECT_EQ(configIn(inRedis), configIn(second.keys()));

  // The first runs again with a write queued before it learns anything.
  first.mountConfig().mountGroupConfigIs("late");
  ASSERT_TRUE(eventually([&] { return first.store->statistics().leasesLost == 1; }, {first.store.get()}));
  EXPECT_EQ(first.store->statistics().fencedWrites, 1u);
  EXPECT_EQ(first.store->state(), RedisStore::State::standby);
  first.mountConfig().mountGroupConfigIs("later");
  ASSERT_TRUE(first.store->flush(kWait));
  EXPECT_EQ(server.hashes("agentB:*"), inRedis);
  std::printf("standby took over in %lld ms (lease 600 ms, check 100 ms)\n",
              static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(tookOver).count()));
}

// The ACL line docs/store.md gives an agent, and the same without the channel
// or without the keys: the agent works with the first, and the others end
// open() naming the permission missing.
TEST(RedisStoreOpenTest, AnAgentUserOfTheDocumentedAclWorksAndWhatOpenLacksIsNamed) {
  TestRedisServer server;
  const std::string commands = "-@all +ping +select +exists +scan +hgetall +hset +hdel +del +multi +exec +psubscribe +eval +get +set";
  server.command({"CONFIG", "SET", "notify-keyspace-events", "KA"});
  for (const auto& [user, rules] : std::vector<std::pair<std::string, std::string>>{
           {"agentB", "resetkeys ~agentB:* resetchannels &__keyspace@0__:agentB:*"},
           {"nochannel", "resetkeys ~agentB:* resetchannels"},
           {"nokeys", "resetkeys resetchannels &__keyspace@0__:agentB:*"}}) {
    std::vector<std::string> acl{"ACL", "SETUSER", user, "reset", "on", ">pw"};
    std::istringstream words(rules + " " + commands);
    for (std::string word; words >> word;) acl.push_back(word);
    server.command(acl);
  }
  auto url = [&](const std::string& user) { return "redis://" + user + ":pw@" + server.address(); };
  TestAgent agent(url("agentB"), Side::config);
  TestAgent machinery(url("agentB"), Side::status);
  for (TestAgent* process : {&agent, &machinery}) process->store->open();
  for (RecordSlot slot : kRecordSlots) (sideOf(slot) == Side::config ? agent : machinery).createRecord(slot);
  ASSERT_TRUE(machinery.store->flush(kWait));
  ASSERT_TRUE(agent.store->sync(kWait));
  EXPECT_EQ(agent.store->statistics().failedWrites + machinery.store->statistics().failedWrites, 0u);
  EXPECT_TRUE(agent.em->getEntity(Vex::String(agent.store->keys().recordPath(RecordSlot::mountStatus))));
  // What it lacks ends open() at once, and a server that is not there within
  // openTimeout, saying so. A refused login and an absent server, through
  // hubstore-sim, are the login case of tests/redis/cross_process_test.py.
  TestRedisServer absent;
  absent.kill();
  for (const auto& [url, says] : std::vector<std::pair<std::string, std::string>>{
           {url("nochannel"), "(the user needs the channel permission &__keyspace@0__:agentB:*)"},
           {url("nokeys"), "(the user needs the key permission ~agentB:*"},
           {absent.url(), "within 300 ms (data connection: Connection refused)"}}) {
    RedisStore::Options options{RedisEndpoint::parse(url), "agentB"};
    options.openTimeout = 300ms;
    RedisStore refused(Mirra::EntityManager::EntityManagerIs(), options);
    const auto start = std::chrono::steady_clock::now();
    const std::string error = testing::openError(refused);
    EXPECT_NE(error.find(says), std::string::npos) << error;
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
    EXPECT_EQ(refused.state(), RedisStore::State::closed);
  }
}

}  // namespace
}  // namespace hubstore::redis
