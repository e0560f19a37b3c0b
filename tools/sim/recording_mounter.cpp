#include "tools/sim/recording_mounter.h"

namespace hubstore::sim {

const Vex::TypeDescriptor& RecordingMounter::staticType() {
  // The base's operations: invoking one by name calls the override.
  static const Vex::TypeDescriptor type("hubstore::sim::RecordingMounter",
                                        Controller::HubstoreServiceMounter::staticType().attributes());
  return type;
}

void RecordingMounter::doMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>&) {
  out_.line("hook " + name_ + " doMountsComplete " + groupName.stdString());
}

void RecordingMounter::doHandleControllerMountState(const Controller::SystemId& systemId, Vex::String groupName,
                                                    Controller::MountState mountState,
                                                    const Vex::Ptr<Mirra::EntityManager>&) {
  out_.line("hook " + name_ + " doHandleControllerMountState " + systemId.stringValue().stdString() + " " +
            groupName.stdString() + " " + Controller::mountStateName(mountState));
}

void RecordingMounter::doInitialSwitchMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>&) {
  out_.line("hook " + name_ + " doInitialSwitchMountsComplete " + groupName.stdString());
}

}  // namespace hubstore::sim
