#include <hubstore/service/hubstore_service.h>

#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/foundations/framework/assert.h>
#include <hubstore/foundations/framework/exception.h>
#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/service/service_metrics.h>
#include <hubstore/status/service_mount_status_sm.h>

namespace Controller {

Mirra::Agent* globalAgent = nullptr;

namespace {

// Attribute ids follow the declaration order.
constexpr Vex::AttributeId serviceMountGroupAttr = Vex::firstRecordAttribute + 14;

// Walks one configuration's filter collection. A filter whose allow-list is
// alive keeps its record and is pruned item by item by `pruneItems`; a filter
// without a list is stale and goes whole. The walk survives the deletions.
template <class Filter, class List, class PruneItems, class DeleteFilter>
void pruneConfigFilters(const char* operation, const Vex::Collection<Vex::Name, Filter>& filters,
                        const Vex::Collection<Vex::String, List>& lists, PruneItems pruneItems,
                        DeleteFilter deleteFilter) {
  for (auto filter = filters.begin(); filter != filters.end(); ++filter) {
    if (Vex::Ptr<List> localWhiteList = lists.member(filter.key())) {
      pruneItems(localWhiteList);
    } else {
      HUBSTORE_TRACE(8) << "HubstoreService::" << operation << " Deleting " << filter.key();
      deleteFilter(filter.key());
    }
  }
}

void pruneVersions(const Vex::Ptr<MountFilterServiceVersion>& filter, const VersionWhiteList& list) {
  for (auto version = filter->includedServiceVersionMembers().begin(); version != nullptr; ++version) {
    if (list.allowedVersion(version->key)) continue;
    HUBSTORE_TRACE(8) << "HubstoreService::" << "cleanupOldVersionWhiteLists" << " Deleting version "
                      << version->key;
    filter->includedServiceVersionDel(version->key);
  }
}

// A switch string that is not an Ethernet address names no switch any list
// can allow, so it is stale like any other.
bool allowsSwitch(const SwitchWhiteList& list, const Vex::String& system) {
  try {
    return list.allowedSwitch(SystemId::fromString(system.view()));
  } catch (const Lanx::InvalidEthAddrException&) {
    return false;
  }
}

void pruneSwitches(const Vex::Ptr<MountFilterSystem>& filter, const SwitchWhiteList& list) {
  for (auto system = filter->includedSystemMembers().begin(); system != nullptr; ++system) {
    if (allowsSwitch(list, system->key)) continue;
    HUBSTORE_TRACE(8) << "HubstoreService::" << "cleanupOldSwitchWhiteLists" << " Deleting sw " << system->key;
    filter->includedSystemDel(system->key);
  }
}

Vex::AttributeDescriptor attr(const char* name, Vex::AttributeKind kind, Vex::AttributeId id) {
  return {name, kind, id};
}

}  // namespace

const Vex::TypeDescriptor& HubstoreService::staticType() {
  using K = Vex::AttributeKind;
  static const Vex::TypeDescriptor type(
      "Controller::HubstoreService",
      {attr("serviceName", K::attribute, Vex::firstRecordAttribute),
       attr("hubstoreEntityManager", K::attribute, Vex::firstRecordAttribute + 1),
       attr("mirraEntityManager", K::attribute, Vex::firstRecordAttribute + 2),
       attr("hubstoreStatus", K::attribute, Vex::firstRecordAttribute + 3),
       attr("serviceMountConfig", K::attribute, Vex::firstRecordAttribute + 4),
       attr("serviceMountStatus", K::attribute, Vex::firstRecordAttribute + 5),
       attr("servicePublishConfig", K::attribute, Vex::firstRecordAttribute + 6),
       attr("servicePublishStatus", K::attribute, Vex::firstRecordAttribute + 7),
       attr("cleanupOldVersionWhiteLists", K::operation, Vex::firstRecordAttribute + 8),
       attr("cleanupOldSwitchWhiteLists", K::operation, Vex::firstRecordAttribute + 9),
       attr("cleanupOldMountState", K::operation, Vex::firstRecordAttribute + 10),
       attr("handleClosed", K::handler, Vex::firstRecordAttribute + 11),
       attr("handlePublishMountsSynchronized", K::handler, Vex::firstRecordAttribute + 12),
       attr("mountStatusSm", K::attribute, Vex::firstRecordAttribute + 13),
       attr("serviceMountGroup", K::collection, serviceMountGroupAttr),
       attr("switchWhiteList", K::collection, Vex::firstRecordAttribute + 15),
       attr("versionWhiteList", K::collection, Vex::firstRecordAttribute + 16),
       attr("publishMountsSynchronized", K::attribute, Vex::firstRecordAttribute + 17),
       attr("closed", K::attribute, Vex::firstRecordAttribute + 18),
       attr("doCleanup", K::operation, Vex::firstRecordAttribute + 19),
       attr("initialized", K::attribute, Vex::firstRecordAttribute + 20),
       attr("handleInitialized", K::handler, Vex::firstRecordAttribute + 21)});
  return type;
}

Vex::Ptr<HubstoreService> HubstoreService::HubstoreServiceIs(Vex::String serviceName,
                                                             const EntityManagerPtr& hubstoreEntityManager,
                                                             const EntityManagerPtr& mirraEntityManager) {
  Vex::Ptr<HubstoreService> service =
      Vex::make<HubstoreService>(std::move(serviceName), hubstoreEntityManager, mirraEntityManager);
  service->hasNotificationActiveIs(true);
  return service;
}

Vex::Ptr<HubstoreService> hubstoreServiceFactory(Vex::String serviceName,
                                                 const HubstoreService::EntityManagerPtr& hubstoreEntityManager,
                                                 const HubstoreService::EntityManagerPtr& mirraEntityManager) {
  return HubstoreService::HubstoreServiceIs(std::move(serviceName), hubstoreEntityManager, mirraEntityManager);
}

HubstoreService::HubstoreService(Vex::String serviceName, const EntityManagerPtr& hubstoreEntityManager,
                                 const EntityManagerPtr& mirraEntityManager)
    : serviceName_(std::move(serviceName)),
      hookStatistics_(&HookStatistics::of(serviceName_)),
      hubstoreEntityManager_(hubstoreEntityManager),
      mirraEntityManager_(mirraEntityManager) {
  handleInitialized();
}

HubstoreService::~HubstoreService() {
  doCleanup();
  vexDoZombieReactors(true);
  mountStatusSmDel();
  serviceMountGroupDelAll();
  switchWhiteListDelAll();
  versionWhiteListDelAll();
  // What outlived its release belongs to the agent (or to a dispatch in
  // progress) now: orphan it while the records are still reachable.
  mountStatusSmLinks_.ownerGone();
  groupLinks_.ownerGone();
  switchListLinks_.ownerGone();
  versionListLinks_.ownerGone();
  // The members then go in reverse declaration order: the three collections
  // (version lists first), the status machine, the records, the entity
  // managers, the name.
}

void HubstoreService::handleInitialized() {
  const Vex::String statusPath("controller/status");
  VEX_ASSERT(globalAgent);
  const Vex::String agentName = globalAgent->name();
  HUBSTORE_TRACE(8) << "HubstoreService::" << "handleInitialized" << " agentName:" << agentName
                    << " serviceName:" << serviceName_;
  // The records are found under the hosting agent's name; the service's own
  // name is what gets written into them.
  const Vex::String mountConfigPath = "controller/mount/config/service/" + agentName;
  const Vex::String mountStatusPath = "controller/mount/status/service/" + agentName;
  const Vex::String publishConfigPath = "controller/publish/config/service/" + agentName;
  const Vex::String publishStatusPath = "controller/publish/status/service/" + agentName;

  VEX_ASSERT(mirraEntityManager_);
  auto smc = Vex::ptr_cast<ServiceMountConfig>(mirraEntityManager_->getEntity(mountConfigPath));
  auto sms = Vex::ptr_cast<const ServiceMountStatus>(mirraEntityManager_->getEntity(mountStatusPath));
  auto spc = Vex::ptr_cast<ServicePublishConfig>(mirraEntityManager_->getEntity(publishConfigPath));
  auto sps = Vex::ptr_cast<const ServicePublishStatus>(mirraEntityManager_->getEntity(publishStatusPath));
  auto status = Vex::ptr_cast<const Hubstore::Status>(mirraEntityManager_->getEntity(statusPath));
  VEX_ASSERT(smc);
  VEX_ASSERT(sms);
  VEX_ASSERT(spc);
  VEX_ASSERT(sps);

  smc->serviceNameIs(serviceName_);
  spc->serviceNameIs(serviceName_);
  hubstoreStatusIs(status);
  serviceMountConfigIs(smc);
  serviceMountStatusIs(sms);
  servicePublishConfigIs(spc);
  servicePublishStatusIs(sps);

  // Without the controller database status there is no leader generation to
  // stamp; going on with an empty one would mislabel the configuration.
  VEX_ASSERT(hubstoreStatus());
  serviceMountConfig_->leaderGenIdIs(hubstoreStatus_->leaderGenId());
  servicePublishConfig_->leaderGenIdIs(hubstoreStatus_->leaderGenId());

  mountStatusSmIs(serviceMountStatus_);
}

void HubstoreService::hubstoreStatusIs(const Vex::Ptr<const Hubstore::Status>& status) { hubstoreStatus_ = status; }
void HubstoreService::serviceMountConfigIs(const Vex::Ptr<ServiceMountConfig>& config) { serviceMountConfig_ = config; }
void HubstoreService::serviceMountStatusIs(const Vex::Ptr<const ServiceMountStatus>& status) {
  serviceMountStatus_ = status;
}
void HubstoreService::servicePublishConfigIs(const Vex::Ptr<ServicePublishConfig>& config) {
  servicePublishConfig_ = config;
}
void HubstoreService::servicePublishStatusIs(const Vex::Ptr<const ServicePublishStatus>& status) {
  servicePublishStatus_ = status;
}

Vex::Ptr<ServiceMountStatusSm> HubstoreService::mountStatusSmIs(const Vex::Ptr<const ServiceMountStatus>& status) {
  if (mountStatusSm_ && mountStatusSm_->serviceMountStatus() == status) return mountStatusSm_;
  Vex::Ptr<ServiceMountStatusSm> machine = serviceMountStatusSmFactory(status, this);
  mountStatusSm_ = machine;
  machine->hasNotificationActiveIs(true);
  return machine;
}

Vex::Ptr<ServiceMountStatusSm> HubstoreService::mountStatusSmDel() {
  Vex::Ptr<ServiceMountStatusSm> machine = std::move(mountStatusSm_);
  if (machine) machine->hasNotificationActiveIs(false);
  return machine;
}

Vex::Ptr<HubstoreServiceMountGroup> HubstoreService::serviceMountGroup(const Vex::String& groupName) const {
  return serviceMountGroup_.member(groupName);
}

HubstoreServiceMountGroup* HubstoreService::serviceMountGroupRaw(const Vex::String& groupName) const {
  return serviceMountGroup_.memberRaw(groupName);
}

Vex::Ptr<HubstoreServiceMountGroup> HubstoreService::serviceMountGroupIs(
    const Vex::String& groupName, const Vex::Ptr<HubstoreServiceMounter>& mounter) {
  if (Vex::Ptr<HubstoreServiceMountGroup> existing = serviceMountGroup_.member(groupName)) {
    if (existing->mounter() == mounter) return existing;
    Vex::throwMutatorReinstantiating("serviceMountGroup[" + groupName + "]", "mounter", serviceMountGroupAttr,
                                     Vex::describe(mounter.get()), Vex::describe(existing->mounter().get()));
  }
  Vex::Ptr<HubstoreServiceMountGroup> group =
      hubstoreServiceMountGroupFactory(groupName, mounter, this);
  serviceMountGroup_.newMember(group->groupName(), group);
  group->hasNotificationActiveIs(true);
  return group;
}

Vex::Ptr<HubstoreServiceMountGroup> HubstoreService::serviceMountGroupDel(const Vex::String& groupName) {
  return serviceMountGroup_.deleteMember(groupName);
}

void HubstoreService::serviceMountGroupDelAll() { serviceMountGroup_.deleteAll(); }

Vex::Ptr<SwitchWhiteList> HubstoreService::switchWhiteList(const Vex::String& name) const {
  return switchWhiteList_.member(name);
}

Vex::Ptr<SwitchWhiteList> HubstoreService::switchWhiteListIs(const Vex::String& name) {
  if (Vex::Ptr<SwitchWhiteList> existing = switchWhiteList_.member(name)) return existing;
  Vex::Ptr<SwitchWhiteList> list = switchWhiteListFactory(name, this);
  switchWhiteList_.newMember(list->name(), list);
  list->hasNotificationActiveIs(true);
  return list;
}

Vex::Ptr<SwitchWhiteList> HubstoreService::switchWhiteListDel(const Vex::String& name) {
  return switchWhiteList_.deleteMember(name);
}

void HubstoreService::switchWhiteListDelAll() { switchWhiteList_.deleteAll(); }

Vex::Ptr<VersionWhiteList> HubstoreService::versionWhiteList(const Vex::String& name) const {
  return versionWhiteList_.member(name);
}

Vex::Ptr<VersionWhiteList> HubstoreService::versionWhiteListIs(const Vex::String& name) {
  if (Vex::Ptr<VersionWhiteList> existing = versionWhiteList_.member(name)) return existing;
  Vex::Ptr<VersionWhiteList> list = versionWhiteListFactory(name, this);
  versionWhiteList_.newMember(list->name(), list);
  list->hasNotificationActiveIs(true);
  return list;
}

Vex::Ptr<VersionWhiteList> HubstoreService::versionWhiteListDel(const Vex::String& name) {
  return versionWhiteList_.deleteMember(name);
}

void HubstoreService::versionWhiteListDelAll() { versionWhiteList_.deleteAll(); }

void HubstoreService::hasNotificationActiveIs(bool active) {
  if (hasNotificationActive() == active) return;
  PtrInterface::hasNotificationActiveIs(active);
  if (mountStatusSm_) mountStatusSm_->hasNotificationActiveIs(active);
  for (auto group = serviceMountGroup_.begin(); group != nullptr; ++group) (*group)->hasNotificationActiveIs(active);
  for (auto list = switchWhiteList_.begin(); list != nullptr; ++list) (*list)->hasNotificationActiveIs(active);
  for (auto list = versionWhiteList_.begin(); list != nullptr; ++list) (*list)->hasNotificationActiveIs(active);
}

void HubstoreService::vexDoZombieReactors(bool zombie) {
  if (vexMarkedForDeletion() == zombie) return;
  vexMarkedForDeletionIs(zombie);
}

void HubstoreService::closedIs(bool closed) {
  if (closed_ == closed) return;
  closed_ = closed;
  handleClosed();
}

void HubstoreService::handleClosed() {
  HUBSTORE_TRACE(8) << "HubstoreService::" << "handleClosed" << " closed: " << closed_;
  if (!closed_) return;
  cleanupOldMountState();
  cleanupOldSwitchWhiteLists();
  cleanupOldVersionWhiteLists();
  serviceMountConfig_->warmIs(true);
}

void HubstoreService::publishMountsSynchronizedIs(bool synchronized) {
  if (publishMountsSynchronized_ == synchronized) return;
  publishMountsSynchronized_ = synchronized;
  handlePublishMountsSynchronized();
}

void HubstoreService::handlePublishMountsSynchronized() {
  HUBSTORE_TRACE(8) << "HubstoreService::" << "handlePublishMountsSynchronized" << " service " << serviceName_;
  // Written on any change of the flag, back to false included: consumers read
  // `ready` as "the agent has gone through one synchronization".
  servicePublishConfig_->readyIs(true);
}

void HubstoreService::reportMountStates() {
  HUBSTORE_TRACE(8) << "HubstoreService::" << "reportMountStates";
  // Held by the sweep, not by the service: a hook that releases the service
  // orphans the machine, and the sweep stops there.
  if (const Vex::Ptr<ServiceMountStatusSm> machine = mountStatusSm_) machine->reportMountStates();
}

std::string HubstoreService::metricsText() const { return ServiceMetrics::text(*this); }

ServiceReport HubstoreService::completionReport(std::size_t listLimit) const {
  return ServiceReport::of(*this, listLimit);
}

void HubstoreService::doCleanup() { HUBSTORE_TRACE(8) << "HubstoreService::" << "doCleanup"; }

void HubstoreService::cleanupOldMountState() {
  HUBSTORE_TRACE(8) << "HubstoreService::" << "cleanupOldMountState";
  const auto& publishGroups = servicePublishConfig_->publishGroupConfigMembers();
  for (auto group = publishGroups.begin(); group != publishGroups.end(); ++group) {
    if (serviceMountGroup_.memberRaw(group.key())) continue;
    HUBSTORE_TRACE(8) << "HubstoreService::" << "cleanupOldMountState" << " Deleting mg " << group.key();
    servicePublishConfig_->publishGroupConfigDel(group.key());
  }
  const auto& mountGroups = serviceMountConfig_->mountGroupConfigMembers();
  for (auto group = mountGroups.begin(); group != mountGroups.end(); ++group) {
    if (serviceMountGroup_.memberRaw(group.key())) continue;
    HUBSTORE_TRACE(8) << "HubstoreService::" << "cleanupOldMountState" << " Deleting mg " << group.key();
    serviceMountConfig_->mountGroupConfigDel(group.key());
  }
}

void HubstoreService::cleanupOldSwitchWhiteLists() {
  const char* operation = "cleanupOldSwitchWhiteLists";
  HUBSTORE_TRACE(8) << "HubstoreService::" << operation;
  pruneConfigFilters(
      operation, servicePublishConfig_->systemFilterMembers(), switchWhiteList_,
      [](const Vex::Ptr<SwitchWhiteList>& localWhiteList) {
        VEX_ASSERT(localWhiteList->publishSystemFilter());
        pruneSwitches(localWhiteList->publishSystemFilter(), *localWhiteList);
      },
      [this](const Vex::Name& name) { servicePublishConfig_->systemFilterDel(name); });
  pruneConfigFilters(
      operation, serviceMountConfig_->systemFilterMembers(), switchWhiteList_,
      [](const Vex::Ptr<SwitchWhiteList>& localWhiteList) {
        VEX_ASSERT(localWhiteList->mountSystemFilter());
        pruneSwitches(localWhiteList->mountSystemFilter(), *localWhiteList);
      },
      [this](const Vex::Name& name) { serviceMountConfig_->systemFilterDel(name); });
}

void HubstoreService::cleanupOldVersionWhiteLists() {
  const char* operation = "cleanupOldVersionWhiteLists";
  HUBSTORE_TRACE(8) << "HubstoreService::" << operation;
  pruneConfigFilters(
      operation, servicePublishConfig_->versionFilterMembers(), versionWhiteList_,
      [](const Vex::Ptr<VersionWhiteList>& localWhiteList) {
        VEX_ASSERT(localWhiteList->publishVersionFilter());
        pruneVersions(localWhiteList->publishVersionFilter(), *localWhiteList);
      },
      [this](const Vex::Name& name) { servicePublishConfig_->versionFilterDel(name); });
  pruneConfigFilters(
      operation, serviceMountConfig_->versionFilterMembers(), versionWhiteList_,
      [](const Vex::Ptr<VersionWhiteList>& localWhiteList) {
        VEX_ASSERT(localWhiteList->mountVersionFilter());
        pruneVersions(localWhiteList->mountVersionFilter(), *localWhiteList);
      },
      [this](const Vex::Name& name) { serviceMountConfig_->versionFilterDel(name); });
}

}  // namespace Controller
