// End-to-end costs through the public API: one switch's mount state change
// reaching the mounter, the initial sweep of a whole fleet, and closing a
// service over a large configuration left by an earlier run.
//
// Memory is measured by counting the bytes that operator new hands out and
// operator delete takes back in this process.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

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

namespace {
long long liveBytes = 0;

void release(void* p) noexcept {
  if (p) liveBytes -= static_cast<long long>(malloc_usable_size(p));
  std::free(p);
}
}  // namespace

void* operator new(std::size_t size) {
  void* p = std::malloc(size ? size : 1);
  if (!p) throw std::bad_alloc();
  liveBytes += static_cast<long long>(malloc_usable_size(p));
  return p;
}
void operator delete(void* p) noexcept { release(p); }
void operator delete(void* p, std::size_t) noexcept { release(p); }

namespace {

using namespace Controller;

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
  // Switches that each report a state for `groups` groups.
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
};

// One switch's mountState change for one group, through the status machines
// to the mounter, in a fleet of 1,000 switches.
void BM_MountStateToHook(benchmark::State& state) {
  ControllerSide controller;
  controller.fleetIs(1000, 1);
  auto mounter = Vex::make<CountingMounter>();
  auto service = controller.serviceWith(1, mounter);
  auto groupStatus = controller.mountStatus->systemStatusIs(Vex::Name(switchName(500)))
                         ->serviceMountGroupStatusIs(groupName(0));
  bool mounted = true;  // the fleet starts mounted: the first write changes it
  const long before = mounter->calls;
  for (auto _ : state) {
    mounted = !mounted;
    groupStatus->mountStateIs(mounted ? mountStateMounted : mountStateUnmounted);
  }
  if (mounter->calls - before != static_cast<long>(state.iterations())) state.SkipWithError("a change was lost");
}
BENCHMARK(BM_MountStateToHook);

// Creating the service over 1,000 switches x 10 groups: one machine per
// switch, one reactor and one hook call per switch-group.
void BM_InitialSweep(benchmark::State& state) {
  const unsigned switches = static_cast<unsigned>(state.range(0));
  const int groups = 10;
  ControllerSide controller;
  controller.fleetIs(switches, groups);
  auto mounter = Vex::make<CountingMounter>();
  auto service = controller.serviceWith(groups, mounter);
  const double switchGroups = static_cast<double>(switches) * groups;
  long long bytes = 0;
  for (auto _ : state) {
    // Replacing the status machine sweeps the whole fleet again; the old
    // machine's teardown is not part of the figure.
    state.PauseTiming();
    service->mountStatusSmDel();
    state.ResumeTiming();
    const long long start = liveBytes;
    service->mountStatusSmIs(controller.mountStatus);
    bytes = liveBytes - start;
  }
  state.counters["switch_groups"] = switchGroups;
  state.counters["switch_groups_per_second"] =
      benchmark::Counter(switchGroups, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["bytes_per_switch_group"] = static_cast<double>(bytes) / switchGroups;
}
BENCHMARK(BM_InitialSweep)->Arg(1000)->Unit(benchmark::kMillisecond);

// Closing a service whose configuration holds 1,000 stale groups and 100
// stale switch filters of 1,000 switches each (in both configurations).
void BM_CloseOverStaleState(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    {
      ControllerSide controller;
      for (int g = 0; g < 1000; ++g) {
        controller.mountConfig->mountGroupConfigIs(groupName(g));
        controller.publishConfig->publishGroupConfigIs(groupName(g));
      }
      for (int f = 0; f < 100; ++f) {
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
      state.ResumeTiming();
      service->closedIs(true);
      state.PauseTiming();
      if (controller.mountConfig->mountGroupConfigMembers().count() != 0) state.SkipWithError("stale groups left");
    }
    state.ResumeTiming();
  }
}
BENCHMARK(BM_CloseOverStaleState)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace
