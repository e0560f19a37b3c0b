// Runs the built hubstore-sim with its options, which the scenario tests
// (bare file, no options) cannot reach.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

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
    dir_ = fs::temp_directory_path() /
           ("hubstore_sim_cli_" + std::to_string(::getpid()) + "_" +
            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  std::string write(const std::string& name, const std::string& text) {
    std::ofstream(dir_ / name) << text;
    return name;
  }
  static std::string slurp(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  }
  // Runs the sim in the test's folder with `args`, a shell word list.
  SimRun sim(const std::string& args, const std::string& input = "") {
    write("stdin", input);
    const std::string command = "cd '" + dir_.string() + "' && '" HUBSTORE_SIM_PATH "' " + args +
                                " <stdin >stdout 2>stderr";
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(dir_ / "stdout"), slurp(dir_ / "stderr")};
  }

  fs::path dir_;
};

const std::string kWorld = "agent agentB\nrecords\nmounter m1\nservice svcA\n";

TEST_F(SimCommandLine, QuietKeepsExceptionsErrorsAndTheStatus) {
  write("a.scn", kWorld +
                     "echo hidden\ntrace 8\ngroup g1 m1\nmounter d default\n"
                     "group g1 d\ngroupDel nothing\necho not run\n");
  const SimRun run = sim("--quiet a.scn");
  EXPECT_EQ(run.status, 1);
  // The exception line alone: no echo, trace or hook line.
  EXPECT_EQ(run.out.rfind("error Vex::MutatorReinstantiatingException: ", 0), 0u) << run.out;
  EXPECT_EQ(run.out.find('\n'), run.out.size() - 1) << run.out;
  EXPECT_EQ(run.err, "a.scn:10: error: unknown group nothing\n");
}

TEST_F(SimCommandLine, FilesAndStandardInputRunInOneWorldWithTracingFromTheStart) {
  write("a.scn", kWorld);
  const SimRun run = sim("--trace=5 a.scn - ", "group g1 m1\n");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out,
            "trace 5 doCheckMountAndPublishStatus g1 not complete\n"
            "trace 5 handleInitialMountsComplete: no CSMG for group g1\n");
}

TEST_F(SimCommandLine, SyntaxErrorsOfEveryFileAreReportedAndNothingRuns) {
  write("a.scn", "echo first\nclosed maybe\n");
  write("b.scn", "echo second\nfrobnicate\n");
  const SimRun run = sim("a.scn b.scn");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "a.scn:2: error: 'closed' takes BOOL (true or false), got 'maybe'\n"
            "b.scn:2: error: unknown command 'frobnicate'\n");
}

const std::string kClosableGroup = kWorld +
                                   "versionWhiteList v\ngroup g1 m1\ngroupVersionWhiteList g1 v\n"
                                   "publishGroupStatus g1\n";

TEST_F(SimCommandLine, ACommandAHookCannotRunIsReportedAtItsWhenAndTheRunGoesOn) {
  write("a.scn", kClosableGroup +
                     "when m1 doMountsComplete g1 groupDel nothing\n"
                     "groupClosed g1 true\necho still running\n");
  const SimRun run = sim("a.scn");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "a.scn:9: error: unknown group nothing\n");
  EXPECT_EQ(run.out, "hook m1 doMountsComplete g1\n# still running\n");
}

TEST_F(SimCommandLine, HooksThatSetEachOtherOffWithoutEndAreStopped) {
  // Each true calls the hook, whose second action writes true again.
  write("a.scn", kClosableGroup +
                     "when m1 doInitialSwitchMountsComplete g1 initialMountsComplete g1 false\n"
                     "when m1 doInitialSwitchMountsComplete g1 initialMountsComplete g1 true\n"
                     "groupClosed g1 true\ninitialMountsComplete g1 true\necho done\n");
  const SimRun run = sim("a.scn");
  EXPECT_EQ(run.status, 1);
  const std::string stopped = "error: not run: commands run by hooks nest 100 deep\n";
  EXPECT_EQ(run.err, "a.scn:9: " + stopped + "a.scn:10: " + stopped);
  std::size_t calls = 0;
  for (std::size_t at = 0; (at = run.out.find("doInitialSwitchMountsComplete", at)) != std::string::npos; ++at) {
    ++calls;
  }
  EXPECT_EQ(calls, 101u);
  EXPECT_EQ(run.out.substr(run.out.size() - 7), "# done\n");
}

TEST_F(SimCommandLine, UsageErrorsEndWithStatusTwo) {
  for (const char* args : {"", "--trace=5-x a.scn", "--loud a.scn", "missing.scn"}) {
    write("a.scn", "echo x\n");
    const SimRun run = sim(args);
    EXPECT_EQ(run.status, 2) << args;
    EXPECT_EQ(run.out, "") << args;
    EXPECT_NE(run.err.find("usage: hubstore-sim"), std::string::npos) << args;
  }
  const SimRun help = sim("--help");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.rfind("usage: hubstore-sim", 0), 0u);
}

}  // namespace
