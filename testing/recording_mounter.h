#pragma once
/// \class Controller::testing::RecordingMounter
/// A mounter that logs each hook call
/// as one line, "HOOK ARGS", and can be told to act inside a hook:
///
///     auto mounter = Vex::make<RecordingMounter>();
///     service->serviceMountGroupIs("g1", mounter);
///     ...
///     EXPECT_EQ(mounter->calls(), (Log{"doHandleControllerMountState 00:1c:73:00:00:01 g1 mounted",
///                                      "doMountsComplete g1"}));
///     mounter->onMountsComplete = [&] { service = nullptr; };  // a hook may release anything
///
/// Several mounters may share one log (pass it to the constructor), so a test
/// sees the calls of all of them in the order they happened.

#include <functional>
#include <string>
#include <vector>

#include <hubstore/service/hubstore_service_mounter.h>

namespace Controller::testing {

/// A log of hook calls, one line each: "HOOK ARGS".
using Log = std::vector<std::string>;

class RecordingMounter : public HubstoreServiceMounter {
 public:
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// Logs into its own log, or into `shared` (not owned; must outlive it).
  explicit RecordingMounter(Log* shared = nullptr) : log_(shared ? shared : &own_) {}

  /// The log it writes to (the shared one, if it was given one).
  const Log& calls() const { return *log_; }
  /// Empties that log.
  void callsDelAll() { log_->clear(); }

  /// The hooks: each logs its line, e.g. "doHandleControllerMountState
  /// 00:1c:73:00:00:01 g1 mounted" or "doMountsComplete g1", then runs its
  /// action, if one is set.
  ///@{
  void doMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>& em) override;
  void doHandleControllerMountState(const SystemId& systemId, Vex::String groupName, MountState state,
                                    const Vex::Ptr<Mirra::EntityManager>& em) override;
  void doInitialSwitchMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>& em) override;
  ///@}

  /// Run inside the hook, after its line is logged; each may release or throw
  /// anything.
  ///@{
  std::function<void()> onMountsComplete;
  std::function<void()> onMountState;
  std::function<void()> onInitialSwitchMountsComplete;
  ///@}

 private:
  Log own_;
  Log* log_;
};

}  // namespace Controller::testing
