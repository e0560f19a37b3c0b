// Several raw clients write switch statuses in random orders, batches and
// interleavings while an agent's store follows them. Once the writers are
// quiet, the agent's records must equal what Redis holds, and the last report
// of every group status must be its state in Redis: the report the library
// gives in one process for the same final writes.
//
// HUBSTORE_PROPERTY_SEED=N replays one schedule; HUBSTORE_PROPERTY_SCHEDULES
// sets how many run (default 300).

#include <hubstore/redis/redis_store.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <hubstore/foundations/platform/agent.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/testing/fake_controller.h>
#include <hubstore/testing/recording_mounter.h>
#include "redis/test_agent_service.h"
#include "redis/test_redis_server.h"

namespace hubstore::redis {
namespace {

using namespace std::chrono_literals;
using Controller::testing::Log;
using Controller::testing::RecordingMounter;
using Pair = std::pair<std::string, std::string>;  // switch, group
using Levels = std::map<Pair, std::string>;       // what each group status holds

// The last name is no Ethernet address: it must reach no hook.
const std::vector<std::string> kSwitches = {"00:1c:73:00:00:01", "00:1c:73:00:00:02", "00:1c:73:00:00:03",
                                            "00:1c:73:00:00:04", "not-a-switch"};
// gx is never declared.
const std::vector<std::string> kGroups = {"g1", "g2", "g3", "gx"};
const std::vector<std::string> kDeclared = {"g1", "g2", "g3"};
const std::vector<std::string> kStates = {"unknown", "mounting", "mounted", "unmounted", "failed"};

std::string switchKey(const std::string& name) { return "agentB:mountStatus.systemStatus[" + name + "]"; }

// A raw client whose commands are sent when it says so and answered later.
class Writer {
 public:
  explicit Writer(const testing::TestRedisServer& server) : context_(server.connect()) {}
  ~Writer() { redisFree(context_); }
  bool ok() const { return context_ != nullptr; }
  void append(const std::vector<std::string>& args) {
    std::vector<const char*> argv;
    std::vector<std::size_t> lengths;
    for (const std::string& arg : args) {
      argv.push_back(arg.data());
      lengths.push_back(arg.size());
    }
    redisAppendCommandArgv(context_, static_cast<int>(args.size()), argv.data(), lengths.data());
    ++unanswered_;
  }
  void send() {
    int done = 0;
    while (!done && redisBufferWrite(context_, &done) == REDIS_OK) {
    }
  }
  void drain() {
    send();
    for (; unanswered_ > 0; --unanswered_) {
      void* reply = nullptr;
      if (redisGetReply(context_, &reply) != REDIS_OK) return;
      freeReplyObject(reply);
    }
  }

 private:
  redisContext* context_;
  int unanswered_ = 0;
};

// The reports as (switch, group) -> states in order.
std::map<Pair, std::vector<std::string>> reportsOf(const Log& log) {
  std::map<Pair, std::vector<std::string>> reports;
  for (const std::string& line : log) {
    std::istringstream words(line);
    std::string hook, system, group, state;
    words >> hook >> system >> group >> state;
    if (hook == "doHandleControllerMountState") reports[{system, group}].push_back(state);
  }
  return reports;
}

// The state of each group status in the switch statuses Redis holds.
Levels levelsIn(const std::map<std::string, Fields>& hashes) {
  Levels levels;
  for (const auto& [key, fields] : hashes) {
    for (const auto& [field, value] : fields) {
      if (auto group = RecordCodec::fieldKey(field)) levels[{fields.at("name"), *group}] = value;
    }
  }
  return levels;
}

// The in-process library given the final level: each switch written with its
// group statuses, as the mount machinery creates it.
std::map<Pair, std::vector<std::string>> inProcessReports(const Levels& levels) {
  Controller::testing::FakeController controller("agentB");
  Log log;
  auto service = controller.serviceIs("svcA");
  for (const std::string& group : kDeclared) service->serviceMountGroupIs(group, Vex::make<RecordingMounter>(&log));
  std::map<std::string, Vex::Ptr<Controller::SystemStatus>> systems;
  for (const auto& [pair, state] : levels) {
    auto& system = systems[pair.first];
    if (!system) system = Controller::SystemStatus::SystemStatusIs(Vex::Name(pair.first));
    system->serviceMountGroupStatusIs(Vex::Name(pair.second), *Controller::mountStateFromName(state));
  }
  for (const auto& [name, system] : systems) controller.mountStatus()->systemStatusIs(system);
  return reportsOf(log);
}

struct Outcome {
  std::map<std::string, Fields> recordsHeld;  // the agent's switch statuses as keys
  std::map<Pair, std::vector<std::string>> reports;
  std::map<Pair, std::set<std::string>> written;
};

// One schedule: the agent follows while the writers write.
Outcome runSchedule(const testing::TestRedisServer& server, unsigned seed, int* operations) {
  Outcome outcome;
  auto em = Mirra::EntityManager::EntityManagerIs();
  RedisStore store(em, {RedisEndpoint::parse(server.url()), "agentB"});
  store.ownedIs(Side::config, true);
  store.open();
  testing::createRecords(store);
  auto hostingAgent = Mirra::Agent::AgentIs("agentB");
  Controller::globalAgent = hostingAgent.get();
  Log log;
  auto service = Controller::HubstoreService::HubstoreServiceIs("svcA", em, em);
  for (const std::string& group : kDeclared) service->serviceMountGroupIs(group, Vex::make<RecordingMounter>(&log));
  EXPECT_TRUE(store.flush(5000ms));

  std::mt19937 random(seed);
  auto pick = [&random](const std::vector<std::string>& from) { return from[random() % from.size()]; };
  std::vector<std::unique_ptr<Writer>> writers;
  for (int i = 0; i < 3; ++i) writers.push_back(std::make_unique<Writer>(server));
  const int steps = 30 + static_cast<int>(random() % 40);
  for (int step = 0; step < steps; ++step) {
    Writer& writer = *writers[random() % writers.size()];
    const std::string system = pick(kSwitches);
    const std::string key = switchKey(system);
    // A switch's group states, some of them, at random.
    auto states = [&] {
      std::vector<std::string> args;
      for (const std::string& group : kGroups) {
        if (random() % 2) continue;
        const std::string state = pick(kStates);
        outcome.written[{system, group}].insert(state);
        args.push_back(RecordCodec::memberField(group));
        args.push_back(state);
      }
      return args;
    };
    std::vector<std::string> hset{"HSET", key, "name", system};
    switch (random() % 6) {
      case 0: {  // a switch written with its states, new or not
        for (std::string& arg : states()) hset.push_back(arg);
        writer.append(hset);
        break;
      }
      case 1: {  // one state
        const std::string group = pick(kGroups), state = pick(kStates);
        outcome.written[{system, group}].insert(state);
        writer.append({"HSET", key, RecordCodec::memberField(group), state});
        break;
      }
      case 2:
        writer.append({"HDEL", key, RecordCodec::memberField(pick(kGroups))});
        break;
      case 3:
        writer.append({"DEL", key});
        break;
      case 4: {  // the switch replaced whole, in one transaction
        for (std::string& arg : states()) hset.push_back(arg);
        writer.append({"MULTI"});
        writer.append({"DEL", key});
        writer.append(hset);
        writer.append({"EXEC"});
        break;
      }
      case 5: {  // several states in one transaction, in any order
        writer.append({"MULTI"});
        std::vector<std::string> args = states();
        for (std::size_t i = 0; i + 1 < args.size(); i += 2) writer.append({"HSET", key, args[i], args[i + 1]});
        writer.append({"EXEC"});
        break;
      }
    }
    if (random() % 2) writer.send();
    if (random() % 4 == 0) writer.drain();
    if (random() % 3 == 0) store.process();
  }
  *operations += steps;
  for (auto& writer : writers) writer->drain();
  EXPECT_TRUE(store.sync(5000ms));
  outcome.reports = reportsOf(log);
  for (auto& [key, fields] : testing::recordKeys(*em, store.keys(), {RecordSlot::mountStatus})) {
    if (key.find(".systemStatus[") != std::string::npos) outcome.recordsHeld.emplace(key, fields);
  }
  service = nullptr;
  Controller::globalAgent = nullptr;
  return outcome;
}

unsigned fromEnvironment(const char* name, unsigned otherwise) {
  const char* value = std::getenv(name);
  return value ? static_cast<unsigned>(std::strtoul(value, nullptr, 10)) : otherwise;
}

TEST(RedisStorePropertyTest, AfterRandomWritersTheRecordsEqualRedisAndTheLastReportsTheLevel) {
  testing::TestRedisServer server;
  const char* replay = std::getenv("HUBSTORE_PROPERTY_SEED");
  const unsigned first = replay ? fromEnvironment("HUBSTORE_PROPERTY_SEED", 0) : std::random_device()();
  const unsigned schedules = replay ? 1 : fromEnvironment("HUBSTORE_PROPERTY_SCHEDULES", 300);
  int operations = 0;
  for (unsigned n = 0; n < schedules; ++n) {
    const unsigned seed = first + n;
    SCOPED_TRACE("replay with HUBSTORE_PROPERTY_SEED=" + std::to_string(seed));
    Writer flush(server);
    flush.append({"FLUSHALL"});
    flush.drain();
    const Outcome cross = runSchedule(server, seed, &operations);
    // A switch written without its name has it in the records.
    auto hashes = server.hashes("agentB:mountStatus.systemStatus\\[*");
    for (auto& [key, fields] : hashes) fields["name"] = key.substr(key.find('[') + 1, key.size() - key.find('[') - 2);
    const Levels levels = levelsIn(hashes);
    ASSERT_EQ(cross.recordsHeld, hashes);

    const auto inProcess = inProcessReports(levels);
    for (const auto& [pair, state] : levels) {
      const bool reported = pair.first != "not-a-switch" && pair.second != "gx";
      auto heard = cross.reports.find(pair);
      if (!reported) {
        EXPECT_EQ(heard, cross.reports.end()) << pair.first << " " << pair.second;
        continue;
      }
      if (state == "unknown") continue;  // may go unreported, as in one process
      ASSERT_NE(heard, cross.reports.end()) << pair.first << " " << pair.second << " " << state;
      EXPECT_EQ(heard->second.back(), state) << pair.first << " " << pair.second;
      EXPECT_EQ(heard->second.back(), inProcess.at(pair).back()) << pair.first << " " << pair.second;
    }
    for (const auto& [pair, states] : cross.reports) {
      for (const std::string& state : states) {
        EXPECT_TRUE(cross.written.count(pair) && cross.written.at(pair).count(state))
            << "a report of a state never written: " << pair.first << " " << pair.second << " " << state;
      }
    }
    if (HasFailure()) break;
  }
  RecordProperty("schedules", static_cast<int>(schedules));
  RecordProperty("operations", operations);
  std::printf("%u schedules from seed %u, %d writes\n", schedules, first, operations);
}

}  // namespace
}  // namespace hubstore::redis
