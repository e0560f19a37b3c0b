#pragma once
// bench::Fleet: the fleet the store figures load and read: SWITCHES switches,
// each with GROUPS group statuses, of agent AGENT. Names and keys follow the
// store's key layout, written out here rather than taken from the store, so
// that the loader and the floors check the layout as documented:
//
//   AGENT:mountStatus.systemStatus[00:1c:73:00:00:01]   name 00:1c:73:00:00:01  [g00] mounted ...

#include <string>

namespace bench {

struct Fleet {
  std::string agent;
  int switches;
  int groups;

  long long statuses() const { return static_cast<long long>(switches) * groups; }
  // "00:1c:73:00:00:01": switch names need no quoting in a key.
  static std::string switchName(int index);
  // "g07"
  static std::string groupName(int index);
  // "AGENT:mountStatus.systemStatus[SWITCH]"
  std::string switchKey(int index) const;
  // "[g07]": a group status's field in its switch's hash.
  static std::string groupField(int index);
};

}  // namespace bench
