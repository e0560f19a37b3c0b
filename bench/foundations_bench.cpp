// Costs of the framework's per-event operations: keyed lookups and updates
// at switch-fleet sizes, and counted-pointer copies.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

#include <hubstore/foundations/framework/collection.h>
#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/foundations/framework/notifiee_const.h>
#include <hubstore/foundations/records/service_mount_group_status.h>
#include <hubstore/foundations/framework/value_map.h>

namespace {

std::string switchName(unsigned i) {
  char text[18];
  std::snprintf(text, sizeof text, "00:1c:73:%02x:%02x:%02x", (i >> 16) & 0xff, (i >> 8) & 0xff, i & 0xff);
  return text;
}

struct Fleet {
  std::vector<Vex::Name> names;
  Vex::Collection<Vex::Name, Controller::ServiceMountGroupStatus> members;
  explicit Fleet(unsigned size) {
    for (unsigned i = 0; i < size; ++i) {
      names.emplace_back(switchName(i));
      members.newMember(names.back(), Controller::ServiceMountGroupStatus::ServiceMountGroupStatusIs(names.back()));
    }
  }
};

// A lookup by a 17-character switch name in a collection of N members.
void BM_CollectionLookup(benchmark::State& state) {
  Fleet fleet(static_cast<unsigned>(state.range(0)));
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(fleet.members.memberRaw(fleet.names[i]));
    i = (i + 7919) % fleet.names.size();
  }
}
BENCHMARK(BM_CollectionLookup)->Arg(10)->Arg(1000)->Arg(100000);

// Erase and re-insert of one member in a collection of N members.
void BM_CollectionEraseInsert(benchmark::State& state) {
  Fleet fleet(static_cast<unsigned>(state.range(0)));
  std::size_t i = 0;
  for (auto _ : state) {
    auto member = fleet.members.deleteMember(fleet.names[i]);
    fleet.members.newMember(fleet.names[i], std::move(member));
    i = (i + 7919) % fleet.names.size();
  }
}
BENCHMARK(BM_CollectionEraseInsert)->Arg(10)->Arg(1000)->Arg(100000);

// The same update on a value map (a filter's includedSystem set).
void BM_ValueMapEraseInsert(benchmark::State& state) {
  Vex::ValueMap<Vex::String, bool> map;
  std::vector<Vex::String> names;
  for (int i = 0; i < state.range(0); ++i) {
    names.emplace_back(switchName(static_cast<unsigned>(i)));
    map.valueIs(names.back(), true);
  }
  std::size_t i = 0;
  for (auto _ : state) {
    map.valueDel(names[i]);
    map.valueIs(names[i], true);
    i = (i + 7919) % names.size();
  }
}
BENCHMARK(BM_ValueMapEraseInsert)->Arg(10)->Arg(1000)->Arg(100000);

void BM_PtrCopy(benchmark::State& state) {
  auto status = Controller::ServiceMountGroupStatus::ServiceMountGroupStatusIs("g1");
  for (auto _ : state) {
    Vex::Ptr<Controller::ServiceMountGroupStatus> copy = status;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(BM_PtrCopy);

void BM_PtrCopyThreadSafe(benchmark::State& state) {
  auto status = Controller::ServiceMountGroupStatus::ServiceMountGroupStatusIs("g1");
  Vex::threadSafePointersIs(true);
  for (auto _ : state) {
    Vex::Ptr<Controller::ServiceMountGroupStatus> copy = status;
    benchmark::DoNotOptimize(copy);
  }
  Vex::threadSafePointersIs(false);
}
BENCHMARK(BM_PtrCopyThreadSafe);

}  // namespace
