#pragma once
// A simulated controller for the library's unit tests: an entity manager
// holding the five records of agent "agentB", the hosting agent set as
// globalAgent, a recording mounter, and trace capture. Tests build on it:
//
//   TEST_F(World, ...) {
//     auto service = serviceIs("svcA");
//     auto group = service->serviceMountGroupIs("g1", mounter);
//     mountStatus->mountedPathPrefixIs("/r", "/p");
//     EXPECT_EQ(hooks, (Log{"doMountsComplete g1"}));
//   }
//
// TearDown proves that no counted object outlived the test.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundations/agent.h"
#include "foundations/entity_manager.h"
#include "foundations/ferrolink.h"
#include "foundations/hubstore_status.h"
#include "foundations/service_mount_config.h"
#include "foundations/service_mount_status.h"
#include "foundations/service_publish_config.h"
#include "foundations/service_publish_status.h"
#include "service/hubstore_service.h"
#include "service/hubstore_service_mounter.h"

namespace Controller::testing {

using Log = std::vector<std::string>;

// Logs each hook call as "HOOK ARGS" into a shared log; can be told to throw.
class RecordingMounter : public HubstoreServiceMounter {
 public:
  explicit RecordingMounter(Log* log) : log_(log) {}
  void doMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>&) override {
    log_->push_back("doMountsComplete " + groupName.stdString());
    if (throwOnComplete) throw Vex::InternalException("hook failed");
    if (onComplete) onComplete();
  }
  void doHandleControllerMountState(const SystemId& systemId, Vex::String groupName, MountState state,
                                    const Vex::Ptr<Mirra::EntityManager>&) override {
    log_->push_back("doHandleControllerMountState " + systemId.stringValue().stdString() + " " +
                    groupName.stdString() + " " + mountStateName(state));
    if (onMountState) onMountState();
  }
  void doInitialSwitchMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>&) override {
    log_->push_back("doInitialSwitchMountsComplete " + groupName.stdString());
    if (onInitialMounts) onInitialMounts();
  }
  bool throwOnComplete = false;
  // Run inside the hook, after it is logged; they may release or throw anything.
  std::function<void()> onComplete;
  std::function<void()> onMountState;
  std::function<void()> onInitialMounts;

 private:
  Log* log_;
};

class World : public ::testing::Test {
 protected:
  Vex::Ptr<Mirra::Agent> agent = Mirra::Agent::AgentIs("agentB");
  Vex::Ptr<Mirra::EntityManager> em = Mirra::EntityManager::EntityManagerIs();
  Vex::Ptr<Hubstore::Status> hubstoreStatus = Hubstore::Status::StatusIs("status");
  Vex::Ptr<ServiceMountConfig> mountConfig = ServiceMountConfig::ServiceMountConfigIs("agentB");
  Vex::Ptr<ServiceMountStatus> mountStatus = ServiceMountStatus::ServiceMountStatusIs("agentB");
  Vex::Ptr<ServicePublishConfig> publishConfig = ServicePublishConfig::ServicePublishConfigIs("agentB");
  Vex::Ptr<ServicePublishStatus> publishStatus = ServicePublishStatus::ServicePublishStatusIs("agentB");
  Log hooks;
  Vex::Ptr<RecordingMounter> mounter = Vex::make<RecordingMounter>(&hooks);
  Vex::CapturingTraceSink trace;

  void SetUp() override {
    hubstoreStatus->leaderGenIdIs("gen-1");
    em->entityIs("controller/status", hubstoreStatus);
    em->entityIs("controller/mount/config/service/agentB", mountConfig);
    em->entityIs("controller/mount/status/service/agentB", mountStatus);
    em->entityIs("controller/publish/config/service/agentB", publishConfig);
    em->entityIs("controller/publish/status/service/agentB", publishStatus);
    globalAgent = agent.get();
    Vex::traceSinkIs(&trace);
  }
  void TearDown() override {
    Vex::traceSinkIs(nullptr);
    ferrolink.levelsIs(0);
    globalAgent = nullptr;
    agent = nullptr;
    em = nullptr;
    hubstoreStatus = nullptr;
    mountConfig = nullptr;
    mountStatus = nullptr;
    publishConfig = nullptr;
    publishStatus = nullptr;
    mounter = nullptr;
    std::string survivors;
    for (const auto& [type, live] : Vex::liveObjects()) {
      if (live != 0) survivors += type + "=" + std::to_string(live) + " ";
    }
    EXPECT_EQ(survivors, "") << "objects outlived the test";
  }
  Vex::Ptr<HubstoreService> serviceIs(const char* name) { return HubstoreService::HubstoreServiceIs(name, em, em); }
  // Enables trace levels, e.g. traceOn("5,7-8"), and forgets earlier lines.
  void traceOn(const char* levels) {
    ferrolink.levelsIs(*Vex::parseTraceLevels(levels));
    trace.clear();
  }
  const std::vector<std::string>& traces() const { return trace.lines(); }
};

}  // namespace Controller::testing
