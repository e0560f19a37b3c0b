// hubstore-sim: runs scenario files against the library in a simulated
// controller and prints what the library does as a transcript.
//
//   hubstore-sim [--trace=LEVELS] [--quiet] [--timeline PAGE.html] FILE...   (FILE may be - for standard input)
//   hubstore-sim --help
//
// Exit status: 0 when every command ran, 1 when a command could not run,
// 2 for a usage or syntax error (every file is parsed before anything runs).

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tools/sim/output.h"
#include "tools/sim/scenario_parser.h"
#include "tools/sim/simulator.h"
#include "tools/sim/timeline.h"

namespace {

constexpr std::string_view kUsage =
    "usage: hubstore-sim [--trace=LEVELS] [--quiet] [--timeline PAGE.html] FILE...\n"
    "       hubstore-sim --help\n";

constexpr std::string_view kHelp =
    "Runs scenario files against the library in a simulated controller.\n"
    "\n"
    "  FILE            a scenario; - reads standard input. Several files run\n"
    "                  one after the other in one simulated world.\n"
    "  --trace=LEVELS  enable these levels of the trace facility Ferrolink from\n"
    "                  the start: a comma list of levels and ranges, e.g. 5,7-8\n"
    "  --quiet         print no transcript lines; errors and the exit status stay\n"
    "  --timeline PAGE.html\n"
    "                  also write the run as one self-contained web page: a lane\n"
    "                  per group summarising its switches' mount states over the\n"
    "                  steps (one step per scenario line), the hook calls marked\n"
    "                  on it, and on a click the group's lane per switch; hovering\n"
    "                  shows the step's scenario line. Written when the run ends,\n"
    "                  also after a command that could not run; not after a\n"
    "                  failed assertion, which aborts the process\n"
    "  --help          print this text\n"
    "\n"
    "Commands that make a recording mounter's hooks act (HOOK is\n"
    "doHandleControllerMountState, doMountsComplete or doInitialSwitchMountsComplete):\n"
    "  mounter M throwing HOOK   a recording mounter whose HOOK throws\n"
    "                            Vex::InternalException \"hook failed\" after its line\n"
    "  when M HOOK G COMMAND...  each time M's HOOK fires for group G (* for any),\n"
    "                            run COMMAND, an agent or mount machinery command,\n"
    "                            after the hook's line\n"
    "  whenDel M                 forget every 'when' of M\n"
    "\n"
    "Commands that report:\n"
    "  explain G   what group G waits for, between 'explain begin G' and\n"
    "              'explain end': a summary line ('group G: complete' or\n"
    "              'group G: not complete; waits for ...'), then closed, version\n"
    "              allow-list, controller mounts without a mounted path prefix,\n"
    "              publish mounts without a publish status, publish group status,\n"
    "              mounter, initial switch mounts, switches by mount state and\n"
    "              the switches not mounted (ten listed, then a count)\n"
    "  explain     the service: closed, warm and ready, one summary line per\n"
    "              group, and the fleet's switches and group statuses by state\n"
    "  explain reads only: it changes no record, traces nothing, calls no hook.\n"
    "\n"
    "Exit status: 0 when every command ran, 1 when a command could not run,\n"
    "2 for a usage or syntax error.\n";

int usageError(const std::string& message) {
  std::fprintf(stderr, "hubstore-sim: %s\n%.*s", message.c_str(), static_cast<int>(kUsage.size()), kUsage.data());
  return 2;
}

std::optional<std::string> readScenario(const std::string& file) {
  std::ostringstream text;
  if (file == "-") {
    text << std::cin.rdbuf();
    return text.str();
  }
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> files;
  bool quiet = false;
  std::optional<std::string> timelinePath;
  std::uint32_t traceLevels = 0;
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (arg == "--help") {
      std::fwrite(kUsage.data(), 1, kUsage.size(), stdout);
      std::fwrite(kHelp.data(), 1, kHelp.size(), stdout);
      return 0;
    }
    if (arg == "--quiet") {
      quiet = true;
    } else if (arg == "--timeline" || arg.substr(0, 11) == "--timeline=") {
      if (arg == "--timeline" && i + 1 == argc) return usageError("--timeline needs a file");
      timelinePath = arg == "--timeline" ? std::string(argv[++i]) : std::string(arg.substr(11));
      if (timelinePath->empty()) return usageError("--timeline needs a file");
    } else if (arg.substr(0, 8) == "--trace=") {
      const auto levels = hubstore::sim::parseTraceLevels(arg.substr(8));
      if (!levels) return usageError("bad trace levels '" + std::string(arg.substr(8)) + "'");
      traceLevels = *levels;
    } else if (arg.size() > 1 && arg[0] == '-') {
      return usageError("unknown option '" + std::string(arg) + "'");
    } else {
      files.emplace_back(arg);
    }
  }
  if (files.empty()) return usageError("no scenario file");

  std::vector<hubstore::sim::Command> commands;
  std::vector<std::string> errors;
  for (const std::string& file : files) {
    const auto text = readScenario(file);
    if (!text) return usageError("cannot read '" + file + "'");
    hubstore::sim::ParseResult parsed = hubstore::sim::parseScenario(file == "-" ? "<stdin>" : file, *text);
    errors.insert(errors.end(), parsed.errors.begin(), parsed.errors.end());
    commands.insert(commands.end(), std::make_move_iterator(parsed.commands.begin()),
                    std::make_move_iterator(parsed.commands.end()));
  }
  if (!errors.empty()) {
    for (const std::string& error : errors) std::fprintf(stderr, "%s\n", error.c_str());
    return 2;
  }

  // Opened before the run, so that a page that cannot be written stops it.
  std::ofstream page;
  if (timelinePath) {
    page.open(*timelinePath, std::ios::binary | std::ios::trunc);
    if (!page) return usageError("cannot write '" + *timelinePath + "'");
  }

  hubstore::sim::Output out(stdout);
  out.quietIs(quiet);
  hubstore::sim::Timeline timeline;
  hubstore::sim::Simulator simulator(out);
  simulator.traceLevelsIs(traceLevels);
  if (timelinePath) simulator.timelineIs(&timeline);
  const int status = simulator.run(commands, stderr);
  if (timelinePath) {
    std::string title;
    for (const std::string& file : files) title += (title.empty() ? "" : " ") + file;
    timeline.writeHtml(page, title);
    page.close();
    if (!page) {
      std::fprintf(stderr, "hubstore-sim: cannot write '%s'\n", timelinePath->c_str());
      return 2;
    }
  }
  return status;
}
