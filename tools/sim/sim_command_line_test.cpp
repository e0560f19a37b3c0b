// Runs the built hubstore-sim with its options, which the scenario tests
// (bare file, no options) cannot reach, and at a terminal.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <hubstore/version.h>
#include "tools/sim/command_reference.h"

namespace {

namespace fs = std::filesystem;

struct SimRun {
  int status;
  std::string out;
  std::string err;
};

class SimCommandLine : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "hubstore_sim_cli_XXXXXX").string();
    dir_ = ::mkdtemp(pattern.data());
  }
  void TearDown() override { fs::remove_all(dir_); }

  void write(const std::string& name, const std::string& text) { std::ofstream(dir_ / name) << text; }
  static std::string slurp(const fs::path& path) {
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  // Runs the sim in the test's folder with `args`, a shell word list, and
  // VEX_TRACE set to `vexTrace` (when given) and to nothing else. The shell
  // makes way for the sim, so that an abort is the sim's own status.
  SimRun sim(const std::string& args, const std::string& input = "", const char* vexTrace = nullptr) {
    write("stdin", input);
    const std::string environment = vexTrace ? "VEX_TRACE='" + std::string(vexTrace) + "' " : "";
    const std::string command = "cd '" + dir_.string() + "' && exec env -u VEX_TRACE " + environment +
                                "'" HUBSTORE_SIM_PATH "' " + args + " <stdin >stdout 2>stderr";
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(dir_ / "stdout"), slurp(dir_ / "stderr")};
  }

  fs::path dir_;
};

const std::string kWorld = "agent agentB\nrecords\nmounter m1\nservice svcA\n";

// The two lines of level 5 that declaring g1 traces.
const std::string kGroupTraces =
    "trace 5 doCheckMountAndPublishStatus g1 not complete\n"
    "trace 5 handleInitialMountsComplete: no CSMG for group g1\n";

const std::string kClosableGroup = kWorld +
                                   "versionWhiteList v\ngroup g1 m1\ngroupVersionWhiteList g1 v\n"
                                   "publishGroupStatus g1\n";

// What the default mounter's second instantiation of g1 throws.
const std::string kReinstantiation =
    "cannot reinstantiate serviceMountGroup[g1]: attribute mounter (272) is hubstore::sim::RecordingMounter#1, new "
    "value Controller::HubstoreServiceMounter#1";

// What a terminal shows of a session: the sim runs with no file on a
// pseudo-terminal that echoes nothing and leaves line ends alone, `typed`
// is typed at once, and everything the sim writes is read until it exits.
SimRun onTerminal(const std::string& typed) {
  int master, slave;
  if (::openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) return {-2, "", "no pseudo-terminal"};
  // Set before the sim starts, so that nothing typed is echoed.
  termios mode{};
  ::tcgetattr(slave, &mode);
  mode.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  mode.c_oflag &= ~static_cast<tcflag_t>(OPOST);
  ::tcsetattr(slave, TCSANOW, &mode);
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(master);
    ::login_tty(slave);  // the controlling terminal and the standard streams
    ::unsetenv("VEX_TRACE");
    ::execl(HUBSTORE_SIM_PATH, "hubstore-sim", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(slave);
  if (::write(master, typed.data(), typed.size()) != static_cast<ssize_t>(typed.size())) return {-2, "", "cannot type"};
  std::string screen;
  char buffer[4096];
  ssize_t got;
  // Once the sim has exited and the terminal has no writer, read fails (EIO).
  while ((got = ::read(master, buffer, sizeof buffer)) > 0 || (got < 0 && errno == EINTR)) {
    if (got > 0) screen.append(buffer, static_cast<std::size_t>(got));
  }
  ::close(master);
  int raw = 0;
  ::waitpid(child, &raw, 0);
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, screen, ""};
}

const std::string kGreeting =
    "hubstore-sim " HUBSTORE_VERSION_STRING ": type a command, 'help' for the list, 'quit' or Ctrl-D to end\n";
const std::string kPrompt = "hubstore-sim> ";

// One run of the sim: the files it is given, and all it prints. The files
// stay in the folder for the runs that follow.
struct SimCase {
  std::string what;
  std::vector<std::pair<std::string, std::string>> files;
  std::string args;
  int status;  // -1: aborted
  std::string out;
  std::string err;
  std::string input = "";
  const char* vexTrace = nullptr;
  bool atTerminal = false;  // `input` typed, and `out` the whole screen
};

TEST_F(SimCommandLine, EachRunPrintsItsLinesAndEndsWithItsStatus) {
  fs::create_directory(dir_ / "folder");
  std::string quitHelp;
  std::istringstream quitLines(hubstore::sim::commandHelp(*hubstore::sim::findVerb("quit")));
  for (std::string line; std::getline(quitLines, line);) quitHelp += R"({"kind":"help","line":")" + line + "\"}\n";
  const std::string countingWorld = kWorld + "mounter m2 counting\ngroup g1 m2\n"
                                             "repeat 1..3 systemStatus 00:1c:73:00:00:0{i} g1=mounting\n"
                                             "mountState 00:1c:73:00:00:01 g1 failed\nhookCounts m2\n";
  // Each true calls the hook, whose second action writes true again: stopped
  // once 100 calls are under way.
  const std::string jsonError =
      R"({"kind":"error","type":"Vex::MutatorReinstantiatingException","message":")" + kReinstantiation + "\"}\n";
  std::string nestedHooks = "hook m1 doMountsComplete g1\n";
  for (int call = 0; call < 101; ++call) nestedHooks += "hook m1 doInitialSwitchMountsComplete g1\n";
  const std::vector<SimCase> runs = {
      {"files and standard input run in one world, traced from the start", {{"a.scn", kWorld}}, "--trace=5 a.scn - ",
       0, kGroupTraces, "", "group g1 m1\n"},
      {"syntax errors of every file are reported and nothing runs",
       {{"a.scn", "echo first\nclosed maybe\n"}, {"b.scn", "echo second\nfrobnicate\nhelp frobnicate\n"}},
       "a.scn b.scn", 2, "",
       "a.scn:2: error: 'closed' takes BOOL (true or false), got 'maybe'\n"
       "b.scn:2: error: unknown command 'frobnicate'\n"
       "b.scn:3: error: 'help' takes the name of a command, got 'frobnicate'\n"},
      {"a command a hook cannot run is reported at its when and the run goes on",
       {{"a.scn", kClosableGroup + "when m1 doMountsComplete g1 groupDel nothing\ngroupClosed g1 true\n"
                                   "echo still running\n"}},
       "a.scn", 1, "hook m1 doMountsComplete g1\n# still running\n", "a.scn:9: error: unknown group nothing\n"},
      {"the mount machinery writes only into the statuses it added",
       {{"a.scn", kWorld + "systemStatus 00:1c:73:00:00:01\nmountState 00:1c:73:00:00:01 g1 mounted\n"},
        {"b.scn", kWorld + "publishStatus g1 /db/routes\n"}},
       "a.scn", 1, "", "a.scn:6: error: switch status 00:1c:73:00:00:01 has no group status g1\n"},
      {"a publish status goes only into a group's publish status", {}, "b.scn", 1, "",
       "b.scn:5: error: unknown publish group status g1\n"},
      {"a folder is not read", {{"a.scn", "echo not run\n"}}, "a.scn folder", 2, "",
       "hubstore-sim: cannot read 'folder': Is a directory\n"},
      {"a missing file is not read", {}, "a.scn missing.scn", 2, "",
       "hubstore-sim: cannot read 'missing.scn': No such file or directory\n"},
      {"help in a scenario is part of the transcript and quit ends every file",
       {{"a.scn", "help echo\necho before\nquit\necho after\n"}, {"b.scn", "echo not run either\n"}}, "a.scn b.scn",
       0, hubstore::sim::commandHelp(*hubstore::sim::findVerb("echo")) + "# before\n", ""},
      {"help of no command", {}, "help frobnicate", 2, "",
       "hubstore-sim: no command 'frobnicate' ('hubstore-sim help' lists them)\n"},
      {"help of a command", {}, "help when", 0, hubstore::sim::commandHelp(*hubstore::sim::findVerb("when")), ""},
      {"help alone lists the commands", {}, "help", 0, hubstore::sim::commandList(), ""},
      {"version", {}, "--version", 0, "hubstore-sim " HUBSTORE_VERSION_STRING "\n", ""},
      {"--trace overrides VEX_TRACE", {{"a.scn", kWorld + "group g1 m1\n"}}, "--trace=off a.scn", 0, "", "", "",
       " Ferrolink/0-8\t"},
      {"a trace command overrides VEX_TRACE", {{"b.scn", "trace off\n" + kWorld + "group g1 m1\n"}}, "b.scn", 0, "", "",
       "", "Ferrolink/5"},
      {"VEX_TRACE items that enable nothing are named and the others apply", {}, "a.scn", 0, kGroupTraces,
       "hubstore-sim: VEX_TRACE: ignored '5' (not FACILITY/LEVELS), '/5' (not FACILITY/LEVELS), 'Ferrolink/' (LEVELS "
       "is a comma list of levels 0-9 and ranges, or off), 'Ferrolink/x' (LEVELS is a comma list of levels 0-9 and "
       "ranges, or off), 'Other/5' (no facility Other), 'Ferrolink/7' (an earlier item set Ferrolink); the "
       "library's facility is Ferrolink, e.g. Ferrolink/5,7-8\n",
       "", "5 /5 Ferrolink/ Ferrolink/x Other/5 Ferrolink/5 Ferrolink/7"},
      {"--quiet keeps exceptions, errors and the status",
       {{"a.scn", kWorld + "echo hidden\ntrace 8\ngroup g1 m1\nmounter d default\ngroup g1 d\ngroupDel nothing\n"
                           "echo not run\n"}},
       "--quiet a.scn", 1, "error Vex::MutatorReinstantiatingException: " + kReinstantiation + "\n",
       "a.scn:10: error: unknown group nothing\n"},
      {"hooks that set each other off without end are stopped",
       {{"n.scn", kClosableGroup + "when m1 doInitialSwitchMountsComplete g1 initialMountsComplete g1 false\n"
                                   "when m1 doInitialSwitchMountsComplete g1 initialMountsComplete g1 true\n"
                                   "groupClosed g1 true\ninitialMountsComplete g1 true\necho done\n"}},
       "n.scn", 1, nestedHooks + "# done\n",
       "n.scn:9: error: not run: commands run by hooks nest 100 deep\n"
       "n.scn:10: error: not run: commands run by hooks nest 100 deep\n"},
      {"a failed assertion is preceded by the line that was running",
       {{"a.scn", "agent agentB\nmounter m1\n  service   svcA  # no records\n"}}, "a.scn", -1, "",
       "a.scn:3: while running: service svcA\nassertion failed: smc\n"},
      {"an assertion in a hook names both lines that were running",
       {{"b.scn", kClosableGroup + "group g2 m1\nwhen m1 doMountsComplete g1 groupClosed g2 true\n"}}, "b.scn -", -1,
       "# from standard input\nhook m1 doMountsComplete g1\n",
       "<stdin>:2: while running: groupClosed g1 true\n"
       "b.scn:10: in a hook, while running: groupClosed g2 true\n"
       "assertion failed: versionWhiteList() && \" mountgroup is missing version filter \"\n",
       "echo from standard input\ngroupClosed g1 true\n"},
      {"a repeat's bad braces are syntax errors",
       {{"a.scn", "echo first\nrepeat 300 allowedSwitch l 00:1c:73:00:00:{i:xx} true\n"}}, "a.scn", 2, "",
       "a.scn:2: error: '{i:xx}' holds numbers up to 255, and i goes up to 299\n"},
      {"a repeat names the command of its own that failed",
       {{"b.scn", kWorld + "mounter m2 counting\ngroup g1 m2\n"
                           "repeat 1..2 systemStatus 00:1c:73:00:00:0{i} g1=mounting\n"
                           "repeat g=1..2 mountState 00:1c:73:00:00:0{g} g{g} mounted\necho not run\n"}},
       "b.scn", 1, "",
       "b.scn:8: error: in 'mountState 00:1c:73:00:00:02 g2 mounted' (g=2): switch status 00:1c:73:00:00:02 has no "
       "group status g2\n"},
      {"a hook's command that a repeated when gave names its values",
       {{"d.scn", kClosableGroup + "repeat 2 when m1 doMountsComplete g1 groupDel x{i}\ngroupClosed g1 true\n"}},
       "d.scn", 1, "hook m1 doMountsComplete g1\n",
       "d.scn:9: error: in 'groupDel x0' (i=0): unknown group x0\n"
       "d.scn:9: error: in 'groupDel x1' (i=1): unknown group x1\n"},
      {"an assertion names the repeated command that was running",
       {{"c.scn", "agent agentB\nmounter m1\nrepeat 2 records\nrepeat 1 recordDel controller/status\n"
                  "repeat 2..3 service svc{i}\n"}},
       "c.scn", -1, "", "c.scn:5: while running: service svc2\nassertion failed: hubstoreStatus()\n"},
      {"a counting mounter prints no hook line and sums its calls", {{"h.scn", countingWorld}}, "h.scn", 0,
       "hookCounts m2 doHandleControllerMountState 4: unknown 0, mounting 3, mounted 0, unmounted 0, failed 1\n", ""},
      {"a default mounter counts nothing", {{"e.scn", kWorld + "mounter d default\nhookCounts d\n"}}, "e.scn", 1, "",
       "e.scn:6: error: mounter d is a default mounter: it counts no hook calls\n"},
      {"--json: one object per line with its kind and fields",
       {{"j.scn", kWorld + "echo \"say \\\"hi\\\"\" back\\slash\ntrace 5\ngroup g1 m1\ntrace off\n"
                           "systemStatus 00:1C:73:00:00:01 g1=mounting\nmounter d default\ngroup g1 d\n"
                           "serviceDel\nrecordDel controller/mount/config/service/agentB\n"
                           "recordDel controller/publish/config/service/agentB\ndump\nhelp quit\n"}},
       "--json j.scn", 0,
       R"({"kind":"echo","text":"say \"hi\" back\\slash"})" "\n"
       R"({"kind":"trace","level":5,"text":"doCheckMountAndPublishStatus g1 not complete"})" "\n"
       R"({"kind":"trace","level":5,"text":"handleInitialMountsComplete: no CSMG for group g1"})" "\n"
       R"({"kind":"hook","mounter":"m1","hook":"doHandleControllerMountState","group":"g1",)"
       R"("system":"00:1c:73:00:00:01","state":"mounting"})" "\n" + jsonError +
       R"({"kind":"dump","line":"dump begin"})" "\n"
       R"({"kind":"dump","line":"mountConfig = none"})" "\n"
       R"({"kind":"dump","line":"publishConfig = none"})" "\n"
       R"({"kind":"dump","line":"dump end"})" "\n" + quitHelp,
       ""},
      {"--json: hook counts", {}, "--json h.scn", 0,
       R"({"kind":"hookCounts","mounter":"m2","hook":"doHandleControllerMountState","calls":4,"unknown":0,)"
       R"("mounting":3,"mounted":0,"unmounted":0,"failed":1})" "\n",
       ""},
      {"--json: a hook that names only its group",
       {{"k.scn", kClosableGroup + "groupClosed g1 true\nmounter d default\ngroup g1 d\n"}}, "--json k.scn", 0,
       R"({"kind":"hook","mounter":"m1","hook":"doMountsComplete","group":"g1"})" "\n" + jsonError, ""},
      {"--json --quiet keeps the error lines", {}, "--json --quiet k.scn", 0, jsonError, ""},
      {"at a terminal an error does not end the session, and Ctrl-D ends it on a line of its own", {}, "", 0,
       kGreeting + kPrompt + kPrompt + "# hello\n" + kPrompt + "<stdin>:3: error: unknown command 'frobnicate'\n" +
           kPrompt + "<stdin>:4: error: no service (create one with 'service NAME')\n" + kPrompt +
           hubstore::sim::commandHelp(*hubstore::sim::findVerb("whenDel")) + kPrompt + kPrompt + kPrompt + kPrompt +
           kPrompt + "hook m1 doHandleControllerMountState 00:1c:73:00:00:01 g1 mounted\n" + kPrompt + "\n",
       "", "agent agentB\necho hello\nfrobnicate\ngroupDel g9\nhelp whenDel\n"
       "records\nmounter m1\nservice svcA\ngroup g1 m1\nsystemStatus 00:1c:73:00:00:01 g1=mounted\n\x04",
       nullptr, true},
      {"at a terminal quit ends the session right away", {}, "", 0, kGreeting + kPrompt + "# one\n" + kPrompt, "",
       "echo one\nquit\necho two\n", nullptr, true},
  };
  for (const SimCase& run : runs) {
    SCOPED_TRACE(run.what);
    for (const auto& [name, text] : run.files) write(name, text);
    const SimRun got = run.atTerminal ? onTerminal(run.input) : sim(run.args, run.input, run.vexTrace);
    EXPECT_EQ(got.status, run.status);
    EXPECT_EQ(got.out, run.out);
    EXPECT_EQ(got.err, run.err);
  }
}

TEST_F(SimCommandLine, TheTimelineIsWrittenWhenTheRunEndsAlsoAfterAnError) {
  write("a.scn", kWorld + "systemStatus 00:1c:73:00:00:01\ngroupDel nothing\n");
  for (const char* args : {"--timeline page.html a.scn", "--timeline=page.html a.scn"}) {
    fs::remove(dir_ / "page.html");
    EXPECT_EQ(sim(args).status, 1) << args;
    // Named for its file; the last step is file 0's line 6.
    const std::string page = slurp(dir_ / "page.html");
    EXPECT_NE(page.find("{\"title\":\"a.scn\""), std::string::npos) << args;
    EXPECT_NE(page.find("[0,6,\"groupDel nothing\"]"), std::string::npos) << args;
  }
}

TEST_F(SimCommandLine, MetricsAreTheRunsLastAlsoWhenItReleasedItsService) {
  const std::string g1Mounted = "hubstore_group_switches{service=\"svcA\",group=\"g1\",state=\"mounted\"} 1\n";
  const std::string mounted = kWorld + "group g1 m1\nsystemStatus 00:1c:73:00:00:01 g1=mounted\n";
  // Released, then the switch unmounts: the file holds the numbers of the moment of release.
  write("a.scn", mounted);
  write("b.scn", mounted + "serviceDel\nmountState 00:1c:73:00:00:01 g1 unmounted\n");
  ASSERT_EQ(std::pair(sim("--metrics live.prom a.scn").status, sim("--metrics released.prom b.scn").status),
            std::pair(0, 0));
  const std::string live = slurp(dir_ / "live.prom");
  EXPECT_NE(live.find(g1Mounted), std::string::npos) << live;
  // Up to the hooks' durations, which are measured.
  auto untimed = [](const std::string& text) { return text.substr(0, text.find("# HELP hubstore_hook_duration")); };
  EXPECT_EQ(untimed(slurp(dir_ / "released.prom")), untimed(live));
}

// A usage error ends with status 2 and shows the usage on standard error;
// help ends with 0 and shows it, and the commands, on standard output.
TEST_F(SimCommandLine, UsageErrorsAndHelp) {
  write("a.scn", "echo x\n");
  // No file and standard input not a terminal is a usage error too.
  for (const std::string args : {"", "--trace=5-x a.scn", "--loud a.scn", "help when echo", "a.scn --timeline",
                                 "--timeline= a.scn", "--timeline no/such/dir/page.html a.scn", "--help", "-h"}) {
    const SimRun run = sim(args);
    const bool help = args == "--help" || args == "-h";
    EXPECT_EQ(run.status, help ? 0 : 2) << args;
    EXPECT_TRUE(help ? run.out.starts_with("usage: hubstore-sim") && run.out.ends_with(hubstore::sim::commandList())
                     : run.out.empty() && run.err.find("usage: hubstore-sim") != std::string::npos)
        << args << ": " << run.out << run.err;
  }
}

}  // namespace
