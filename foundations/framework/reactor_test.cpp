// A reactor reaches its owner only while the owner keeps it: a retired or
// zombie reactor runs no handler, whether rebound or notified.
#include <hubstore/foundations/framework/reactor.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <hubstore/foundations/framework/test_record.h>

namespace Vex::testing {
namespace {

struct Watcher {
  static const TypeDescriptor& staticType() {
    static const TypeDescriptor type("Vex::testing::Watcher", {});
    return type;
  }
  void handleCounter() { log.push_back("bound"); }
  void handleValue() { log.push_back("value"); }
  using VexCounter = Reactor<"VexCounter", Watcher, Counter, whole(&Watcher::handleCounter),
                             on(Counter::valueAttr, &Watcher::handleValue)>;
  Log log;
};

TEST(Reactor, RunsTheOwnersHandlersOnlyUntilItIsRetiredOrMarked) {
  Watcher owner;
  auto reactor = make<Watcher::VexCounter>(&owner);
  reactor->hasNotificationActiveIs(true);
  auto first = Counter::CounterIs("a");
  auto second = Counter::CounterIs("b");
  reactor->notifierIs(first);
  first->valueIs(1);
  reactor->vexDoZombieReactors(true);
  reactor->notifierIs(second);
  second->valueIs(1);
  reactor->vexDoZombieReactors(false);
  reactor->retire();
  reactor->notifierIs(first);
  first->valueIs(2);
  EXPECT_EQ(owner.log, (Log{"bound", "value"}));
  EXPECT_EQ(Watcher::VexCounter::staticType().name(), std::string("Vex::testing::Watcher::VexCounter"));
}

}  // namespace
}  // namespace Vex::testing
