#include "tools/sim/trace_environment.h"

#include <hubstore/foundations/framework/trace.h>

namespace hubstore::sim {

std::optional<std::string> traceEnvironmentProblem(const char* value, std::string_view facility) {
  if (!value) return std::nullopt;
  std::string ignored;
  bool applied = false;
  std::string_view items(value);
  while (true) {
    const std::size_t start = items.find_first_not_of(" \t");
    if (start == std::string_view::npos) break;
    items.remove_prefix(start);
    const std::string_view item = items.substr(0, items.find_first_of(" \t"));
    items.remove_prefix(item.size());

    const std::size_t slash = item.find('/');
    const std::string_view itemFacility = item.substr(0, slash);
    std::string why;
    if (slash == std::string_view::npos || itemFacility.empty()) {
      why = "not FACILITY/LEVELS";
    } else if (!Vex::parseTraceLevels(item.substr(slash + 1))) {
      why = "LEVELS is a comma list of levels 0-9 and ranges, or off";
    } else if (itemFacility != facility) {
      why = "no facility " + std::string(itemFacility);
    } else if (applied) {
      why = "an earlier item set " + std::string(facility);
    } else {
      applied = true;
      continue;
    }
    ignored += (ignored.empty() ? "'" : ", '") + std::string(item) + "' (" + why + ")";
  }
  if (ignored.empty()) return std::nullopt;
  return "VEX_TRACE: ignored " + ignored + "; the library's facility is " + std::string(facility) + ", e.g. " +
         std::string(facility) + "/5,7-8";
}

}  // namespace hubstore::sim
