#include "tools/sim/simulator.h"

#include <exception>
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
#include "tools/sim/scenario_mounter.h"
#include "tools/sim/scenario_error.h"
#include "tools/sim/simulated_records.h"
#include "tools/sim/timeline.h"

namespace hubstore::sim {

using Controller::HubstoreServiceMountGroup;
using Controller::ServiceMountStatus;
using Controller::ServicePublishStatus;
using Controller::SystemStatus;


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
  const Verb& verb = *command.definition;
  if (store_ && verb.writes != Writes::nothing) {
    // The side a process writes is the side it keeps in the store.
    store_->ownedIs(verb.writes == Writes::config ? RecordStore::Side::config : RecordStore::Side::status);
  }
  verb.run(*this, command);
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

// ---------------------------------------------------------------------------
// Lookups

const Vex::String& Simulator::agentName() const {
  if (!agent_) throw ScenarioError("no agent (create one with 'agent NAME')");
  return agent_->name();
}

std::string Simulator::metricsText() const {
  if (store_) return store_->metricsText(service_.get());
  return service_ ? service_->metricsText() : std::string();
}

std::string Simulator::lastMetricsText() const {
  if (service_) return metricsText();
  return releasedServiceMetrics_ + (store_ ? store_->metricsText(nullptr) : std::string());
}

void Simulator::releaseService() {
  if (releasedServiceMetricsKept_ && service_) releasedServiceMetrics_ = service_->metricsText();
  service_ = nullptr;
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

Vex::Ptr<ScenarioMounter> Simulator::scenarioMounter(const std::string& name) const {
  auto recording = Vex::ptr_cast<ScenarioMounter>(mounter(name));
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

Vex::Ptr<Controller::ServiceMountGroupStatus> Simulator::mountGroupStatusRecord(const std::string& system,
                                                                                const std::string& group) const {
  const auto* found = systemStatusRecord(system)->serviceMountGroupStatusRaw(Vex::Name(group));
  if (!found) throw ScenarioError("switch status " + system + " has no group status " + group);
  return writable(found);
}

Vex::Ptr<Controller::ServicePublishGroupStatus> Simulator::publishGroupStatusRecord(const std::string& group) const {
  const auto found = publishStatusRecord()->publishGroupStatus(Vex::Name(group));
  if (!found) throw ScenarioError("unknown publish group status " + group);
  return writable(found.get());
}

void Simulator::placeRecord(const Vex::String& path, const Vex::Ptr<Vex::Entity>& record) {
  store_ ? store_->recordIs(path, record) : em_->entityIs(path, record);
}

}  // namespace hubstore::sim
