#pragma once
// Where the simulated world keeps its records besides the in-process entity
// manager: hubstore-sim --store puts them in a state database shared with
// other processes. The simulator tells the store of the agent, of the records
// it places and removes, of the side it starts writing, and gives it a turn
// after each command.
//
// A process owns the configuration from its first `service`, `set`, `unset`
// or `restart`, and the status from its first mount machinery command or
// `leaderGenId`; until then it follows what other processes write there.

#include <string>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/string.h>
#include <hubstore/foundations/platform/entity_manager.h>

namespace Controller {
class HubstoreService;
}

namespace hubstore::sim {

class RecordStore {
 public:
  enum class Side { config, status };

  virtual ~RecordStore() = default;
  // `agent NAME`: the agent's records that the store holds are put in `em`.
  // Raises ScenarioError when the store cannot be reached.
  virtual void agentIs(const std::string& name, Mirra::EntityManager& em) = 0;
  virtual void recordIs(const Vex::String& path, const Vex::Ptr<Vex::Entity>& record) = 0;
  virtual bool recordDel(const Vex::String& path) = 0;
  // Whether the record at `path` is the one the store holds for the agent:
  // read from it, or placed through it since. Another process may own it,
  // so `records` leaves it as it is.
  virtual bool holds(const Vex::String& path) const = 0;
  virtual void ownedIs(Side side) = 0;
  // Applies what other processes wrote and sends what this one wrote; a
  // hook's exception leaves it.
  virtual void process() = 0;
  // The store's numbers in the Prometheus text format, after those of
  // `service` when there is one.
  virtual std::string metricsText(const Controller::HubstoreService* service) const = 0;
};

}  // namespace hubstore::sim
