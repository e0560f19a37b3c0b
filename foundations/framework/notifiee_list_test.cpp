#include <hubstore/foundations/framework/notifiee_list.h>

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include <hubstore/foundations/framework/test_record.h>

namespace Vex::testing {
namespace {

// Three probes on one counter; a row's setup may take some away first, down
// to one, which takes the list's direct path.
struct Probes {
  Ptr<Counter> counter = Counter::CounterIs("c");
  Log log;
  Ptr<Probe> a = Probe::ProbeIs("a", &log, counter);
  Ptr<Probe> b = Probe::ProbeIs("b", &log, counter);
  Ptr<Probe> c = Probe::ProbeIs("c", &log, counter);
  Ptr<Probe> late;
  Ptr<Counter> other;
  void releaseAll() {
    a = b = c = late = nullptr;
    counter = other = nullptr;
  }
  // Leaves probe a alone on the counter.
  Probes& alone() {
    b = c = nullptr;
    return *this;
  }
  std::function<void()> addLate() {
    return [this] {
      if (!late) late = Probe::ProbeIs("late", &log, counter);
    };
  }
};

void fail() { throw std::runtime_error("hook failed"); }

struct Row {
  const char* name;
  std::function<void(Probes&)> setUp;
  std::vector<int> values;  // written in turn while the counter lives; a throw logs "!"
  Log log;
  std::size_t left;  // notifiees registered afterwards, when the counter lives
};

TEST(NotifieeList, ChangesDuringADispatchTakeEffectAsTheRulesSay) {
  const Row rows[] = {
      {"equal values and inactive probes notify nobody", [](Probes& p) { p.b->hasNotificationActiveIs(false); },
       {1, 1, 2}, {"a", "c", "a", "c"}, 3},
      {"a probe that releases itself finishes its call", [](Probes& p) { p.b->action = [&p] { p.b = nullptr; }; },
       {1, 2}, {"a", "b", "c", "a", "c"}, 2},
      {"deleting an earlier and a later probe skips and repeats nobody",
       [](Probes& p) { p.b->action = [&p] { p.a = p.c = nullptr; }; }, {1, 2}, {"a", "b", "b"}, 1},
      {"a probe added during a round waits for the next", [](Probes& p) { p.a->action = p.addLate(); }, {1, 2},
       {"a", "b", "c", "a", "b", "c", "late"}, 4},
      {"releasing everything mid-dispatch", [](Probes& p) { p.a->action = [&p] { p.releaseAll(); }; }, {1}, {"a"}, 0},
      {"an exception leaves the list consistent",
       [](Probes& p) {
         p.b->action = [&p] {
           p.c = nullptr;
           fail();
         };
       },
       {1, 2}, {"a", "b", "!", "a", "b", "!"}, 2},
      {"a nested dispatch compacts only when the outer round ends",
       [](Probes& p) {
         p.a->action = [&p] {
           if (p.log.size() == 1) p.counter->valueIs(p.counter->value() + 1);
           p.c = nullptr;
         };
       },
       {1}, {"a", "a", "b", "b"}, 2},
      {"one probe releasing the record and itself finishes the call",
       [](Probes& p) {
         p.alone().a->action = [&p] {
           p.a->notifierIs(nullptr);
           p.releaseAll();
           p.log.push_back(std::to_string(liveObjectCount()));  // both still alive
         };
       },
       {1}, {"a", "2"}, 0},
      {"rebinding moves the registration to the new notifier",
       [](Probes& p) {
         p.other = Counter::CounterIs("other");
         p.b->notifierIs(p.other);
         EXPECT_FALSE(p.b->isRegisteredNotifiee());
         p.b->isRegisteredNotifieeIs(true);
         p.other->valueIs(1);
       },
       {1}, {"b", "a", "c"}, 2},
      {"one probe: an addition waits for the next round", [](Probes& p) { p.alone().a->action = p.addLate(); }, {1, 2},
       {"a", "a", "late"}, 2},
      {"one probe: a throw leaves the list whole", [](Probes& p) { p.alone().a->action = fail; }, {1, 2},
       {"a", "!", "a", "!"}, 1},
  };
  for (bool threadSafe : {false, true}) {
    threadSafePointersIs(threadSafe);
    for (const Row& row : rows) {
      SCOPED_TRACE(std::string(row.name) + (threadSafe ? ", counted references" : ""));
      {
        Probes p;
        row.setUp(p);
        for (int value : row.values) {
          if (!p.counter) break;
          try {
            p.counter->valueIs(value);
          } catch (const std::runtime_error&) {
            p.log.push_back("!");
          }
        }
        EXPECT_EQ(p.log, row.log);
        EXPECT_EQ(p.counter ? p.counter->notifieeList()->count() : 0u, row.left);
      }
      EXPECT_EQ(liveObjectCount(), 0);
    }
  }
  threadSafePointersIs(false);
}

}  // namespace
}  // namespace Vex::testing
