#include <hubstore/mountgroup/hubstore_service_mount_group.h>

#include <utility>

#include <hubstore/allowlist/switch_white_list_base.h>
#include <hubstore/allowlist/version_white_list_base.h>
#include <hubstore/foundations/framework/assert.h>
#include <hubstore/foundations/framework/exception.h>
#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/status/service_mount_status_sm.h>

namespace Controller {

namespace {

using Group = HubstoreServiceMountGroup;

// Creates the reactor for a first record. It is bound through the base
// class so that no handler runs: a group learns of its records in
// handleInitialized, which runs the checks itself.
template <class Reactor, class Record>
Vex::Ptr<Reactor> newReactor(Group* owner, const Vex::Ptr<const Record>& record) {
  Vex::Ptr<Reactor> reactor = Vex::make<Reactor>(owner);
  reactor->Vex::PtrInterface::NotifieeConst::notifierIs(record);
  reactor->hasNotificationActiveIs(true);
  reactor->vexDoZombieReactors(owner->vexMarkedForDeletion());
  reactor->isRegisteredNotifieeIs(true);
  return reactor;
}

// The shared body of mountStatusIs, publishStatusIs and publishGroupStatusIs.
template <class Reactor, class Record>
void watchedRecordIs(Group* owner, Vex::Ptr<Reactor>& slot, const Vex::Ptr<const Record>& record) {
  const Record* current = slot ? slot->notifier() : nullptr;
  if (record.get() == current) return;
  if (!slot) {
    slot = newReactor<Reactor>(owner, record);
  } else if (record) {
    // Keep the slot's reactor alive: its handler may end the group.
    Vex::Ptr<Reactor> reactor = slot;
    reactor->notifierIs(record);
  } else {
    Vex::Ptr<Reactor> reactor = std::move(slot);
    reactor->ownerIs(nullptr);
    reactor->vexDoZombieReactors(true);
  }
}

// Entries are immutable: declaring one again may only repeat its values.
void requireUnchanged(const char* collection, const Vex::Name& key, const char* attribute, Vex::AttributeId id,
                      const Vex::String& given, const Vex::String& held) {
  if (given == held) return;
  Vex::throwMutatorReinstantiating(collection + ("[" + key + "]"), attribute, id, given, held);
}

// The shared body of the three Del operations.
template <class Reactor>
auto watchedRecordDel(Vex::Ptr<Reactor>& slot) -> decltype(slot->notifierPtr()) {
  Vex::Ptr<Reactor> reactor = std::move(slot);
  if (!reactor) return nullptr;
  auto record = reactor->notifierPtr();
  reactor->Vex::PtrInterface::NotifieeConst::notifierIs(nullptr);
  reactor->ownerIs(nullptr);
  return record;
}

}  // namespace

// ---------------------------------------------------------------------------
// Inner reactors

const Vex::TypeDescriptor& Group::VexMountStatus::staticType() {
  static const Vex::TypeDescriptor type("Controller::HubstoreServiceMountGroup::VexMountStatus", {});
  return type;
}

void Group::VexMountStatus::notifierIs(const Vex::Ptr<const Vex::PtrInterface>& notifier) {
  Vex::Ptr<const ServiceMountStatus> status(dynamic_cast<const ServiceMountStatus*>(notifier.get()));
  if (status.get() == this->notifier()) return;
  NotifieeConst::notifierIs(status);
  if (status && !vexMarkedForDeletion() && owner_) owner_->handlePathPrefix();
  isRegisteredNotifieeIs(true);
}

void Group::VexMountStatus::onAttribute(Vex::AttributeId attribute, const void* key) {
  if (attribute != ServiceMountStatus::Attr::mountedPathPrefix || !key) return;
  if (vexMarkedForDeletion() || !owner_) return;
  owner_->vex_handleMountStatus_mountedPathPrefix(*static_cast<const Vex::Name*>(key));
}

const Vex::TypeDescriptor& Group::VexPublishStatus::staticType() {
  static const Vex::TypeDescriptor type("Controller::HubstoreServiceMountGroup::VexPublishStatus", {});
  return type;
}

void Group::VexPublishStatus::notifierIs(const Vex::Ptr<const Vex::PtrInterface>& notifier) {
  Vex::Ptr<const ServicePublishStatus> status(dynamic_cast<const ServicePublishStatus*>(notifier.get()));
  if (status.get() == this->notifier()) return;
  NotifieeConst::notifierIs(status);
  if (status && !vexMarkedForDeletion() && owner_) owner_->handlePublishGroupStatus();
  isRegisteredNotifieeIs(true);
}

void Group::VexPublishStatus::onAttribute(Vex::AttributeId attribute, const void* key) {
  if (attribute != ServicePublishStatus::Attr::publishGroupStatus || !key) return;
  if (vexMarkedForDeletion() || !owner_) return;
  owner_->handlePublishGroupStatus(*static_cast<const Vex::Name*>(key));
}

const Vex::TypeDescriptor& Group::VexPublishGroupStatus::staticType() {
  static const Vex::TypeDescriptor type("Controller::HubstoreServiceMountGroup::VexPublishGroupStatus", {});
  return type;
}

void Group::VexPublishGroupStatus::notifierIs(const Vex::Ptr<const Vex::PtrInterface>& notifier) {
  Vex::Ptr<const ServicePublishGroupStatus> status(dynamic_cast<const ServicePublishGroupStatus*>(notifier.get()));
  if (status.get() == this->notifier()) return;
  NotifieeConst::notifierIs(status);
  if (status && !vexMarkedForDeletion() && owner_) handlePublishStatus();
  isRegisteredNotifieeIs(true);
}

void Group::VexPublishGroupStatus::onAttribute(Vex::AttributeId attribute, const void* key) {
  if (attribute != ServicePublishGroupStatus::Attr::publishStatus || !key) return;
  if (vexMarkedForDeletion() || !owner_) return;
  handlePublishStatus(*static_cast<const Vex::Name*>(key));
}

void Group::VexPublishGroupStatus::handlePublishStatus(const Vex::String& key) {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePublishStatus" << " " << key;
  handlePublishStatus();
}

void Group::VexPublishGroupStatus::handlePublishStatus() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePublishStatus";
  if (owner_) owner_->doCheckMountAndPublishStatus();
}

// ---------------------------------------------------------------------------
// Creation and teardown

Vex::Ptr<Group> Group::HubstoreServiceMountGroupIs(const Vex::String& groupName,
                                                   const Vex::Ptr<HubstoreServiceMounter>& mounter,
                                                   HubstoreService* service) {
  Vex::Ptr<Group> group = Vex::make<Group>(groupName, mounter, service);
  group->hasNotificationActiveIs(true);
  return group;
}

Vex::Ptr<Group> hubstoreServiceMountGroupFactory(const Vex::String& groupName,
                                                 const Vex::Ptr<HubstoreServiceMounter>& mounter,
                                                 HubstoreService* service) {
  Vex::String name = groupName;
  return Group::HubstoreServiceMountGroupIs(name, mounter, service);
}

const Vex::TypeDescriptor& Group::staticType() {
  using Kind = Vex::AttributeKind;
  static const Vex::TypeDescriptor type("Controller::HubstoreServiceMountGroup",
                                        {{"groupName", Kind::attribute, 258},
                                         {"serviceName", Kind::attribute, 259},
                                         {"mountConfig", Kind::attribute, 260},
                                         {"mountStatus", Kind::attribute, 261},
                                         {"publishConfig", Kind::attribute, 262},
                                         {"publishStatus", Kind::attribute, 263},
                                         {"hubstoreEntityManager", Kind::attribute, 264},
                                         {"mountGroupConfig", Kind::attribute, 265},
                                         {"publishGroupConfig", Kind::attribute, 266},
                                         {"publishGroupStatus", Kind::attribute, 267},
                                         {"hubstoreStatus", Kind::attribute, 268},
                                         {"mounter", Kind::attribute, 269},
                                         {"controllerMount", Kind::collection, 270},
                                         {"publishMount", Kind::collection, 271},
                                         {"perSwitchPublishMount", Kind::collection, 272},
                                         {"closed", Kind::attribute, 273},
                                         {"switchWhiteList", Kind::attribute, 274},
                                         {"versionWhiteList", Kind::attribute, 275},
                                         {"preserveMountsOnDisconnect", Kind::attribute, 276},
                                         {"perSwitchPublishMountSm", Kind::collection, 277},
                                         {"initialized", Kind::attribute, 278},
                                         {"service", Kind::attribute, 279}});
  return type;
}

Group::HubstoreServiceMountGroup(const Vex::String& groupName, const Vex::Ptr<HubstoreServiceMounter>& mounter,
                                 HubstoreService* service)
    : groupName_(groupName),
      mounter_(mounter),
      service_(service, service ? &service->groupLinks_ : nullptr, this, &Group::handleServiceGone) {
  handleInitialized();
}

// An orphan was torn down when its service went.
Group::~HubstoreServiceMountGroup() {
  if (service_) tearDown();
}

void Group::handleServiceGone() { tearDown(); }

void Group::tearDown() {
  doCleanup();
  vexDoZombieReactors(true);
  mountStatusDel();
  publishStatusDel();
  publishGroupStatusDel();
  controllerMountDelAll();
  publishMountDelAll();
  perSwitchPublishMountDelAll();
  perSwitchPublishMountSmDelAll();
  perSwitchMachineLinks_.ownerGone();
}

void Group::handleInitialized() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handleInitialized" << " " << groupName_;
  serviceNameIs(service_->serviceName());
  mountConfigIs(service_->serviceMountConfig());
  mountStatusIs(service_->serviceMountStatus());
  publishConfigIs(service_->servicePublishConfig());
  publishStatusIs(service_->servicePublishStatus());
  hubstoreEntityManagerIs(service_->hubstoreEntityManager());
  hubstoreStatusIs(service_->hubstoreStatus());
  VEX_ASSERT(mountConfig());
  VEX_ASSERT(publishConfig());
  VEX_ASSERT(mountStatus());
  VEX_ASSERT(publishStatus());
  VEX_ASSERT(hubstoreStatus());
  publishGroupConfigIs(publishConfig()->publishGroupConfigIs(groupName_));
  mountGroupConfigIs(mountConfig()->mountGroupConfigIs(groupName_));
  handlePublishGroupStatus();
  preserveMountsOnDisconnectIs(true);
  doCheckMountAndPublishStatus();
  // A group declared after the switches finished their initial mounts is
  // told at once.
  service_->mountStatusSm()->handleInitialMountsComplete(groupName_);
}

void Group::doCleanup() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "doCleanup" << " " << groupName_;
  publishConfig_->publishGroupConfigDel(groupName_);
  mountConfig_->mountGroupConfigDel(groupName_);
}

void Group::hasNotificationActiveIs(bool active) {
  if (hasNotificationActive() == active) return;
  Vex::PtrInterface::hasNotificationActiveIs(active);
  if (mountStatusReactor_) mountStatusReactor_->hasNotificationActiveIs(active);
  if (publishStatusReactor_) publishStatusReactor_->hasNotificationActiveIs(active);
  if (publishGroupStatusReactor_) publishGroupStatusReactor_->hasNotificationActiveIs(active);
  for (auto it = perSwitchPublishMountSm_.begin(); it != perSwitchPublishMountSm_.end(); ++it) {
    (*it)->hasNotificationActiveIs(active);
  }
}

void Group::vexDoZombieReactors(bool zombie) {
  if (vexMarkedForDeletion() == zombie) return;
  if (mountStatusReactor_) mountStatusReactor_->vexDoZombieReactors(zombie);
  if (publishStatusReactor_) publishStatusReactor_->vexDoZombieReactors(zombie);
  if (publishGroupStatusReactor_) publishGroupStatusReactor_->vexDoZombieReactors(zombie);
  Vex::PtrInterface::vexDoZombieReactors(zombie);
}

// ---------------------------------------------------------------------------
// Watched records

Vex::Ptr<const ServiceMountStatus> Group::mountStatus() const {
  return mountStatusReactor_ ? mountStatusReactor_->notifierPtr() : nullptr;
}

void Group::mountStatusIs(const Vex::Ptr<const ServiceMountStatus>& status) {
  watchedRecordIs(this, mountStatusReactor_, status);
}

Vex::Ptr<const ServiceMountStatus> Group::mountStatusDel() { return watchedRecordDel(mountStatusReactor_); }

Vex::Ptr<const ServicePublishStatus> Group::publishStatus() const {
  return publishStatusReactor_ ? publishStatusReactor_->notifierPtr() : nullptr;
}

void Group::publishStatusIs(const Vex::Ptr<const ServicePublishStatus>& status) {
  watchedRecordIs(this, publishStatusReactor_, status);
}

Vex::Ptr<const ServicePublishStatus> Group::publishStatusDel() { return watchedRecordDel(publishStatusReactor_); }

Vex::Ptr<const ServicePublishGroupStatus> Group::publishGroupStatus() const {
  return publishGroupStatusReactor_ ? publishGroupStatusReactor_->notifierPtr() : nullptr;
}

void Group::publishGroupStatusIs(const Vex::Ptr<const ServicePublishGroupStatus>& status) {
  watchedRecordIs(this, publishGroupStatusReactor_, status);
}

Vex::Ptr<const ServicePublishGroupStatus> Group::publishGroupStatusDel() {
  return watchedRecordDel(publishGroupStatusReactor_);
}

// ---------------------------------------------------------------------------
// Mounted path prefixes

Vex::String Group::mountsDir(const Vex::String& remotePath) noexcept {
  VEX_ASSERT(mountStatus());
  VEX_ASSERT(mountStatus()->mountedPathPrefix( remotePath ));
  const Vex::String* prefix = mountStatus()->mountedPathPrefix(remotePath);
  return prefix ? *prefix : Vex::String("");
}

void Group::vex_handleMountStatus_mountedPathPrefix(const Vex::Name&) { handlePathPrefix(Vex::String("")); }

void Group::handlePathPrefix(const Vex::String& key) {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePathPrefix" << " : " << key;
  doCheckMountAndPublishStatus();
}

void Group::handlePathPrefix() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePathPrefix";
  doCheckMountAndPublishStatus();
}

// ---------------------------------------------------------------------------
// Entries

Vex::Ptr<ControllerMount> Group::controllerMount(const Vex::Name& remotePath) const {
  return controllerMount_.member(remotePath);
}

Vex::Ptr<ControllerMount> Group::controllerMountIs(const Vex::Name& remotePath, const Vex::String& hubstorePath,
                                                   const Vex::String& vexcType, const Vex::String& vexcFlags) {
  if (Vex::Ptr<ControllerMount> existing = controllerMount_.member(remotePath)) {
    requireUnchanged("controllerMount", remotePath, "hubstorePath", ControllerMount::Attr::hubstorePath, hubstorePath,
                     existing->hubstorePath());
    requireUnchanged("controllerMount", remotePath, "vexcType", ControllerMount::Attr::vexcType, vexcType,
                     existing->vexcType());
    requireUnchanged("controllerMount", remotePath, "vexcFlags", ControllerMount::Attr::vexcFlags, vexcFlags,
                     existing->vexcFlags());
    return existing;
  }
  Vex::Ptr<ControllerMount> entry = ControllerMount::ControllerMountIs(remotePath, hubstorePath, vexcType, vexcFlags);
  controllerMount_.newMember(remotePath, entry);
  handleControllerMount(remotePath);
  return entry;
}

Vex::Ptr<ControllerMount> Group::controllerMountDel(const Vex::Name& remotePath) {
  Vex::Ptr<ControllerMount> removed = controllerMount_.deleteMember(remotePath);
  if (!removed) return nullptr;
  handleControllerMount(remotePath);
  return removed;
}

void Group::controllerMountDelAll() {
  for (auto it = controllerMount_.begin(); it != controllerMount_.end(); ++it) controllerMountDel(it.key());
}

void Group::handleControllerMount(const Vex::String& key) {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handleControllerMount" << " path: " << key;
  if (Vex::Ptr<ControllerMount> entry = controllerMount_.member(key)) {
    HUBSTORE_TRACE(8) << "handleControllerMount" << " remote path:" << key << " type: " << entry->vexcType()
                      << " hubstore path: " << entry->hubstorePath();
    // The config's argument order is not the entry's.
    mountGroupConfig_->mountConfigIs(key, entry->vexcType(), entry->vexcFlags(), entry->hubstorePath());
  } else {
    mountGroupConfig_->mountConfigDel(key);
  }
}

void Group::handleControllerMount() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handleControllerMount";
  for (auto it = controllerMount_.begin(); it != controllerMount_.end(); ++it) handleControllerMount(it.key());
}

Vex::Ptr<PublishMount> Group::publishMount(const Vex::Name& hubstorePath) const {
  return publishMount_.member(hubstorePath);
}

Vex::Ptr<PublishMount> Group::publishMountIs(const Vex::Name& hubstorePath, const Vex::String& remotePath,
                                             const Vex::String& vexcType) {
  if (Vex::Ptr<PublishMount> existing = publishMount_.member(hubstorePath)) {
    requireUnchanged("publishMount", hubstorePath, "remotePath", PublishMount::Attr::remotePath, remotePath,
                     existing->remotePath());
    requireUnchanged("publishMount", hubstorePath, "vexcType", PublishMount::Attr::vexcType, vexcType,
                     existing->vexcType());
    return existing;
  }
  Vex::Ptr<PublishMount> entry = PublishMount::PublishMountIs(hubstorePath, remotePath, vexcType);
  publishMount_.newMember(hubstorePath, entry);
  handlePublishMount(hubstorePath);
  return entry;
}

Vex::Ptr<PublishMount> Group::publishMountDel(const Vex::Name& hubstorePath) {
  Vex::Ptr<PublishMount> removed = publishMount_.deleteMember(hubstorePath);
  if (!removed) return nullptr;
  handlePublishMount(hubstorePath);
  return removed;
}

void Group::publishMountDelAll() {
  for (auto it = publishMount_.begin(); it != publishMount_.end(); ++it) publishMountDel(it.key());
}

void Group::handlePublishMount(const Vex::String& key) {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePublishMount" << " path:" << key;
  if (Vex::Ptr<PublishMount> entry = publishMount_.member(key)) {
    HUBSTORE_TRACE(8) << "handlePublishMount" << " target:" << entry->remotePath() << " type:" << entry->vexcType();
    publishGroupConfig_->publishConfigIs(entry->hubstorePath(), entry->remotePath(), entry->vexcType());
  } else {
    publishGroupConfig_->publishConfigDel(key);
  }
}

void Group::handlePublishMount() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePublishMount";
  for (auto it = publishMount_.begin(); it != publishMount_.end(); ++it) handlePublishMount(it.key());
}

Vex::Ptr<PerSwitchPublishMount> Group::perSwitchPublishMount(const Vex::Name& hubstorePath) const {
  return perSwitchPublishMount_.member(hubstorePath);
}

Vex::Ptr<PerSwitchPublishMount> Group::perSwitchPublishMountIs(const Vex::Name& hubstorePath,
                                                               const Vex::String& remotePath,
                                                               const Vex::String& vexcType) {
  if (Vex::Ptr<PerSwitchPublishMount> existing = perSwitchPublishMount_.member(hubstorePath)) {
    requireUnchanged("perSwitchPublishMount", hubstorePath, "remotePath", PerSwitchPublishMount::Attr::remotePath,
                     remotePath, existing->remotePath());
    requireUnchanged("perSwitchPublishMount", hubstorePath, "vexcType", PerSwitchPublishMount::Attr::vexcType,
                     vexcType, existing->vexcType());
    return existing;
  }
  Vex::Ptr<PerSwitchPublishMount> entry =
      PerSwitchPublishMount::PerSwitchPublishMountIs(hubstorePath, remotePath, vexcType);
  perSwitchPublishMount_.newMember(hubstorePath, entry);
  handlePerSwitchPublishMount(hubstorePath);
  return entry;
}

Vex::Ptr<PerSwitchPublishMount> Group::perSwitchPublishMountDel(const Vex::Name& hubstorePath) {
  Vex::Ptr<PerSwitchPublishMount> removed = perSwitchPublishMount_.deleteMember(hubstorePath);
  if (!removed) return nullptr;
  handlePerSwitchPublishMount(hubstorePath);
  return removed;
}

void Group::perSwitchPublishMountDelAll() {
  for (auto it = perSwitchPublishMount_.begin(); it != perSwitchPublishMount_.end(); ++it) {
    perSwitchPublishMountDel(it.key());
  }
}

void Group::handlePerSwitchPublishMount(const Vex::String& key) {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePerSwitchPublishMount" << " path: " << key;
  if (Vex::Ptr<PerSwitchPublishMount> entry = perSwitchPublishMount_.member(key)) {
    // The directory is created with the entry's type; its target path and
    // readiness are the state machine's to write.
    publishGroupConfig_->publishDirIs(entry->hubstorePath(), entry->vexcType());
    perSwitchPublishMountSmIs(key, entry);
  } else {
    publishGroupConfig_->publishDirDel(key);
    perSwitchPublishMountSmDel(key);
  }
}

void Group::handlePerSwitchPublishMount() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePerSwitchPublishMount";
  for (auto it = perSwitchPublishMount_.begin(); it != perSwitchPublishMount_.end(); ++it) {
    handlePerSwitchPublishMount(it.key());
  }
}

Vex::Ptr<PerSwitchPublishMountSm> Group::perSwitchPublishMountSm(const Vex::String& key) const {
  return perSwitchPublishMountSm_.member(key);
}

Vex::Ptr<PerSwitchPublishMountSm> Group::perSwitchPublishMountSmIs(const Vex::String& key,
                                                                   const Vex::Ptr<const PerSwitchPublishMount>& mount) {
  if (Vex::Ptr<PerSwitchPublishMountSm> existing = perSwitchPublishMountSm_.member(key)) return existing;
  Vex::Ptr<PerSwitchPublishMountSm> machine = PerSwitchPublishMountSm::PerSwitchPublishMountSmIs(key, mount, this);
  perSwitchPublishMountSm_.newMember(key, machine);
  machine->hasNotificationActiveIs(hasNotificationActive());
  return machine;
}

void Group::perSwitchPublishMountSmDel(const Vex::String& key) { perSwitchPublishMountSm_.deleteMember(key); }

void Group::perSwitchPublishMountSmDelAll() { perSwitchPublishMountSm_.deleteAll(); }

// ---------------------------------------------------------------------------
// Completion

bool Group::doCheckMountStatusComplete() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "doCheckMountStatusComplete";
  if (!closed_) {
    HUBSTORE_TRACE(8) << "doCheckMountStatusComplete" << " not closed";
    return false;
  }
  VEX_ASSERT(mountGroupConfig());
  const Vex::Ptr<ServiceMountGroupConfig> config = mountGroupConfig_;
  if (config->mountConfigMembers().empty()) return true;
  // A closed group with mounts needs the mount status.
  VEX_ASSERT(mountStatus());
  const Vex::Ptr<const ServiceMountStatus> status = mountStatus();
  // One walk of both collections, in key order: nothing runs during it.
  const auto& mounted = status->mountedPathPrefixMembers();
  if (const Vex::Name* missing = Vex::firstMissingKey(config->mountConfigMembers(), mounted)) {
    HUBSTORE_TRACE(5) << "doCheckMountStatusComplete" << " : no path prefix for " << *missing;
    return false;
  }
  return true;
}

bool Group::doCheckPublishStatusComplete() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "doCheckPublishStatusComplete" << " " << groupName_;
  if (!closed_) {
    HUBSTORE_TRACE(5) << "doCheckPublishStatusComplete" << " not closed";
    return false;
  }
  VEX_ASSERT(publishGroupConfig());
  const Vex::Ptr<ServicePublishGroupConfig> config = publishGroupConfig_;
  const Vex::Ptr<const ServicePublishStatus> status = publishStatus();
  if (!status) {
    HUBSTORE_TRACE(5) << "doCheckPublishStatusComplete" << " publish status not mounted";
    return false;
  }
  const Vex::Ptr<const ServicePublishGroupStatus> groupStatus = status->publishGroupStatus(groupName_);
  if (!groupStatus) {
    HUBSTORE_TRACE(5) << "doCheckPublishStatusComplete" << " no groupStatus for " << groupName_;
    return false;
  }
  const auto& published = groupStatus->publishStatusMembers();
  if (const Vex::Name* missing = Vex::firstMissingKey(config->publishConfigMembers(), published)) {
    HUBSTORE_TRACE(5) << "doCheckPublishStatusComplete" << " : no publish status for " << *missing;
    return false;
  }
  return true;
}

void Group::doCheckMountAndPublishStatus() {
  // The hook may release the group (serviceMountGroupDel); it dies after the
  // report is complete.
  Vex::Ptr<Group> self(this);
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup:" << "doCheckMountAndPublishStatus" << " " << groupName_;
  if (vexMarkedForDeletion()) return;  // torn down: nothing left to check
  if (!mountGroupConfig_ && !publishGroupConfig_) {
    HUBSTORE_TRACE(5) << "doCheckMountAndPublishStatus" << " no mountGroupConfig() || publishGroupConfig() ";
    return;
  }
  if (mountGroupConfig_ && !doCheckMountStatusComplete()) {
    HUBSTORE_TRACE(5) << "doCheckMountAndPublishStatus" << " " << mountGroupConfig_->name() << " not complete";
    return;
  }
  if (publishGroupConfig_ && !doCheckPublishStatusComplete()) {
    HUBSTORE_TRACE(5) << "doCheckMountAndPublishStatus" << " " << publishGroupConfig_->name() << " not complete";
    return;
  }
  HUBSTORE_TRACE(5) << "doCheckMountAndPublishStatus" << " : publish/mount complete for " << groupName_;
  if (!mounter_) {
    HUBSTORE_TRACE(5) << "doCheckMountAndPublishStatus" << " : no mounter";
    return;
  }
  // Hooks name only groups the service has: one it let go reports nothing.
  if (!service_ || service_->serviceMountGroupRaw(groupName_) != this) return;
  const Vex::Ptr<HubstoreServiceMounter> mounter = mounter_;
  mounter->doMountsComplete(groupName_, hubstoreEntityManager_);
  if (!service_) return;  // the hook released the service
  if (const Vex::Ptr<ServiceMountStatusSm> machine = service_->mountStatusSm()) {
    machine->handleInitialMountsComplete(groupName_);
  }
}

void Group::handlePublishGroupStatus(const Vex::Name& groupName) {
  Vex::Ptr<Group> self(this);
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePublishGroupStatus" << ": " << groupName;
  if (vexMarkedForDeletion()) return;  // a hook tore the group down mid-sweep
  VEX_ASSERT(publishStatus());
  Vex::Ptr<const ServicePublishGroupStatus> found = publishStatus()->publishGroupStatus(groupName);
  if (!found) return;
  // The service's status holds every group's; each group takes its own.
  if (!(groupName == groupName_)) return;
  publishGroupStatusIs(found);
  if (Vex::Ptr<VexPublishGroupStatus> reactor = publishGroupStatusReactor_) reactor->handlePublishStatus();
}

void Group::handlePublishGroupStatus() {
  Vex::Ptr<Group> self(this);
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePublishGroupStatus";
  if (vexMarkedForDeletion()) return;
  const Vex::Ptr<const ServicePublishStatus> status = publishStatus();
  for (auto it = status->publishGroupStatusMembers().begin(); it != nullptr; ++it) handlePublishGroupStatus(it.key());
}

MountGroupReport Group::completionReport(std::size_t listLimit) const { return MountGroupReport::of(*this, listLimit); }

// ---------------------------------------------------------------------------
// Close, preservation

void Group::closedIs(bool closed) {
  if (closed_ == closed) return;
  closed_ = closed;
  handleClosed();
}

void Group::handleClosed() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handleClosed";
  if (!closed_) return;
  const Vex::Ptr<ServicePublishGroupConfig> config = publishGroupConfig_;
  // Equal counts are taken as nothing stale, even when the keys differ.
  if (config->publishConfigMembers().count() != publishMount_.count()) {
    for (auto it = config->publishConfigMembers().begin(); it != nullptr; ++it) {
      if (publishMount_.memberRaw(it->key)) continue;
      HUBSTORE_TRACE(8) << "HubstoreService::" << "handleClosed" << " mg " << groupName_ << " unpublishing mount "
                        << it->key;
      config->publishConfigDel(it->key);
    }
  }
  if (config->publishDirMembers().count() != perSwitchPublishMount_.count()) {
    for (auto it = config->publishDirMembers().begin(); it != nullptr; ++it) {
      if (perSwitchPublishMount_.memberRaw(it.key())) continue;
      HUBSTORE_TRACE(8) << "HubstoreService::" << "handleClosed" << " mg " << groupName_ << " unpublishing dir "
                        << it.key();
      config->publishDirDel(it.key());
    }
  }
  VEX_ASSERT(versionWhiteList() && " mountgroup is missing version filter ");
  doCheckMountAndPublishStatus();
}

void Group::preserveMountsOnDisconnectIs(bool preserve) {
  if (preserveMountsOnDisconnect_ == preserve) return;
  preserveMountsOnDisconnect_ = preserve;
  handlePreserveMountsOnDisconnect();
}

void Group::handlePreserveMountsOnDisconnect() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePreserveMountsOnDisconnect"
                    << " preserveMountsOnDisconnect=" << preserveMountsOnDisconnect_;
  mountGroupConfig_->preserveMountsOnDisconnectIs(preserveMountsOnDisconnect_);
}

// ---------------------------------------------------------------------------
// Allow-lists

void Group::switchWhiteListIs(const Vex::Ptr<SwitchWhiteListBase>& list) {
  if (switchWhiteList_ == list) return;
  switchWhiteList_ = list;
  handleSwitchWhiteList();
}

void Group::handleSwitchWhiteList() {
  if (!switchWhiteList_) {
    HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handleSwitchWhiteList" << " whiteList: None "
                      << " groupName: " << groupName_;
    publishGroupConfig_->systemFilterIs(nullptr);
    mountGroupConfig_->systemFilterIs(nullptr);
    return;
  }
  const Vex::Ptr<SwitchWhiteListBase> list = switchWhiteList_;
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handleSwitchWhiteList" << " whiteList: " << list->name()
                    << " groupName: " << groupName_;
  publishGroupConfig_->systemFilterIs(list->publishSystemFilter());
  mountGroupConfig_->systemFilterIs(list->mountSystemFilter());
}

void Group::versionWhiteListIs(const Vex::Ptr<VersionWhiteListBase>& list) {
  if (versionWhiteList_ == list) return;
  versionWhiteList_ = list;
  handleVersionWhiteList();
}

void Group::handleVersionWhiteList() {
  if (!versionWhiteList_) {
    HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handleVersionWhiteList" << " version: None, groupName: "
                      << groupName_;
    mountGroupConfig_->versionFilterIs(nullptr);
    publishGroupConfig_->versionFilterIs(nullptr);
    return;
  }
  const Vex::Ptr<VersionWhiteListBase> list = versionWhiteList_;
  const Vex::Ptr<MountFilterServiceVersion> filter = list->publishVersionFilter();
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handleVersionWhiteList" << " version: " << list->name()
                    << " supported: " << filter.get() << " supported versions: " << " groupName " << groupName_;
  // The walk only feeds the trace.
  if (filter && ferrolink.enabled(8)) {
    for (auto it = filter->includedServiceVersionMembers().begin(); it != nullptr; ++it) {
      HUBSTORE_TRACE(8) << " Supported Version for filter :" << list->name() << " " << it->key;
    }
  }
  mountGroupConfig_->versionFilterIs(list->mountVersionFilter());
  publishGroupConfig_->versionFilterIs(list->publishVersionFilter());
}

}  // namespace Controller
