// hubstore-sim: runs scenario files against the library in a simulated
// controller and prints what the library does as a transcript; at a terminal
// with no file named, runs commands as they are typed. docs/scenarios.md is
// its manual.
//
//   hubstore-sim [--trace=LEVELS] [--quiet] [--json] [--timeline PAGE.html] [--metrics FILE]
//                [--store URL [--follow] [--leave-config]]
//                [FILE...]   (FILE may be -)
//   hubstore-sim --store URL --inspect AGENT [--follow]
//   hubstore-sim help [COMMAND]
//   hubstore-sim --help | -h | --version | --reference
//
// Exit status: 0 when every command ran, 1 when a command could not run,
// 2 for a usage or syntax error or a file that cannot be read (every file is
// read and parsed before anything runs).

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/service/hook_statistics.h>
#include <hubstore/version.h>
#include "tools/sim/command_reference.h"
#include "tools/sim/interactive_session.h"
#include "tools/sim/output.h"
#include "tools/sim/scenario_parser.h"
#include "tools/sim/simulator.h"
#include "tools/sim/timeline.h"
#include "tools/sim/trace_environment.h"
#include "tools/sim/word_forms.h"
#ifdef HUBSTORE_SIM_REDIS
#include "tools/sim/agent_inspector.h"
#include "tools/sim/redis_record_store.h"
#endif

namespace {

using namespace hubstore::sim;

constexpr std::string_view kUsage =
    "usage: hubstore-sim [--trace=LEVELS] [--quiet] [--json] [--timeline PAGE.html]\n"
    "                    [--metrics FILE] [--store URL [--follow] [--leave-config]] [FILE...]\n"
    "       hubstore-sim --store URL --inspect AGENT [--follow]\n"
    "       hubstore-sim help [COMMAND]\n"
    "       hubstore-sim --help | -h | --version | --reference\n";

constexpr std::string_view kHelp =
    "Runs scenario files against the library in a simulated controller. With no\n"
    "FILE and a terminal on standard input, runs each command as it is typed.\n"
    "\n"
    "  FILE            a scenario; - reads standard input. Several files run\n"
    "                  one after the other in one simulated world.\n"
    "  --trace=LEVELS  enable these levels of the trace facility Ferrolink from\n"
    "                  the start: a comma list of levels and ranges, e.g. 5,7-8,\n"
    "                  or off. Without it, VEX_TRACE=\"Ferrolink/LEVELS\" does.\n"
    "  --quiet         print no transcript lines but the error lines; messages\n"
    "                  and the exit status stay\n"
    "  --json          print each transcript line as one JSON object\n"
    "  --timeline PAGE.html\n"
    "                  also write the run as one self-contained web page: a lane\n"
    "                  per group summarising its switches' mount states over the\n"
    "                  steps (one per command), its hook calls marked; a click\n"
    "                  opens a lane per switch, hovering shows the step's line.\n"
    "                  Written when the run ends, not after a failed assertion\n"
    "  --metrics FILE  write the service's and the store's numbers, in the\n"
    "                  Prometheus text format, to FILE when the run ends (a\n"
    "                  service the run released: as it stood just before); the\n"
    "                  hooks are timed for it (the `metrics` command prints them)\n"
    "  --store URL     keep the records in a Redis database shared with other\n"
    "                  processes: redis://[user:password@]host:port[/db],\n"
    "                  unix:///path or, for the master that sentinels name,\n"
    "                  redis-sentinel://[user:password@]host:port[,host:port...][/db]#master.\n"
    "                  A process keeps the configuration once it\n"
    "                  creates a service (or sets, unsets, restarts), and the\n"
    "                  status once it writes one; it follows the other side\n"
    "  --follow        with --store: after the last command, go on reacting to\n"
    "                  what other processes write, until SIGINT or SIGTERM\n"
    "  --leave-config  with --store: at the end (the last command, or the signal\n"
    "                  under --follow) leave the configuration in Redis, not\n"
    "                  withdrawn by the teardown, for the next run to take over\n"
    "  --inspect AGENT with --store, instead of scenarios: print a live agent's\n"
    "                  state from its records and exit, writing nothing to Redis:\n"
    "                  per group what it waits for from the mount machinery\n"
    "                  (judged as if closed: closing and the mounter are the\n"
    "                  agent's own), then the configuration as `dump` prints it.\n"
    "                  With --follow, then one line per key that changes and a\n"
    "                  group's block again when its completion changes, until\n"
    "                  SIGINT or SIGTERM (exit 0). Exit 2 when Redis holds no\n"
    "                  record of AGENT\n"
    "  --reference     print the command reference in Markdown (docs/scenarios.md)\n"
    "  --version       print the version\n"
    "  -h, --help      print this text\n"
    "  help [COMMAND]  as the first word: print the commands, or one command's\n"
    "                  entry (a scenario file named help is ./help)\n"
    "\n"
    "Exit status: 0 when every command ran, 1 when a command could not run,\n"
    "2 for a usage or syntax error or a file that cannot be read, 3 when\n"
    "another process of the agent took the configuration's lease (--store).\n"
    "\n";

int usageError(const std::string& message) {
  std::fprintf(stderr, "hubstore-sim: %s\n%.*s", message.c_str(), static_cast<int>(kUsage.size()), kUsage.data());
  return 2;
}

void print(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

// hubstore-sim help [COMMAND]
int help(int argc, char** argv) {
  if (argc > 3) return usageError("'help' takes one COMMAND");
  if (argc == 2) {
    print(commandList());
    return 0;
  }
  const Verb* verb = findVerb(argv[2]);
  if (!verb) {
    std::fprintf(stderr, "hubstore-sim: no command '%s' ('hubstore-sim help' lists them)\n", argv[2]);
    return 2;
  }
  print(commandHelp(*verb));
  return 0;
}

// The text of a scenario, or the reason it cannot be read.
struct ScenarioText {
  std::string text;
  std::optional<std::string> error;
};

ScenarioText readScenario(const std::string& file) {
  std::FILE* in = file == "-" ? stdin : std::fopen(file.c_str(), "rb");
  if (!in) return {"", std::strerror(errno)};
  ScenarioText scenario;
  char buffer[8192];
  std::size_t got;
  // A directory opens, and its first read fails with EISDIR.
  while ((got = std::fread(buffer, 1, sizeof buffer, in)) > 0) scenario.text.append(buffer, got);
  if (std::ferror(in)) scenario.error = std::strerror(errno);
  if (in != stdin) std::fclose(in);
  return scenario;
}

struct Options {
  std::vector<std::string> files;
  bool quiet = false;
  bool json = false;
  std::optional<std::uint32_t> traceLevels;
  std::optional<std::string> timeline;
  std::optional<std::string> metrics;
  std::optional<std::string> store;
  bool follow = false;
  bool leaveConfig = false;
  std::optional<std::string> inspect;
};

// SIGINT and SIGTERM, held back from the start so that a process under
// --follow ends through its teardown; readable once one has come.
int stopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return signalfd(-1, &signals, SFD_CLOEXEC);
}

// hubstore-sim --store URL --inspect AGENT [--follow]
int inspect(const Options& options) {
  if (!options.store) return usageError("--inspect needs --store");
  if (!options.files.empty()) return usageError("--inspect runs no scenario");
  if (options.leaveConfig) return usageError("--inspect writes nothing: --leave-config does not apply");
  if (options.json || options.quiet || options.timeline || options.metrics)
    return usageError("--inspect prints plain text only: --json, --quiet, --timeline and --metrics do not apply");
#ifdef HUBSTORE_SIM_REDIS
  const int stopFd = options.follow ? stopSignals() : -1;
  std::unique_ptr<AgentInspector> inspector;
  try {
    inspector = std::make_unique<AgentInspector>(*options.store, *options.inspect);
  } catch (const std::invalid_argument& error) {
    return usageError(error.what());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "hubstore-sim: --store %s: %s\n", options.store->c_str(), error.what());
    return 2;
  }
  if (!inspector->known()) {
    std::fprintf(stderr, "hubstore-sim: --inspect %s: redis holds no record of this agent\n", options.inspect->c_str());
    return 2;
  }
  print(inspector->view());
  std::fflush(stdout);
  if (options.follow) inspector->follow(stdout, stopFd);
  return 0;
#else
  return usageError("--inspect: this hubstore-sim is built without hubstore::redis");
#endif
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::string_view(argv[1]) == "help") return help(argc, argv);
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (arg == "--help" || arg == "-h") {
      print(kUsage);
      print(kHelp);
      print(commandList());
      return 0;
    }
    if (arg == "--version") {
      print("hubstore-sim " HUBSTORE_VERSION_STRING "\n");
      return 0;
    }
    if (arg == "--reference") {
      print(markdownReference());
      return 0;
    }
    if (arg == "--quiet") {
      options.quiet = true;
    } else if (arg == "--json") {
      options.json = true;
    } else if (arg == "--timeline" || arg.substr(0, 11) == "--timeline=") {
      if (arg == "--timeline" && i + 1 == argc) return usageError("--timeline needs a file");
      options.timeline = arg == "--timeline" ? std::string(argv[++i]) : std::string(arg.substr(11));
      if (options.timeline->empty()) return usageError("--timeline needs a file");
    } else if (arg == "--metrics" || arg.substr(0, 10) == "--metrics=") {
      if (arg == "--metrics" && i + 1 == argc) return usageError("--metrics needs a file");
      options.metrics = arg == "--metrics" ? std::string(argv[++i]) : std::string(arg.substr(10));
      if (options.metrics->empty()) return usageError("--metrics needs a file");
    } else if (arg == "--store" || arg.substr(0, 8) == "--store=") {
      if (arg == "--store" && i + 1 == argc) return usageError("--store needs a URL");
      options.store = arg == "--store" ? std::string(argv[++i]) : std::string(arg.substr(8));
    } else if (arg == "--follow") {
      options.follow = true;
    } else if (arg == "--leave-config") {
      options.leaveConfig = true;
    } else if (arg == "--inspect" || arg.substr(0, 10) == "--inspect=") {
      if (arg == "--inspect" && i + 1 == argc) return usageError("--inspect needs an agent");
      options.inspect = arg == "--inspect" ? std::string(argv[++i]) : std::string(arg.substr(10));
      if (options.inspect->empty()) return usageError("--inspect needs an agent");
    } else if (arg.substr(0, 8) == "--trace=") {
      options.traceLevels = parseTraceLevels(arg.substr(8));
      if (!options.traceLevels) return usageError("bad trace levels '" + std::string(arg.substr(8)) + "'");
    } else if (arg.size() > 1 && arg[0] == '-') {
      return usageError("unknown option '" + std::string(arg) + "'");
    } else {
      options.files.emplace_back(arg);
    }
  }
  if (options.follow && !options.store) return usageError("--follow needs --store");
  if (options.leaveConfig && !options.store) return usageError("--leave-config needs --store");
  if (options.inspect) return inspect(options);
  const bool interactive = options.files.empty() && ::isatty(STDIN_FILENO);
  if (options.files.empty() && !interactive) {
    return usageError("no scenario file (name one, - for standard input, or type commands at a terminal)");
  }

  // The library read VEX_TRACE when it started; --trace= overrides it.
  if (auto problem = traceEnvironmentProblem(std::getenv("VEX_TRACE"), Controller::ferrolink.facility())) {
    std::fprintf(stderr, "hubstore-sim: %s\n", problem->c_str());
  }

  std::vector<Command> commands;
  std::vector<std::string> errors;
  for (const std::string& file : options.files) {
    const ScenarioText scenario = readScenario(file);
    if (scenario.error) {
      std::fprintf(stderr, "hubstore-sim: cannot read '%s': %s\n", file.c_str(), scenario.error->c_str());
      return 2;
    }
    ParseResult parsed = parseScenario(file == "-" ? "<stdin>" : file, scenario.text);
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
  if (options.timeline) {
    page.open(*options.timeline, std::ios::binary | std::ios::trunc);
    if (!page) return usageError("cannot write '" + *options.timeline + "'");
  }
  std::ofstream metrics;
  if (options.metrics) {
    metrics.open(*options.metrics, std::ios::binary | std::ios::trunc);
    if (!metrics) return usageError("cannot write '" + *options.metrics + "'");
    Controller::HookStatistics::timingIs(true);
  }
  [[maybe_unused]] const int stopFd = options.follow ? stopSignals() : -1;
#ifdef HUBSTORE_SIM_REDIS
  // Declared before the simulator: the teardown's writes reach it.
  std::unique_ptr<RedisRecordStore> store;
  if (options.store) {
    try {
      store = std::make_unique<RedisRecordStore>(*options.store);
    } catch (const std::invalid_argument& error) {
      return usageError(error.what());
    } catch (const std::exception& error) {
      std::fprintf(stderr, "hubstore-sim: --store %s: %s\n", options.store->c_str(), error.what());
      return 2;
    }
  }
#else
  if (options.store) return usageError("--store: this hubstore-sim is built without hubstore::redis");
#endif

  Output out(stdout);
  out.quietIs(options.quiet);
  out.formatIs(options.json ? OutputFormat::Json : OutputFormat::Transcript);
  Timeline timeline;
  Simulator simulator(out);
  if (options.traceLevels) simulator.traceLevelsIs(*options.traceLevels);
  if (options.timeline) simulator.timelineIs(&timeline);
  simulator.releasedServiceMetricsKeptIs(options.metrics.has_value());
#ifdef HUBSTORE_SIM_REDIS
  simulator.storeIs(store.get());
#endif
  int status = 0;
  if (!interactive) {
    status = simulator.run(commands, stderr);
  } else {
    std::fprintf(stderr, "hubstore-sim %s: type a command, 'help' for the list, 'quit' or Ctrl-D to end\n",
                 HUBSTORE_VERSION_STRING);
    runInteractiveSession(simulator, std::cin, stderr);
  }
#ifdef HUBSTORE_SIM_REDIS
  if (store && !store->flush()) std::fprintf(stderr, "hubstore-sim: --store: writes not answered by the server\n");
  if (store && store->refused()) status = 2;
#endif
  if (options.timeline) {
    std::string title;
    for (const std::string& file : options.files) title += (title.empty() ? "" : " ") + file;
    timeline.writeHtml(page, interactive ? "<stdin>" : title);
    page.close();
    if (!page) {
      std::fprintf(stderr, "hubstore-sim: cannot write '%s'\n", options.timeline->c_str());
      return 2;
    }
  }
#ifdef HUBSTORE_SIM_REDIS
  if (store && options.follow && !interactive && status == 0) store->follow(simulator, stopFd);
#endif
  // After --follow too, so that the numbers are the run's last.
  if (options.metrics) {
    metrics << simulator.lastMetricsText();
    metrics.close();
    if (!metrics) {
      std::fprintf(stderr, "hubstore-sim: cannot write '%s'\n", options.metrics->c_str());
      return 2;
    }
  }
#ifdef HUBSTORE_SIM_REDIS
  if (store && store->leaseLost()) {
    std::fprintf(stderr, "hubstore-sim: --store: another process of the agent took the configuration's lease; this one stops\n");
    // It writes nothing more: the teardown is the other process's to make.
    store->leaveInRedis();
    return 3;
  }
  // The simulator's teardown follows: with --leave-config it reaches no one.
  if (store && options.leaveConfig) store->leaveInRedis();
#endif
  return status;
}
