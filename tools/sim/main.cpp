// hubstore-sim: runs scenario files against the library in a simulated
// controller and prints what the library does as a transcript.
//
//   hubstore-sim [--trace=LEVELS] [--quiet] FILE...   (FILE may be - for standard input)
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

namespace {

constexpr std::string_view kUsage =
    "usage: hubstore-sim [--trace=LEVELS] [--quiet] FILE...\n"
    "       hubstore-sim --help\n";

constexpr std::string_view kHelp =
    "Runs scenario files against the library in a simulated controller.\n"
    "\n"
    "  FILE            a scenario; - reads standard input. Several files run\n"
    "                  one after the other in one simulated world.\n"
    "  --trace=LEVELS  enable these levels of the trace facility Ferrolink from\n"
    "                  the start: a comma list of levels and ranges, e.g. 5,7-8\n"
    "  --quiet         print no transcript lines; errors and the exit status stay\n"
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

  hubstore::sim::Output out(stdout);
  out.quietIs(quiet);
  hubstore::sim::Simulator simulator(out);
  simulator.traceLevelsIs(traceLevels);
  return simulator.run(commands, stderr);
}
