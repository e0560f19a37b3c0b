#pragma once
// What a scenario did, step by step, for `hubstore-sim --timeline FILE.html`:
// each switch's mount state for each group over the scenario's steps (a step
// is one line of the scenario, with whatever the hooks it led to ran), the
// hook calls of the recording mounters, and the errors.
//
//   Timeline timeline;
//   simulator.timelineIs(&timeline);   // the simulator feeds it
//   simulator.run(commands, stderr);
//   timeline.writeHtml(file, "quickstart.scn");
//
// The simulator tells it which switch statuses a command wrote
// (switchTouched) or that the status records themselves may have changed
// (everythingTouched); at the end of the step it compares those switches with
// the mount status record and keeps what changed. So the cost of a step is
// the switches it wrote, not the fleet.
//
// writeHtml() writes one self-contained page: inline style, script and data,
// nothing fetched. Switches and groups are in name order.

#include <map>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tools/sim/mounter_hook.h"
#include "tools/sim/scenario_parser.h"

namespace Controller {
class HubstoreService;
class ServiceMountStatus;
}  // namespace Controller

namespace hubstore::sim {

class Timeline {
 public:
  // A group status's state once a step ended; `noStatus` when the switch
  // status or its group status is gone.
  static constexpr int noStatus = -1;

  struct Step {
    std::string file;
    int line;
    std::string text;
  };
  struct Change {
    std::size_t step;
    std::string system;
    std::string group;
    int state;  // a Controller::MountState, or noStatus
  };
  struct Hook {
    std::size_t step;
    HookCall call;
  };
  struct Error {
    std::size_t step;
    std::string message;
  };

  void stepBegin(const Command& command);
  void switchTouched(std::string_view system);
  void everythingTouched() { everythingTouched_ = true; }
  // Ends the step: records the state changes of the switches touched, read
  // from `status` (null: there is no mount status record), and the groups
  // `service` declares (null: no service).
  void stepEnd(const Controller::ServiceMountStatus* status, const Controller::HubstoreService* service);
  // Recorded against the step that is running; ignored outside a step.
  void hookCalled(const HookCall& call);
  void errorRaised(std::string_view message);

  const std::vector<Step>& steps() const { return steps_; }
  const std::vector<Change>& changes() const { return changes_; }
  const std::vector<Hook>& hooks() const { return hooks_; }
  const std::vector<Error>& errors() const { return errors_; }
  // Every group seen: in a status, declared, or named by a hook.
  const std::set<std::string>& groups() const { return groups_; }

  void writeHtml(std::ostream& out, std::string_view title) const;

 private:
  // Each switch's group states at the end of the last step.
  using GroupStates = std::map<std::string, int>;

  void compare(const std::string& system, const GroupStates& now);

  std::vector<Step> steps_;
  std::vector<Change> changes_;
  std::vector<Hook> hooks_;
  std::vector<Error> errors_;
  std::map<std::string, GroupStates> last_;
  std::set<std::string> touched_;
  bool everythingTouched_ = false;
  bool inStep_ = false;
  std::set<std::string> groups_;
};

}  // namespace hubstore::sim
