// A minimal agent: it declares one mount group, plays the controller's part
// by writing the status records itself, and prints what the library tells it.
// Built against the installed package (find_package(hubstore)).

#include <cstdio>

#include "allowlist/version_white_list.h"
#include "foundations/agent.h"
#include "foundations/entity_manager.h"
#include "foundations/hubstore_status.h"
#include "foundations/service_mount_config.h"
#include "foundations/service_mount_status.h"
#include "foundations/service_publish_config.h"
#include "foundations/service_publish_status.h"
#include "mountgroup/hubstore_service_mount_group.h"
#include "service/hubstore_service.h"

using namespace Controller;

class PrintingMounter : public HubstoreServiceMounter {
 public:
  void doMountsComplete(Vex::String group, const Vex::Ptr<Mirra::EntityManager>&) override {
    std::printf("group %s: mounts and publications complete\n", group.c_str());
  }
  void doHandleControllerMountState(const SystemId& id, Vex::String group, MountState state,
                                    const Vex::Ptr<Mirra::EntityManager>&) override {
    std::printf("group %s: switch %s is %s\n", group.c_str(), id.stringValue().c_str(), mountStateName(state));
  }
  void doInitialSwitchMountsComplete(Vex::String group, const Vex::Ptr<Mirra::EntityManager>&) override {
    std::printf("group %s: initial switch mounts done\n", group.c_str());
  }
};

int main() {
  // The controller's state database with the records of agent "agentB".
  auto em = Mirra::EntityManager::EntityManagerIs();
  auto status = Hubstore::Status::StatusIs("status");
  status->leaderGenIdIs("gen-1");
  auto mountStatus = ServiceMountStatus::ServiceMountStatusIs("agentB");
  auto publishStatus = ServicePublishStatus::ServicePublishStatusIs("agentB");
  em->entityIs("controller/status", status);
  em->entityIs("controller/mount/config/service/agentB", ServiceMountConfig::ServiceMountConfigIs("agentB"));
  em->entityIs("controller/mount/status/service/agentB", mountStatus);
  em->entityIs("controller/publish/config/service/agentB", ServicePublishConfig::ServicePublishConfigIs("agentB"));
  em->entityIs("controller/publish/status/service/agentB", publishStatus);

  // The agent: set the hosting agent, create the service, declare.
  auto agent = Mirra::Agent::AgentIs("agentB");
  globalAgent = agent.get();
  auto service = HubstoreService::HubstoreServiceIs("svcA", em, em);
  auto versions = service->versionWhiteListIs("supported");
  versions->allowedVersionIs(3, true);
  auto group = service->serviceMountGroupIs("interfaces", Vex::make<PrintingMounter>());
  group->controllerMountIs("/state/interface/status", "/switches/interface/status", "Interface::Status", "r");
  group->publishMountIs("/config/interfaces", "/state/interface/config", "Interface::Config");
  group->versionWhiteListIs(versions);
  group->closedIs(true);
  service->closedIs(true);

  // The mount machinery reports (normally another process writes these).
  auto switchStatus = mountStatus->systemStatusIs(Vex::Name("00:1c:73:00:00:01"));
  switchStatus->serviceMountGroupStatusIs("interfaces")->mountStateIs(mountStateMounted);
  mountStatus->mountedPathPrefixIs("/state/interface/status", "/switches/interface/status");
  publishStatus->publishGroupStatusIs("interfaces")->publishStatusIs("/config/interfaces");
  mountStatus->initialMountsCompleteIs("interfaces", true);

  service = nullptr;  // withdraws the group's configuration
  globalAgent = nullptr;
  return 0;
}
