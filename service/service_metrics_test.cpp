#include <hubstore/service/service_metrics.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <hubstore/testing/world.h>

namespace Controller {
namespace {

class ServiceMetricsTest : public testing::World {
 protected:
  // Service `name`, its counters reset, with a closed group g1 over one mount.
  Vex::Ptr<HubstoreService> declaredServiceIs(const char* name) {
    HookStatistics::of(name) = {};  // the counters outlive services, and runs of this test
    auto service = controller().serviceIs(name);
    const auto group = service->serviceMountGroupIs("g1", mounter);
    group->controllerMountIs("/remote/a", "/db/a", "type", "flags");
    group->versionWhiteListIs(service->versionWhiteListIs("V"));
    group->closedIs(true);
    return service;
  }
  static bool has(const std::string& text, const std::string& line) {
    return text.find(line + "\n") != std::string::npos;
  }
};

TEST_F(ServiceMetricsTest, CountsSwitchesByStateCompletionAndHookCalls) {
  const auto service = declaredServiceIs("metrics_counts");
  controller().systemStatus("00:1c:73:00:00:01", {{"g1", mountStateMounted}});
  controller().systemStatus("00:1c:73:00:00:02", {{"g1", mountStateFailed}});
  controller().mountState("00:1c:73:00:00:02", "g1", mountStateMounting);
  // Statuses of groups not declared, before and after g1 in name order.
  controller().systemStatus("00:1c:73:00:00:03", {{"g0", mountStateMounted}, {"g1", mountStateUnmounted},
                                                  {"g9", mountStateMounted}});
  std::string text = service->metricsText();
  const std::string g1 = "hubstore_group_switches{service=\"metrics_counts\",group=\"g1\",state=";
  EXPECT_TRUE(has(text, g1 + "\"unknown\"} 0\n" + g1 + "\"mounting\"} 1\n" + g1 + "\"mounted\"} 1\n" + g1 +
                            "\"unmounted\"} 1\n" + g1 + "\"failed\"} 0"))
      << text;
  EXPECT_TRUE(has(text, "hubstore_service_switches{service=\"metrics_counts\"} 3"));
  EXPECT_TRUE(has(text, "hubstore_group_complete{service=\"metrics_counts\",group=\"g1\"} 0"));

  controller().mountedPathPrefix("/remote/a", "/switches/a");
  controller().publishGroupStatus("g1");
  controller().initialMountsComplete("g1", true);
  text = service->metricsText();
  EXPECT_TRUE(has(text, "hubstore_group_complete{service=\"metrics_counts\",group=\"g1\"} 1"));
  EXPECT_TRUE(has(text, "hubstore_group_initial_mounts_complete{service=\"metrics_counts\",group=\"g1\"} 1"));
  // Each hook counted under its own name.
  const auto& calls = service->hookStatistics().calls;
  EXPECT_EQ(std::vector<std::uint64_t>(calls.begin(), calls.end()), (std::vector<std::uint64_t>{4, 1, 1}));
}

// A hook that throws, and one that releases the service, still count; while
// timing is on, their time adds up. Counters outlive the service, as an
// operator's scrapes need them to.
TEST_F(ServiceMetricsTest, HooksThatThrowOrReleaseTheServiceAreCountedAndTimed) {
  HookStatistics::timingIs(true);
  auto service = declaredServiceIs("metrics_hooks");
  mounter->onMountState = [] { throw std::runtime_error("hook failed"); };
  EXPECT_THROW(controller().systemStatus("00:1c:73:00:00:01", {{"g1", mountStateFailed}}), std::runtime_error);
  mounter->onMountState = [&service] { service = nullptr; };
  controller().mountState("00:1c:73:00:00:01", "g1", mountStateUnmounted);
  EXPECT_GT(HookStatistics::of("metrics_hooks").seconds[HookStatistics::handleControllerMountState], 0.0);
  HookStatistics::timingIs(false);
  EXPECT_TRUE(has(controller().serviceIs("metrics_hooks")->metricsText(),
                  "hubstore_hook_calls_total{service=\"metrics_hooks\",hook=\"doHandleControllerMountState\"} 2"));
}

}  // namespace
}  // namespace Controller
