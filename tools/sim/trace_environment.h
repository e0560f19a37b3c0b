#pragma once
// VEX_TRACE as the library reads it at start-up: blank-separated items
// FACILITY/LEVELS. The library applies the first well-formed item of each
// facility and passes over the rest without a word; the sim, where a newcomer
// sets it by hand, says what was passed over.
//
//   if (auto problem = traceEnvironmentProblem(std::getenv("VEX_TRACE"), "Ferrolink"))
//     std::fprintf(stderr, "hubstore-sim: %s\n", problem->c_str());

#include <optional>
#include <string>
#include <string_view>

namespace hubstore::sim {

// One message naming every item of `value` that enables nothing in a process
// whose one facility is `facility`: a malformed item, one of another
// facility, a second one of `facility`. nullopt when there is none or when
// `value` is null.
std::optional<std::string> traceEnvironmentProblem(const char* value, std::string_view facility);

}  // namespace hubstore::sim
