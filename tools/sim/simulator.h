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

namespace Controller {
class HubstoreServiceMountGroup;
class ServiceMountStatus;
class ServicePublishStatus;
class SwitchWhiteList;
class SystemStatus;
class VersionWhiteList;
}  // namespace Controller

namespace hubstore::sim {

class RecordingMounter;
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

  // Whether `verb` is a command it runs.
  static bool knows(std::string_view verb);

  // The world as the library sees it, for tools that check it from outside
  // between commands (the fuzzer's invariants). The service is null when
  // there is none.
  const Vex::Ptr<Controller::HubstoreService>& currentService() const { return service_; }
  Mirra::EntityManager& entityManager() const { return *em_; }

 private:
  class Running;
  using Handler = void (Simulator::*)(const Command&);
  static void writeAssertionContext(void* simulator);
  static const std::map<std::string, Handler, std::less<>>& handlers();
  // Runs a line: what leaves its library call is printed.
  void execute(const Command& command);
  // Runs the commands of a repeat line, each as a line of its own.
  void runRepeated(const Command& repeat);
  // Runs `work`, printing what leaves a library call.
  template <class Work>
  void printingExceptions(Work work);
  void placeRecord(const Vex::String& path, const Vex::Ptr<Vex::Entity>& record);
  // Runs a command's handler; everything it throws leaves.
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
  Vex::Ptr<RecordingMounter> recordingMounter(const std::string& name) const;
  Vex::Ptr<Controller::ServiceMountStatus> mountStatusRecord() const;
  Vex::Ptr<Controller::ServicePublishStatus> publishStatusRecord() const;
  Vex::Ptr<Controller::SystemStatus> systemStatusRecord(const std::string& system) const;

  // The world
  void agentCommand(const Command& c);
  void recordsCommand(const Command& c);
  void recordCommand(const Command& c);
  void recordDelCommand(const Command& c);
  void leaderGenIdCommand(const Command& c);
  void setCommand(const Command& c);
  void unsetCommand(const Command& c);
  void restartCommand(const Command& c);
  // The mount machinery
  void systemStatusCommand(const Command& c);
  void systemStatusDelCommand(const Command& c);
  void serviceMountGroupStatusCommand(const Command& c);
  void serviceMountGroupStatusDelCommand(const Command& c);
  void mountStateCommand(const Command& c);
  void initialMountsCompleteCommand(const Command& c);
  void initialMountsCompleteDelCommand(const Command& c);
  void mountedPathPrefixCommand(const Command& c);
  void mountedPathPrefixDelCommand(const Command& c);
  void publishGroupStatusCommand(const Command& c);
  void publishGroupStatusDelCommand(const Command& c);
  void publishStatusCommand(const Command& c);
  void publishStatusDelCommand(const Command& c);
  // The agent
  void mounterCommand(const Command& c);
  void serviceCommand(const Command& c);
  void serviceDelCommand(const Command& c);
  void closedCommand(const Command& c);
  void publishMountsSynchronizedCommand(const Command& c);
  void reportMountStatesCommand(const Command& c);
  void groupCommand(const Command& c);
  void groupDelCommand(const Command& c);
  void controllerMountCommand(const Command& c);
  void publishMountCommand(const Command& c);
  void perSwitchPublishMountCommand(const Command& c);
  void controllerMountDelCommand(const Command& c);
  void publishMountDelCommand(const Command& c);
  void perSwitchPublishMountDelCommand(const Command& c);
  void controllerMountDelAllCommand(const Command& c);
  void publishMountDelAllCommand(const Command& c);
  void perSwitchPublishMountDelAllCommand(const Command& c);
  void publishActiveCommand(const Command& c);
  void groupSwitchWhiteListCommand(const Command& c);
  void groupVersionWhiteListCommand(const Command& c);
  void groupClosedCommand(const Command& c);
  void groupPreserveMountsOnDisconnectCommand(const Command& c);
  void switchWhiteListCommand(const Command& c);
  void switchWhiteListDelCommand(const Command& c);
  void allowedSwitchCommand(const Command& c);
  void allowedSwitchDelCommand(const Command& c);
  void allowedSwitchDelAllCommand(const Command& c);
  void versionWhiteListCommand(const Command& c);
  void versionWhiteListDelCommand(const Command& c);
  void allowedVersionCommand(const Command& c);
  void allowedVersionDelCommand(const Command& c);
  void allowedVersionDelAllCommand(const Command& c);
  void whenCommand(const Command& c);
  void whenDelCommand(const Command& c);
  // The tool
  void traceCommand(const Command& c);
  void dumpCommand(const Command& c);
  void explainCommand(const Command& c);
  void hookCountsCommand(const Command& c);
  void echoCommand(const Command& c);
  void helpCommand(const Command& c);
  void quitCommand(const Command& c);

  Output& out_;
  Vex::Ptr<Mirra::EntityManager> em_;
  Vex::Ptr<Mirra::Agent> agent_;
  // Where the agent's mount status record is, looked up at every status write.
  Vex::String mountStatusPath_;
  std::map<std::string, Vex::Ptr<Controller::HubstoreServiceMounter>> mounters_;
  Vex::Ptr<Controller::HubstoreService> service_;

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
