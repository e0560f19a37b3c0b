#pragma once
// The simulated agent's hook object: overrides the three mounter hooks and
// prints each call as a transcript line,
//   hook M doHandleControllerMountState SYSID G STATE
//   hook M doMountsComplete G
//   hook M doInitialSwitchMountsComplete G
// where M is the name the scenario gave it and SYSID the system id's text form.

#include <string>

#include "service/hubstore_service_mounter.h"
#include "tools/sim/output.h"

namespace hubstore::sim {

class RecordingMounter : public Controller::HubstoreServiceMounter {
 public:
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const std::string& name() const { return name_; }

  void doMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>& em) override;
  void doHandleControllerMountState(const Controller::SystemId& systemId, Vex::String groupName,
                                    Controller::MountState mountState,
                                    const Vex::Ptr<Mirra::EntityManager>& em) override;
  void doInitialSwitchMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>& em) override;

 protected:
  // `out` must outlive the mounter.
  RecordingMounter(std::string name, Output& out) : name_(std::move(name)), out_(out) {}
  ~RecordingMounter() override = default;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  std::string name_;
  Output& out_;
};

}  // namespace hubstore::sim
