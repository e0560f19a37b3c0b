#include "interfaces_agent.h"

#include <cstdio>

using namespace Controller;

// The hook object: turns the library's calls into the agent's state.
class InterfacesAgent::Mounter : public HubstoreServiceMounter {
 public:
  explicit Mounter(InterfacesAgent* agent) : agent_(agent) {}
  void agentGone() { agent_ = nullptr; }

  void doMountsComplete(Vex::String group, const Vex::Ptr<Mirra::EntityManager>&) override {
    if (!agent_) return;
    agent_->ready_ = true;
    std::printf("group %s: mounts and publications complete\n", group.c_str());
  }
  void doHandleControllerMountState(const SystemId& id, Vex::String group, MountState state,
                                    const Vex::Ptr<Mirra::EntityManager>&) override {
    if (!agent_) return;
    const std::string address = id.stringValue().stdString();
    if (state == mountStateMounted) {
      agent_->mountedSwitches_.insert(address);
    } else {
      agent_->mountedSwitches_.erase(address);
    }
    std::printf("group %s: switch %s is %s\n", group.c_str(), address.c_str(), mountStateName(state));
  }
  void doInitialSwitchMountsComplete(Vex::String group, const Vex::Ptr<Mirra::EntityManager>&) override {
    if (!agent_) return;
    agent_->initialMountsDone_ = true;
    std::printf("group %s: initial switch mounts done\n", group.c_str());
  }

 private:
  InterfacesAgent* agent_;
};

InterfacesAgent::InterfacesAgent(const Vex::Ptr<Mirra::EntityManager>& entityManager)
    : mounter_(Vex::make<Mounter>(this)) {
  service_ = HubstoreService::HubstoreServiceIs("interfaces", entityManager, entityManager);
  auto versions = service_->versionWhiteListIs("supported");
  versions->allowedVersionIs(3, true);
  auto group = service_->serviceMountGroupIs(groupName, mounter_);
  group->controllerMountIs("/state/interface/status", "/switches/interface/status", "Interface::Status", "r");
  group->publishMountIs("/config/interfaces", "/state/interface/config", "Interface::Config");
  group->versionWhiteListIs(versions);  // required before closing
  group->closedIs(true);                // the group's description is final
  service_->closedIs(true);             // configuration an earlier run left goes
  service_->publishMountsSynchronizedIs(true);
  // Switches that reported before the group existed (the agent started over
  // a live fleet) are heard only when asked, now that the group is declared.
  service_->reportMountStates();
}

InterfacesAgent::~InterfacesAgent() {
  // The library may still hold the mounter (a dispatch in progress).
  mounter_->agentGone();
}
