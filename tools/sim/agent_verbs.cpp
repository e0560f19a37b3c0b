// The verbs of the agent: its calls into the library.
#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/foundations/records/system_id.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>

#include "tools/sim/scenario_mounter.h"
#include "tools/sim/scenario_error.h"
#include "tools/sim/scenario_forms.h"
#include "tools/sim/simulator.h"
#include "tools/sim/timeline.h"
#include "tools/sim/verb_table.h"
#include "tools/sim/word_forms.h"

namespace hubstore::sim {

using namespace verb_params;

VerbSection Simulator::agentVerbs() {
  static const Verb verbs[] = {
      {.name = "mounter",
       .words = parsedBy(parseMounter, "mounter M [default | counting | throwing HOOK]"),
       .summary = "create the hook object M",
       .details =
           "Creates the mounter M, the agent's hook object that groups call. `mounter M` records: it prints each "
           "hook call as a `hook` line and runs the commands `when` gives it. `mounter M default` overrides no "
           "hook, so the library's defaults run (the default doMountsComplete throws). `mounter M throwing HOOK` "
           "records too, and then its HOOK (doHandleControllerMountState, doMountsComplete or "
           "doInitialSwitchMountsComplete) throws Vex::InternalException `hook failed` after its line and its "
           "commands. `mounter M counting` records too but prints no doHandleControllerMountState line, and only "
           "counts those calls for `hookCounts`: a fleet's hundreds of thousands of state changes are summed up, "
           "not listed. Mounters keep their names across `restart`.",
       .example = "mounter m1 throwing doMountsComplete",
       .run =
           [](Simulator& sim, const Command& c) {
             const std::string& name = c.args[0];
             if (sim.mounters_.count(name)) throw ScenarioError("mounter " + name + " exists");
             if (c.args.size() == 2 && c.args[1] == "default") {
               sim.mounters_[name] = Vex::make<Controller::HubstoreServiceMounter>();
             } else {
               // c.hook names the throwing hook of `mounter M throwing HOOK`.
               sim.mounters_[name] = Vex::make<ScenarioMounter>(
                   name, sim.out_, [&sim](const Command& action) { sim.runHookAction(action); }, c.hook,
                   [&sim](const HookCall& call) {
                     if (sim.timeline_) sim.timeline_->hookCalled(call);
                   },
                   c.args.size() == 2 && c.args[1] == "counting");
             }
           },
       .hookMayRun = true},
      {.name = "service",
       .words = fixed({{"NAME"}}),
       .summary = "create the service NAME",
       .details =
           "Calls `HubstoreServiceIs(NAME, em, em)`: the service finds the agent's records and writes its name into "
           "them. There is one service at a time, until `serviceDel` or `restart`. The call is made whatever the "
           "world holds and the library's own checks decide: without an agent or its records it fails an "
           "assertion, and the sim names the scenario line before it.",
       .example = "service inventory",
       .run =
           [](Simulator& sim, const Command& c) {
             if (sim.service_) throw ScenarioError("a service exists (release it with 'serviceDel' first)");
             sim.service_ = Controller::HubstoreService::HubstoreServiceIs(Vex::String(c.args[0]), sim.em_, sim.em_);
           },
       .writes = Writes::config,
       .hookMayRun = true},
      {.name = "serviceDel",
       .words = fixed({}),
       .summary = "release the service",
       .details =
           "Drops the agent's reference to the service, whose destructor runs and takes its groups and allow-lists "
           "with it.",
       .example = "serviceDel",
       .run =
           [](Simulator& sim, const Command&) {
             sim.service();
             sim.releaseService();
           },
       .hookMayRun = true},
      {.name = "closed",
       .words = fixed({BOOL}),
       .summary = "close the service",
       .details = "Calls the service's `closedIs(BOOL)`. Closing says the agent has declared everything: the service "
                  "removes the group configurations and filters that no live group or list owns (what an earlier run "
                  "left) and marks the mount configuration warm.",
       .example = "closed true",
       .run = [](Simulator& sim, const Command& c) { sim.service().closedIs(boolArg(c.args[0])); },
       .hookMayRun = true},
      {.name = "publishMountsSynchronized",
       .words = fixed({BOOL}),
       .summary = "mark the publish configuration ready",
       .details =
           "Calls the service's `publishMountsSynchronizedIs(BOOL)`. Every change of the flag, back to false too, "
           "marks the publish configuration ready.",
       .example = "publishMountsSynchronized true",
       .run = [](Simulator& sim, const Command& c) { sim.service().publishMountsSynchronizedIs(boolArg(c.args[0])); },
       .hookMayRun = true},
      {.name = "reportMountStates",
       .words = fixed({}),
       .summary = "tell the groups the switches' states again",
       .details =
           "Calls the service's `reportMountStates()`: every group status in the mount status whose group is declared "
           "now is reported to its mounter (doHandleControllerMountState), switches and groups in name order. A group "
           "declared after the switches reported hears nothing of their states until one changes; an agent that "
           "starts over a live fleet asks once its groups are declared. Group statuses of groups not declared are "
           "passed over without a trace; a switch whose name is not an Ethernet address is traced at level 5.",
       .example = "reportMountStates",
       .run = [](Simulator& sim, const Command&) { sim.service().reportMountStates(); },
       .hookMayRun = true},
      {.name = "group",
       .words = fixed({G, {"M|none"}}),
       .summary = "declare group G with mounter M",
       .details =
           "Calls `serviceMountGroupIs(G, M)`, with no mounter for `none`; the group creates its mount and publish "
           "group configurations. Declaring the group again with another mounter raises "
           "Vex::MutatorReinstantiatingException.",
       .example = "group g1 m1",
       .run =
           [](Simulator& sim, const Command& c) {
             Controller::HubstoreService& svc = sim.service();
             const auto groupMounter = c.args[1] == "none" ? nullptr : sim.mounter(c.args[1]);
             svc.serviceMountGroupIs(Vex::String(c.args[0]), groupMounter);
           },
       .hookMayRun = true},
      {.name = "groupDel",
       .words = fixed({G}),
       .summary = "delete group G",
       .details = "Calls `serviceMountGroupDel(G)`: the service lets the group go, and the group withdraws its "
                  "configurations.",
       .example = "groupDel g1",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.group(c.args[0]);
             sim.service().serviceMountGroupDel(Vex::String(c.args[0]));
           },
       .hookMayRun = true},
      {.name = "controllerMount",
       .words = fixed({G, REMOTE, H, TYPE, {"FLAGS"}}),
       .summary = "mount REMOTE of every switch into HUBSTOREPATH",
       .details = "Calls the group's `controllerMountIs`: each switch's REMOTE is to be mounted into the controller's "
                  "database at HUBSTOREPATH, with record type TYPE and mount flags FLAGS. The group writes it into its "
                  "mount group configuration.",
       .example = "controllerMount g1 /interfaces /db/interfaces Interface ro",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.group(c.args[0])->controllerMountIs(Vex::Name(c.args[1]), Vex::String(c.args[2]),
                                                     Vex::String(c.args[3]), Vex::String(c.args[4]));
           },
       .hookMayRun = true},
      {.name = "publishMount",
       .words = fixed({G, H, REMOTE, TYPE}),
       .summary = "publish HUBSTOREPATH to every switch",
       .details =
           "Calls the group's `publishMountIs`: the controller's HUBSTOREPATH is to be published to every switch "
           "as REMOTE, with record type TYPE.",
       .example = "publishMount g1 /db/routes /routes Route",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.group(c.args[0])->publishMountIs(Vex::Name(c.args[1]), Vex::String(c.args[2]), Vex::String(c.args[3]));
           },
       .hookMayRun = true},
      {.name = "perSwitchPublishMount",
       .words = fixed({G, H, REMOTE, TYPE}),
       .summary = "publish a directory to each switch",
       .details = "Calls the group's `perSwitchPublishMountIs`: the directory HUBSTOREPATH is to be published to each "
                  "switch as REMOTE, with record type TYPE. See `publishActive`.",
       .example = "perSwitchPublishMount g1 /db/perSwitch /perSwitch Dir",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.group(c.args[0])->perSwitchPublishMountIs(Vex::Name(c.args[1]), Vex::String(c.args[2]),
                                                           Vex::String(c.args[3]));
           },
       .hookMayRun = true},
      {.name = "controllerMountDel",
       .words = fixed({G, REMOTE}),
       .summary = "delete a controller mount of G",
       .details = "Calls the group's `controllerMountDel(REMOTE)`.",
       .example = "controllerMountDel g1 /interfaces",
       .run = [](Simulator& sim, const Command& c) { sim.group(c.args[0])->controllerMountDel(Vex::Name(c.args[1])); },
       .hookMayRun = true},
      {.name = "publishMountDel",
       .words = fixed({G, H}),
       .summary = "delete a publish mount of G",
       .details = "Calls the group's `publishMountDel(HUBSTOREPATH)`.",
       .example = "publishMountDel g1 /db/routes",
       .run = [](Simulator& sim, const Command& c) { sim.group(c.args[0])->publishMountDel(Vex::Name(c.args[1])); },
       .hookMayRun = true},
      {.name = "perSwitchPublishMountDel",
       .words = fixed({G, H}),
       .summary = "delete a per-switch publish mount of G",
       .details = "Calls the group's `perSwitchPublishMountDel(HUBSTOREPATH)`.",
       .example = "perSwitchPublishMountDel g1 /db/perSwitch",
       .run = [](Simulator& sim,
                 const Command& c) { sim.group(c.args[0])->perSwitchPublishMountDel(Vex::Name(c.args[1])); },
       .hookMayRun = true},
      {.name = "controllerMountDelAll",
       .words = fixed({G}),
       .summary = "delete every controller mount of G",
       .details = "Calls the group's `controllerMountDelAll()`.",
       .example = "controllerMountDelAll g1",
       .run = [](Simulator& sim, const Command& c) { sim.group(c.args[0])->controllerMountDelAll(); },
       .hookMayRun = true},
      {.name = "publishMountDelAll",
       .words = fixed({G}),
       .summary = "delete every publish mount of G",
       .details = "Calls the group's `publishMountDelAll()`.",
       .example = "publishMountDelAll g1",
       .run = [](Simulator& sim, const Command& c) { sim.group(c.args[0])->publishMountDelAll(); },
       .hookMayRun = true},
      {.name = "perSwitchPublishMountDelAll",
       .words = fixed({G}),
       .summary = "delete every per-switch publish mount of G",
       .details = "Calls the group's `perSwitchPublishMountDelAll()`.",
       .example = "perSwitchPublishMountDelAll g1",
       .run = [](Simulator& sim, const Command& c) { sim.group(c.args[0])->perSwitchPublishMountDelAll(); },
       .hookMayRun = true},
      {.name = "publishActive",
       .words = fixed({G, H, BOOL}),
       .summary = "set publishActive of a per-switch mount",
       .details =
           "Calls `publishActiveIs(BOOL)` on group G's per-switch publish mount HUBSTOREPATH. A change re-runs the "
           "mount's per-switch handler, which looks at whether the mount exists, not at the flag.",
       .example = "publishActive g1 /db/perSwitch true",
       .run =
           [](Simulator& sim, const Command& c) {
             auto mount = sim.group(c.args[0])->perSwitchPublishMount(Vex::Name(c.args[1]));
             if (!mount) throw ScenarioError("group " + c.args[0] + " has no per-switch publish mount " + c.args[1]);
             mount->publishActiveIs(boolArg(c.args[2]));
           },
       .hookMayRun = true},
      {.name = "groupSwitchWhiteList",
       .words = fixed({G, {"L|none"}}),
       .summary = "bind a switch allow-list to G",
       .details =
           "Calls the group's `switchWhiteListIs` with the service's switch allow-list L, or with none to unbind: "
           "the group's configurations then point at the list's filters.",
       .example = "groupSwitchWhiteList g1 lab",
       .run =
           [](Simulator& sim, const Command& c) {
             auto target = sim.group(c.args[0]);
             target->switchWhiteListIs(c.args[1] == "none" ? nullptr : sim.switchList(c.args[1]));
           },
       .hookMayRun = true},
      {.name = "groupVersionWhiteList",
       .words = fixed({G, {"V|none"}}),
       .summary = "bind a version allow-list to G",
       .details =
           "Calls the group's `versionWhiteListIs` with the service's version allow-list V, or with none to unbind. "
           "A group must have one before it is closed.",
       .example = "groupVersionWhiteList g1 supported",
       .run =
           [](Simulator& sim, const Command& c) {
             auto target = sim.group(c.args[0]);
             target->versionWhiteListIs(c.args[1] == "none" ? nullptr : sim.versionList(c.args[1]));
           },
       .hookMayRun = true},
      {.name = "groupClosed",
       .words = fixed({G, BOOL}),
       .summary = "close group G",
       .details =
           "Calls the group's `closedIs(BOOL)`. Closing says the group's description is final: what an earlier run "
           "left in its configuration goes, and once all its mounts and publications are in, the group calls "
           "doMountsComplete. Closing a group that has no version allow-list fails an assertion.",
       .example = "groupClosed g1 true",
       .run = [](Simulator& sim, const Command& c) { sim.group(c.args[0])->closedIs(boolArg(c.args[1])); },
       .hookMayRun = true},
      {.name = "groupPreserveMountsOnDisconnect",
       .words = fixed({G, BOOL}),
       .summary = "keep G's mounts while a switch is away",
       .details = "Calls the group's `preserveMountsOnDisconnectIs(BOOL)`, which the group copies into its mount group "
                  "configuration. A new group starts with true.",
       .example = "groupPreserveMountsOnDisconnect g1 false",
       .run = [](Simulator& sim,
                 const Command& c) { sim.group(c.args[0])->preserveMountsOnDisconnectIs(boolArg(c.args[1])); },
       .hookMayRun = true},
      {.name = "switchWhiteList",
       .words = fixed({L}),
       .summary = "create switch allow-list L",
       .details = "Calls the service's `switchWhiteListIs(L)`: the list owns a filter named L in both configurations.",
       .example = "switchWhiteList lab",
       .run = [](Simulator& sim, const Command& c) { sim.service().switchWhiteListIs(Vex::String(c.args[0])); },
       .hookMayRun = true},
      {.name = "switchWhiteListDel",
       .words = fixed({L}),
       .summary = "delete switch allow-list L",
       .details = "Calls the service's `switchWhiteListDel(L)`; the list's filters leave both configurations.",
       .example = "switchWhiteListDel lab",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.switchList(c.args[0]);
             sim.service().switchWhiteListDel(Vex::String(c.args[0]));
           },
       .hookMayRun = true},
      {.name = "allowedSwitch",
       .words = fixed({L, {"SYS", Arg::EthernetAddress}, BOOL}),
       .summary = "allow (true) or refuse (false) a switch",
       .details = "Calls `allowedSwitchIs(SYS, BOOL)` on switch allow-list L. SYS is an Ethernet address, written "
                  "xx:xx:xx:xx:xx:xx, xx-xx-xx-xx-xx-xx or xxxx.xxxx.xxxx. An allowed switch is in the list's filters; "
                  "false keeps the entry and takes the switch out of them.",
       .example = "allowedSwitch lab 00:1c:73:00:00:01 true",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.switchList(c.args[0])->allowedSwitchIs(Controller::SystemId::fromString(c.args[1]),
                                                        boolArg(c.args[2]));
           },
       .hookMayRun = true},
      {.name = "allowedSwitchDel",
       .words = fixed({L, {"SYS", Arg::EthernetAddress}}),
       .summary = "remove a switch's entry from L",
       .details = "Calls `allowedSwitchDel(SYS)` on switch allow-list L.",
       .example = "allowedSwitchDel lab 00:1c:73:00:00:01",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.switchList(c.args[0])->allowedSwitchDel(Controller::SystemId::fromString(c.args[1]));
           },
       .hookMayRun = true},
      {.name = "allowedSwitchDelAll",
       .words = fixed({L}),
       .summary = "remove every entry of L",
       .details = "Calls `allowedSwitchDelAll()` on switch allow-list L.",
       .example = "allowedSwitchDelAll lab",
       .run = [](Simulator& sim, const Command& c) { sim.switchList(c.args[0])->allowedSwitchDelAll(); },
       .hookMayRun = true},
      {.name = "versionWhiteList",
       .words = fixed({V}),
       .summary = "create version allow-list V",
       .details = "Calls the service's `versionWhiteListIs(V)`: the list owns a filter named V in both configurations.",
       .example = "versionWhiteList supported",
       .run = [](Simulator& sim, const Command& c) { sim.service().versionWhiteListIs(Vex::String(c.args[0])); },
       .hookMayRun = true},
      {.name = "versionWhiteListDel",
       .words = fixed({V}),
       .summary = "delete version allow-list V",
       .details = "Calls the service's `versionWhiteListDel(V)`; the list's filters leave both configurations.",
       .example = "versionWhiteListDel supported",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.versionList(c.args[0]);
             sim.service().versionWhiteListDel(Vex::String(c.args[0]));
           },
       .hookMayRun = true},
      {.name = "allowedVersion",
       .words = fixed({V, {"N", Arg::U32}, BOOL}),
       .summary = "allow (true) or refuse (false) a version",
       .details = "Calls `allowedVersionIs(N, BOOL)` on version allow-list V, where N is a service version from 0 to "
                  "4294967295. An allowed version is in the list's filters.",
       .example = "allowedVersion supported 2 true",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.versionList(c.args[0])->allowedVersionIs(versionArg(c.args[1]), boolArg(c.args[2]));
           },
       .hookMayRun = true},
      {.name = "allowedVersionDel",
       .words = fixed({V, {"N", Arg::U32}}),
       .summary = "remove a version's entry from V",
       .details = "Calls `allowedVersionDel(N)` on version allow-list V.",
       .example = "allowedVersionDel supported 2",
       .run = [](Simulator& sim,
                 const Command& c) { sim.versionList(c.args[0])->allowedVersionDel(versionArg(c.args[1])); },
       .hookMayRun = true},
      {.name = "allowedVersionDelAll",
       .words = fixed({V}),
       .summary = "remove every entry of V",
       .details = "Calls `allowedVersionDelAll()` on version allow-list V.",
       .example = "allowedVersionDelAll supported",
       .run = [](Simulator& sim, const Command& c) { sim.versionList(c.args[0])->allowedVersionDelAll(); },
       .hookMayRun = true},
  };
  return {"The agent: calls into the library", verbs};
}

}  // namespace hubstore::sim
