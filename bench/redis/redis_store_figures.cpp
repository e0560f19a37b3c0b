// The figures of hubstore::redis, each next to its floor, a raw hiredis
// program in C doing the least the same work could cost, measured side by
// side against private redis-servers on 127.0.0.1:
//  - an agent starting over a fleet of SWITCHES x GROUPS group statuses
//    (FleetAgent) against reading every key of the agent once
//    (hubstore_store_start_floor); the agent's heap and peak RSS, and the
//    bytes Redis holds per group status;
//  - one status write in a mount machinery process to the hook in the agent
//    process (HookLatency) against an HSET in one process read by another on
//    its keyspace notification (hubstore_store_hook_floor).
//
//   hubstore_redis_figures [--fleets SWITCHES:SAMPLES,...] [--groups N]
//                          [--hook-fleet SWITCHES] [--hook-samples N] [--hook-rounds N]
//                          [--out FILE]
//
// Defaults: --fleets 1000:5,10000:3,100000:1 --groups 50 --hook-fleet 10000
// --hook-samples 1000 --hook-rounds 10. Each fleet gets a server of its own,
// loaded raw (FleetLoader); each sample of a start runs the floor and then
// the agent, each in a fresh process; the hook latency's samples are taken in
// rounds, the floor's and ours in turn, so that both see the same machine: a
// round's latency depends on where the three processes land on the 2 cores
// (25 or 55 us for the floor, 40 or 90 us for ours, the whole round long),
// and ten rounds mix those placements alike.
// The results are one JSON object (bench/report.py and bench/plot_store.py
// read it); progress goes to stderr.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "agent_start.h"
#include "child_process.h"
#include "fleet.h"
#include "fleet_loader.h"
#include "hook_latency.h"
#include "json_record.h"
#include "redis/test_redis_server.h"

namespace {

using namespace bench;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Generous: a start that takes longer has failed its goal many times over.
constexpr auto kChildLimit = 300s;
const char* const kAgent = "agentB";

struct FleetRun {
  int switches;
  int samples;
};

struct Settings {
  std::vector<FleetRun> fleets{{1000, 5}, {10000, 3}, {100000, 1}};
  int groups = 50;
  int hookFleet = 10000;
  int hookSamples = 1000;
  int hookRounds = 10;
  std::string out;
};

[[noreturn]] void usage() {
  std::fprintf(stderr,
               "usage: hubstore_redis_figures [--fleets SWITCHES:SAMPLES,...] [--groups N] [--hook-fleet SWITCHES] "
               "[--hook-samples N] [--hook-rounds N] [--out FILE]\n");
  std::exit(2);
}

Settings parse(int argc, char** argv) {
  Settings settings;
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (i + 1 == argc) usage();
    const std::string value = argv[++i];
    if (option == "--fleets") {
      settings.fleets.clear();
      std::istringstream list(value);
      for (std::string item; std::getline(list, item, ',');) {
        FleetRun run{};
        if (std::sscanf(item.c_str(), "%d:%d", &run.switches, &run.samples) != 2 || run.switches < 2 ||
            run.samples < 1) {
          usage();
        }
        settings.fleets.push_back(run);
      }
    } else if (option == "--groups") {
      settings.groups = std::atoi(value.c_str());
    } else if (option == "--hook-fleet") {
      settings.hookFleet = std::atoi(value.c_str());
    } else if (option == "--hook-samples") {
      settings.hookSamples = std::atoi(value.c_str());
    } else if (option == "--hook-rounds") {
      settings.hookRounds = std::atoi(value.c_str());
    } else if (option == "--out") {
      settings.out = value;
    } else {
      usage();
    }
  }
  if (settings.groups < 2 || settings.hookRounds < 1 || settings.hookSamples < settings.hookRounds) usage();
  return settings;
}

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// What a child printed, or why it printed nothing usable.
std::string outcome(const ChildProcess::Result& result) {
  if (result.ok() && !result.output.empty()) return result.output.substr(0, result.output.find_last_not_of('\n') + 1);
  return JsonRecord().text("error", result.failure()).json();
}

// For the progress lines: the text of a field of a child's JSON object.
std::string field(const std::string& json, const std::string& name) {
  const std::string quotedName = JsonRecord::quoted(name) + ": ";
  const std::size_t at = json.find(quotedName);
  if (at == std::string::npos) return "-";
  const std::size_t start = at + quotedName.size();
  return json.substr(start, json.find_first_of(",}", start) - start);
}

std::string progress(const std::string& json, const std::string& name) {
  const std::string error = field(json, "error");
  return error == "-" ? field(json, name) : error;
}

// Runs `measure` (which returns JSON) in a fresh process; an exception it
// raises becomes the record's error.
template <class Measure>
std::string inChild(const Measure& measure) {
  return outcome(ChildProcess::forked(
      [&](int out) {
        std::string json;
        try {
          json = measure();
        } catch (const std::exception& error) {
          json = JsonRecord().text("error", error.what()).json();
        }
        json += '\n';
        if (write(out, json.data(), json.size()) != static_cast<ssize_t>(json.size())) std::_Exit(1);
      },
      kChildLimit));
}

// One fleet on a server of its own: loaded, then started SAMPLES times, each
// start beside its floor; the hook latency too when this is the hook fleet.
std::string runFleet(const Settings& settings, const FleetRun& run, std::string& hookLatency, std::string& version) {
  const Fleet fleet{kAgent, run.switches, settings.groups};
  hubstore::redis::testing::TestRedisServer server;
  redisContext* context = server.connect();
  if (!context) throw std::runtime_error("cannot connect to the private redis-server");
  FleetLoader loader(context, fleet);
  const long long memoryBefore = loader.usedMemory();
  const auto loadStart = Clock::now();
  loader.load();
  const double loadSeconds = secondsSince(loadStart);
  const long long memoryAfter = loader.usedMemory();
  const long long keys = loader.keys();
  version = loader.info("server", "redis_version");
  std::fprintf(stderr, "store figures: %d x %d loaded in %.2f s (%lld keys, %.1f B per group status in redis)\n",
               fleet.switches, fleet.groups, loadSeconds, keys,
               static_cast<double>(memoryAfter - memoryBefore) / static_cast<double>(fleet.statuses()));

  const std::vector<std::string> startFloor{HUBSTORE_START_FLOOR, std::to_string(server.port()), fleet.agent};
  std::vector<std::string> floors;
  std::vector<std::string> starts;
  for (int sample = 0; sample < run.samples; ++sample) {
    floors.push_back(outcome(ChildProcess::program(startFloor, kChildLimit)));
    starts.push_back(inChild([&] { return AgentStart::measure(server.url(), fleet); }));
    loader.configurationDel();
    std::fprintf(stderr, "store figures: %d x %d start %d/%d: floor %s s, ours %s s (%s group statuses held)\n",
                 fleet.switches, fleet.groups, sample + 1, run.samples, progress(floors.back(), "seconds").c_str(),
                 progress(starts.back(), "seconds").c_str(), field(starts.back(), "statuses").c_str());
  }

  if (run.switches == settings.hookFleet) {
    const int samples = settings.hookSamples / settings.hookRounds;
    const std::vector<std::string> hookFloor{HUBSTORE_HOOK_FLOOR,        std::to_string(server.port()),
                                             fleet.agent,                fleet.switchKey(1),
                                             Fleet::groupField(1),       std::to_string(samples)};
    std::vector<std::string> floorRounds;
    std::vector<std::string> ourRounds;
    // Each run leaves the switch as loaded, so that each starts from the same state.
    for (int round = 0; round < settings.hookRounds; ++round) {
      floorRounds.push_back(outcome(ChildProcess::program(hookFloor, kChildLimit)));
      loader.switchRestore(1);
      ourRounds.push_back(inChild([&] { return HookLatency::measure(server.url(), fleet, samples); }));
      loader.configurationDel();
      loader.switchRestore(1);
      std::fprintf(stderr, "store figures: status write to hook, %d x %d, round %d/%d: median floor %s us, ours %s us\n",
                   fleet.switches, fleet.groups, round + 1, settings.hookRounds,
                   progress(floorRounds.back(), "median_us").c_str(), progress(ourRounds.back(), "median_us").c_str());
    }
    hookLatency = JsonRecord()
                      .integer("switches", fleet.switches)
                      .integer("groups", fleet.groups)
                      .raw("floor", JsonRecord::array(floorRounds))
                      .raw("ours", JsonRecord::array(ourRounds))
                      .json();
  }
  redisFree(context);

  return JsonRecord()
      .integer("switches", fleet.switches)
      .integer("groups", fleet.groups)
      .integer("statuses", fleet.statuses())
      .integer("keys", keys)
      .number("load_seconds", loadSeconds)
      .integer("redis_used_memory_before", memoryBefore)
      .integer("redis_used_memory_after", memoryAfter)
      .raw("floor_start", JsonRecord::array(floors))
      .raw("agent_start", JsonRecord::array(starts))
      .json();
}

}  // namespace

int main(int argc, char** argv) {
  const Settings settings = parse(argc, argv);
  const auto start = Clock::now();
  // Caught here so that the servers are stopped whatever fails.
  try {
    std::vector<std::string> fleets;
    std::string hookLatency = "null";
    std::string version;
    for (const FleetRun& run : settings.fleets) fleets.push_back(runFleet(settings, run, hookLatency, version));
    const std::string context = JsonRecord()
                                    .text("redis_version", version)
                                    .integer("cpus", sysconf(_SC_NPROCESSORS_ONLN))
                                    .number("seconds", secondsSince(start))
                                    .json();
    const std::string json = JsonRecord()
                                 .raw("context", context)
                                 .raw("fleets", JsonRecord::array(fleets))
                                 .raw("hook_latency", hookLatency)
                                 .json() +
                             "\n";
    if (settings.out.empty()) {
      std::cout << json;
    } else {
      std::ofstream(settings.out) << json;
    }
    std::fprintf(stderr, "store figures: done in %.1f s\n", secondsSince(start));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "hubstore_redis_figures: %s\n", error.what());
    return 1;
  }
  return 0;
}
