#include "tools/sim/simulator.h"

#include <exception>
#include <set>
#include <string_view>

#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/foundations/framework/assert.h>
#include <hubstore/foundations/framework/exception.h>
#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/foundations/records/hubstore_status.h>
#include <hubstore/foundations/records/mount_state.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_mount_group_status.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include <hubstore/foundations/records/service_publish_status.h>
#include <hubstore/foundations/records/system_id.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include "tools/sim/command_reference.h"
#include "tools/sim/config_dump.h"
#include "tools/sim/recording_mounter.h"
#include "tools/sim/scenario_error.h"
#include "tools/sim/timeline.h"

namespace hubstore::sim {

using Controller::HubstoreServiceMountGroup;
using Controller::ServiceMountStatus;
using Controller::ServicePublishStatus;
using Controller::SystemStatus;

namespace {

constexpr std::string_view kHubstoreStatusPath = "controller/status";

std::string mountStatusPath(const Vex::String& agent) {
  return "controller/mount/status/service/" + agent.stdString();
}
std::string publishStatusPath(const Vex::String& agent) {
  return "controller/publish/status/service/" + agent.stdString();
}

bool boolArg(const std::string& word) { return word == "true"; }

Controller::MountState stateArg(const std::string& word) {
  // The parser accepted only the five names.
  return *Controller::mountStateFromName(word);
}

std::uint32_t versionArg(const std::string& word) { return static_cast<std::uint32_t>(std::stoul(word)); }

// A record is named by the last component of its path.
Vex::Name recordName(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return Vex::Name(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

Vex::Ptr<Vex::Entity> newRecord(const std::string& type, const Vex::Name& name) {
  if (type == "Hubstore::Status") return Hubstore::Status::StatusIs(name);
  if (type == "Controller::ServiceMountConfig") return Controller::ServiceMountConfig::ServiceMountConfigIs(name);
  if (type == "Controller::ServiceMountStatus") return ServiceMountStatus::ServiceMountStatusIs(name);
  if (type == "Controller::ServicePublishConfig") return Controller::ServicePublishConfig::ServicePublishConfigIs(name);
  return ServicePublishStatus::ServicePublishStatusIs(name);
}

template <class Record>
Vex::Ptr<Record> recordAt(const Mirra::EntityManager& em, const Vex::String& path, std::string_view type) {
  auto record = Vex::ptr_cast<Record>(em.getEntity(path));
  if (!record) throw ScenarioError("no " + std::string(type) + " at " + path.stdString());
  return record;
}

// A member that a record's collection hands out const, made writable: the
// mount machinery owns the status records and writes them through their
// setters. One lookup where a check and a writable lookup (`...Is(name)`,
// which returns an existing member as it is) would be two, on the path that a
// fleet's every state change takes.
template <class Record>
Vex::Ptr<Record> writable(const Record* member) {
  return Vex::Ptr<Record>(const_cast<Record*>(member));
}

}  // namespace

// Holds a command in the list of those running for as long as it runs, so that
// a failed assertion can name them.
class Simulator::Running {
 public:
  Running(Simulator& simulator, const Command& command) : running_(simulator.running_) {
    running_.push_back(&command);
  }
  ~Running() { running_.pop_back(); }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

 private:
  std::vector<const Command*>& running_;
};

Simulator::Simulator(Output& out) : out_(out), em_(Mirra::EntityManager::EntityManagerIs()) {
  Vex::traceSinkIs(&out_);
  Vex::assertionContextIs(&Simulator::writeAssertionContext, this);
}

Simulator::~Simulator() {
  // The simulated process ends; a dying process is seen doing nothing.
  Output::Muted muted(out_);
  service_ = nullptr;
  mounters_.clear();
  Controller::globalAgent = nullptr;
  agent_ = nullptr;
  em_ = nullptr;
  Vex::traceSinkIs(nullptr);
  Vex::assertionContextIs(nullptr, nullptr);
}

void Simulator::writeAssertionContext(void* simulator) {
  const std::vector<const Command*>& running = static_cast<Simulator*>(simulator)->running_;
  for (std::size_t i = 0; i < running.size(); ++i) {
    std::fprintf(stderr, "%s:%d: %swhile running: %s\n", running[i]->file.c_str(), running[i]->line,
                 i == 0 ? "" : "in a hook, ", running[i]->source.c_str());
  }
}

void Simulator::traceLevelsIs(std::uint32_t mask) { Controller::ferrolink.levelsIs(mask); }

int Simulator::run(const std::vector<Command>& commands, std::FILE* errors) {
  errors_ = errors;
  hookActionFailed_ = false;
  for (const Command& command : commands) {
    if (ended_) break;
    if (timeline_) timeline_->stepBegin(command);
    try {
      if (command.repetition) {
        runRepeated(command);
      } else {
        execute(command);
      }
    } catch (const ScenarioError& error) {
      reportError(command, error.what());
      stepEnd();
      return 1;
    }
    stepEnd();
  }
  return hookActionFailed_ ? 1 : 0;
}

void Simulator::runRepeated(const Command& repeat) {
  const auto error = forEachRepeated(repeat, [this](const Command& command) {
    try {
      execute(command);
    } catch (const ScenarioError& error) {
      throw ScenarioError(repeatedCommandError(command, error.what()));
    }
    return !ended_;
  });
  if (error) throw ScenarioError(*error);
}

void Simulator::reportError(const Command& command, const char* message) {
  // A hook's command that a repeated `when` gave names its values.
  const std::string text = command.bindings.empty() ? message : repeatedCommandError(command, message);
  std::fflush(stdout);
  std::fprintf(errors_, "%s:%d: error: %s\n", command.file.c_str(), command.line, text.c_str());
  std::fflush(errors_);
  if (timeline_) timeline_->errorRaised(command.file + ":" + std::to_string(command.line) + ": error: " + text);
}

void Simulator::switchTouched(const std::string& system) {
  if (timeline_) timeline_->switchTouched(system);
}

void Simulator::everythingTouched() {
  if (timeline_) timeline_->everythingTouched();
}

void Simulator::stepEnd() {
  if (!timeline_) return;
  Vex::Ptr<ServiceMountStatus> status;
  if (agent_) status = Vex::ptr_cast<ServiceMountStatus>(em_->getEntity(mountStatusPath(agent_->name())));
  timeline_->stepEnd(status.get(), service_.get());
}

template <class Work>
void Simulator::printingExceptions(Work work) {
  try {
    work();
  } catch (const ScenarioError&) {
    throw;
  } catch (const Vex::Exception& e) {
    out_.exceptionLine(e.typeName(), e.message().view());
    if (timeline_) timeline_->errorRaised(std::string(e.typeName()) + ": " + e.message().stdString());
  } catch (const std::exception& e) {
    out_.exceptionLine("std::exception", e.what());
    if (timeline_) timeline_->errorRaised(std::string("std::exception: ") + e.what());
  }
}

void Simulator::execute(const Command& command) {
  const Running running(*this, command);
  printingExceptions([&] { dispatch(command); });
  if (store_) printingExceptions([this] { store_->process(); });
}

void Simulator::followStore() {
  if (store_) printingExceptions([this] { store_->process(); });
}

void Simulator::dispatch(const Command& command) {
  const auto& table = handlers();
  const auto handler = table.find(command.verb);
  if (handler == table.end()) throw ScenarioError("no such command '" + command.verb + "'");
  if (store_) {
    // The side a process writes is the side it keeps in the store.
    static const std::set<std::string, std::less<>> configWrites = {"service", "set", "unset", "restart"};
    static const std::set<std::string, std::less<>> statusWrites = {
        "systemStatus", "systemStatusDel", "serviceMountGroupStatus", "serviceMountGroupStatusDel", "mountState",
        "initialMountsComplete", "initialMountsCompleteDel", "mountedPathPrefix", "mountedPathPrefixDel",
        "publishGroupStatus", "publishGroupStatusDel", "publishStatus", "publishStatusDel", "leaderGenId"};
    if (configWrites.count(command.verb)) store_->ownedIs(RecordStore::Side::config);
    if (statusWrites.count(command.verb)) store_->ownedIs(RecordStore::Side::status);
  }
  (this->*handler->second)(command);
}

void Simulator::runHookAction(const Command& command) {
  // Hooks whose commands call them again without end would exhaust the stack.
  // The scenario's own line runs below them.
  constexpr std::size_t kMaxDepth = 100;
  if (running_.size() > kMaxDepth) {
    reportError(command, ("not run: commands run by hooks nest " + std::to_string(kMaxDepth) + " deep").c_str());
    hookActionFailed_ = true;
    return;
  }
  const Running running(*this, command);
  try {
    dispatch(command);
  } catch (const ScenarioError& error) {
    reportError(command, error.what());
    hookActionFailed_ = true;
  }
}

const std::map<std::string, Simulator::Handler, std::less<>>& Simulator::handlers() {
  static const std::map<std::string, Handler, std::less<>> table = {
      {"agent", &Simulator::agentCommand},
      {"records", &Simulator::recordsCommand},
      {"record", &Simulator::recordCommand},
      {"recordDel", &Simulator::recordDelCommand},
      {"leaderGenId", &Simulator::leaderGenIdCommand},
      {"set", &Simulator::setCommand},
      {"unset", &Simulator::unsetCommand},
      {"restart", &Simulator::restartCommand},
      {"systemStatus", &Simulator::systemStatusCommand},
      {"systemStatusDel", &Simulator::systemStatusDelCommand},
      {"serviceMountGroupStatus", &Simulator::serviceMountGroupStatusCommand},
      {"serviceMountGroupStatusDel", &Simulator::serviceMountGroupStatusDelCommand},
      {"mountState", &Simulator::mountStateCommand},
      {"initialMountsComplete", &Simulator::initialMountsCompleteCommand},
      {"initialMountsCompleteDel", &Simulator::initialMountsCompleteDelCommand},
      {"mountedPathPrefix", &Simulator::mountedPathPrefixCommand},
      {"mountedPathPrefixDel", &Simulator::mountedPathPrefixDelCommand},
      {"publishGroupStatus", &Simulator::publishGroupStatusCommand},
      {"publishGroupStatusDel", &Simulator::publishGroupStatusDelCommand},
      {"publishStatus", &Simulator::publishStatusCommand},
      {"publishStatusDel", &Simulator::publishStatusDelCommand},
      {"mounter", &Simulator::mounterCommand},
      {"service", &Simulator::serviceCommand},
      {"serviceDel", &Simulator::serviceDelCommand},
      {"closed", &Simulator::closedCommand},
      {"publishMountsSynchronized", &Simulator::publishMountsSynchronizedCommand},
      {"reportMountStates", &Simulator::reportMountStatesCommand},
      {"group", &Simulator::groupCommand},
      {"groupDel", &Simulator::groupDelCommand},
      {"controllerMount", &Simulator::controllerMountCommand},
      {"publishMount", &Simulator::publishMountCommand},
      {"perSwitchPublishMount", &Simulator::perSwitchPublishMountCommand},
      {"controllerMountDel", &Simulator::controllerMountDelCommand},
      {"publishMountDel", &Simulator::publishMountDelCommand},
      {"perSwitchPublishMountDel", &Simulator::perSwitchPublishMountDelCommand},
      {"controllerMountDelAll", &Simulator::controllerMountDelAllCommand},
      {"publishMountDelAll", &Simulator::publishMountDelAllCommand},
      {"perSwitchPublishMountDelAll", &Simulator::perSwitchPublishMountDelAllCommand},
      {"publishActive", &Simulator::publishActiveCommand},
      {"groupSwitchWhiteList", &Simulator::groupSwitchWhiteListCommand},
      {"groupVersionWhiteList", &Simulator::groupVersionWhiteListCommand},
      {"groupClosed", &Simulator::groupClosedCommand},
      {"groupPreserveMountsOnDisconnect", &Simulator::groupPreserveMountsOnDisconnectCommand},
      {"switchWhiteList", &Simulator::switchWhiteListCommand},
      {"switchWhiteListDel", &Simulator::switchWhiteListDelCommand},
      {"allowedSwitch", &Simulator::allowedSwitchCommand},
      {"allowedSwitchDel", &Simulator::allowedSwitchDelCommand},
      {"allowedSwitchDelAll", &Simulator::allowedSwitchDelAllCommand},
      {"versionWhiteList", &Simulator::versionWhiteListCommand},
      {"versionWhiteListDel", &Simulator::versionWhiteListDelCommand},
      {"allowedVersion", &Simulator::allowedVersionCommand},
      {"allowedVersionDel", &Simulator::allowedVersionDelCommand},
      {"allowedVersionDelAll", &Simulator::allowedVersionDelAllCommand},
      {"when", &Simulator::whenCommand},
      {"whenDel", &Simulator::whenDelCommand},
      {"trace", &Simulator::traceCommand},
      {"dump", &Simulator::dumpCommand},
      {"explain", &Simulator::explainCommand},
      {"hookCounts", &Simulator::hookCountsCommand},
      {"echo", &Simulator::echoCommand},
      {"help", &Simulator::helpCommand},
      {"quit", &Simulator::quitCommand},
  };
  return table;
}

// ---------------------------------------------------------------------------
// Lookups

const Vex::String& Simulator::agentName() const {
  if (!agent_) throw ScenarioError("no agent (create one with 'agent NAME')");
  return agent_->name();
}

Controller::HubstoreService& Simulator::service() const {
  if (!service_) throw ScenarioError("no service (create one with 'service NAME')");
  return *service_;
}

Vex::Ptr<HubstoreServiceMountGroup> Simulator::group(const std::string& name) const {
  auto found = service().serviceMountGroup(Vex::String(name));
  if (!found) throw ScenarioError("unknown group " + name);
  return found;
}

Vex::Ptr<Controller::SwitchWhiteList> Simulator::switchList(const std::string& name) const {
  auto found = service().switchWhiteList(Vex::String(name));
  if (!found) throw ScenarioError("unknown switch allow-list " + name);
  return found;
}

Vex::Ptr<Controller::VersionWhiteList> Simulator::versionList(const std::string& name) const {
  auto found = service().versionWhiteList(Vex::String(name));
  if (!found) throw ScenarioError("unknown version allow-list " + name);
  return found;
}

Vex::Ptr<Controller::HubstoreServiceMounter> Simulator::mounter(const std::string& name) const {
  auto found = mounters_.find(name);
  if (found == mounters_.end()) throw ScenarioError("unknown mounter " + name);
  return found->second;
}

Vex::Ptr<RecordingMounter> Simulator::recordingMounter(const std::string& name) const {
  auto recording = Vex::ptr_cast<RecordingMounter>(mounter(name));
  if (!recording) throw ScenarioError("mounter " + name + " is a default mounter: it has no recording hooks to act");
  return recording;
}

Vex::Ptr<ServiceMountStatus> Simulator::mountStatusRecord() const {
  agentName();
  return recordAt<ServiceMountStatus>(*em_, mountStatusPath_, "Controller::ServiceMountStatus");
}

Vex::Ptr<ServicePublishStatus> Simulator::publishStatusRecord() const {
  return recordAt<ServicePublishStatus>(*em_, Vex::String(publishStatusPath(agentName())),
                                        "Controller::ServicePublishStatus");
}

Vex::Ptr<SystemStatus> Simulator::systemStatusRecord(const std::string& system) const {
  auto status = mountStatusRecord();
  const SystemStatus* found = status->systemStatusRaw(Vex::Name(system));
  if (!found) throw ScenarioError("unknown switch status " + system);
  return writable(found);
}

// ---------------------------------------------------------------------------
// The world

void Simulator::agentCommand(const Command& c) {
  agent_ = Mirra::Agent::AgentIs(Vex::String(c.args[0]));
  mountStatusPath_ = Vex::String(mountStatusPath(agent_->name()));
  Controller::globalAgent = agent_.get();
  if (store_) store_->agentIs(c.args[0], *em_);
  everythingTouched();
}

void Simulator::placeRecord(const Vex::String& path, const Vex::Ptr<Vex::Entity>& record) {
  store_ ? store_->recordIs(path, record) : em_->entityIs(path, record);
}

void Simulator::recordsCommand(const Command& c) {
  const Vex::String agent = agentName();
  // A record the store holds may be another process's (the mount machinery
  // wrote the statuses before this agent started): it is not replaced.
  const auto placeMissing = [this](const Vex::String& path, const Vex::Ptr<Vex::Entity>& record) {
    if (!store_ || !store_->holds(path)) placeRecord(path, record);
  };
  auto status = Hubstore::Status::StatusIs(recordName(kHubstoreStatusPath));
  status->leaderGenIdIs(Vex::String(c.fields.empty() ? std::string("gen-1") : c.fields[0].second));
  placeMissing(Vex::String(kHubstoreStatusPath), status);
  placeMissing(ConfigDump::mountConfigPath(agent), Controller::ServiceMountConfig::ServiceMountConfigIs(agent));
  placeMissing(mountStatusPath(agent), ServiceMountStatus::ServiceMountStatusIs(agent));
  placeMissing(ConfigDump::publishConfigPath(agent), Controller::ServicePublishConfig::ServicePublishConfigIs(agent));
  placeMissing(publishStatusPath(agent), ServicePublishStatus::ServicePublishStatusIs(agent));
  everythingTouched();
}

void Simulator::recordCommand(const Command& c) {
  // The parser put the qualified type name in `scalar`.
  placeRecord(Vex::String(c.args[0]), newRecord(c.scalar, recordName(c.args[0])));
  everythingTouched();
}

void Simulator::recordDelCommand(const Command& c) {
  const Vex::String path(c.args[0]);
  if (!(store_ ? store_->recordDel(path) : em_->entityDel(path))) throw ScenarioError("no record at " + c.args[0]);
  everythingTouched();
}

void Simulator::leaderGenIdCommand(const Command& c) {
  recordAt<Hubstore::Status>(*em_, Vex::String(kHubstoreStatusPath), "Hubstore::Status")
      ->leaderGenIdIs(Vex::String(c.args[0]));
}

void Simulator::setCommand(const Command& c) { ConfigDump(*em_, agentName()).set(c); }

void Simulator::unsetCommand(const Command& c) { ConfigDump(*em_, agentName()).unset(c); }

void Simulator::restartCommand(const Command&) {
  ConfigDump config(*em_, agentName());
  // A dying process runs no destructor: what the service's teardown does to
  // the records it held is not seen, and the configuration survives as it was.
  const ConfigDump::Snapshot snapshot = config.snapshot();
  {
    Output::Muted muted(out_);
    service_ = nullptr;
  }
  config.restore(snapshot);
}

// ---------------------------------------------------------------------------
// The mount machinery

void Simulator::systemStatusCommand(const Command& c) {
  auto status = mountStatusRecord();
  // The switch record arrives already holding its group statuses.
  auto system = SystemStatus::SystemStatusIs(Vex::Name(c.args[0]));
  for (const auto& [group, state] : c.fields) system->serviceMountGroupStatusIs(Vex::Name(group), stateArg(state));
  switchTouched(c.args[0]);
  status->systemStatusIs(system);
}

void Simulator::systemStatusDelCommand(const Command& c) {
  systemStatusRecord(c.args[0]);
  switchTouched(c.args[0]);
  mountStatusRecord()->systemStatusDel(Vex::Name(c.args[0]));
}

void Simulator::serviceMountGroupStatusCommand(const Command& c) {
  const auto state = c.args.size() > 2 ? stateArg(c.args[2]) : Controller::mountStateUnknown;
  auto system = systemStatusRecord(c.args[0]);
  switchTouched(c.args[0]);
  system->serviceMountGroupStatusIs(Vex::Name(c.args[1]), state);
}

void Simulator::serviceMountGroupStatusDelCommand(const Command& c) {
  auto system = systemStatusRecord(c.args[0]);
  if (!system->serviceMountGroupStatusRaw(Vex::Name(c.args[1]))) {
    throw ScenarioError("switch status " + c.args[0] + " has no group status " + c.args[1]);
  }
  switchTouched(c.args[0]);
  system->serviceMountGroupStatusDel(Vex::Name(c.args[1]));
}

void Simulator::mountStateCommand(const Command& c) {
  auto system = systemStatusRecord(c.args[0]);
  const Controller::ServiceMountGroupStatus* group = system->serviceMountGroupStatusRaw(Vex::Name(c.args[1]));
  if (!group) throw ScenarioError("switch status " + c.args[0] + " has no group status " + c.args[1]);
  switchTouched(c.args[0]);
  // Held for the call: a hook may remove the group status.
  writable(group)->mountStateIs(stateArg(c.args[2]));
}

void Simulator::initialMountsCompleteCommand(const Command& c) {
  mountStatusRecord()->initialMountsCompleteIs(Vex::String(c.args[0]), boolArg(c.args[1]));
}

void Simulator::initialMountsCompleteDelCommand(const Command& c) {
  mountStatusRecord()->initialMountsCompleteDel(Vex::String(c.args[0]));
}

void Simulator::mountedPathPrefixCommand(const Command& c) {
  mountStatusRecord()->mountedPathPrefixIs(Vex::Name(c.args[0]), Vex::String(c.args[1]));
}

void Simulator::mountedPathPrefixDelCommand(const Command& c) {
  mountStatusRecord()->mountedPathPrefixDel(Vex::Name(c.args[0]));
}

void Simulator::publishGroupStatusCommand(const Command& c) {
  publishStatusRecord()->publishGroupStatusIs(Vex::Name(c.args[0]));
}

void Simulator::publishGroupStatusDelCommand(const Command& c) {
  auto status = publishStatusRecord();
  if (!status->publishGroupStatus(Vex::Name(c.args[0]))) {
    throw ScenarioError("unknown publish group status " + c.args[0]);
  }
  status->publishGroupStatusDel(Vex::Name(c.args[0]));
}

void Simulator::publishStatusCommand(const Command& c) {
  auto status = publishStatusRecord();
  if (!status->publishGroupStatus(Vex::Name(c.args[0]))) {
    throw ScenarioError("unknown publish group status " + c.args[0]);
  }
  status->publishGroupStatusIs(Vex::Name(c.args[0]))->publishStatusIs(Vex::Name(c.args[1]));
}

void Simulator::publishStatusDelCommand(const Command& c) {
  auto status = publishStatusRecord();
  if (!status->publishGroupStatus(Vex::Name(c.args[0]))) {
    throw ScenarioError("unknown publish group status " + c.args[0]);
  }
  status->publishGroupStatusIs(Vex::Name(c.args[0]))->publishStatusDel(Vex::Name(c.args[1]));
}

// ---------------------------------------------------------------------------
// The agent

void Simulator::mounterCommand(const Command& c) {
  const std::string& name = c.args[0];
  if (mounters_.count(name)) throw ScenarioError("mounter " + name + " exists");
  if (c.args.size() == 2 && c.args[1] == "default") {
    mounters_[name] = Vex::make<Controller::HubstoreServiceMounter>();
  } else {
    // c.hook names the throwing hook of `mounter M throwing HOOK`.
    mounters_[name] = Vex::make<RecordingMounter>(
        name, out_, [this](const Command& action) { runHookAction(action); }, c.hook,
        [this](const HookCall& call) {
          if (timeline_) timeline_->hookCalled(call);
        },
        c.args.size() == 2 && c.args[1] == "counting");
  }
}

void Simulator::serviceCommand(const Command& c) {
  if (service_) throw ScenarioError("a service exists (release it with 'serviceDel' first)");
  service_ = Controller::HubstoreService::HubstoreServiceIs(Vex::String(c.args[0]), em_, em_);
}

void Simulator::serviceDelCommand(const Command&) {
  service();
  service_ = nullptr;
}

void Simulator::closedCommand(const Command& c) { service().closedIs(boolArg(c.args[0])); }

void Simulator::publishMountsSynchronizedCommand(const Command& c) {
  service().publishMountsSynchronizedIs(boolArg(c.args[0]));
}

void Simulator::reportMountStatesCommand(const Command&) { service().reportMountStates(); }

void Simulator::groupCommand(const Command& c) {
  Controller::HubstoreService& svc = service();
  const auto groupMounter = c.args[1] == "none" ? nullptr : mounter(c.args[1]);
  svc.serviceMountGroupIs(Vex::String(c.args[0]), groupMounter);
}

void Simulator::groupDelCommand(const Command& c) {
  group(c.args[0]);
  service().serviceMountGroupDel(Vex::String(c.args[0]));
}

void Simulator::controllerMountCommand(const Command& c) {
  group(c.args[0])->controllerMountIs(Vex::Name(c.args[1]), Vex::String(c.args[2]), Vex::String(c.args[3]),
                                      Vex::String(c.args[4]));
}

void Simulator::publishMountCommand(const Command& c) {
  group(c.args[0])->publishMountIs(Vex::Name(c.args[1]), Vex::String(c.args[2]), Vex::String(c.args[3]));
}

void Simulator::perSwitchPublishMountCommand(const Command& c) {
  group(c.args[0])->perSwitchPublishMountIs(Vex::Name(c.args[1]), Vex::String(c.args[2]), Vex::String(c.args[3]));
}

void Simulator::controllerMountDelCommand(const Command& c) {
  group(c.args[0])->controllerMountDel(Vex::Name(c.args[1]));
}

void Simulator::publishMountDelCommand(const Command& c) { group(c.args[0])->publishMountDel(Vex::Name(c.args[1])); }

void Simulator::perSwitchPublishMountDelCommand(const Command& c) {
  group(c.args[0])->perSwitchPublishMountDel(Vex::Name(c.args[1]));
}

void Simulator::controllerMountDelAllCommand(const Command& c) { group(c.args[0])->controllerMountDelAll(); }

void Simulator::publishMountDelAllCommand(const Command& c) { group(c.args[0])->publishMountDelAll(); }

void Simulator::perSwitchPublishMountDelAllCommand(const Command& c) {
  group(c.args[0])->perSwitchPublishMountDelAll();
}

void Simulator::publishActiveCommand(const Command& c) {
  auto mount = group(c.args[0])->perSwitchPublishMount(Vex::Name(c.args[1]));
  if (!mount) throw ScenarioError("group " + c.args[0] + " has no per-switch publish mount " + c.args[1]);
  mount->publishActiveIs(boolArg(c.args[2]));
}

void Simulator::groupSwitchWhiteListCommand(const Command& c) {
  auto target = group(c.args[0]);
  target->switchWhiteListIs(c.args[1] == "none" ? nullptr : switchList(c.args[1]));
}

void Simulator::groupVersionWhiteListCommand(const Command& c) {
  auto target = group(c.args[0]);
  target->versionWhiteListIs(c.args[1] == "none" ? nullptr : versionList(c.args[1]));
}

void Simulator::groupClosedCommand(const Command& c) { group(c.args[0])->closedIs(boolArg(c.args[1])); }

void Simulator::groupPreserveMountsOnDisconnectCommand(const Command& c) {
  group(c.args[0])->preserveMountsOnDisconnectIs(boolArg(c.args[1]));
}

void Simulator::switchWhiteListCommand(const Command& c) { service().switchWhiteListIs(Vex::String(c.args[0])); }

void Simulator::switchWhiteListDelCommand(const Command& c) {
  switchList(c.args[0]);
  service().switchWhiteListDel(Vex::String(c.args[0]));
}

void Simulator::allowedSwitchCommand(const Command& c) {
  switchList(c.args[0])->allowedSwitchIs(Controller::SystemId::fromString(c.args[1]), boolArg(c.args[2]));
}

void Simulator::allowedSwitchDelCommand(const Command& c) {
  switchList(c.args[0])->allowedSwitchDel(Controller::SystemId::fromString(c.args[1]));
}

void Simulator::allowedSwitchDelAllCommand(const Command& c) { switchList(c.args[0])->allowedSwitchDelAll(); }

void Simulator::versionWhiteListCommand(const Command& c) { service().versionWhiteListIs(Vex::String(c.args[0])); }

void Simulator::versionWhiteListDelCommand(const Command& c) {
  versionList(c.args[0]);
  service().versionWhiteListDel(Vex::String(c.args[0]));
}

void Simulator::allowedVersionCommand(const Command& c) {
  versionList(c.args[0])->allowedVersionIs(versionArg(c.args[1]), boolArg(c.args[2]));
}

void Simulator::allowedVersionDelCommand(const Command& c) {
  versionList(c.args[0])->allowedVersionDel(versionArg(c.args[1]));
}

void Simulator::allowedVersionDelAllCommand(const Command& c) { versionList(c.args[0])->allowedVersionDelAll(); }

void Simulator::whenCommand(const Command& c) { recordingMounter(c.args[0])->actionIs(*c.hook, c.args[2], c.action); }

void Simulator::whenDelCommand(const Command& c) { recordingMounter(c.args[0])->actionDelAll(); }

// ---------------------------------------------------------------------------
// The tool

void Simulator::traceCommand(const Command& c) { traceLevelsIs(*parseTraceLevels(c.args[0])); }

void Simulator::dumpCommand(const Command&) {
  ConfigDump config(*em_, agentName());
  const std::vector<std::string> lines = config.lines();
  auto dumpLine = [this](const std::string& line) { out_.line(LineKind::Dump, line, {{"line", line}}); };
  dumpLine("dump begin");
  for (const std::string& line : lines) dumpLine(line);
  dumpLine("dump end");
}

void Simulator::explainCommand(const Command& c) {
  const std::string text =
      c.args.empty() ? service().completionReport().text() : group(c.args[0])->completionReport().text();
  auto explainLine = [this](const std::string& line) { out_.line(LineKind::Explain, line, {{"line", line}}); };
  explainLine(c.args.empty() ? "explain begin" : "explain begin " + quoteIfNeeded(c.args[0]));
  for (std::size_t start = 0, end; start < text.size(); start = end + 1) {
    end = text.find('\n', start);
    explainLine(text.substr(start, end - start));
  }
  explainLine("explain end");
}

void Simulator::hookCountsCommand(const Command& c) {
  auto recording = Vex::ptr_cast<RecordingMounter>(mounter(c.args[0]));
  if (!recording) throw ScenarioError("mounter " + c.args[0] + " is a default mounter: it counts no hook calls");
  const RecordingMounter::StateCounts& counts = recording->switchStateCounts();
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
  out_.line(LineKind::HookCounts, "hookCounts " + c.args[0] + " " + hook + " " + std::to_string(calls) + ": " + byState,
            {{"mounter", c.args[0]},
             {"hook", hook},
             {"calls", number(calls)},
             {"unknown", number(counts[Controller::mountStateUnknown])},
             {"mounting", number(counts[Controller::mountStateMounting])},
             {"mounted", number(counts[Controller::mountStateMounted])},
             {"unmounted", number(counts[Controller::mountStateUnmounted])},
             {"failed", number(counts[Controller::mountStateFailed])}});
}

void Simulator::echoCommand(const Command& c) {
  std::string text;
  for (const std::string& word : c.args) text += (&word == &c.args.front() ? "" : " ") + word;
  out_.line(LineKind::Echo, c.args.empty() ? "#" : "# " + text, {{"text", text}});
}

void Simulator::helpCommand(const Command& c) {
  const CommandEntry* entry = c.args.empty() ? nullptr : findCommand(c.args[0]);
  if (!c.args.empty() && !entry) throw ScenarioError("no help for " + c.args[0]);
  const std::string text = entry ? commandHelp(*entry) : commandList();
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = text.find('\n', start);
    const std::string line = text.substr(start, end - start);
    out_.line(LineKind::Help, line, {{"line", line}});
    start = end + 1;
  }
}

void Simulator::quitCommand(const Command&) { ended_ = true; }

bool Simulator::knows(std::string_view verb) { return verb == "repeat" || handlers().count(verb) > 0; }

}  // namespace hubstore::sim
