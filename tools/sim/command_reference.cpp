#include "tools/sim/command_reference.h"

#include <algorithm>

#include "tools/sim/scenario_parser.h"

namespace hubstore::sim {
namespace {

constexpr CommandEntry kWorld[] = {
    {"agent", "create the hosting agent",
     "Creates the hosting agent named NAME and makes it the process's agent (`globalAgent`). The service finds "
     "its records under this name. A second `agent` replaces the first.",
     "agent agentB"},
    {"records", "create the current agent's five records",
     "Creates the records a service needs, where the library looks for them: the controller status "
     "`controller/status` with leader generation id ID (`gen-1` when not given), the mount and publish "
     "configurations `controller/mount/config/service/AGENT` and `controller/publish/config/service/AGENT`, "
     "and the mount and publish statuses `controller/mount/status/service/AGENT` and "
     "`controller/publish/status/service/AGENT`. Without them `service` fails a library assertion. With "
     "`--store`, a record the state database already holds for the agent stays as it is (another process may "
     "own it, as the mount machinery owns the statuses): only the missing ones are created.",
     "records leaderGenId=gen-2"},
    {"record", "create one empty record at PATH",
     "Puts an empty record of TYPE at PATH, named after PATH's last component, in place of whatever was there. "
     "TYPE is Hubstore::Status, Controller::ServiceMountConfig, Controller::ServiceMountStatus, "
     "Controller::ServicePublishConfig or Controller::ServicePublishStatus; the namespace may be left out. Use "
     "it for a state database that `records` would not make, such as a record of the wrong type.",
     "record controller/publish/status/service/agentB ServiceMountStatus"},
    {"recordDel", "remove the record at PATH",
     "Takes the record at PATH out of the state database. It is an error when there is none.",
     "recordDel controller/publish/status/service/agentB"},
    {"leaderGenId", "set the controller's leader generation id",
     "Writes ID as the leader generation id of `controller/status`, as a newly elected controller leader "
     "would.",
     "leaderGenId gen-3"},
    {"set", "write one configuration value",
     "Writes one value into the agent's configuration records. LHS and VALUE are written as `dump` prints "
     "them (see Configuration lines), with blanks around the `=`. It lays down what an earlier run of the "
     "agent left behind, before `service` runs; the lines of a dump, fed back, rebuild the same "
     "configuration.",
     "set mountConfig.mountGroupConfig[old] = ServiceMountGroupConfig"},
    {"unset", "delete one configuration value",
     "Deletes what LHS names (written as in a `dump` line): a record or collection member goes with "
     "everything under it, a plain value goes back to its initial value.",
     "unset mountConfig.mountGroupConfig[old]"},
    {"restart", "the agent process dies and starts again",
     "Ends the agent's process without any cleanup and starts it again. The service and everything it owned "
     "are gone, but no destructor reaches the records: the configuration keeps exactly what it held, and the "
     "status records stay. The agent, its records and its mounters remain; the scenario then creates the "
     "service again, which meets the earlier run's configuration as stale state.",
     "restart"},
};

constexpr CommandEntry kMountMachinery[] = {
    {"systemStatus", "a switch's status record appears",
     "Adds the status record of switch SYS to the agent's mount status. Each G=STATE word is a group status "
     "that the record holds when it appears. SYS is taken as written: a name that is not an Ethernet address "
     "is the mount machinery's fault, which the library must survive.",
     "systemStatus 00:1c:73:00:00:01 g1=mounting"},
    {"systemStatusDel", "a switch's status record goes",
     "Removes the status record of switch SYS from the agent's mount status, as when the switch leaves.",
     "systemStatusDel 00:1c:73:00:00:01"},
    {"serviceMountGroupStatus", "a switch starts reporting on group G",
     "Adds the status of group G to the record of switch SYS, in STATE (unknown when not given). A STATE is "
     "one of unknown, mounting, mounted, unmounted, failed.",
     "serviceMountGroupStatus 00:1c:73:00:00:01 g1 mounting"},
    {"serviceMountGroupStatusDel", "a switch stops reporting on group G",
     "Removes the status of group G from the record of switch SYS.",
     "serviceMountGroupStatusDel 00:1c:73:00:00:01 g1"},
    {"mountState", "a switch's mount state for group G changes",
     "Sets the mount state of the existing status of group G in the record of switch SYS. Like every status "
     "write, writing the state it already holds changes nothing and notifies no one.",
     "mountState 00:1c:73:00:00:01 g1 mounted"},
    {"initialMountsComplete", "say whether G's initial mounts are done",
     "Sets the mount status's `initialMountsComplete` entry of group G: true once the switches have made their "
     "initial mounts of the group.",
     "initialMountsComplete g1 true"},
    {"initialMountsCompleteDel", "remove G's initial-mounts entry",
     "Removes the `initialMountsComplete` entry of group G from the mount status.",
     "initialMountsCompleteDel g1"},
    {"mountedPathPrefix", "the controller mount of REMOTE is in place",
     "Sets the mount status's `mountedPathPrefix` entry of REMOTE: the controller mount of that remote path "
     "has landed under PREFIX. A group's controller mounts are complete when each has its entry.",
     "mountedPathPrefix /interfaces /mnt/00:1c:73:00:00:01"},
    {"mountedPathPrefixDel", "the controller mount of REMOTE is gone",
     "Removes the `mountedPathPrefix` entry of REMOTE from the mount status.",
     "mountedPathPrefixDel /interfaces"},
    {"publishGroupStatus", "group G's publish status appears",
     "Adds the publish status of group G to the agent's publish status record; `publishStatus` then reports "
     "the group's published paths in it.",
     "publishGroupStatus g1"},
    {"publishGroupStatusDel", "group G's publish status goes",
     "Removes the publish status of group G, with the paths it reported.",
     "publishGroupStatusDel g1"},
    {"publishStatus", "HUBSTOREPATH of group G is published",
     "Adds HUBSTOREPATH to the existing publish status of group G: its publication has reached the switches. "
     "A group's publications are complete when each of its publish mounts is there.",
     "publishStatus g1 /db/routes"},
    {"publishStatusDel", "HUBSTOREPATH of group G is no longer published",
     "Removes HUBSTOREPATH from the publish status of group G.",
     "publishStatusDel g1 /db/routes"},
};

constexpr CommandEntry kAgent[] = {
    {"mounter", "create the hook object M",
     "Creates the mounter M, the agent's hook object that groups call. `mounter M` records: it prints each "
     "hook call as a `hook` line and runs the commands `when` gives it. `mounter M default` overrides no "
     "hook, so the library's defaults run (the default doMountsComplete throws). `mounter M throwing HOOK` "
     "records too, and then its HOOK (doHandleControllerMountState, doMountsComplete or "
     "doInitialSwitchMountsComplete) throws Vex::InternalException `hook failed` after its line and its "
     "commands. `mounter M counting` records too but prints no doHandleControllerMountState line, and only "
     "counts those calls for `hookCounts`: a fleet's hundreds of thousands of state changes are summed up, "
     "not listed. Mounters keep their names across `restart`.",
     "mounter m1 throwing doMountsComplete"},
    {"service", "create the service NAME",
     "Calls `HubstoreServiceIs(NAME, em, em)`: the service finds the agent's records and writes its name into "
     "them. There is one service at a time, until `serviceDel` or `restart`. The call is made whatever the "
     "world holds and the library's own checks decide: without an agent or its records it fails an "
     "assertion, and the sim names the scenario line before it.",
     "service inventory"},
    {"serviceDel", "release the service",
     "Drops the agent's reference to the service, whose destructor runs and takes its groups and allow-lists "
     "with it.",
     "serviceDel"},
    {"closed", "close the service",
     "Calls the service's `closedIs(BOOL)`. Closing says the agent has declared everything: the service "
     "removes the group configurations and filters that no live group or list owns (what an earlier run "
     "left) and marks the mount configuration warm.",
     "closed true"},
    {"publishMountsSynchronized", "mark the publish configuration ready",
     "Calls the service's `publishMountsSynchronizedIs(BOOL)`. Every change of the flag, back to false too, "
     "marks the publish configuration ready.",
     "publishMountsSynchronized true"},
    {"reportMountStates", "tell the groups the switches' states again",
     "Calls the service's `reportMountStates()`: every group status in the mount status whose group is declared "
     "now is reported to its mounter (doHandleControllerMountState), switches and groups in name order. A group "
     "declared after the switches reported hears nothing of their states until one changes; an agent that "
     "starts over a live fleet asks once its groups are declared. Group statuses of groups not declared are "
     "passed over without a trace; a switch whose name is not an Ethernet address is traced at level 5.",
     "reportMountStates"},
    {"group", "declare group G with mounter M",
     "Calls `serviceMountGroupIs(G, M)`, with no mounter for `none`; the group creates its mount and publish "
     "group configurations. Declaring the group again with another mounter raises "
     "Vex::MutatorReinstantiatingException.",
     "group g1 m1"},
    {"groupDel", "delete group G",
     "Calls `serviceMountGroupDel(G)`: the service lets the group go, and the group withdraws its "
     "configurations.",
     "groupDel g1"},
    {"controllerMount", "mount REMOTE of every switch into HUBSTOREPATH",
     "Calls the group's `controllerMountIs`: each switch's REMOTE is to be mounted into the controller's "
     "database at HUBSTOREPATH, with record type TYPE and mount flags FLAGS. The group writes it into its "
     "mount group configuration.",
     "controllerMount g1 /interfaces /db/interfaces Interface ro"},
    {"publishMount", "publish HUBSTOREPATH to every switch",
     "Calls the group's `publishMountIs`: the controller's HUBSTOREPATH is to be published to every switch "
     "as REMOTE, with record type TYPE.",
     "publishMount g1 /db/routes /routes Route"},
    {"perSwitchPublishMount", "publish a directory to each switch",
     "Calls the group's `perSwitchPublishMountIs`: the directory HUBSTOREPATH is to be published to each "
     "switch as REMOTE, with record type TYPE. See `publishActive`.",
     "perSwitchPublishMount g1 /db/perSwitch /perSwitch Dir"},
    {"controllerMountDel", "delete a controller mount of G",
     "Calls the group's `controllerMountDel(REMOTE)`.", "controllerMountDel g1 /interfaces"},
    {"publishMountDel", "delete a publish mount of G",
     "Calls the group's `publishMountDel(HUBSTOREPATH)`.", "publishMountDel g1 /db/routes"},
    {"perSwitchPublishMountDel", "delete a per-switch publish mount of G",
     "Calls the group's `perSwitchPublishMountDel(HUBSTOREPATH)`.", "perSwitchPublishMountDel g1 /db/perSwitch"},
    {"controllerMountDelAll", "delete every controller mount of G",
     "Calls the group's `controllerMountDelAll()`.", "controllerMountDelAll g1"},
    {"publishMountDelAll", "delete every publish mount of G", "Calls the group's `publishMountDelAll()`.",
     "publishMountDelAll g1"},
    {"perSwitchPublishMountDelAll", "delete every per-switch publish mount of G",
     "Calls the group's `perSwitchPublishMountDelAll()`.", "perSwitchPublishMountDelAll g1"},
    {"publishActive", "set publishActive of a per-switch mount",
     "Calls `publishActiveIs(BOOL)` on group G's per-switch publish mount HUBSTOREPATH. A change re-runs the "
     "mount's per-switch handler, which looks at whether the mount exists, not at the flag.",
     "publishActive g1 /db/perSwitch true"},
    {"groupSwitchWhiteList", "bind a switch allow-list to G",
     "Calls the group's `switchWhiteListIs` with the service's switch allow-list L, or with none to unbind: "
     "the group's configurations then point at the list's filters.",
     "groupSwitchWhiteList g1 lab"},
    {"groupVersionWhiteList", "bind a version allow-list to G",
     "Calls the group's `versionWhiteListIs` with the service's version allow-list V, or with none to unbind. "
     "A group must have one before it is closed.",
     "groupVersionWhiteList g1 supported"},
    {"groupClosed", "close group G",
     "Calls the group's `closedIs(BOOL)`. Closing says the group's description is final: what an earlier run "
     "left in its configuration goes, and once all its mounts and publications are in, the group calls "
     "doMountsComplete. Closing a group that has no version allow-list fails an assertion.",
     "groupClosed g1 true"},
    {"groupPreserveMountsOnDisconnect", "keep G's mounts while a switch is away",
     "Calls the group's `preserveMountsOnDisconnectIs(BOOL)`, which the group copies into its mount group "
     "configuration. A new group starts with true.",
     "groupPreserveMountsOnDisconnect g1 false"},
    {"switchWhiteList", "create switch allow-list L",
     "Calls the service's `switchWhiteListIs(L)`: the list owns a filter named L in both configurations.",
     "switchWhiteList lab"},
    {"switchWhiteListDel", "delete switch allow-list L",
     "Calls the service's `switchWhiteListDel(L)`; the list's filters leave both configurations.",
     "switchWhiteListDel lab"},
    {"allowedSwitch", "allow (true) or refuse (false) a switch",
     "Calls `allowedSwitchIs(SYS, BOOL)` on switch allow-list L. SYS is an Ethernet address, written "
     "xx:xx:xx:xx:xx:xx, xx-xx-xx-xx-xx-xx or xxxx.xxxx.xxxx. An allowed switch is in the list's filters; "
     "false keeps the entry and takes the switch out of them.",
     "allowedSwitch lab 00:1c:73:00:00:01 true"},
    {"allowedSwitchDel", "remove a switch's entry from L",
     "Calls `allowedSwitchDel(SYS)` on switch allow-list L.", "allowedSwitchDel lab 00:1c:73:00:00:01"},
    {"allowedSwitchDelAll", "remove every entry of L", "Calls `allowedSwitchDelAll()` on switch allow-list L.",
     "allowedSwitchDelAll lab"},
    {"versionWhiteList", "create version allow-list V",
     "Calls the service's `versionWhiteListIs(V)`: the list owns a filter named V in both configurations.",
     "versionWhiteList supported"},
    {"versionWhiteListDel", "delete version allow-list V",
     "Calls the service's `versionWhiteListDel(V)`; the list's filters leave both configurations.",
     "versionWhiteListDel supported"},
    {"allowedVersion", "allow (true) or refuse (false) a version",
     "Calls `allowedVersionIs(N, BOOL)` on version allow-list V, where N is a service version from 0 to "
     "4294967295. An allowed version is in the list's filters.",
     "allowedVersion supported 2 true"},
    {"allowedVersionDel", "remove a version's entry from V",
     "Calls `allowedVersionDel(N)` on version allow-list V.", "allowedVersionDel supported 2"},
    {"allowedVersionDelAll", "remove every entry of V", "Calls `allowedVersionDelAll()` on version allow-list V.",
     "allowedVersionDelAll supported"},
};

constexpr CommandEntry kHooks[] = {
    {"when", "run COMMAND each time M's HOOK fires for G",
     "From now on, each time recording mounter M's HOOK fires for group G (for any group with `*`), the "
     "mounter prints its line and then runs COMMAND as if it were the scenario's next line. COMMAND is an "
     "agent or mount machinery command, not a tool command or another `when`; several `when` lines of one "
     "hook run in the order written. A COMMAND that cannot run is reported at the line of its `when`, and "
     "the run goes on to end with status 1. An exception of its library call leaves the hook, as a throwing "
     "hook's does. Hooks whose commands set each other off are stopped 100 deep.",
     "when m1 doMountsComplete g1 serviceDel"},
    {"whenDel", "forget every `when` of M",
     "Forgets the commands that `when` gave mounter M. A hook call that is running them finishes those it "
     "started with.",
     "whenDel m1"},
};

constexpr CommandEntry kTool[] = {
    {"trace", "set the library's trace levels",
     "Enables exactly these levels of the library's trace facility Ferrolink from here on: a comma list of "
     "levels 0-9 and ranges, such as `5`, `5,7` or `0-8`; `off` turns tracing off. Each trace prints as "
     "`trace LEVEL TEXT`. Level 8 shows every handler, 7 the per-switch machines created and deleted, 5 "
     "anomalies such as a group whose mounts are not complete.",
     "trace 5,7-8"},
    {"dump", "print the agent's configuration records",
     "Prints `dump begin`, one `LHS = VALUE` line per value of the agent's mount and publish configurations, "
     "and `dump end` (see Configuration lines). Equal configurations dump as equal text.",
     "dump"},
    {"explain", "say what group G, or every group, waits for",
     "Prints `explain begin G`, what group G waits for, and `explain end`. The first line is `group G: "
     "complete` or `group G: not complete; waits for ...`, naming each thing still missing: closing, a version "
     "allow-list, the service mount status, mounted path prefixes, its publish group status, publish "
     "statuses, initial switch mounts. One line each follows for closed, the version allow-list, the "
     "controller mounts without a mounted path prefix, the publish mounts without a publish status, the "
     "publish group status, the mounter, the initial switch mounts, the group's switches by mount state, and "
     "the switches not mounted (ten listed, then a count). Without G it prints the service: closed, warm and "
     "ready, each group's first line, and the fleet's switches and group statuses by mount state. It reads "
     "only: no record changes, nothing is traced, no hook runs. The group's report says complete exactly "
     "when its completion check would.",
     "explain g1"},
    {"hookCounts", "print how many switch states M heard, by state",
     "Prints `hookCounts M doHandleControllerMountState CALLS: unknown N, mounting N, mounted N, unmounted N, "
     "failed N`: how many times recording mounter M's doHandleControllerMountState has been called since M "
     "was created, in all and by the state it was given. Every recording mounter counts; with a counting "
     "mounter (`mounter M counting`) it is the one line that tells of a fleet's state changes.",
     "hookCounts m1"},
    {"echo", "print a line of your own",
     "Prints `#` and the words, one blank between them: a heading in the transcript.",
     "echo the group closes"},
    {"help", "list the commands, or show one",
     "Prints the list of commands, or the entry of COMMAND: its words, what it does, an example. In a "
     "scenario the text is part of the transcript.",
     "help groupClosed"},
    {"quit", "end the run here",
     "Ends the run: no later line runs, of this file or of the files after it. In an interactive session it "
     "ends the session, as the end of input does.",
     "quit"},
};

constexpr CommandEntry kFleets[] = {
    {"repeat", "run COMMAND once per value of VAR",
     "Runs COMMAND once for each value of the variable VAR (`i` when not named): 0 to N-1, or FROM to TO "
     "with both ends, counting down when FROM is the larger. COMMAND is any command; a repeat in it runs "
     "inside, with a variable of its own. In the words of COMMAND, `{VAR}` is the value, `{VAR:000}` the "
     "value zero-padded to as many digits as there are 0s, and `{VAR:xx:xx:xx}` the value in hexadecimal, "
     "zero-padded into the x's with the `:`, `-` or `.` between them kept, for the tail of a switch name: "
     "`00:1c:73:{i:xx:xx:xx}`. A word holding `{FROM..TO}` stands for one word per number, as in a shell: "
     "`g{01..20}=mounting` is the 20 words `g01=mounting` to `g20=mounting`, zero-padded when an end is "
     "written with a leading 0. A quoted brace is a brace, and only repeat lines expand braces. The "
     "commands are made one at a time as the repeat runs, so ten thousand of them cost no more memory than "
     "one. A brace that expands to nothing known, a value that does not fit its format and a COMMAND that "
     "does not parse at the first or the last values are syntax errors. The error of one of the commands "
     "names it with the values: `FILE:LINE: error: in 'mountState 00:1c:73:00:00:05 g01 mounted' (g=1, "
     "i=5): unknown switch status 00:1c:73:00:00:05`.",
     "repeat 1..10000 systemStatus 00:1c:73:{i:xx:xx:xx} g{1..5}=mounting"},
};

constexpr CommandSection kSections[] = {
    {"The world: the state database and the hosting agent", kWorld},
    {"The mount machinery: status records", kMountMachinery},
    {"The agent: calls into the library", kAgent},
    {"Hooks that act", kHooks},
    {"A fleet in a line", kFleets},
    {"The tool", kTool},
};

constexpr std::size_t kWidth = 79;

std::string synopsisOf(const CommandEntry& entry) { return commandSynopsis(entry.name).value_or(std::string(entry.name)); }

}  // namespace

std::span<const CommandSection> commandSections() { return kSections; }

const CommandEntry* findCommand(std::string_view name) {
  for (const CommandSection& section : kSections) {
    for (const CommandEntry& entry : section.entries) {
      if (entry.name == name) return &entry;
    }
  }
  return nullptr;
}

std::string commandList() {
  constexpr std::size_t kNameColumn = 32;
  std::string out;
  for (const CommandSection& section : kSections) {
    if (!out.empty()) out += '\n';
    out += std::string(section.title) + '\n';
    for (const CommandEntry& entry : section.entries) {
      std::string line = "  " + std::string(entry.name);
      line.resize(std::max(line.size() + 1, kNameColumn + 2), ' ');
      out += line + std::string(entry.summary) + '\n';
    }
  }
  return out + "\n'help COMMAND' shows one command: its words, what it does, an example.\n";
}

std::string commandHelp(const CommandEntry& entry) {
  return synopsisOf(entry) + '\n' + wrapText(entry.details, kWidth, "    ") + "    example: " +
         std::string(entry.example) + '\n';
}

std::string markdownReference() {
  std::string out;
  for (const CommandSection& section : kSections) {
    out += "### " + std::string(section.title) + "\n\n";
    for (const CommandEntry& entry : section.entries) {
      out += "#### `" + synopsisOf(entry) + "`\n\n";
      out += wrapText(entry.details, kWidth, "") + '\n';
      out += "    " + std::string(entry.example) + "\n\n";
    }
  }
  out.pop_back();  // one line break ends the text
  return out;
}

std::string wrapText(std::string_view text, std::size_t width, std::string_view indent) {
  std::string out;
  std::string line(indent);
  bool lineEmpty = true;
  while (!text.empty()) {
    const std::size_t start = text.find_first_not_of(' ');
    if (start == std::string_view::npos) break;
    text.remove_prefix(start);
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(end);
    if (!lineEmpty && line.size() + 1 + word.size() > width) {
      out += line + '\n';
      line = indent;
      lineEmpty = true;
    }
    if (!lineEmpty) line += ' ';
    line += word;
    lineEmpty = false;
  }
  if (!lineEmpty) out += line + '\n';
  return out;
}

}  // namespace hubstore::sim
