#pragma once
// The hook object that a scenario's `mounter M` creates for the simulated
// agent (the scenario language's "recording mounter"; the project's unit
// tests have a RecordingMounter of their own, which only logs). It overrides
// the three mounter hooks and prints each call as a transcript line,
//   hook M doHandleControllerMountState SYSID G STATE
//   hook M doMountsComplete G
//   hook M doInitialSwitchMountsComplete G
// where M is the name the scenario gave it and SYSID the system id's text form;
// M and G are written as a scenario writes a word (quoteWord).
//
// A counting mounter prints no doHandleControllerMountState line; every
// recording mounter counts those calls by state, for a fleet whose hundreds
// of thousands of state changes are better summed than listed.
//
// A hook may also act. After its line it runs the commands that `when` gave
// it for that hook and group, through the runner that the simulator handed
// over; then, if it is the mounter's throwing hook, it throws
// Vex::InternalException("hook failed"). Whatever leaves the runner (an
// exception of a library call made by the command) leaves the hook.

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <hubstore/service/hubstore_service_mounter.h>
#include "tools/sim/mounter_hook.h"
#include "tools/sim/output.h"
#include "tools/sim/scenario_parser.h"

namespace hubstore::sim {

class ScenarioMounter : public Controller::HubstoreServiceMounter {
 public:
  // Runs one command of the scenario as if it were the next line.
  using CommandRunner = std::function<void(const Command&)>;
  // Hears of each hook call after its line is printed, before its actions.
  using HookListener = std::function<void(const HookCall&)>;

  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const std::string& name() const { return name_; }
  // The doHandleControllerMountState calls so far, by Controller::MountState.
  using StateCounts = std::array<std::uint64_t, 5>;
  const StateCounts& switchStateCounts() const { return switchStateCounts_; }

  void doMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>& em) override;
  void doHandleControllerMountState(const Controller::SystemId& systemId, Vex::String groupName,
                                    Controller::MountState mountState,
                                    const Vex::Ptr<Mirra::EntityManager>& em) override;
  void doInitialSwitchMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>& em) override;

  // From now on each call of `hook` for `group` ("*": for any group) runs
  // `command` after the hook's line, after the actions given before it.
  void actionIs(MounterHook hook, std::string group, std::shared_ptr<const Command> command);
  // Forgets every action. A hook call that is running its actions finishes
  // the ones it started with.
  void actionDelAll() { actions_.clear(); }

 protected:
  // `out` must outlive the mounter; `runner` runs the actions' commands.
  ScenarioMounter(std::string name, Output& out, CommandRunner runner, std::optional<MounterHook> throwingHook,
                   HookListener listener = nullptr, bool counting = false)
      : name_(std::move(name)),
        out_(out),
        runner_(std::move(runner)),
        throwingHook_(throwingHook),
        listener_(std::move(listener)),
        counting_(counting) {}
  ~ScenarioMounter() override = default;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  struct Action {
    MounterHook hook;
    std::string group;
    std::shared_ptr<const Command> command;
  };

  // Prints the line of a hook that names a group and nothing else, then acts.
  void groupHookCalled(MounterHook hook, const Vex::String& groupName);
  // Runs the actions of `hook` for `groupName`, then throws when `hook` is
  // the throwing one.
  void act(MounterHook hook, const Vex::String& groupName);

  std::string name_;
  Output& out_;
  CommandRunner runner_;
  std::optional<MounterHook> throwingHook_;
  HookListener listener_;
  bool counting_;
  StateCounts switchStateCounts_{};
  std::vector<Action> actions_;
};

}  // namespace hubstore::sim
