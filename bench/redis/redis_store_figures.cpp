// The figures of hubstore::redis, measured against a private redis-server on
// 127.0.0.1:
//  1. the initial sync of SWITCHES x GROUPS group statuses from Redis into a
//     starting agent (RedisStore::open());
//  2. one status write in one process to the hook in another: a mount
//     machinery process sets a mount state, the agent process's mounter hook
//     hears it; median and 99th percentile over SAMPLES writes.
//
//   hubstore_redis_figures [SWITCHES GROUPS SAMPLES]    (default 10000 50 1000)

#include <hiredis/hiredis.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/foundations/platform/agent.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/redis/redis_store.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/testing/recording_mounter.h>
#include "redis/test_redis_server.h"

namespace {

using namespace hubstore::redis;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

std::string switchName(int i) {
  char name[32];
  std::snprintf(name, sizeof name, "00:1c:%02x:%02x:%02x:%02x", (i >> 24) & 0xff, (i >> 16) & 0xff, (i >> 8) & 0xff,
                i & 0xff);
  return name;
}

// Writes the status records of SWITCHES x GROUPS through one pipelined
// connection, as a mount machinery that has run for a while leaves them.
void populate(const testing::TestRedisServer& server, int switches, int groups) {
  redisContext* context = server.connect();
  const RedisKeySchema keys("agentB");
  std::size_t pending = 0;
  auto hset = [&](const std::string& key, std::vector<std::string> fields) {
    std::vector<const char*> argv{"HSET", key.c_str()};
    std::vector<std::size_t> lengths{4, key.size()};
    for (const std::string& field : fields) {
      argv.push_back(field.c_str());
      lengths.push_back(field.size());
    }
    redisAppendCommandArgv(context, static_cast<int>(argv.size()), argv.data(), lengths.data());
    if (++pending == 10000) {
      for (; pending > 0; --pending) {
        void* reply = nullptr;
        redisGetReply(context, &reply);
        freeReplyObject(reply);
      }
    }
  };
  const std::string status = keys.recordKey(RecordSlot::mountStatus);
  hset(status, {"name", "agentB"});
  for (int s = 0; s < switches; ++s) {
    const std::string system = RedisKeySchema::memberKey(status, "systemStatus", switchName(s));
    hset(system, {"name", switchName(s)});
    for (int g = 0; g < groups; ++g) {
      std::string group = "g";
      group += std::to_string(g);
      hset(RedisKeySchema::memberKey(system, "serviceMountGroupStatus", group), {"name", group, "mountState", "mounted"});
    }
  }
  for (; pending > 0; --pending) {
    void* reply = nullptr;
    redisGetReply(context, &reply);
    freeReplyObject(reply);
  }
  redisFree(context);
}

double initialSync(const testing::TestRedisServer& server, int switches, int groups) {
  populate(server, switches, groups);
  auto em = Mirra::EntityManager::EntityManagerIs();
  RedisStore store(em, {RedisEndpoint::parse(server.url()), "agentB", 120s});
  store.ownedIs(Side::config, true);
  const auto start = Clock::now();
  store.open();
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  auto status = Vex::ptr_cast<Controller::ServiceMountStatus>(em->getEntity("controller/mount/status/service/agentB"));
  std::size_t groupStatuses = 0;
  for (const auto& [name, system] : status->systemStatusMembers().members()) {
    groupStatuses += system->serviceMountGroupStatusMembers().count();
  }
  std::printf("initial sync: %d switches x %d groups = %zu group statuses read into a starting agent in %.2f s "
              "(%.0f keys/s)\n",
              switches, groups, groupStatuses, seconds, (groupStatuses + switches) / seconds);
  return seconds;
}

// The mount machinery process: on each byte from `go`, sends the time and
// writes the next mount state.
[[noreturn]] void machinery(const std::string& url, int go, int stamps) {
  auto em = Mirra::EntityManager::EntityManagerIs();
  RedisStore store(em, {RedisEndpoint::parse(url), "agentB"});
  store.ownedIs(Side::status, true);
  store.open();
  auto status = Vex::ptr_cast<Controller::ServiceMountStatus>(em->getEntity("controller/mount/status/service/agentB"));
  auto group = status->systemStatusIs(switchName(1))->serviceMountGroupStatusIs("g1");
  char byte = 0;
  for (int i = 0; ::read(go, &byte, 1) == 1; ++i) {
    const auto now = Clock::now().time_since_epoch().count();
    [[maybe_unused]] const ssize_t n = ::write(stamps, &now, sizeof now);
    group->mountStateIs(i % 2 ? Controller::mountStateMounted : Controller::mountStateFailed);
    store.process();  // sends it now
  }
  store.flush(5s);
  _exit(0);
}

void hookLatency(const testing::TestRedisServer& server, int samples) {
  // The agent: a service with group g1 over a store that owns the configuration.
  auto em = Mirra::EntityManager::EntityManagerIs();
  RedisStore store(em, {RedisEndpoint::parse(server.url()), "agentB"});
  store.ownedIs(Side::config, true);
  store.open();
  for (RecordSlot slot : kRecordSlots) {
    if (!em->getEntity(Vex::String(store.keys().recordPath(slot)))) {
      store.recordIs(Vex::String(store.keys().recordPath(slot)),
                     RecordCodec::newRecord(slot, slot == RecordSlot::status ? "status" : "agentB"));
    }
  }
  auto agent = Mirra::Agent::AgentIs("agentB");
  Controller::globalAgent = agent.get();
  auto mounter = Vex::make<Controller::testing::RecordingMounter>();
  bool heard = false;
  mounter->onMountState = [&heard] { heard = true; };
  auto service = Controller::HubstoreService::HubstoreServiceIs("svcA", em, em);
  auto lists = service->switchWhiteListIs("L");
  lists->allowedSwitchIs(Controller::SystemId::fromString(switchName(1)), true);
  auto versions = service->versionWhiteListIs("V");
  versions->allowedVersionIs(1, true);
  auto group = service->serviceMountGroupIs("g1", mounter);
  group->switchWhiteListIs(lists);
  group->versionWhiteListIs(versions);
  group->closedIs(true);
  store.flush(5s);

  int go[2];
  int stamps[2];
  if (pipe(go) != 0 || pipe(stamps) != 0) return;
  const pid_t child = fork();
  if (child == 0) {
    close(go[1]);
    close(stamps[0]);
    machinery(server.url(), go[0], stamps[1]);
  }
  close(go[0]);
  close(stamps[1]);
  std::vector<double> micros;
  for (int i = 0; i < samples + 1; ++i) {
    heard = false;
    [[maybe_unused]] const ssize_t sent = ::write(go[1], "x", 1);
    const auto deadline = Clock::now() + 5s;
    while (!heard && Clock::now() < deadline) {
      pollfd p{store.fd(), POLLIN, 0};
      ::poll(&p, 1, 100);
      store.process();
    }
    const auto heardAt = Clock::now().time_since_epoch().count();
    Clock::rep sentAt = 0;
    if (::read(stamps[0], &sentAt, sizeof sentAt) != sizeof sentAt || !heard) break;
    // The first write warms both processes up; it is left out.
    if (i > 0) micros.push_back(std::chrono::duration<double, std::micro>(Clock::duration(heardAt - sentAt)).count());
  }
  close(go[1]);
  waitpid(child, nullptr, 0);
  close(stamps[0]);
  service = nullptr;
  Controller::globalAgent = nullptr;
  if (micros.empty()) {
    std::printf("hook latency: no hook heard\n");
    return;
  }
  std::sort(micros.begin(), micros.end());
  std::printf("status write -> hook in another process: %zu writes, median %.0f us, 99th percentile %.0f us, "
              "max %.0f us\n",
              micros.size(), micros[micros.size() / 2], micros[micros.size() * 99 / 100], micros.back());
}

}  // namespace

int main(int argc, char** argv) {
  const int switches = argc > 1 ? std::atoi(argv[1]) : 10000;
  const int groups = argc > 2 ? std::atoi(argv[2]) : 50;
  const int samples = argc > 3 ? std::atoi(argv[3]) : 1000;
  // Caught here so that the servers are stopped whatever fails.
  try {
    {
      testing::TestRedisServer server;
      initialSync(server, switches, groups);
    }
    testing::TestRedisServer server;
    hookLatency(server, samples);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "hubstore_redis_figures: %s\n", error.what());
    return 1;
  }
  return 0;
}
