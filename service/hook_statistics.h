#pragma once
/// \class Controller::HookStatistics
/// How often the library called each hook of a service's mounters and, while
/// hook timing is on, for how long.
///
///     Controller::HookStatistics::timingIs(true);   // the process's choice
///     ...
///     const auto& hooks = service->hookStatistics();
///     hooks.calls[HookStatistics::mountsComplete];
///
/// The statistics of a service live as long as the process, under its name:
/// a hook that releases its service still counts, and a service made again
/// under the same name goes on counting where the last one stopped, as a
/// counter that an operator scrapes must. Counting costs an increment per
/// hook; timing two reads of the steady clock (about 40 ns), which is why it
/// is off until a process turns it on.

#include <array>
#include <chrono>
#include <cstdint>

#include <hubstore/foundations/framework/string.h>

namespace Controller {

struct HookStatistics {
  /// The hooks of HubstoreServiceMounter.
  enum Hook { handleControllerMountState, mountsComplete, initialSwitchMountsComplete, hookCount };
  /// The hook's name: "doHandleControllerMountState", "doMountsComplete",
  /// "doInitialSwitchMountsComplete".
  static const char* hookName(Hook hook);

  /// Calls of each hook, thrown out of or not.
  std::array<std::uint64_t, hookCount> calls{};
  /// Seconds spent in each hook by the calls made while timing was on.
  std::array<double, hookCount> seconds{};

  /// The statistics of the service named `serviceName`, made at first use.
  static HookStatistics& of(const Vex::String& serviceName);
  /// Whether hook calls are timed, in the whole process.
  ///@{
  static bool timing() { return timing_; }
  static void timingIs(bool timing) { timing_ = timing; }
  ///@}

 private:
  static inline bool timing_ = false;
};

/// Counts one hook call in `statistics` for as long as it lives: created
/// before the call, it adds the call and, while timing is on, the time until
/// it is destroyed, also when the hook throws.
class HookCall {
 public:
  /// Counts the call of `hook` in `statistics`, which must outlive it.
  HookCall(HookStatistics& statistics, HookStatistics::Hook hook) : statistics_(statistics), hook_(hook) {
    ++statistics.calls[hook];
    if (HookStatistics::timing()) start_ = std::chrono::steady_clock::now();
  }
  /// Adds the time since construction while timing was on then.
  ~HookCall() {
    if (start_ != std::chrono::steady_clock::time_point{}) {
      statistics_.seconds[hook_] += std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }
  }
  /// Not copyable: it counts one call.
  ///@{
  HookCall(const HookCall&) = delete;
  HookCall& operator=(const HookCall&) = delete;
  ///@}

 private:
  HookStatistics& statistics_;
  HookStatistics::Hook hook_;
  std::chrono::steady_clock::time_point start_{};
};

}  // namespace Controller
