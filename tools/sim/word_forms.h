#pragma once
// The forms a scenario word may have to take, and the values of the words
// the parser has checked: BOOL, STATE, N, SYS as an Ethernet address, the
// record TYPE, LEVELS, and NAME=VALUE words.
//
//   if (!isMountState(word)) return "STATE (...)";
//   ... later, running the command: stateArg(c.args[2])

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <hubstore/foundations/records/mount_state.h>
#include "tools/sim/scenario_words.h"

namespace hubstore::sim {

inline constexpr std::string_view kBoolDesc = "BOOL (true or false)";
inline constexpr std::string_view kU32Desc = "a decimal number from 0 to 4294967295";

bool isBool(std::string_view s);
// unknown, mounting, mounted, unmounted or failed
bool isMountState(std::string_view s);
bool isU32(std::string_view s);
// xx:xx:xx:xx:xx:xx, xx-xx-xx-xx-xx-xx or xxxx.xxxx.xxxx; one separator
// throughout.
bool isEthernetAddress(std::string_view s);
// One of the five record types, with or without its namespace, as its
// qualified name; nullopt for any other word.
std::optional<std::string> qualifiedRecordType(std::string_view type);

// NAME=VALUE split at the first unquoted '='.
std::optional<std::pair<std::string, std::string>> splitAssignment(const Word& word);

// The LEVELS of `trace` and --trace=: a comma list of levels 0-9 and ranges
// ("5", "5,7", "0-8"), or "off". Returns the mask with bit L set for each
// level L (0 for off), nullopt when malformed.
std::optional<unsigned> parseTraceLevels(std::string_view text);

// The values of words the parser accepted.
inline bool boolArg(const std::string& word) { return word == "true"; }
inline Controller::MountState stateArg(const std::string& word) { return *Controller::mountStateFromName(word); }
inline std::uint32_t versionArg(const std::string& word) { return static_cast<std::uint32_t>(std::stoul(word)); }

}  // namespace hubstore::sim
