#include <hubstore/testing/recording_mounter.h>

namespace Controller::testing {

const Vex::TypeDescriptor& RecordingMounter::staticType() {
  // The base's operations: invoking one by name calls the override.
  static const Vex::TypeDescriptor type("Controller::testing::RecordingMounter",
                                        HubstoreServiceMounter::staticType().attributes());
  return type;
}

void RecordingMounter::doMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>&) {
  log_->push_back("doMountsComplete " + groupName.stdString());
  if (onMountsComplete) onMountsComplete();
}

void RecordingMounter::doHandleControllerMountState(const SystemId& systemId, Vex::String groupName,
                                                    MountState state, const Vex::Ptr<Mirra::EntityManager>&) {
  log_->push_back("doHandleControllerMountState " + systemId.stringValue().stdString() + " " +
                  groupName.stdString() + " " + mountStateName(state));
  if (onMountState) onMountState();
}

void RecordingMounter::doInitialSwitchMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>&) {
  log_->push_back("doInitialSwitchMountsComplete " + groupName.stdString());
  if (onInitialSwitchMountsComplete) onInitialSwitchMountsComplete();
}

}  // namespace Controller::testing
