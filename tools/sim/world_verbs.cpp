// The verbs of the world: the state database and the hosting agent.
#include <hubstore/foundations/platform/agent.h>
#include <hubstore/foundations/records/hubstore_status.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include <hubstore/foundations/records/service_publish_status.h>

#include "tools/sim/config_dump.h"
#include "tools/sim/scenario_forms.h"
#include "tools/sim/simulated_records.h"
#include "tools/sim/simulator.h"
#include "tools/sim/verb_table.h"

namespace hubstore::sim {

using namespace verb_params;

using Controller::ServiceMountStatus;
using Controller::ServicePublishStatus;

namespace {

Vex::Ptr<Vex::Entity> newRecord(const std::string& type, const Vex::Name& name) {
  if (type == "Hubstore::Status") return Hubstore::Status::StatusIs(name);
  if (type == "Controller::ServiceMountConfig") return Controller::ServiceMountConfig::ServiceMountConfigIs(name);
  if (type == "Controller::ServiceMountStatus") return ServiceMountStatus::ServiceMountStatusIs(name);
  if (type == "Controller::ServicePublishConfig") return Controller::ServicePublishConfig::ServicePublishConfigIs(name);
  return ServicePublishStatus::ServicePublishStatusIs(name);
}

}  // namespace

VerbSection Simulator::worldVerbs() {
  static const Verb verbs[] = {
      {.name = "agent",
       .words = fixed({{"NAME"}}),
       .summary = "create the hosting agent",
       .details =
           "Creates the hosting agent named NAME and makes it the process's agent (`globalAgent`). The service finds "
           "its records under this name. A second `agent` replaces the first.",
       .example = "agent agentB",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.agent_ = Mirra::Agent::AgentIs(Vex::String(c.args[0]));
             sim.mountStatusPath_ = Vex::String(mountStatusPath(sim.agent_->name()));
             Controller::globalAgent = sim.agent_.get();
             if (sim.store_) sim.store_->agentIs(c.args[0], *sim.em_);
             sim.everythingTouched();
           }},
      {.name = "records",
       .words = lastOptional({{"leaderGenId=ID", Arg::LeaderGenId}}),
       .summary = "create the current agent's five records",
       .details =
           "Creates the records a service needs, where the library looks for them: the controller status "
           "`controller/status` with leader generation id ID (`gen-1` when not given), the mount and publish "
           "configurations `controller/mount/config/service/AGENT` and `controller/publish/config/service/AGENT`, "
           "and the mount and publish statuses `controller/mount/status/service/AGENT` and "
           "`controller/publish/status/service/AGENT`. Without them `service` fails a library assertion. With "
           "`--store`, a record the state database already holds for the agent stays as it is (another process may "
           "own it, as the mount machinery owns the statuses): only the missing ones are created.",
       .example = "records leaderGenId=gen-2",
       .run =
           [](Simulator& sim, const Command& c) {
             const Vex::String agent = sim.agentName();
             // A record the store holds may be another process's (the mount machinery
             // wrote the statuses before this agent started): it is not replaced.
             const auto placeMissing = [&sim](const Vex::String& path, const Vex::Ptr<Vex::Entity>& record) {
               if (!sim.store_ || !sim.store_->holds(path)) sim.placeRecord(path, record);
             };
             auto status = Hubstore::Status::StatusIs(recordName(kHubstoreStatusPath));
             status->leaderGenIdIs(Vex::String(c.fields.empty() ? std::string("gen-1") : c.fields[0].second));
             placeMissing(Vex::String(kHubstoreStatusPath), status);
             placeMissing(ConfigDump::mountConfigPath(agent),
                          Controller::ServiceMountConfig::ServiceMountConfigIs(agent));
             placeMissing(mountStatusPath(agent), ServiceMountStatus::ServiceMountStatusIs(agent));
             placeMissing(ConfigDump::publishConfigPath(agent),
                          Controller::ServicePublishConfig::ServicePublishConfigIs(agent));
             placeMissing(publishStatusPath(agent), ServicePublishStatus::ServicePublishStatusIs(agent));
             sim.everythingTouched();
           }},
      {.name = "record",
       .words = fixed({{"PATH"}, {"TYPE", Arg::RecordType}}),
       .summary = "create one empty record at PATH",
       .details =
           "Puts an empty record of TYPE at PATH, named after PATH's last component, in place of whatever was there. "
           "TYPE is Hubstore::Status, Controller::ServiceMountConfig, Controller::ServiceMountStatus, "
           "Controller::ServicePublishConfig or Controller::ServicePublishStatus; the namespace may be left out. Use "
           "it for a state database that `records` would not make, such as a record of the wrong type.",
       .example = "record controller/publish/status/service/agentB ServiceMountStatus",
       .run =
           [](Simulator& sim, const Command& c) {
             // The parser put the qualified type name in `scalar`.
             sim.placeRecord(Vex::String(c.args[0]), newRecord(c.scalar, recordName(c.args[0])));
             sim.everythingTouched();
           }},
      {.name = "recordDel",
       .words = fixed({{"PATH"}}),
       .summary = "remove the record at PATH",
       .details = "Takes the record at PATH out of the state database. It is an error when there is none.",
       .example = "recordDel controller/publish/status/service/agentB",
       .run =
           [](Simulator& sim, const Command& c) {
             const Vex::String path(c.args[0]);
             if (!(sim.store_ ? sim.store_->recordDel(path) : sim.em_->entityDel(path)))
               throw ScenarioError("no record at " + c.args[0]);
             sim.everythingTouched();
           }},
      {.name = "leaderGenId",
       .words = fixed({{"ID"}}),
       .summary = "set the controller's leader generation id",
       .details = "Writes ID as the leader generation id of `controller/status`, as a newly elected controller leader "
                  "would.",
       .example = "leaderGenId gen-3",
       .run =
           [](Simulator& sim, const Command& c) {
             recordAt<Hubstore::Status>(*sim.em_, Vex::String(kHubstoreStatusPath), "Hubstore::Status")
                 ->leaderGenIdIs(Vex::String(c.args[0]));
           },
       .writes = Writes::status},
      {.name = "set",
       .words = parsedBy(parseSetOrUnset, "set LHS = VALUE"),
       .summary = "write one configuration value",
       .details = "Writes one value into the agent's configuration records. LHS and VALUE are written as `dump` prints "
                  "them (see Configuration lines), with blanks around the `=`. It lays down what an earlier run of the "
                  "agent left behind, before `service` runs; the lines of a dump, fed back, rebuild the same "
                  "configuration.",
       .example = "set mountConfig.mountGroupConfig[old] = ServiceMountGroupConfig",
       .run = [](Simulator& sim, const Command& c) { ConfigDump(*sim.em_, sim.agentName()).set(c); },
       .writes = Writes::config},
      {.name = "unset",
       .words = parsedBy(parseSetOrUnset, "unset LHS"),
       .summary = "delete one configuration value",
       .details = "Deletes what LHS names (written as in a `dump` line): a record or collection member goes with "
                  "everything under it, a plain value goes back to its initial value.",
       .example = "unset mountConfig.mountGroupConfig[old]",
       .run = [](Simulator& sim, const Command& c) { ConfigDump(*sim.em_, sim.agentName()).unset(c); },
       .writes = Writes::config},
      {.name = "restart",
       .words = fixed({}),
       .summary = "the agent process dies and starts again",
       .details =
           "Ends the agent's process without any cleanup and starts it again. The service and everything it owned "
           "are gone, but no destructor reaches the records: the configuration keeps exactly what it held, and the "
           "status records stay. The agent, its records and its mounters remain; the scenario then creates the "
           "service again, which meets the earlier run's configuration as stale state.",
       .example = "restart",
       .run =
           [](Simulator& sim, const Command&) {
             ConfigDump config(*sim.em_, sim.agentName());
             // A dying process runs no destructor: what the service's teardown does to
             // the records it held is not seen, and the configuration survives as it was.
             const ConfigDump::Snapshot snapshot = config.snapshot();
             {
               Output::Muted muted(sim.out_);
               sim.releaseService();
             }
             config.restore(snapshot);
           },
       .writes = Writes::config},
  };
  return {"The world: the state database and the hosting agent", verbs};
}

}  // namespace hubstore::sim
