#pragma once
// Controller::testing::World: a GoogleTest fixture over the test kit. Each
// test gets a fake controller holding the records of agent "agentB" (the
// hosting agent set), a recording mounter whose calls land in `hooks`, and a
// trace capture that starts with every level off:
//
//   TEST_F(World, GroupCompletesOnceItsMountIsThere) {
//     auto service = serviceIs("svcA");
//     auto group = service->serviceMountGroupIs("g1", mounter);
//     ...
//     controller().mountedPathPrefix("/r", "/db/r");
//     EXPECT_EQ(hooks, (Log{"doMountsComplete g1"}));
//   }
//
// TearDown releases the controller and proves that no counted object of the
// library outlived the test. Only this header needs GoogleTest; the rest of
// the kit does not.

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/testing/fake_controller.h>
#include <hubstore/testing/recording_mounter.h>
#include <hubstore/testing/trace_capture.h>

namespace Controller::testing {

class World : public ::testing::Test {
 protected:
  FakeController& controller() { return *controller_; }
  Vex::Ptr<HubstoreService> serviceIs(const char* name) { return controller_->serviceIs(name); }
  // Enables trace levels, e.g. traceOn("5,7-8"), and forgets earlier lines.
  void traceOn(const char* levels) { trace.levelsIs(levels); }
  const std::vector<std::string>& traces() const { return trace.lines(); }

  void TearDown() override {
    mounter = nullptr;
    controller_.reset();
    std::string survivors;
    for (const auto& [type, live] : Vex::liveObjects()) {
      if (live != 0) survivors += type + "=" + std::to_string(live) + " ";
    }
    EXPECT_EQ(survivors, "") << "objects outlived the test";
  }

  std::optional<FakeController> controller_{std::in_place, "agentB"};
  // The controller's records, by their usual names.
  const Vex::Ptr<Mirra::EntityManager>& em = controller_->entityManager();
  const Vex::Ptr<Hubstore::Status>& hubstoreStatus = controller_->hubstoreStatus();
  const Vex::Ptr<ServiceMountConfig>& mountConfig = controller_->mountConfig();
  const Vex::Ptr<ServiceMountStatus>& mountStatus = controller_->mountStatus();
  const Vex::Ptr<ServicePublishConfig>& publishConfig = controller_->publishConfig();
  const Vex::Ptr<ServicePublishStatus>& publishStatus = controller_->publishStatus();
  Log hooks;
  Vex::Ptr<RecordingMounter> mounter = Vex::make<RecordingMounter>(&hooks);
  TraceCapture trace;
};

}  // namespace Controller::testing
