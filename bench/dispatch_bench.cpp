// One attribute change delivered to N notifiees, side by side:
//   Ours      a record's setter and its NotifieeList (reentrancy-safe, counted)
//   Raw       the floor: a setter looping over a plain vector of pointers
//   Signals2  the same setter emitting a Boost.Signals2 signal (when built)
// Each variant's setter is an out-of-line call, as the record's is, and each
// notifiee is a virtual call that counts.
// Also: a trace at a disabled level next to the empty loop it sits in.

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/foundations/framework/notifiee_const.h>
#include <hubstore/foundations/records/service_mount_group_status.h>
#include "opaque_notifiee.h"

#ifdef HUBSTORE_BENCH_SIGNALS2
#include <boost/signals2/signal.hpp>
#endif

namespace {

using Controller::MountState;
using Controller::ServiceMountGroupStatus;

constexpr int repetitions = 5;

class CountingReactor : public Vex::NotifieeConstOf<ServiceMountGroupStatus> {
 public:
  static const Vex::TypeDescriptor& staticType() {
    static const Vex::TypeDescriptor type("bench::CountingReactor", {});
    return type;
  }
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  void onAttribute(Vex::AttributeId, const void*) override { ++calls; }
  long calls = 0;
};

MountState nextState(bool& mounted) {
  mounted = !mounted;
  return mounted ? Controller::mountStateMounted : Controller::mountStateMounting;
}

void BM_DispatchOurs(benchmark::State& state) {
  auto status = ServiceMountGroupStatus::ServiceMountGroupStatusIs("g1");
  std::vector<Vex::Ptr<CountingReactor>> reactors;
  for (int i = 0; i < state.range(0); ++i) {
    auto reactor = Vex::make<CountingReactor>();
    reactor->notifierIs(status);
    reactor->isRegisteredNotifieeIs(true);
    reactor->hasNotificationActiveIs(true);
    reactors.push_back(reactor);
  }
  bool mounted = false;
  for (auto _ : state) status->mountStateIs(nextState(mounted));
  if (reactors.front()->calls != static_cast<long>(state.iterations())) state.SkipWithError("a change was lost");
}
BENCHMARK(BM_DispatchOurs)->Arg(1)->Arg(4)->Arg(16)->Repetitions(repetitions);

struct RawRecord {
  MountState mountState = Controller::mountStateUnknown;
  std::vector<bench::OpaqueNotifiee*> notifiees;
  [[gnu::noinline]] void mountStateIs(MountState state) {
    if (mountState == state) return;
    mountState = state;
    for (bench::OpaqueNotifiee* notifiee : notifiees) notifiee->onAttribute(ServiceMountGroupStatus::Attr::mountState, nullptr);
  }
};

void BM_DispatchRawVector(benchmark::State& state) {
  RawRecord record;
  std::vector<std::unique_ptr<bench::OpaqueNotifiee>> notifiees;
  for (int i = 0; i < state.range(0); ++i) {
    notifiees.push_back(bench::countingNotifiee());
    record.notifiees.push_back(notifiees.back().get());
  }
  bool mounted = false;
  for (auto _ : state) record.mountStateIs(nextState(mounted));
  if (notifiees.front()->calls() != static_cast<long>(state.iterations())) state.SkipWithError("a change was lost");
}
BENCHMARK(BM_DispatchRawVector)->Arg(1)->Arg(4)->Arg(16)->Repetitions(repetitions);

#ifdef HUBSTORE_BENCH_SIGNALS2
struct Signals2Record {
  MountState mountState = Controller::mountStateUnknown;
  boost::signals2::signal<void(Vex::AttributeId, const void*)> changed;
  [[gnu::noinline]] void mountStateIs(MountState state) {
    if (mountState == state) return;
    mountState = state;
    changed(ServiceMountGroupStatus::Attr::mountState, nullptr);
  }
};

void BM_DispatchSignals2(benchmark::State& state) {
  Signals2Record record;
  std::vector<std::unique_ptr<bench::OpaqueNotifiee>> notifiees;
  for (int i = 0; i < state.range(0); ++i) {
    notifiees.push_back(bench::countingNotifiee());
    bench::OpaqueNotifiee* notifiee = notifiees.back().get();
    record.changed.connect([notifiee](Vex::AttributeId a, const void* k) { notifiee->onAttribute(a, k); });
  }
  bool mounted = false;
  for (auto _ : state) record.mountStateIs(nextState(mounted));
  if (notifiees.front()->calls() != static_cast<long>(state.iterations())) state.SkipWithError("a change was lost");
}
BENCHMARK(BM_DispatchSignals2)->Arg(1)->Arg(4)->Arg(16)->Repetitions(repetitions);
#endif

void BM_TraceDisabled(benchmark::State& state) {
  Controller::ferrolink.levelsIs(0);
  Vex::String group("g1");
  for (auto _ : state) {
    HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePathPrefix" << " : " << group;
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_TraceDisabled)->Repetitions(repetitions);

// The floor of the line above: the same loop without the trace.
void BM_EmptyLoop(benchmark::State& state) {
  for (auto _ : state) benchmark::ClobberMemory();
}
BENCHMARK(BM_EmptyLoop)->Repetitions(repetitions);

}  // namespace
