#pragma once
/// \class Controller::testing::World
/// A GoogleTest fixture over the test kit. Each
/// test gets a fake controller holding the records of agent "agentB" (the
/// hosting agent set), a recording mounter whose calls land in `hooks`, and a
/// trace capture that starts with every level off:
///
///     TEST_F(World, GroupCompletesOnceItsMountIsThere) {
///       auto service = serviceIs("svcA");
///       auto group = service->serviceMountGroupIs("g1", mounter);
///       ...
///       controller().mountedPathPrefix("/r", "/db/r");
///       EXPECT_EQ(hooks, (Log{"doMountsComplete g1"}));
///     }
///
/// watch(label, record) logs each change a record reports into `writes`, as
/// "LABEL ATTRIBUTE", to show which records a call wrote and in which order;
/// watchDelAll() stops every watch.
///
/// TearDown releases the controller and proves that no counted object of the
/// library outlived the test. Only this header needs GoogleTest; the rest of
/// the kit does not.

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <hubstore/foundations/framework/notifiee_const.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/testing/fake_controller.h>
#include <hubstore/testing/recording_mounter.h>
#include <hubstore/testing/trace_capture.h>

namespace Controller::testing {

/// Logs "LABEL ATTRIBUTE" for each change its record reports (World::watch).
class ChangeLog : public Vex::PtrInterface::NotifieeConst {
 public:
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType() {
    static const Vex::TypeDescriptor type("Controller::testing::ChangeLog", {});
    return type;
  }
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}
  /// Logs into `log` (not owned; must outlive it) under `label`; unbound.
  ChangeLog(std::string label, Log* log) : label_(std::move(label)), log_(log) {}
  /// Logs the label and the attribute's name (its id when the type does not
  /// describe it).
  void onAttribute(Vex::AttributeId id, const void*) override {
    std::string attribute = std::to_string(id);
    for (const auto& described : notifierBase()->fwkType().attributes()) {
      if (described.id == id) attribute = described.name;
    }
    log_->push_back(label_ + " " + attribute);
  }

 private:
  std::string label_;
  Log* log_;
};

class World : public ::testing::Test {
 protected:
  /// The test's controller.
  FakeController& controller() { return *controller_; }
  /// Starts a service over the controller (FakeController::serviceIs).
  Vex::Ptr<HubstoreService> serviceIs(const char* name) { return controller_->serviceIs(name); }
  /// Enables trace levels, e.g. traceOn("5,7-8"), and forgets earlier lines.
  void traceOn(const char* levels) { trace.levelsIs(levels); }
  /// The trace lines captured, "LEVEL TEXT".
  const std::vector<std::string>& traces() const { return trace.lines(); }
  /// Logs each change `record` reports into `writes`, as "LABEL ATTRIBUTE".
  void watch(std::string label, const Vex::Ptr<const Vex::PtrInterface>& record) {
    const Vex::Ptr<ChangeLog>& log = changeLogs_.emplace_back(Vex::make<ChangeLog>(std::move(label), &writes));
    log->notifierIs(record);
    log->isRegisteredNotifieeIs(true);
    log->hasNotificationActiveIs(true);
  }
  /// Stops every watch.
  void watchDelAll() { changeLogs_.clear(); }

  /// Stops the watches, releases the mounter and the controller, and fails
  /// the test if any counted object is still alive.
  void TearDown() override {
    changeLogs_.clear();
    mounter = nullptr;
    controller_.reset();
    std::string survivors;
    for (const auto& [type, live] : Vex::liveObjects()) {
      if (live != 0) survivors += type + "=" + std::to_string(live) + " ";
    }
    EXPECT_EQ(survivors, "") << "objects outlived the test";
  }

  /// The controller, of agent "agentB"; TearDown releases it.
  std::optional<FakeController> controller_{std::in_place, "agentB"};
  /// The controller's state database and records, by their usual names.
  ///@{
  const Vex::Ptr<Mirra::EntityManager>& em = controller_->entityManager();
  const Vex::Ptr<Hubstore::Status>& hubstoreStatus = controller_->hubstoreStatus();
  const Vex::Ptr<ServiceMountConfig>& mountConfig = controller_->mountConfig();
  const Vex::Ptr<ServiceMountStatus>& mountStatus = controller_->mountStatus();
  const Vex::Ptr<ServicePublishConfig>& publishConfig = controller_->publishConfig();
  const Vex::Ptr<ServicePublishStatus>& publishStatus = controller_->publishStatus();
  ///@}
  /// The hook calls of `mounter` (and of any mounter made to share it).
  Log hooks;
  /// A recording mounter that logs into `hooks`.
  Vex::Ptr<RecordingMounter> mounter = Vex::make<RecordingMounter>(&hooks);
  /// The fixture's trace capture, every level off at the start.
  TraceCapture trace;
  /// What the watched records reported, in order.
  Log writes;

 private:
  std::vector<Vex::Ptr<ChangeLog>> changeLogs_;
};

}  // namespace Controller::testing
