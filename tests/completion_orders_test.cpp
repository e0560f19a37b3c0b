// Every order of the seven events that complete a mount group.
//
// Group g1 has two controller mounts (/r/a, /r/b), one publish mount (/db/p)
// and a mounter; version list v exists. The seven events:
//   prefix /r/a, prefix /r/b   mountedPathPrefix of the two controller mounts
//   publish status             /db/p in g1's publish group status
//   group status               g1's publish group status appears
//   bind                       group->versionWhiteListIs(v)
//   initial mounts             initialMountsComplete[g1] = true
//   close                      group->closedIs(true)
// and all 5,040 orders of them run against a fresh world each.
//
// Two orders the records and the library do not allow literally are given
// the meaning the mount machinery and the agent would give them:
// - A publish status written before its group status exists creates the
//   group status (the record's own publishGroupStatusIs), as the machinery
//   does when it reports a path; the later "group status" event then writes
//   nothing. So the group status never completes the group by itself: the
//   publish status, which implies it, is what completion waits for.
// - Closing a group with no version allow-list is a fatal assertion (the
//   mount group's own death test proves it). The agent here closes "once
//   bound": a close that comes before the bind is held back and made right
//   after the bind. So the close takes effect at the later of the two.
//
// What must hold in every order:
// - doMountsComplete never before the last event completion needs (both
//   prefixes, the publish status, the effective close), at least once at or
//   after it;
// - doInitialSwitchMountsComplete only while g1 is closed, never before the
//   initial-mounts event, at least once once both that event and the close
//   have happened;
// - the same configuration records at the end. Hooks are compared by these
//   rules only: how often a report repeats depends on the order.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <string>
#include <vector>

#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/service/hubstore_service_mounter.h>
#include <hubstore/testing/fake_controller.h>
#include "tools/sim/config_dump.h"

namespace {

using Controller::HubstoreService;

enum Event { prefixA, prefixB, publishStatus, groupStatus, bind, initialMounts, close, eventCount };

constexpr std::array<const char*, eventCount> kEventNames = {
    "prefix /r/a", "prefix /r/b", "publish status", "group status", "bind", "initial mounts", "close"};

// Logs each completion hook with the step it came in, and whether g1 was
// closed at that moment.
class StepMounter : public Controller::HubstoreServiceMounter {
 public:
  struct Call {
    int step;
    bool groupClosed;
  };
  void doMountsComplete(Vex::String, const Vex::Ptr<Mirra::EntityManager>&) override {
    mountsComplete.push_back({step, groupClosed()});
  }
  void doInitialSwitchMountsComplete(Vex::String, const Vex::Ptr<Mirra::EntityManager>&) override {
    initialSwitchMountsComplete.push_back({step, groupClosed()});
  }

  int step = -1;
  HubstoreService* service = nullptr;
  std::vector<Call> mountsComplete;
  std::vector<Call> initialSwitchMountsComplete;

 private:
  bool groupClosed() const {
    auto* group = service ? service->serviceMountGroupRaw("g1") : nullptr;
    return group && group->closed();
  }
};

struct OrderResult {
  std::vector<std::string> violations;
  std::vector<std::string> config;
};

class OrderRun {
 public:
  OrderRun() {
    service_ = controller_.serviceIs("svcA");
    mounter_->service = service_.get();
    versions_ = service_->versionWhiteListIs("v");
    versions_->allowedVersionIs(1, true);
    group_ = service_->serviceMountGroupIs("g1", mounter_);
    group_->controllerMountIs("/r/a", "/db/a", "T", "F");
    group_->controllerMountIs("/r/b", "/db/b", "T", "F");
    group_->publishMountIs("/db/p", "/p", "P");
  }
  OrderRun(const OrderRun&) = delete;
  OrderRun& operator=(const OrderRun&) = delete;

  OrderResult run(const std::array<int, eventCount>& order) {
    std::array<int, eventCount> at{};
    for (int step = 0; step < eventCount; ++step) at[order[step]] = step;
    for (int step = 0; step < eventCount; ++step) {
      mounter_->step = step;
      apply(static_cast<Event>(order[step]));
    }
    OrderResult result;
    const int closedAt = std::max(at[close], at[bind]);
    const int completeAt = std::max({at[prefixA], at[prefixB], at[publishStatus], closedAt});
    check(result, mounter_->mountsComplete, "doMountsComplete", completeAt, false);
    check(result, mounter_->initialSwitchMountsComplete, "doInitialSwitchMountsComplete",
          std::max(at[initialMounts], closedAt), true);
    result.config = hubstore::sim::ConfigDump(*controller_.entityManager(), "agentB").lines();
    return result;
  }

 private:
  void apply(Event event) {
    switch (event) {
      case prefixA:
        controller_.mountedPathPrefix("/r/a", "/mnt/a");
        break;
      case prefixB:
        controller_.mountedPathPrefix("/r/b", "/mnt/b");
        break;
      case publishStatus:
        controller_.publishStatus()->publishGroupStatusIs("g1")->publishStatusIs("/db/p");
        break;
      case groupStatus:
        controller_.publishGroupStatus("g1");
        break;
      case bind:
        group_->versionWhiteListIs(versions_);
        if (closeHeld_) group_->closedIs(true);
        break;
      case initialMounts:
        controller_.initialMountsComplete("g1", true);
        break;
      case close:
        if (group_->versionWhiteList()) {
          group_->closedIs(true);
        } else {
          closeHeld_ = true;
        }
        break;
      case eventCount:
        break;
    }
  }

  // No call before step `from`, at least one at or after it; with
  // `whileClosed`, every call saw g1 closed.
  static void check(OrderResult& result, const std::vector<StepMounter::Call>& calls, const char* hook, int from,
                    bool whileClosed) {
    bool late = false;
    for (const StepMounter::Call& call : calls) {
      if (call.step < from) {
        result.violations.push_back(std::string(hook) + " at step " + std::to_string(call.step) + ", before step " +
                                    std::to_string(from));
      }
      if (whileClosed && !call.groupClosed) {
        result.violations.push_back(std::string(hook) + " at step " + std::to_string(call.step) +
                                    " while g1 is open");
      }
      late = late || call.step >= from;
    }
    if (!late) result.violations.push_back(std::string(hook) + " never at or after step " + std::to_string(from));
  }

  Controller::testing::FakeController controller_{"agentB"};
  Vex::Ptr<StepMounter> mounter_ = Vex::make<StepMounter>();
  Vex::Ptr<HubstoreService> service_;
  Vex::Ptr<Controller::VersionWhiteList> versions_;
  Vex::Ptr<Controller::HubstoreServiceMountGroup> group_;
  bool closeHeld_ = false;
};

std::string describe(const std::array<int, eventCount>& order) {
  std::string text;
  for (int event : order) text += std::string(text.empty() ? "" : ", ") + kEventNames[event];
  return text;
}

TEST(CompletionOrders, EveryOrderCompletesOnceItsLastNeededEventArrivesAndEndsInTheSameConfiguration) {
  std::array<int, eventCount> order{};
  std::iota(order.begin(), order.end(), 0);
  std::vector<std::string> firstConfig;
  std::vector<std::string> failures;
  int orders = 0;
  do {
    OrderResult result = OrderRun().run(order);
    ++orders;
    if (firstConfig.empty()) firstConfig = result.config;
    if (result.config != firstConfig) result.violations.push_back("configuration differs from the first order's");
    for (const std::string& violation : result.violations) failures.push_back(describe(order) + ": " + violation);
  } while (std::next_permutation(order.begin(), order.end()));

  EXPECT_EQ(orders, 5040);
  // The configuration must be the completed group's, not an empty one.
  EXPECT_NE(std::find(firstConfig.begin(), firstConfig.end(),
                      "publishConfig.publishGroupConfig[g1].versionFilter = publishConfig.versionFilter[v]"),
            firstConfig.end());
  std::string shown;
  for (std::size_t i = 0; i < failures.size() && i < 10; ++i) shown += failures[i] + "\n";
  EXPECT_TRUE(failures.empty()) << failures.size() << " violations, the first:\n" << shown;

  std::string survivors;
  for (const auto& [type, live] : Vex::liveObjects()) {
    if (live != 0) survivors += type + "=" + std::to_string(live) + " ";
  }
  EXPECT_EQ(survivors, "") << "objects outlived the orders";
}

}  // namespace
