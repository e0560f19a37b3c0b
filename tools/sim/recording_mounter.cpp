#include "tools/sim/recording_mounter.h"

#include "foundations/exception.h"

namespace hubstore::sim {

const Vex::TypeDescriptor& RecordingMounter::staticType() {
  // The base's operations: invoking one by name calls the override.
  static const Vex::TypeDescriptor type("hubstore::sim::RecordingMounter",
                                        Controller::HubstoreServiceMounter::staticType().attributes());
  return type;
}

void RecordingMounter::doMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>&) {
  hookCalled(MounterHook::MountsComplete, groupName, "hook " + name_ + " doMountsComplete " + groupName.stdString());
}

void RecordingMounter::doHandleControllerMountState(const Controller::SystemId& systemId, Vex::String groupName,
                                                    Controller::MountState mountState,
                                                    const Vex::Ptr<Mirra::EntityManager>&) {
  hookCalled(MounterHook::HandleControllerMountState, groupName,
             "hook " + name_ + " doHandleControllerMountState " + systemId.stringValue().stdString() + " " +
                 groupName.stdString() + " " + Controller::mountStateName(mountState));
}

void RecordingMounter::doInitialSwitchMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>&) {
  hookCalled(MounterHook::InitialSwitchMountsComplete, groupName,
             "hook " + name_ + " doInitialSwitchMountsComplete " + groupName.stdString());
}

void RecordingMounter::actionIs(MounterHook hook, std::string group, std::shared_ptr<const Command> command) {
  actions_.push_back({hook, std::move(group), std::move(command)});
}

void RecordingMounter::hookCalled(MounterHook hook, const Vex::String& groupName, const std::string& line) {
  out_.line(line);
  // A command may change the actions (whenDel): run those there were.
  const std::vector<Action> actions = actions_;
  for (const Action& action : actions) {
    if (action.hook == hook && (action.group == "*" || action.group == groupName.view())) runner_(*action.command);
  }
  if (throwingHook_ == hook) throw Vex::InternalException("hook failed");
}

}  // namespace hubstore::sim
