#include "tools/sim/recording_mounter.h"

#include <hubstore/foundations/framework/exception.h>

namespace hubstore::sim {

const Vex::TypeDescriptor& RecordingMounter::staticType() {
  // The base's operations: invoking one by name calls the override.
  static const Vex::TypeDescriptor type("hubstore::sim::RecordingMounter",
                                        Controller::HubstoreServiceMounter::staticType().attributes());
  return type;
}

void RecordingMounter::doMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>&) {
  hookCalled({MounterHook::MountsComplete, name_, groupName.stdString(), "", std::nullopt});
}

void RecordingMounter::doHandleControllerMountState(const Controller::SystemId& systemId, Vex::String groupName,
                                                    Controller::MountState mountState,
                                                    const Vex::Ptr<Mirra::EntityManager>&) {
  hookCalled({MounterHook::HandleControllerMountState, name_, groupName.stdString(),
              systemId.stringValue().stdString(), mountState});
}

void RecordingMounter::doInitialSwitchMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>&) {
  hookCalled({MounterHook::InitialSwitchMountsComplete, name_, groupName.stdString(), "", std::nullopt});
}

void RecordingMounter::actionIs(MounterHook hook, std::string group, std::shared_ptr<const Command> command) {
  actions_.push_back({hook, std::move(group), std::move(command)});
}

void RecordingMounter::hookCalled(const HookCall& call) {
  // append, not "literal" + string: GCC 12 at -O3 misreads that as an
  // overlapping copy (-Wrestrict).
  std::string line = "hook " + name_ + " " + std::string(mounterHookName(call.hook));
  if (call.state) line.append(" ").append(call.system);
  line.append(" ").append(call.group);
  if (call.state) line.append(" ").append(Controller::mountStateName(*call.state));
  out_.line(line);
  if (listener_) listener_(call);
  // A command may change the actions (whenDel): run those there were.
  const std::vector<Action> actions = actions_;
  for (const Action& action : actions) {
    if (action.hook == call.hook && (action.group == "*" || action.group == call.group)) runner_(*action.command);
  }
  if (throwingHook_ == call.hook) throw Vex::InternalException("hook failed");
}

}  // namespace hubstore::sim
