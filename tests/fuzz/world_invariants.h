#pragma once
// What must hold of the library between two scenario commands, whatever the
// commands were. Each check returns the violations it found as sentences
// (empty: the invariant holds); the fuzzer aborts on the first, so libFuzzer
// reports the input. What a service close leaves in the configuration
// records is not checked here: close_model_check (tests/model) compares all
// of it with a reference model after every call.
//
//   auto before = GroupPublishKeys::of(*group);
//   group->closedIs(true);
//   for (const std::string& v : groupCloseViolations(before, GroupPublishKeys::of(*group))) ...

#include <set>
#include <string>
#include <vector>

#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/foundations/framework/string.h>
#include <hubstore/service/hubstore_service.h>

namespace hubstore::fuzz {

// Objects of the library that the service owns, directly or not, still alive
// when no service exists. Records, mounters and the world (agent, entity
// manager) are left out: they are not the service's.
std::vector<std::string> serviceObjectsAlive();

// Every counted object still alive, of any type: after the world is gone.
std::vector<std::string> objectsAlive();

// Every live allow-list's two filter records are the members of the
// service's mount and publish configuration under the list's name: the
// records the list mirrors itself into are the ones the switches read.
// Holds as long as nobody else edits the configuration records (`unset`,
// `set ... = none`, `record`, `recordDel` may take a list's records out).
std::vector<std::string> allowListFilterViolations(const Controller::HubstoreService& service);

// What a group's close must do to its publish group configuration, given
// the keys before the close: where the number of publishConfig entries
// differed from the number of publish mounts, exactly the entries without a
// publish mount are gone; where the numbers were equal, nothing is removed,
// even when the keys differ (the close compares counts first, on purpose).
// The same for publishDir against the per-switch publish mounts.
struct GroupPublishKeys {
  std::set<std::string> publishConfig;
  std::set<std::string> publishMount;
  std::set<std::string> publishDir;
  std::set<std::string> perSwitchPublishMount;
  static GroupPublishKeys of(const Controller::HubstoreServiceMountGroup& group);
};
std::vector<std::string> groupCloseViolations(const GroupPublishKeys& before, const GroupPublishKeys& after);

// The configuration records at the agent's paths, dumped, fed line by line to
// `set` into an empty database, and dumped again, give the same lines.
std::vector<std::string> dumpReadBackViolations(Mirra::EntityManager& em, const Vex::String& agentName);

}  // namespace hubstore::fuzz
