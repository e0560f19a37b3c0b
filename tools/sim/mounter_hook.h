#pragma once
// The three hooks of a mounter, as a scenario names them (`mounter M throwing
// HOOK`, `when M HOOK G COMMAND...`). The parser reads the names; the
// recording mounter keys its behaviour by them.

#include <array>
#include <optional>
#include <string_view>

namespace hubstore::sim {

enum class MounterHook { HandleControllerMountState, MountsComplete, InitialSwitchMountsComplete };

inline constexpr std::array<std::string_view, 3> kMounterHookNames = {
    "doHandleControllerMountState", "doMountsComplete", "doInitialSwitchMountsComplete"};

constexpr std::string_view mounterHookName(MounterHook hook) { return kMounterHookNames[static_cast<int>(hook)]; }

constexpr std::optional<MounterHook> mounterHookFromName(std::string_view name) {
  for (std::size_t i = 0; i < kMounterHookNames.size(); ++i) {
    if (kMounterHookNames[i] == name) return static_cast<MounterHook>(i);
  }
  return std::nullopt;
}

}  // namespace hubstore::sim
