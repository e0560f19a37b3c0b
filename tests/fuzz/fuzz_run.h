#pragma once
// One fuzz input's run: a fresh simulated world (hubstore-sim's Simulator)
// that takes scenario commands one at a time and checks the invariants of
// world_invariants.h after each.
//
//   FuzzRun run(scenarioText);
//   for (const sim::Command& c : parseScenario("fuzz", scenarioText).commands) run.step(c);
//   run.finish();   // last checks, then the world goes and nothing may survive it
//
// Steering: a command that would end in one of the library's documented
// fatal assertions is skipped, so that an abort always means a finding:
//   - `service` while the agent or one of its five records is missing or of
//     another type (the service asserts them);
//   - `groupClosed G true` for an open group without a version allow-list.
// The commands hooks run (`when`) never include these two (command_alphabet.h).
//
// A command that cannot run (unknown object, no service) is reported by the
// simulator as an error and the run goes on; exceptions that leave the
// library are printed by the simulator and the run goes on too.
//
// Checks (a violation prints "invariant violated: ..." with the scenario and
// aborts):
//   - once a command released the service (serviceDel, restart), none of
//     its objects is alive;
//   - after a `groupClosed G true` that closed the group, groupCloseViolations,
//     unless a hook may have acted during the close (any `when` so far);
//   - after every command, allowListFilterViolations, unless the scenario
//     edited the configuration records while the service lived;
//   - after `dump` and at finish(), the dump reads back through `set`;
//   - every hook line the mounters print names a group the service has at
//     that moment (checked as the line is written);
//   - at finish(), once the world is gone, no counted object is alive.

#include <sys/types.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/sim/output.h"
#include "tools/sim/scenario_parser.h"
#include "tools/sim/simulator.h"

namespace hubstore::fuzz {

class FuzzRun {
 public:
  // `scenario` is only quoted when an invariant is violated.
  explicit FuzzRun(std::string_view scenario);
  FuzzRun(const FuzzRun&) = delete;
  FuzzRun& operator=(const FuzzRun&) = delete;

  void step(const sim::Command& command);
  // The input's last checks; releases the world. No step may follow.
  void finish();

 private:
  // False when the command would end in a documented fatal assertion.
  bool steer(const sim::Command& command) const;
  bool serviceRecordsComplete() const;
  void check(const std::vector<std::string>& violations);
  // Prints the violation and the scenario, and aborts.
  void violated(const std::string& what);

  // The simulator's transcript arrives here, a piece at a time.
  static ssize_t written(void* cookie, const char* data, std::size_t size);
  void outputLine(std::string_view line);

  std::string scenario_;
  const sim::Command* current_ = nullptr;
  // The scenario took records out of the configurations of the live service.
  bool configurationEdited_ = false;
  // Hooks were given commands to run.
  bool hooksAct_ = false;
  std::string partialLine_;
  // Declared before the Output and the Simulator that write to them.
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> transcript_;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> errors_;
  sim::Output out_;
  std::optional<sim::Simulator> sim_;
};

}  // namespace hubstore::fuzz
