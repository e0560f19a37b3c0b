#include <hubstore/foundations/framework/notifiee_list.h>

#include <gtest/gtest.h>

#include <stdexcept>

#include <hubstore/foundations/framework/test_record.h>

namespace Vex::testing {
namespace {

using Log = std::vector<std::string>;

struct ThreeProbes : ::testing::Test {
  Ptr<Counter> counter = Counter::CounterIs("c");
  Log log;
  Ptr<Probe> a = Probe::ProbeIs("a", &log, counter);
  Ptr<Probe> b = Probe::ProbeIs("b", &log, counter);
  Ptr<Probe> c = Probe::ProbeIs("c", &log, counter);
  void TearDown() override {
    a = b = c = nullptr;
    counter = nullptr;
    EXPECT_EQ(liveObjectCount(), 0);
  }
};

TEST_F(ThreeProbes, EachActiveNotifieeIsCalledOncePerChangeAndEqualValuesNotifyNobody) {
  counter->valueIs(1);
  counter->valueIs(1);
  b->hasNotificationActiveIs(false);
  counter->valueIs(2);
  EXPECT_EQ(log, (Log{"a", "b", "c", "a", "c"}));
}

TEST_F(ThreeProbes, ANotifieeThatReleasesItselfFinishesItsCallAndTheOthersStillRun) {
  b->action = [this] { b = nullptr; };
  counter->valueIs(1);
  counter->valueIs(2);
  EXPECT_EQ(log, (Log{"a", "b", "c", "a", "c"}));
  EXPECT_EQ(counter->notifieeList()->count(), 2u);
}

TEST_F(ThreeProbes, DeletingAnEarlierAndALaterNotifieeSkipsNobodyAndCallsNobodyTwice) {
  b->action = [this] {
    a = nullptr;  // already called this round
    c = nullptr;  // not yet called: must not be
  };
  counter->valueIs(1);
  EXPECT_EQ(log, (Log{"a", "b"}));
  counter->valueIs(2);
  EXPECT_EQ(log, (Log{"a", "b", "b"}));
}

TEST_F(ThreeProbes, ANotifieeAddedDuringARoundWaitsForTheNextRound) {
  Ptr<Probe> late;
  a->action = [&] {
    if (!late) late = Probe::ProbeIs("late", &log, counter);
  };
  counter->valueIs(1);
  EXPECT_EQ(log, (Log{"a", "b", "c"}));
  counter->valueIs(2);
  EXPECT_EQ(log, (Log{"a", "b", "c", "a", "b", "c", "late"}));
}

TEST_F(ThreeProbes, TheRecordAndTheCallerSurviveReleasingEverythingMidDispatch) {
  a->action = [this] {  // the last holders of the record
    a = b = c = nullptr;
    counter = nullptr;
  };
  Counter* raw = counter.get();
  raw->valueIs(1);  // the dispatch keeps the record and the running probe alive until it ends
  EXPECT_EQ(log, (Log{"a"}));
  EXPECT_EQ(liveObjectCount(), 0);
}

TEST_F(ThreeProbes, WithThreadSafePointersTheDispatchHoldsCountedReferences) {
  threadSafePointersIs(true);
  b->action = [this] {
    a = b = c = nullptr;
    counter = nullptr;
  };
  Counter* raw = counter.get();
  raw->valueIs(1);
  threadSafePointersIs(false);
  EXPECT_EQ(log, (Log{"a", "b"}));
  EXPECT_EQ(liveObjectCount(), 0);
}

TEST_F(ThreeProbes, AnExceptionLeavesTheListConsistent) {
  b->action = [this] {
    c = nullptr;
    throw std::runtime_error("hook failed");
  };
  EXPECT_THROW(counter->valueIs(1), std::runtime_error);
  EXPECT_EQ(counter->notifieeList()->count(), 2u);
  b->action = nullptr;
  counter->valueIs(2);
  EXPECT_EQ(log, (Log{"a", "b", "a", "b"}));
}

TEST_F(ThreeProbes, NestedDispatchCompactsOnlyWhenTheOuterRoundEnds) {
  int depth = 0;
  a->action = [&] {
    if (depth++ == 0) counter->valueIs(counter->value() + 1);  // nested round
    c = nullptr;
  };
  counter->valueIs(1);
  EXPECT_EQ(log, (Log{"a", "a", "b", "b"}));
  EXPECT_EQ(counter->notifieeList()->count(), 2u);
}

TEST_F(ThreeProbes, RebindingMovesTheRegistrationToTheNewNotifier) {
  Ptr<Counter> other = Counter::CounterIs("other");
  b->notifierIs(other);
  EXPECT_FALSE(b->isRegisteredNotifiee());
  b->isRegisteredNotifieeIs(true);
  counter->valueIs(1);
  other->valueIs(1);
  EXPECT_EQ(log, (Log{"a", "c", "b"}));
  b = nullptr;
  EXPECT_EQ(other->notifieeList()->count(), 0u);
}

// A record with one notifiee takes the direct path; the rules are the same.
struct OneProbe : ::testing::Test {
  Ptr<Counter> counter = Counter::CounterIs("c");
  Log log;
  Ptr<Probe> a = Probe::ProbeIs("a", &log, counter);
  void TearDown() override {
    a = nullptr;
    counter = nullptr;
    EXPECT_EQ(liveObjectCount(), 0);
  }
};

TEST_F(OneProbe, ReleasingTheRecordAndItselfMidCallFinishesTheCall) {
  a->action = [this] {
    a->notifierIs(nullptr);  // the probe no longer holds the record
    a = nullptr;
    counter = nullptr;
    log.push_back(std::to_string(liveObjectCount()));  // both still alive
  };
  Counter* raw = counter.get();
  raw->valueIs(1);
  EXPECT_EQ(log, (Log{"a", "2"}));
  EXPECT_EQ(liveObjectCount(), 0);
}

TEST_F(OneProbe, ANotifieeAddedDuringTheCallWaitsAndOneThatThrowsLeavesTheListWhole) {
  Ptr<Probe> late;
  a->action = [&] {
    if (!late) late = Probe::ProbeIs("late", &log, counter);
  };
  counter->valueIs(1);
  EXPECT_EQ(log, (Log{"a"}));
  late->action = [] { throw std::runtime_error("hook failed"); };
  EXPECT_THROW(counter->valueIs(2), std::runtime_error);
  late = nullptr;  // back to one notifiee
  a->action = [] { throw std::runtime_error("hook failed"); };
  EXPECT_THROW(counter->valueIs(3), std::runtime_error);
  a->action = nullptr;
  counter->valueIs(4);
  EXPECT_EQ(log, (Log{"a", "a", "late", "a", "a"}));
  EXPECT_EQ(counter->notifieeList()->count(), 1u);
}

}  // namespace
}  // namespace Vex::testing
