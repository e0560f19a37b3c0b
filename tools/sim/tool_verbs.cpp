// The verbs of hooks that act, of fleets, and of the tool itself.
#include <cstdint>

#include <hubstore/foundations/records/mount_state.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include "tools/sim/command_reference.h"
#include "tools/sim/config_dump.h"
#include "tools/sim/repetition.h"
#include "tools/sim/scenario_error.h"
#include "tools/sim/scenario_forms.h"
#include "tools/sim/scenario_mounter.h"
#include "tools/sim/simulator.h"
#include "tools/sim/verb_table.h"
#include "tools/sim/word_forms.h"

namespace hubstore::sim {

using namespace verb_params;

VerbSection Simulator::hookVerbs() {
  static const Verb verbs[] = {
      {.name = "when",
       .words = parsedBy(parseWhen, "when M HOOK G|* COMMAND ..."),
       .summary = "run COMMAND each time M's HOOK fires for G",
       .details =
           "From now on, each time recording mounter M's HOOK fires for group G (for any group with `*`), the "
           "mounter prints its line and then runs COMMAND as if it were the scenario's next line. COMMAND is an "
           "agent or mount machinery command, or `explain`, not another tool command or a `when`; several `when` "
           "lines of one hook run in the order written. A COMMAND that cannot run is reported at the line of its "
           "`when`, and the run goes on to end with status 1. An exception of its library call leaves the hook, as "
           "a throwing hook's does. Hooks whose commands set each other off are stopped 100 deep.",
       .example = "when m1 doMountsComplete g1 serviceDel",
       .run =
           [](Simulator& sim, const Command& c) {
             sim.scenarioMounter(c.args[0])->actionIs(*c.hook, c.args[2], c.action);
           }},
      {.name = "whenDel",
       .words = fixed({{"M"}}),
       .summary = "forget every `when` of M",
       .details = "Forgets the commands that `when` gave mounter M. A hook call that is running them finishes those it "
                  "started with.",
       .example = "whenDel m1",
       .run = [](Simulator& sim, const Command& c) { sim.scenarioMounter(c.args[0])->actionDelAll(); },
       .hookMayRun = true},
  };
  return {"Hooks that act", verbs};
}

VerbSection Simulator::fleetVerbs() {
  static const Verb verbs[] = {
      {.name = "repeat",
       .words = parsedBy(parseRepeat, Repetition::kSynopsis),
       .summary = "run COMMAND once per value of VAR",
       .details =
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
       .example = "repeat 1..10000 systemStatus 00:1c:73:{i:xx:xx:xx} g{1..5}=mounting"},
  };
  return {"A fleet in a line", verbs};
}

VerbSection Simulator::toolVerbs() {
  static const Verb verbs[] = {
      {.name = "trace",
       .words = fixed({{"LEVELS|off", Arg::Levels}}),
       .summary = "set the library's trace levels",
       .details =
           "Enables exactly these levels of the library's trace facility Ferrolink from here on: a comma list of "
           "levels 0-9 and ranges, such as `5`, `5,7` or `0-8`; `off` turns tracing off. Each trace prints as "
           "`trace LEVEL TEXT`. Level 8 shows every handler, 7 the per-switch machines created and deleted, 5 "
           "anomalies such as a group whose mounts are not complete.",
       .example = "trace 5,7-8",
       .run = [](Simulator& sim, const Command& c) { sim.traceLevelsIs(*parseTraceLevels(c.args[0])); }},
      {.name = "dump",
       .words = fixed({}),
       .summary = "print the agent's configuration records",
       .details =
           "Prints `dump begin`, one `LHS = VALUE` line per value of the agent's mount and publish configurations, "
           "and `dump end` (see Configuration lines). Equal configurations dump as equal text.",
       .example = "dump",
       .run =
           [](Simulator& sim, const Command&) {
             ConfigDump config(*sim.em_, sim.agentName());
             const std::vector<std::string> lines = config.lines();
             auto dumpLine = [&sim](const std::string& line) { sim.out_.line(LineKind::Dump, line, {{"line", line}}); };
             dumpLine("dump begin");
             for (const std::string& line : lines) dumpLine(line);
             dumpLine("dump end");
           }},
      {.name = "explain",
       .words = lastOptional({G}),
       .summary = "say what group G, or every group, waits for",
       .details =
           "Prints `explain begin G`, what group G waits for, and `explain end`. The first line is `group G: "
           "complete` or `group G: not complete; waits for ...`, naming each thing still missing: closing, a version "
           "allow-list, the service mount status, mounted path prefixes, its publish group status, publish "
           "statuses, initial switch mounts. One line each follows for closed, the version allow-list, the "
           "controller mounts without a mounted path prefix, the publish mounts without a publish status, the "
           "publish group status, the mounter, the initial switch mounts, the group's switches by mount state, and "
           "the switches not mounted (ten listed, then a count). Without G it prints the service: closed, warm and "
           "ready, each group's first line, and the fleet's switches and group statuses by mount state. It reads "
           "only: no record changes, nothing is traced, no hook runs. The group's report says complete exactly "
           "when its completion check would. A hook may run it (`when`), as an agent may ask for the report in "
           "its hooks.",
       .example = "explain g1",
       .run =
           [](Simulator& sim, const Command& c) {
             const std::string text = c.args.empty() ? sim.service().completionReport().text()
                                                     : sim.group(c.args[0])->completionReport().text();
             const std::string begin = c.args.empty() ? "explain begin" : "explain begin " + quoteIfNeeded(c.args[0]);
             sim.out_.lines(LineKind::Explain, begin + "\n" + text + "explain end\n");
           },
       .hookMayRun = true},
      {.name = "metrics",
       .words = fixed({}),
       .summary = "print the service's numbers for monitoring",
       .details =
           "Prints `metrics begin`, the numbers an agent serves to its monitoring in the Prometheus text format, "
           "and `metrics end`: the service closed or not and its switches; per group the switches by mount state, "
           "whether it is complete and whether its initial switch mounts are; per hook its calls and the seconds "
           "spent in it (counted only under `--metrics`, which times the hooks); with `--store`, the store's "
           "state, connections, resynchronisations and what other writers left. It reads only.",
       .example = "metrics",
       .run =
           [](Simulator& sim, const Command&) {
             const std::string text = sim.metricsText();
             sim.out_.lines(LineKind::Metrics, "metrics begin\n" + text + "metrics end\n");
           }},
      {.name = "hookCounts",
       .words = fixed({{"M"}}),
       .summary = "print how many switch states M heard, by state",
       .details =
           "Prints `hookCounts M doHandleControllerMountState CALLS: unknown N, mounting N, mounted N, unmounted N, "
           "failed N`: how many times recording mounter M's doHandleControllerMountState has been called since M "
           "was created, in all and by the state it was given. Every recording mounter counts; with a counting "
           "mounter (`mounter M counting`) it is the one line that tells of a fleet's state changes.",
       .example = "hookCounts m1",
       .run =
           [](Simulator& sim, const Command& c) {
             auto recording = Vex::ptr_cast<ScenarioMounter>(sim.mounter(c.args[0]));
             if (!recording)
               throw ScenarioError("mounter " + c.args[0] + " is a default mounter: it counts no hook calls");
             const ScenarioMounter::StateCounts& counts = recording->switchStateCounts();
             const std::string hook(mounterHookName(MounterHook::HandleControllerMountState));
             std::uint64_t calls = 0;
             std::string byState;
             for (std::size_t state = 0; state < counts.size(); ++state) {
               calls += counts[state];
               byState += std::string(state == 0 ? "" : ", ") +
                          Controller::mountStateName(static_cast<Controller::MountState>(state)) + " " +
                          std::to_string(counts[state]);
             }
             const auto number = [](std::uint64_t count) { return static_cast<std::int64_t>(count); };
             sim.out_.line(LineKind::HookCounts,
                           "hookCounts " + c.args[0] + " " + hook + " " + std::to_string(calls) + ": " + byState,
                           {{"mounter", c.args[0]},
                            {"hook", hook},
                            {"calls", number(calls)},
                            {"unknown", number(counts[Controller::mountStateUnknown])},
                            {"mounting", number(counts[Controller::mountStateMounting])},
                            {"mounted", number(counts[Controller::mountStateMounted])},
                            {"unmounted", number(counts[Controller::mountStateUnmounted])},
                            {"failed", number(counts[Controller::mountStateFailed])}});
           }},
      {.name = "echo",
       .words = lastRepeated({{"TEXT"}}),
       .summary = "print a line of your own",
       .details = "Prints `#` and the words, one blank between them: a heading in the transcript.",
       .example = "echo the group closes",
       .run =
           [](Simulator& sim, const Command& c) {
             std::string text;
             for (const std::string& word : c.args) text += (&word == &c.args.front() ? "" : " ") + word;
             sim.out_.line(LineKind::Echo, c.args.empty() ? "#" : "# " + text, {{"text", text}});
           }},
      {.name = "help",
       .words = lastOptional({{"COMMAND", Arg::CommandName}}),
       .summary = "list the commands, or show one",
       .details = "Prints the list of commands, or the entry of COMMAND: its words, what it does, an example. In a "
                  "scenario the text is part of the transcript.",
       .example = "help groupClosed",
       .run =
           [](Simulator& sim, const Command& c) {
             const Verb* verb = c.args.empty() ? nullptr : findVerb(c.args[0]);
             if (!c.args.empty() && !verb) throw ScenarioError("no help for " + c.args[0]);
             const std::string text = verb ? commandHelp(*verb) : commandList();
             sim.out_.lines(LineKind::Help, text);
           }},
      {.name = "quit",
       .words = fixed({}),
       .summary = "end the run here",
       .details =
           "Ends the run: no later line runs, of this file or of the files after it. In an interactive session it "
           "ends the session, as the end of input does.",
       .example = "quit",
       .run = [](Simulator& sim, const Command&) { sim.ended_ = true; }},
  };
  return {"The tool", verbs};
}

}  // namespace hubstore::sim
