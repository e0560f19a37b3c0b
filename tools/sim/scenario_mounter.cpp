#include "tools/sim/scenario_mounter.h"

#include <hubstore/foundations/framework/exception.h>
#include "tools/sim/scenario_words.h"

namespace hubstore::sim {

const Vex::TypeDescriptor& ScenarioMounter::staticType() {
  // The base's operations: invoking one by name calls the override. The
  // type's name is the scenario language's: a recording mounter, as the
  // library's errors name it in transcripts.
  static const Vex::TypeDescriptor type("hubstore::sim::RecordingMounter",
                                        Controller::HubstoreServiceMounter::staticType().attributes());
  return type;
}

void ScenarioMounter::doMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>&) {
  groupHookCalled(MounterHook::MountsComplete, groupName);
}

void ScenarioMounter::doHandleControllerMountState(const Controller::SystemId& systemId, Vex::String groupName,
                                                    Controller::MountState mountState,
                                                    const Vex::Ptr<Mirra::EntityManager>&) {
  ++switchStateCounts_.at(static_cast<std::size_t>(mountState));
  const bool printed = !counting_ && !out_.quiet() && !out_.muted();
  if (printed || listener_) {
    const std::string system = systemId.stringValue().stdString();
    const std::string group = groupName.stdString();
    if (printed) {
      const std::string state = Controller::mountStateName(mountState);
      const std::string_view hook = mounterHookName(MounterHook::HandleControllerMountState);
      out_.line(LineKind::Hook,
                "hook " + quoteWord(name_) + " " + std::string(hook) + " " + system + " " + quoteWord(group) + " " + state,
                {{"mounter", name_},
                 {"hook", std::string(hook)},
                 {"group", group},
                 {"system", system},
                 {"state", state}});
    }
    if (listener_) listener_({MounterHook::HandleControllerMountState, name_, group, system, mountState});
  }
  act(MounterHook::HandleControllerMountState, groupName);
}

void ScenarioMounter::doInitialSwitchMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>&) {
  groupHookCalled(MounterHook::InitialSwitchMountsComplete, groupName);
}

void ScenarioMounter::actionIs(MounterHook hook, std::string group, std::shared_ptr<const Command> command) {
  actions_.push_back({hook, std::move(group), std::move(command)});
}

void ScenarioMounter::groupHookCalled(MounterHook hook, const Vex::String& groupName) {
  const std::string group = groupName.stdString();
  const std::string name(mounterHookName(hook));
  out_.line(LineKind::Hook, "hook " + quoteWord(name_) + " " + name + " " + quoteWord(group),
            {{"mounter", name_}, {"hook", name}, {"group", group}});
  if (listener_) listener_({hook, name_, group, "", std::nullopt});
  act(hook, groupName);
}

void ScenarioMounter::act(MounterHook hook, const Vex::String& groupName) {
  // A command may change the actions (whenDel): run those there were.
  const std::vector<Action> actions = actions_;
  for (const Action& action : actions) {
    if (action.hook == hook && (action.group == "*" || action.group == groupName.view())) runner_(*action.command);
  }
  if (throwingHook_ == hook) throw Vex::InternalException("hook failed");
}

}  // namespace hubstore::sim
