#include <hubstore/service/hook_statistics.h>

#include <map>
#include <string>

namespace Controller {

const char* HookStatistics::hookName(Hook hook) {
  switch (hook) {
    case handleControllerMountState:
      return "doHandleControllerMountState";
    case mountsComplete:
      return "doMountsComplete";
    case initialSwitchMountsComplete:
      return "doInitialSwitchMountsComplete";
    case hookCount:
      break;
  }
  return "";
}

HookStatistics& HookStatistics::of(const Vex::String& serviceName) {
  // A map's values stay where they are: services keep a plain pointer.
  static std::map<std::string, HookStatistics, std::less<>> byService;
  return byService[serviceName.stdString()];
}

}  // namespace Controller
