#pragma once
// Where the simulated world keeps the agent's records, and how the simulator
// reaches them: the paths the library looks them up at, and typed look-ups
// that raise ScenarioError when a scenario named what is not there.

#include <string>
#include <string_view>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/string.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include "tools/sim/scenario_error.h"

namespace hubstore::sim {

inline constexpr std::string_view kHubstoreStatusPath = "controller/status";

inline std::string mountStatusPath(const Vex::String& agent) {
  return "controller/mount/status/service/" + agent.stdString();
}
inline std::string publishStatusPath(const Vex::String& agent) {
  return "controller/publish/status/service/" + agent.stdString();
}

// A record is named by the last component of its path.
inline Vex::Name recordName(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return Vex::Name(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

template <class Record>
Vex::Ptr<Record> recordAt(const Mirra::EntityManager& em, const Vex::String& path, std::string_view type) {
  auto record = Vex::ptr_cast<Record>(em.getEntity(path));
  if (!record) throw ScenarioError("no " + std::string(type) + " at " + path.stdString());
  return record;
}

// A member that a record's collection hands out const, made writable: the
// mount machinery owns the status records and writes them through their
// setters. One lookup where a check and a writable lookup (`...Is(name)`,
// which returns an existing member as it is) would be two, on the path that a
// fleet's every state change takes.
template <class Record>
Vex::Ptr<Record> writable(const Record* member) {
  return Vex::Ptr<Record>(const_cast<Record*>(member));
}

}  // namespace hubstore::sim
