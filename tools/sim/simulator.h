#pragma once
// The simulated controller that runs a scenario: one state database (entity
// manager), the hosting agent, the agent's mounters by name, and at most one
// HubstoreService. Each command is either a call the agent makes into the
// library or a write the mount machinery makes to a status record; what the
// library does in answer is printed on the Output as it happens.
//
//   Output out(stdout);
//   Simulator sim(out);
//   int status = sim.run(parseScenario("a.scn", text).commands, stderr);
//
// The agent holds a counted reference to its service and its mounters and to
// nothing else of the library: groups and allow-lists are found by name
// through the service at each command, so serviceDel, groupDel and the list
// deletions release exactly what the library itself no longer holds.
//
// An exception that leaves a library call is printed ("error TYPE: MESSAGE")
// and the run goes on. A command that cannot run (an unknown object, no
// agent, no service, ...) ends the run with status 1.
//
// A recording mounter's hook may run commands (`when`) in the middle of a
// library call. Such a command that cannot run is reported at the line of its
// `when`, does nothing, and the run goes on to end with status 1; an exception
// of its library call is not caught here but leaves the hook, and so the
// library call that led to the hook. The world may change under a running
// command: the service may be gone, a group deleted, when its library call
// returns.
//
// The world lives as long as the Simulator; several runs share it. When it is
// destroyed the simulated process ends: its teardown prints nothing. Its trace
// sink and assertion context are the process's: one Simulator at a time.

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <hubstore/foundations/platform/agent.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/service/hubstore_service_mounter.h>
#include "tools/sim/output.h"
#include "tools/sim/record_store.h"
#include "tools/sim/scenario_parser.h"
#include "tools/sim/verb_table.h"

namespace Controller {
class HubstoreServiceMountGroup;
class ServiceMountGroupStatus;
class ServiceMountStatus;
class ServicePublishGroupStatus;
class ServicePublishStatus;
class SwitchWhiteList;
class SystemStatus;
class VersionWhiteList;
}  // namespace Controller

namespace hubstore::sim {

class ScenarioMounter;
class Timeline;

class Simulator {
 public:
  // Installs itself as the library's trace sink, leaving the levels as the
  // environment set them (VEX_TRACE), and as the writer of the context of a
  // failed assertion: "FILE:LINE: while running: COMMAND" for the scenario's
  // line, then "FILE:LINE: in a hook, while running: COMMAND" for each
  // command a hook runs inside it, with the line of its `when`.
  explicit Simulator(Output& out);
  ~Simulator();
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  // Bit L enables trace level L, as parseTraceLevels() gives it.
  void traceLevelsIs(std::uint32_t mask);
  // Records every step of the runs that follow into `timeline` (null: none),
  // which must outlive them.
  void timelineIs(Timeline* timeline) { timeline_ = timeline; }

  // Runs `commands` in order. Returns 0 when every command ran; at the first
  // that could not, writes "FILE:LINE: error: MESSAGE" to `errors` and
  // returns 1 without running the rest. A command run by a hook that could
  // not run is written there too, and the run goes on to return 1. After
  // `quit` nothing runs, in this run or any later one.
  int run(const std::vector<Command>& commands, std::FILE* errors);

  // `quit` has run.
  bool ended() const { return ended_; }

  // Keeps the records in `store` too (not owned; null for none): the agent's
  // records are placed and removed through it, and it has a turn after each
  // command.
  void storeIs(RecordStore* store) { store_ = store; }
  // A turn of the store outside a command (--follow): what other processes
  // wrote reaches the records, and an exception that leaves a hook is printed
  // as a command's is.
  void followStore();

  // The rows of the verb table (verb_table.h), one section each, with the
  // code that runs each verb.
  static VerbSection worldVerbs();
  static VerbSection machineryVerbs();
  static VerbSection agentVerbs();
  static VerbSection hookVerbs();
  static VerbSection fleetVerbs();
  static VerbSection toolVerbs();

  // The world as the library sees it, for tools that check it from outside
  // between commands (the fuzzer's invariants). The service is null when
  // there is none.
  const Vex::Ptr<Controller::HubstoreService>& currentService() const { return service_; }
  // The service's numbers (when there is one) and the store's (with --store)
  // in the Prometheus text format.
  std::string metricsText() const;
  // The numbers a run ends with, for --metrics: those of metricsText(), or,
  // when the run released its service, the service's as they stood just
  // before the release (kept from the time releasedServiceMetricsKeptIs(true)
  // is called), with the store's.
  std::string lastMetricsText() const;
  void releasedServiceMetricsKeptIs(bool kept) { releasedServiceMetricsKept_ = kept; }
  Mirra::EntityManager& entityManager() const { return *em_; }

 private:
  class Running;
  static void writeAssertionContext(void* simulator);
  // Runs a line: what leaves its library call is printed.
  void execute(const Command& command);
  // Runs the commands of a repeat line, each as a line of its own.
  void runRepeated(const Command& repeat);
  // Runs `work`, printing what leaves a library call.
  template <class Work>
  void printingExceptions(Work work);
  void placeRecord(const Vex::String& path, const Vex::Ptr<Vex::Entity>& record);
  // Drops the agent's reference to the service (serviceDel, restart).
  void releaseService();
  // Runs a command's verb; everything it throws leaves.
  void dispatch(const Command& command);
  // Runs a command for a hook (the recording mounters' runner).
  void runHookAction(const Command& command);
  void reportError(const Command& command, const char* message);
  // Tell the timeline, if there is one, what a command wrote.
  void switchTouched(const std::string& system);
  void everythingTouched();
  void stepEnd();

  // Lookups that raise ScenarioError when the object is not there.
  const Vex::String& agentName() const;
  Controller::HubstoreService& service() const;
  Vex::Ptr<Controller::HubstoreServiceMountGroup> group(const std::string& name) const;
  Vex::Ptr<Controller::SwitchWhiteList> switchList(const std::string& name) const;
  Vex::Ptr<Controller::VersionWhiteList> versionList(const std::string& name) const;
  Vex::Ptr<Controller::HubstoreServiceMounter> mounter(const std::string& name) const;
  Vex::Ptr<ScenarioMounter> scenarioMounter(const std::string& name) const;
  Vex::Ptr<Controller::ServiceMountStatus> mountStatusRecord() const;
  Vex::Ptr<Controller::ServicePublishStatus> publishStatusRecord() const;
  Vex::Ptr<Controller::SystemStatus> systemStatusRecord(const std::string& system) const;
  Vex::Ptr<Controller::ServiceMountGroupStatus> mountGroupStatusRecord(const std::string& system,
                                                                       const std::string& group) const;
  Vex::Ptr<Controller::ServicePublishGroupStatus> publishGroupStatusRecord(const std::string& group) const;

  Output& out_;
  Vex::Ptr<Mirra::EntityManager> em_;
  Vex::Ptr<Mirra::Agent> agent_;
  // Where the agent's mount status record is, looked up at every status write.
  Vex::String mountStatusPath_;
  std::map<std::string, Vex::Ptr<Controller::HubstoreServiceMounter>> mounters_;
  Vex::Ptr<Controller::HubstoreService> service_;
  bool releasedServiceMetricsKept_ = false;
  std::string releasedServiceMetrics_;

  Timeline* timeline_ = nullptr;
  std::FILE* errors_ = stderr;
  // A command run by a hook could not run.
  bool hookActionFailed_ = false;
  // The scenario's line that is running now, then the commands run by hooks
  // inside it, one inside the other.
  std::vector<const Command*> running_;
  bool ended_ = false;
  RecordStore* store_ = nullptr;
};

}  // namespace hubstore::sim
