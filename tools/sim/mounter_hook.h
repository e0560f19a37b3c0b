#pragma once
// The three hooks of a mounter, as a scenario names them (`mounter M throwing
// HOOK`, `when M HOOK G COMMAND...`). The parser reads the names; the
// recording mounter keys its behaviour by them.

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include <hubstore/foundations/records/mount_state.h>

namespace hubstore::sim {

enum class MounterHook { HandleControllerMountState, MountsComplete, InitialSwitchMountsComplete };

inline constexpr std::array<std::string_view, 3> kMounterHookNames = {
    "doHandleControllerMountState", "doMountsComplete", "doInitialSwitchMountsComplete"};

constexpr std::string_view mounterHookName(MounterHook hook) { return kMounterHookNames[static_cast<int>(hook)]; }

// One call of a recording mounter's hook, as its line prints it.
struct HookCall {
  MounterHook hook;
  std::string mounter;
  std::string group;
  // doHandleControllerMountState only: the SystemId's text form and the state.
  std::string system;
  std::optional<Controller::MountState> state;
};

constexpr std::optional<MounterHook> mounterHookFromName(std::string_view name) {
  for (std::size_t i = 0; i < kMounterHookNames.size(); ++i) {
    if (kMounterHookNames[i] == name) return static_cast<MounterHook>(i);
  }
  return std::nullopt;
}

}  // namespace hubstore::sim
