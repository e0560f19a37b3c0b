// End-to-end costs through the public API, each next to its floor where one
// exists:
//  - one switch's mountState change reaching the mounter, vs the floor: one
//    hashed group lookup and two virtual calls (the record's reactor, the hook);
//  - the initial sweep of a whole fleet: time, bytes kept and peak bytes per
//    switch-group;
//  - closing a service over stale configuration, at one and two times the size;
//  - a group's completion re-check, vs a merge of two sorted arrays.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/foundations/platform/agent.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/foundations/records/hubstore_status.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include <hubstore/foundations/records/service_publish_status.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/service/hubstore_service.h>
#include "allocation_counter.h"

namespace {

using namespace Controller;

constexpr int repetitions = 5;
constexpr int groupsPerSwitch = 50;

class CountingMounter : public HubstoreServiceMounter {
 public:
  void doMountsComplete(Vex::String, const Vex::Ptr<Mirra::EntityManager>&) override { ++calls; }
  void doHandleControllerMountState(const SystemId&, Vex::String, MountState,
                                    const Vex::Ptr<Mirra::EntityManager>&) override {
    ++calls;
  }
  void doInitialSwitchMountsComplete(Vex::String, const Vex::Ptr<Mirra::EntityManager>&) override { ++calls; }
  long calls = 0;
};

std::string switchName(unsigned i) {
  char text[18];
  std::snprintf(text, sizeof text, "00:1c:73:%02x:%02x:%02x", (i >> 16) & 0xff, (i >> 8) & 0xff, i & 0xff);
  return text;
}

std::string groupName(int g) { return "group" + std::to_string(g); }

MountState flipped(MountState state) {
  return state == mountStateMounted ? mountStateUnmounted : mountStateMounted;
}

// The controller side: the five records of agent "bench".
struct ControllerSide {
  Vex::Ptr<Mirra::Agent> agent = Mirra::Agent::AgentIs("bench");
  Vex::Ptr<Mirra::EntityManager> em = Mirra::EntityManager::EntityManagerIs();
  Vex::Ptr<ServiceMountConfig> mountConfig = ServiceMountConfig::ServiceMountConfigIs("bench");
  Vex::Ptr<ServiceMountStatus> mountStatus = ServiceMountStatus::ServiceMountStatusIs("bench");
  Vex::Ptr<ServicePublishConfig> publishConfig = ServicePublishConfig::ServicePublishConfigIs("bench");
  ControllerSide() {
    em->entityIs("controller/status", Hubstore::Status::StatusIs("status"));
    em->entityIs("controller/mount/config/service/bench", mountConfig);
    em->entityIs("controller/mount/status/service/bench", mountStatus);
    em->entityIs("controller/publish/config/service/bench", publishConfig);
    em->entityIs("controller/publish/status/service/bench", ServicePublishStatus::ServicePublishStatusIs("bench"));
    globalAgent = agent.get();
  }
  ~ControllerSide() { globalAgent = nullptr; }
  // Switches that each report a state for `groups` groups; every record has
  // its own name buffer, as records read from a database do.
  void fleetIs(unsigned switches, int groups) {
    for (unsigned s = 0; s < switches; ++s) {
      auto status = SystemStatus::SystemStatusIs(switchName(s));
      for (int g = 0; g < groups; ++g) status->serviceMountGroupStatusIs(groupName(g), mountStateMounted);
      mountStatus->systemStatusIs(status);
    }
  }
  Vex::Ptr<HubstoreService> serviceWith(int groups, const Vex::Ptr<CountingMounter>& mounter) {
    auto service = HubstoreService::HubstoreServiceIs("svc", em, em);
    for (int g = 0; g < groups; ++g) service->serviceMountGroupIs(groupName(g), mounter);
    return service;
  }
  // Every switch-group status of the fleet, in a fixed pseudo-random order.
  std::vector<Vex::Ptr<ServiceMountGroupStatus>> shuffledGroupStatuses() const {
    std::vector<Vex::Ptr<ServiceMountGroupStatus>> all;
    for (auto system = mountStatus->systemStatusMembers().begin(); system != nullptr; ++system) {
      auto& groups = (*system)->serviceMountGroupStatusMembers();
      for (auto group = groups.begin(); group != nullptr; ++group) all.push_back(*group);
    }
    std::shuffle(all.begin(), all.end(), std::mt19937(42));
    return all;
  }
};

// --- mountState to hook --------------------------------------------------------

void reportAllocations(benchmark::State& state, const bench::AllocationMark& mark) {
  state.counters["allocations_per_event"] =
      static_cast<double>(mark.allocations()) / static_cast<double>(std::max<benchmark::IterationCount>(1, state.iterations()));
}

// One switch-group's mountState flipping, through the status machines to the
// mounter, in a fleet of N switches x 50 groups. The same record every time:
// the path's own cost, caches warm.
void BM_MountStateToHook(benchmark::State& state) {
  const unsigned switches = static_cast<unsigned>(state.range(0));
  ControllerSide controller;
  controller.fleetIs(switches, groupsPerSwitch);
  auto mounter = Vex::make<CountingMounter>();
  auto service = controller.serviceWith(groupsPerSwitch, mounter);
  auto groupStatus = controller.mountStatus->systemStatusIs(Vex::Name(switchName(switches / 2)))
                         ->serviceMountGroupStatusIs(groupName(groupsPerSwitch / 2));
  const long before = mounter->calls;
  const bench::AllocationMark mark;
  for (auto _ : state) groupStatus->mountStateIs(flipped(groupStatus->mountState()));
  reportAllocations(state, mark);
  if (mounter->calls - before != static_cast<long>(state.iterations())) state.SkipWithError("a change was lost");
}
BENCHMARK(BM_MountStateToHook)->Arg(1000)->Arg(10000)->Repetitions(repetitions);

// The same, each event on another switch-group of the whole fleet.
void BM_MountStateToHookSpread(benchmark::State& state) {
  const unsigned switches = static_cast<unsigned>(state.range(0));
  ControllerSide controller;
  controller.fleetIs(switches, groupsPerSwitch);
  auto mounter = Vex::make<CountingMounter>();
  auto service = controller.serviceWith(groupsPerSwitch, mounter);
  const auto targets = controller.shuffledGroupStatuses();
  std::size_t next = 0;
  const long before = mounter->calls;
  const bench::AllocationMark mark;
  for (auto _ : state) {
    ServiceMountGroupStatus* target = targets[next].get();
    target->mountStateIs(flipped(target->mountState()));
    if (++next == targets.size()) next = 0;
  }
  reportAllocations(state, mark);
  if (mounter->calls - before != static_cast<long>(state.iterations())) state.SkipWithError("a change was lost");
}
BENCHMARK(BM_MountStateToHookSpread)->Arg(1000)->Arg(10000)->Repetitions(repetitions);

// The floor: a record whose setter makes one virtual call to its reactor,
// which finds the group in a hash table by the record's name and makes the
// second virtual call, the hook itself.
class FloorReactor {
 public:
  virtual ~FloorReactor() = default;
  virtual void onMountState(MountState state) = 0;
};

struct FloorGroup {
  Vex::Ptr<HubstoreServiceMounter> mounter;
  Vex::Ptr<Mirra::EntityManager> entityManager;
};

// The groups by name, in the cheapest hash table for the job: open
// addressing over a power-of-two table that keeps each key's hash, built
// once (std::unordered_map, with its modulo and uncached hashes, costs some
// 10 ns more per lookup here).
class FloorGroups {
 public:
  void insert(const Vex::String& name, FloorGroup group) {
    if (2 * (count_ + 1) > slots_.size()) {
      std::vector<Slot> old(std::max<std::size_t>(8, 2 * slots_.size()));
      old.swap(slots_);
      for (Slot& slot : old) {
        if (slot.group) place(std::move(slot));
      }
    }
    place(Slot{name.hash(), name, std::make_unique<FloorGroup>(std::move(group))});
    ++count_;
  }
  const FloorGroup* find(const Vex::String& name) const {
    const std::size_t hash = name.hash();
    for (std::size_t i = hash & (slots_.size() - 1);; i = (i + 1) & (slots_.size() - 1)) {
      const Slot& slot = slots_[i];
      if (!slot.group) return nullptr;
      if (slot.hash == hash && slot.name == name) return slot.group.get();
    }
  }

 private:
  struct Slot {
    std::size_t hash = 0;
    Vex::String name;
    std::unique_ptr<FloorGroup> group;
  };
  void place(Slot slot) {
    std::size_t i = slot.hash & (slots_.size() - 1);
    while (slots_[i].group) i = (i + 1) & (slots_.size() - 1);
    slots_[i] = std::move(slot);
  }
  std::vector<Slot> slots_;
  std::size_t count_ = 0;
};

class FloorSwitchGroup : public FloorReactor {
 public:
  FloorSwitchGroup(const SystemId& systemId, Vex::String groupName, const FloorGroups* groups)
      : systemId_(systemId), groupName_(std::move(groupName)), groups_(groups) {}
  void onMountState(MountState state) override {
    const FloorGroup* group = groups_->find(groupName_);
    if (!group) return;
    group->mounter->doHandleControllerMountState(systemId_, groupName_, state, group->entityManager);
  }

 private:
  SystemId systemId_;
  Vex::String groupName_;
  const FloorGroups* groups_;
};

struct FloorRecord {
  MountState mountState = mountStateMounted;
  std::unique_ptr<FloorReactor> reactor;
  [[gnu::noinline]] void mountStateIs(MountState state) {
    if (mountState == state) return;
    mountState = state;
    reactor->onMountState(state);
  }
};

struct FloorFleet {
  FloorGroups groups;
  std::vector<std::unique_ptr<FloorRecord>> records;  // switch-major
  FloorFleet(unsigned switches, const Vex::Ptr<CountingMounter>& mounter) {
    const auto em = Mirra::EntityManager::EntityManagerIs();
    for (int g = 0; g < groupsPerSwitch; ++g) groups.insert(Vex::String(groupName(g)), FloorGroup{mounter, em});
    for (unsigned s = 0; s < switches; ++s) {
      const SystemId systemId = SystemId::fromString(switchName(s));
      for (int g = 0; g < groupsPerSwitch; ++g) {
        auto record = std::make_unique<FloorRecord>();
        record->reactor = std::make_unique<FloorSwitchGroup>(systemId, Vex::String(groupName(g)), &groups);
        records.push_back(std::move(record));
      }
    }
  }
};

void BM_MountStateToHookFloor(benchmark::State& state) {
  const unsigned switches = static_cast<unsigned>(state.range(0));
  auto mounter = Vex::make<CountingMounter>();
  FloorFleet fleet(switches, mounter);
  FloorRecord* record = fleet.records[(switches / 2) * groupsPerSwitch + groupsPerSwitch / 2].get();
  const bench::AllocationMark mark;
  for (auto _ : state) record->mountStateIs(flipped(record->mountState));
  reportAllocations(state, mark);
  if (mounter->calls != static_cast<long>(state.iterations())) state.SkipWithError("a change was lost");
}
BENCHMARK(BM_MountStateToHookFloor)->Arg(1000)->Arg(10000)->Repetitions(repetitions);

void BM_MountStateToHookSpreadFloor(benchmark::State& state) {
  const unsigned switches = static_cast<unsigned>(state.range(0));
  auto mounter = Vex::make<CountingMounter>();
  FloorFleet fleet(switches, mounter);
  std::vector<FloorRecord*> targets;
  for (const auto& record : fleet.records) targets.push_back(record.get());
  std::shuffle(targets.begin(), targets.end(), std::mt19937(42));
  std::size_t next = 0;
  const bench::AllocationMark mark;
  for (auto _ : state) {
    FloorRecord* target = targets[next];
    target->mountStateIs(flipped(target->mountState));
    if (++next == targets.size()) next = 0;
  }
  reportAllocations(state, mark);
  if (mounter->calls != static_cast<long>(state.iterations())) state.SkipWithError("a change was lost");
}
BENCHMARK(BM_MountStateToHookSpreadFloor)->Arg(1000)->Arg(10000)->Repetitions(repetitions);

// --- initial sweep -------------------------------------------------------------

// Creating the service's status machine over N switches x 50 groups: one
// machine per switch, one reactor and one hook call per switch-group. Each
// iteration replaces the machine; the old one's teardown is not timed.
void sweep(benchmark::State& state, ControllerSide& controller, HubstoreService& service, unsigned switches) {
  const double switchGroups = static_cast<double>(switches) * groupsPerSwitch;
  std::int64_t kept = 0;
  std::int64_t peak = 0;
  for (auto _ : state) {
    state.PauseTiming();
    service.mountStatusSmDel();
    state.ResumeTiming();
    const bench::AllocationMark mark;
    service.mountStatusSmIs(controller.mountStatus);
    kept = mark.bytesKept();
    peak = mark.peakBytes();
  }
  state.counters["switches"] = switches;
  state.counters["switch_groups"] = switchGroups;
  state.counters["ns_per_switch_group"] =
      benchmark::Counter(switchGroups * 1e-9, benchmark::Counter::kIsIterationInvariantRate |
                                                  benchmark::Counter::kInvert);
  state.counters["bytes_kept_per_switch_group"] = static_cast<double>(kept) / switchGroups;
  state.counters["peak_bytes_per_switch_group"] = static_cast<double>(peak) / switchGroups;
}

void BM_InitialSweep(benchmark::State& state) {
  const unsigned switches = static_cast<unsigned>(state.range(0));
  ControllerSide controller;
  controller.fleetIs(switches, groupsPerSwitch);
  auto mounter = Vex::make<CountingMounter>();
  auto service = controller.serviceWith(groupsPerSwitch, mounter);
  sweep(state, controller, *service, switches);
}
BENCHMARK(BM_InitialSweep)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(20)->Repetitions(repetitions);
BENCHMARK(BM_InitialSweep)->Arg(10000)->Unit(benchmark::kMillisecond)->Iterations(4)->Repetitions(repetitions);
BENCHMARK(BM_InitialSweep)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(2)->Repetitions(3);

// The metrics text of the same fleet, which an operator's scrape asks for:
// it should cost no more than the sweep.
void BM_MetricsText(benchmark::State& state) {
  const unsigned switches = static_cast<unsigned>(state.range(0));
  ControllerSide controller;
  controller.fleetIs(switches, groupsPerSwitch);
  auto service = controller.serviceWith(groupsPerSwitch, Vex::make<CountingMounter>());
  std::size_t bytes = 0;
  for (auto _ : state) bytes = service->metricsText().size();
  state.counters["switches"] = switches;
  state.counters["text_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_MetricsText)->Arg(10000)->Unit(benchmark::kMillisecond)->Iterations(4)->Repetitions(repetitions);

// The same over a fleet built after an earlier fleet and its service were
// freed, so its records land wherever the allocator finds room.
void BM_InitialSweepAfterFreedFleet(benchmark::State& state) {
  const unsigned switches = static_cast<unsigned>(state.range(0));
  auto mounter = Vex::make<CountingMounter>();
  {
    ControllerSide earlier;
    earlier.fleetIs(switches, groupsPerSwitch);
    auto service = earlier.serviceWith(groupsPerSwitch, mounter);
  }
  ControllerSide controller;
  controller.fleetIs(switches, groupsPerSwitch);
  auto service = controller.serviceWith(groupsPerSwitch, mounter);
  sweep(state, controller, *service, switches);
}
BENCHMARK(BM_InitialSweepAfterFreedFleet)
    ->Arg(10000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(4)
    ->Repetitions(repetitions);

// --- close over stale state ----------------------------------------------------

// Pushes everything else out of the caches (a buffer past the last level).
void evictCaches() {
  static std::vector<char> buffer(64 << 20);
  for (std::size_t i = 0; i < buffer.size(); i += 64) ++buffer[i];
  benchmark::ClobberMemory();
}

// Closing a service whose configuration holds 1,000 x SCALE stale groups and
// 100 x SCALE stale switch filters of 1,000 switches each (in both the mount
// and the publish configuration). Warm: right after the configuration was
// built, so more of a small one is still cached; cold: caches evicted first.
void BM_CloseOverStaleState(benchmark::State& state) {
  const int scale = static_cast<int>(state.range(0));
  const bool cold = state.range(1) != 0;
  for (auto _ : state) {
    state.PauseTiming();
    {
      ControllerSide controller;
      for (int g = 0; g < 1000 * scale; ++g) {
        controller.mountConfig->mountGroupConfigIs(groupName(g));
        controller.publishConfig->publishGroupConfigIs(groupName(g));
      }
      for (int f = 0; f < 100 * scale; ++f) {
        const Vex::Name name("filter" + std::to_string(f));
        auto mountFilter = controller.mountConfig->systemFilterIs(name);
        auto publishFilter = controller.publishConfig->systemFilterIs(name);
        for (unsigned s = 0; s < 1000; ++s) {
          const Vex::String system(switchName(s));
          mountFilter->includedSystemIs(system, true);
          publishFilter->includedSystemIs(system, true);
        }
      }
      auto service = HubstoreService::HubstoreServiceIs("svc", controller.em, controller.em);
      if (cold) evictCaches();
      state.ResumeTiming();
      service->closedIs(true);
      state.PauseTiming();
      if (controller.mountConfig->mountGroupConfigMembers().count() != 0 ||
          controller.publishConfig->systemFilterMembers().count() != 0) {
        state.SkipWithError("stale configuration left");
      }
    }
    state.ResumeTiming();
  }
}
BENCHMARK(BM_CloseOverStaleState)
    ->ArgNames({"scale", "cold"})
    ->ArgsProduct({{1, 2}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5)
    ->Repetitions(repetitions);

// --- completion re-check -------------------------------------------------------

// Remote paths as agents name them: long, sharing most of their text.
Vex::String remotePath(const char* kind, int i) {
  char text[96];
  std::snprintf(text, sizeof text, "/state/switch/interfaces/ethernet/%s/port%05d/counters", kind, i);
  return Vex::String(text);
}

// A closed group with N controller mounts, all mounted; the service's mount
// status also holds the mounted paths of another group of the same size.
void BM_CompletionRecheck(benchmark::State& state) {
  const int mounts = static_cast<int>(state.range(0));
  ControllerSide controller;
  auto mounter = Vex::make<CountingMounter>();
  auto service = HubstoreService::HubstoreServiceIs("svc", controller.em, controller.em);
  auto versions = service->versionWhiteListIs("v");
  auto group = service->serviceMountGroupIs("g", mounter);
  for (int i = 0; i < mounts; ++i) {
    group->controllerMountIs(remotePath("status", i), "/hubstore/status", "Interface::Status", "r");
    controller.mountStatus->mountedPathPrefixIs(remotePath("status", i), "/mounts/status");
    controller.mountStatus->mountedPathPrefixIs(remotePath("config", i), "/mounts/config");
  }
  group->versionWhiteListIs(versions);
  group->closedIs(true);
  for (auto _ : state) {
    if (!group->doCheckMountStatusComplete()) state.SkipWithError("group not complete");
  }
  state.counters["mounts"] = mounts;
}
BENCHMARK(BM_CompletionRecheck)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond)->Repetitions(repetitions);

// The floor: whether one sorted array holds every key of another, by a merge
// with one three-way comparison a step.
bool includesAll(const std::vector<Vex::String>& held, const std::vector<Vex::String>& wanted) {
  auto at = held.begin();
  for (const Vex::String& key : wanted) {
    int order = -1;
    while (at != held.end() && (order = at->compare(key)) < 0) ++at;
    if (at == held.end() || order != 0) return false;
    ++at;
  }
  return true;
}

void BM_CompletionRecheckFloor(benchmark::State& state) {
  const int mounts = static_cast<int>(state.range(0));
  std::vector<Vex::String> configured;
  std::vector<Vex::String> mounted;
  for (int i = 0; i < mounts; ++i) {
    configured.push_back(remotePath("status", i));
    mounted.push_back(remotePath("status", i));
    mounted.push_back(remotePath("config", i));
  }
  std::sort(configured.begin(), configured.end());
  std::sort(mounted.begin(), mounted.end());
  for (auto _ : state) {
    if (!includesAll(mounted, configured)) state.SkipWithError("not included");
  }
  state.counters["mounts"] = mounts;
}
BENCHMARK(BM_CompletionRecheckFloor)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(repetitions);

}  // namespace
