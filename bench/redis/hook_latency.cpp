#include "hook_latency.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include <hubstore/foundations/records/service_mount_status.h>

#include "fleet_agent.h"
#include "json_record.h"

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;
using namespace hubstore::redis;
using namespace std::chrono_literals;

constexpr int kSwitch = 1;
constexpr int kGroup = 1;

Controller::MountState stateOfWrite(int i) { return i % 2 ? Controller::mountStateMounted : Controller::mountStateFailed; }

std::int64_t nowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

// Reads exactly one stamp, waiting at most `limit`.
bool readStamp(int fd, std::int64_t& stamp, std::chrono::milliseconds limit) {
  pollfd readable{fd, POLLIN, 0};
  if (poll(&readable, 1, static_cast<int>(limit.count())) != 1) return false;
  return read(fd, &stamp, sizeof stamp) == sizeof stamp;
}

// The mount machinery: opens its store, says it is ready (stamp 0), then on
// each byte from `go` sends the time and writes the next mount state.
[[noreturn]] void machinery(const std::string& url, const Fleet& fleet, int go, int stamps) {
  int status = 0;
  try {
    auto em = Mirra::EntityManager::EntityManagerIs();
    RedisStore store(em, RedisStore::Options{RedisEndpoint::parse(url), fleet.agent});
    store.ownedIs(Side::status, true);
    store.open();
    auto mountStatus = Vex::ptr_cast<Controller::ServiceMountStatus>(
        em->getEntity(store.keys().recordPath(RecordSlot::mountStatus)));
    if (!mountStatus) throw std::runtime_error("the machinery found no mount status record");
    auto group = mountStatus->systemStatusIs(Fleet::switchName(kSwitch).c_str())
                     ->serviceMountGroupStatusIs(Fleet::groupName(kGroup).c_str());
    std::int64_t stamp = 0;
    if (write(stamps, &stamp, sizeof stamp) != sizeof stamp) throw std::runtime_error("stamp pipe closed");
    char byte = 0;
    for (int i = 0; read(go, &byte, 1) == 1; ++i) {
      stamp = nowNs();
      if (write(stamps, &stamp, sizeof stamp) != sizeof stamp) break;
      group->mountStateIs(stateOfWrite(i));
      store.process();  // sends it now
    }
    store.flush(5s);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "machinery: %s\n", error.what());
    status = 1;
  }
  _exit(status);
}

}  // namespace

std::string HookLatency::measure(const std::string& url, const Fleet& fleet, int samples) {
  FleetAgent agent(url, fleet);
  const Controller::SystemId system = Controller::SystemId::fromString(Fleet::switchName(kSwitch));
  const Vex::String group(Fleet::groupName(kGroup).c_str());

  int go[2];
  int stamps[2];
  if (pipe(go) != 0 || pipe(stamps) != 0) throw std::runtime_error("pipe failed");
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) {
    close(go[1]);
    close(stamps[0]);
    machinery(url, fleet, go[0], stamps[1]);
  }
  close(go[0]);
  close(stamps[1]);

  std::string error;
  std::vector<double> micros;
  std::int64_t sentAt = 0;
  if (!readStamp(stamps[0], sentAt, 120s)) error = "the machinery did not start";
  for (int i = 0; error.empty() && i < samples + 1; ++i) {
    const long long before = agent.mounter().mountStates;
    auto heard = [&] {
      const CountingMounter& mounter = agent.mounter();
      return mounter.mountStates > before && mounter.lastSystem == system && mounter.lastGroup == group &&
             mounter.lastState == stateOfWrite(i);
    };
    if (write(go[1], "x", 1) != 1) {
      error = "the machinery is gone";
      break;
    }
    const auto deadline = Clock::now() + 5s;
    while (!heard() && Clock::now() < deadline) {
      pollfd readable{agent.store().fd(), POLLIN, 0};
      poll(&readable, 1, 100);
      agent.store().process();
    }
    const std::int64_t heardAt = nowNs();
    if (!heard()) error = "write " + std::to_string(i) + " was not heard within 5 s";
    if (!readStamp(stamps[0], sentAt, 5s)) error = "the machinery sent no time for write " + std::to_string(i);
    if (error.empty() && i > 0) micros.push_back(static_cast<double>(heardAt - sentAt) / 1e3);
  }
  close(go[1]);
  waitpid(child, nullptr, 0);
  close(stamps[0]);

  JsonRecord record;
  if (!error.empty()) return record.text("error", error).json();
  record.integer("samples", static_cast<long long>(micros.size())).numbers("micros", micros);
  std::sort(micros.begin(), micros.end());
  return record.number("median_us", micros[micros.size() / 2]).json();
}

}  // namespace bench
