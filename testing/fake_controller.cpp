#include <hubstore/testing/fake_controller.h>

#include <stdexcept>

namespace Controller::testing {

FakeController::FakeController(const std::string& agentName, const std::string& leaderGenId)
    : agent_(Mirra::Agent::AgentIs(agentName)),
      em_(Mirra::EntityManager::EntityManagerIs()),
      hubstoreStatus_(Hubstore::Status::StatusIs("status")),
      mountConfig_(ServiceMountConfig::ServiceMountConfigIs(agentName)),
      mountStatus_(ServiceMountStatus::ServiceMountStatusIs(agentName)),
      publishConfig_(ServicePublishConfig::ServicePublishConfigIs(agentName)),
      publishStatus_(ServicePublishStatus::ServicePublishStatusIs(agentName)) {
  hubstoreStatus_->leaderGenIdIs(leaderGenId);
  em_->entityIs("controller/status", hubstoreStatus_);
  em_->entityIs(mountConfigPath(agentName), mountConfig_);
  em_->entityIs(mountStatusPath(agentName), mountStatus_);
  em_->entityIs(publishConfigPath(agentName), publishConfig_);
  em_->entityIs(publishStatusPath(agentName), publishStatus_);
  globalAgent = agent_.get();
}

FakeController::~FakeController() {
  if (globalAgent == agent_.get()) globalAgent = nullptr;
}

std::string FakeController::mountConfigPath(const std::string& agentName) {
  return "controller/mount/config/service/" + agentName;
}
std::string FakeController::mountStatusPath(const std::string& agentName) {
  return "controller/mount/status/service/" + agentName;
}
std::string FakeController::publishConfigPath(const std::string& agentName) {
  return "controller/publish/config/service/" + agentName;
}
std::string FakeController::publishStatusPath(const std::string& agentName) {
  return "controller/publish/status/service/" + agentName;
}

Vex::Ptr<HubstoreService> FakeController::serviceIs(const std::string& serviceName) const {
  return hubstoreServiceFactory(serviceName, em_, em_);
}

Vex::Ptr<SystemStatus> FakeController::existingSystem(const std::string& system) const {
  const Vex::Name name(system);
  if (!mountStatus_->systemStatusRaw(name)) throw std::invalid_argument("no switch status " + system);
  return mountStatus_->systemStatusIs(name);  // the existing record, writable
}

Vex::Ptr<ServicePublishGroupStatus> FakeController::existingPublishGroup(const std::string& group) const {
  const Vex::Name name(group);
  if (!publishStatus_->publishGroupStatus(name)) throw std::invalid_argument("no publish group status " + group);
  return publishStatus_->publishGroupStatusIs(name);
}

void FakeController::systemStatus(const std::string& system, GroupStates groups) {
  // The record arrives already holding its group statuses.
  auto record = SystemStatus::SystemStatusIs(Vex::Name(system));
  for (const auto& [group, state] : groups) record->serviceMountGroupStatusIs(Vex::Name(group), state);
  mountStatus_->systemStatusIs(record);
}

void FakeController::systemStatusDel(const std::string& system) {
  existingSystem(system);
  mountStatus_->systemStatusDel(Vex::Name(system));
}

void FakeController::serviceMountGroupStatus(const std::string& system, const std::string& group, MountState state) {
  existingSystem(system)->serviceMountGroupStatusIs(Vex::Name(group), state);
}

void FakeController::serviceMountGroupStatusDel(const std::string& system, const std::string& group) {
  auto record = existingSystem(system);
  if (!record->serviceMountGroupStatusRaw(Vex::Name(group))) {
    throw std::invalid_argument("switch status " + system + " has no group status " + group);
  }
  record->serviceMountGroupStatusDel(Vex::Name(group));
}

void FakeController::mountState(const std::string& system, const std::string& group, MountState state) {
  auto record = existingSystem(system);
  if (!record->serviceMountGroupStatusRaw(Vex::Name(group))) {
    throw std::invalid_argument("switch status " + system + " has no group status " + group);
  }
  record->serviceMountGroupStatusIs(Vex::Name(group))->mountStateIs(state);
}

void FakeController::initialMountsComplete(const std::string& group, bool complete) {
  mountStatus_->initialMountsCompleteIs(Vex::String(group), complete);
}

void FakeController::initialMountsCompleteDel(const std::string& group) {
  mountStatus_->initialMountsCompleteDel(Vex::String(group));
}

void FakeController::mountedPathPrefix(const std::string& remotePath, const std::string& prefix) {
  mountStatus_->mountedPathPrefixIs(Vex::Name(remotePath), Vex::String(prefix));
}

void FakeController::mountedPathPrefixDel(const std::string& remotePath) {
  mountStatus_->mountedPathPrefixDel(Vex::Name(remotePath));
}

void FakeController::publishGroupStatus(const std::string& group) {
  publishStatus_->publishGroupStatusIs(Vex::Name(group));
}

void FakeController::publishGroupStatusDel(const std::string& group) {
  existingPublishGroup(group);
  publishStatus_->publishGroupStatusDel(Vex::Name(group));
}

void FakeController::publishStatus(const std::string& group, const std::string& hubstorePath) {
  existingPublishGroup(group)->publishStatusIs(Vex::Name(hubstorePath));
}

void FakeController::publishStatusDel(const std::string& group, const std::string& hubstorePath) {
  existingPublishGroup(group)->publishStatusDel(Vex::Name(hubstorePath));
}

void FakeController::leaderGenId(const std::string& id) { hubstoreStatus_->leaderGenIdIs(Vex::String(id)); }

void FakeController::recordDel(const std::string& path) {
  if (!em_->entityDel(Vex::String(path))) throw std::invalid_argument("no record at " + path);
}

}  // namespace Controller::testing
