// The verbs of the mount machinery: writes to the status records.
#include <hubstore/foundations/records/service_mount_group_status.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/records/service_publish_status.h>

#include "tools/sim/simulated_records.h"
#include "tools/sim/simulator.h"
#include "tools/sim/verb_table.h"
#include "tools/sim/word_forms.h"

namespace hubstore::sim {

using namespace verb_params;

using Controller::SystemStatus;

VerbSection Simulator::machineryVerbs() {
  static const Verb verbs[] = {
      {.name = "systemStatus",
       .words = lastRepeated({SYS, {"G=STATE", Arg::GroupState}}),
       .summary = "a switch's status record appears",
       .details =
           "Adds the status record of switch SYS to the agent's mount status. Each G=STATE word is a group status "
           "that the record holds when it appears. SYS is taken as written: a name that is not an Ethernet address "
           "is the mount machinery's fault, which the library must survive.",
       .example = "systemStatus 00:1c:73:00:00:01 g1=mounting",
       .run =
           [](Simulator& sim, const Command& c) {
             auto status = sim.mountStatusRecord();
             // The switch record arrives already holding its group statuses.
             auto system = SystemStatus::SystemStatusIs(Vex::Name(c.args[0]));
             for (const auto& [group, state] : c.fields) {
               system->serviceMountGroupStatusIs(Vex::Name(group), stateArg(state));
             }
             sim.switchTouched(c.args[0]);
             status->systemStatusIs(system);
           },
       .writes = Writes::status,
       .hookMayRun = true},
      {.name = "systemStatusDel",
       .words = fixed({SYS}),
       .summary = "a switch's status record goes",
       .details = "Removes the status record of switch SYS from the agent's mount status, as when the switch leaves.",
       .example = "systemStatusDel 00:1c:73:00:00:01",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.systemStatusRecord(c.args[0]);
             sim.switchTouched(c.args[0]);
             sim.mountStatusRecord()->systemStatusDel(Vex::Name(c.args[0]));
           },
       .writes = Writes::status,
       .hookMayRun = true},
      {.name = "serviceMountGroupStatus",
       .words = lastOptional({SYS, G, {"STATE", Arg::State}}),
       .summary = "a switch starts reporting on group G",
       .details =
           "Adds the status of group G to the record of switch SYS, in STATE (unknown when not given). A STATE is "
           "one of unknown, mounting, mounted, unmounted, failed.",
       .example = "serviceMountGroupStatus 00:1c:73:00:00:01 g1 mounting",
       .run =
           [](Simulator& sim, const Command& c) {
             const auto state = c.args.size() > 2 ? stateArg(c.args[2]) : Controller::mountStateUnknown;
             auto system = sim.systemStatusRecord(c.args[0]);
             sim.switchTouched(c.args[0]);
             system->serviceMountGroupStatusIs(Vex::Name(c.args[1]), state);
           },
       .writes = Writes::status,
       .hookMayRun = true},
      {.name = "serviceMountGroupStatusDel",
       .words = fixed({SYS, G}),
       .summary = "a switch stops reporting on group G",
       .details = "Removes the status of group G from the record of switch SYS.",
       .example = "serviceMountGroupStatusDel 00:1c:73:00:00:01 g1",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.mountGroupStatusRecord(c.args[0], c.args[1]);
             sim.switchTouched(c.args[0]);
             sim.systemStatusRecord(c.args[0])->serviceMountGroupStatusDel(Vex::Name(c.args[1]));
           },
       .writes = Writes::status,
       .hookMayRun = true},
      {.name = "mountState",
       .words = fixed({SYS, G, {"STATE", Arg::State}}),
       .summary = "a switch's mount state for group G changes",
       .details =
           "Sets the mount state of the existing status of group G in the record of switch SYS. Like every status "
           "write, writing the state it already holds changes nothing and notifies no one.",
       .example = "mountState 00:1c:73:00:00:01 g1 mounted",
       .run =
           [](Simulator& sim, const Command& c) {
             // Held for the call: a hook may remove the group status.
             const auto group = sim.mountGroupStatusRecord(c.args[0], c.args[1]);
             sim.switchTouched(c.args[0]);
             group->mountStateIs(stateArg(c.args[2]));
           },
       .writes = Writes::status,
       .hookMayRun = true},
      {.name = "initialMountsComplete",
       .words = fixed({G, BOOL}),
       .summary = "say whether G's initial mounts are done",
       .details =
           "Sets the mount status's `initialMountsComplete` entry of group G: true once the switches have made their "
           "initial mounts of the group.",
       .example = "initialMountsComplete g1 true",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.mountStatusRecord()->initialMountsCompleteIs(Vex::String(c.args[0]), boolArg(c.args[1]));
           },
       .writes = Writes::status,
       .hookMayRun = true},
      {.name = "initialMountsCompleteDel",
       .words = fixed({G}),
       .summary = "remove G's initial-mounts entry",
       .details = "Removes the `initialMountsComplete` entry of group G from the mount status.",
       .example = "initialMountsCompleteDel g1",
       .run = [](Simulator& sim,
                 const Command& c) { sim.mountStatusRecord()->initialMountsCompleteDel(Vex::String(c.args[0])); },
       .writes = Writes::status,
       .hookMayRun = true},
      {.name = "mountedPathPrefix",
       .words = fixed({REMOTE, {"PREFIX"}}),
       .summary = "the controller mount of REMOTE is in place",
       .details =
           "Sets the mount status's `mountedPathPrefix` entry of REMOTE: the controller mount of that remote path "
           "has landed under PREFIX. A group's controller mounts are complete when each has its entry.",
       .example = "mountedPathPrefix /interfaces /mnt/00:1c:73:00:00:01",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.mountStatusRecord()->mountedPathPrefixIs(Vex::Name(c.args[0]), Vex::String(c.args[1]));
           },
       .writes = Writes::status,
       .hookMayRun = true},
      {.name = "mountedPathPrefixDel",
       .words = fixed({REMOTE}),
       .summary = "the controller mount of REMOTE is gone",
       .details = "Removes the `mountedPathPrefix` entry of REMOTE from the mount status.",
       .example = "mountedPathPrefixDel /interfaces",
       .run = [](Simulator& sim,
                 const Command& c) { sim.mountStatusRecord()->mountedPathPrefixDel(Vex::Name(c.args[0])); },
       .writes = Writes::status,
       .hookMayRun = true},
      {.name = "publishGroupStatus",
       .words = fixed({G}),
       .summary = "group G's publish status appears",
       .details =
           "Adds the publish status of group G to the agent's publish status record; `publishStatus` then reports "
           "the group's published paths in it.",
       .example = "publishGroupStatus g1",
       .run = [](Simulator& sim,
                 const Command& c) { sim.publishStatusRecord()->publishGroupStatusIs(Vex::Name(c.args[0])); },
       .writes = Writes::status,
       .hookMayRun = true},
      {.name = "publishGroupStatusDel",
       .words = fixed({G}),
       .summary = "group G's publish status goes",
       .details = "Removes the publish status of group G, with the paths it reported.",
       .example = "publishGroupStatusDel g1",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.publishGroupStatusRecord(c.args[0]);
             sim.publishStatusRecord()->publishGroupStatusDel(Vex::Name(c.args[0]));
           },
       .writes = Writes::status,
       .hookMayRun = true},
      {.name = "publishStatus",
       .words = fixed({G, H}),
       .summary = "HUBSTOREPATH of group G is published",
       .details =
           "Adds HUBSTOREPATH to the existing publish status of group G: its publication has reached the switches. "
           "A group's publications are complete when each of its publish mounts is there.",
       .example = "publishStatus g1 /db/routes",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.publishGroupStatusRecord(c.args[0])->publishStatusIs(Vex::Name(c.args[1]));
           },
       .writes = Writes::status,
       .hookMayRun = true},
      {.name = "publishStatusDel",
       .words = fixed({G, H}),
       .summary = "HUBSTOREPATH of group G is no longer published",
       .details = "Removes HUBSTOREPATH from the publish status of group G.",
       .example = "publishStatusDel g1 /db/routes",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.publishGroupStatusRecord(c.args[0])->publishStatusDel(Vex::Name(c.args[1]));
           },
       .writes = Writes::status,
       .hookMayRun = true},
  };
  return {"The mount machinery: status records", verbs};
}

}  // namespace hubstore::sim
