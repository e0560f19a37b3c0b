// HubstoreServiceMountGroup: creation and teardown, the watched records,
// mounted path prefixes, closing and preservation. Entries, completion and
// allow-lists are in the files named after them.

#include <hubstore/mountgroup/hubstore_service_mount_group.h>

#include <utility>

#include <hubstore/allowlist/version_white_list_base.h>
#include <hubstore/foundations/framework/assert.h>
#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/status/service_mount_status_sm.h>

namespace Controller {

namespace {

using Group = HubstoreServiceMountGroup;

// The shared body of mountStatusIs, publishStatusIs and publishGroupStatusIs.
// A first record is bound quietly: a group learns of its records in
// handleInitialized, which runs the checks itself.
template <class Reactor, class Record>
void watchedRecordIs(Group* owner, Vex::Ptr<Reactor>& slot, const Vex::Ptr<const Record>& record) {
  const Record* current = slot ? slot->notifier() : nullptr;
  if (record.get() == current) return;
  if (!slot) {
    slot = Vex::make<Reactor>(owner);
    slot->bindQuietly(record);
    slot->hasNotificationActiveIs(true);
    slot->vexDoZombieReactors(owner->vexMarkedForDeletion());
  } else if (record) {
    // Keep the slot's reactor alive: its handler may end the group.
    Vex::Ptr<Reactor> reactor = slot;
    reactor->notifierIs(record);
  } else {
    Vex::Ptr<Reactor> reactor = std::move(slot);
    reactor->retire();
  }
}

// The shared body of the three Del operations.
template <class Reactor>
auto watchedRecordDel(Vex::Ptr<Reactor>& slot) -> decltype(slot->notifierPtr()) {
  Vex::Ptr<Reactor> reactor = std::move(slot);
  if (!reactor) return nullptr;
  auto record = reactor->notifierPtr();
  reactor->bindQuietly(nullptr);
  reactor->retire();
  return record;
}

}  // namespace

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
  static const Vex::TypeDescriptor type(
      "Controller::HubstoreServiceMountGroup",
      {{"groupName", Kind::attribute, Vex::firstRecordAttribute},
       {"serviceName", Kind::attribute, Vex::firstRecordAttribute + 1},
       {"mountConfig", Kind::attribute, Vex::firstRecordAttribute + 2},
       {"mountStatus", Kind::attribute, Vex::firstRecordAttribute + 3},
       {"publishConfig", Kind::attribute, Vex::firstRecordAttribute + 4},
       {"publishStatus", Kind::attribute, Vex::firstRecordAttribute + 5},
       {"hubstoreEntityManager", Kind::attribute, Vex::firstRecordAttribute + 6},
       {"mountGroupConfig", Kind::attribute, Vex::firstRecordAttribute + 7},
       {"publishGroupConfig", Kind::attribute, Vex::firstRecordAttribute + 8},
       {"publishGroupStatus", Kind::attribute, Vex::firstRecordAttribute + 9},
       {"hubstoreStatus", Kind::attribute, Vex::firstRecordAttribute + 10},
       {"mounter", Kind::attribute, Vex::firstRecordAttribute + 11},
       {"controllerMount", Kind::collection, Vex::firstRecordAttribute + 12},
       {"publishMount", Kind::collection, Vex::firstRecordAttribute + 13},
       {"perSwitchPublishMount", Kind::collection, Vex::firstRecordAttribute + 14},
       {"closed", Kind::attribute, Vex::firstRecordAttribute + 15},
       {"switchWhiteList", Kind::attribute, Vex::firstRecordAttribute + 16},
       {"versionWhiteList", Kind::attribute, Vex::firstRecordAttribute + 17},
       {"preserveMountsOnDisconnect", Kind::attribute, Vex::firstRecordAttribute + 18},
       {"perSwitchPublishMountSm", Kind::collection, Vex::firstRecordAttribute + 19},
       {"initialized", Kind::attribute, Vex::firstRecordAttribute + 20},
       {"service", Kind::attribute, Vex::firstRecordAttribute + 21}});
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

}  // namespace Controller
