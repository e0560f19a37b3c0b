// HubstoreServiceMountGroup: the three kinds of entries, mirrored into the
// group configurations, and the per-switch publish machines.

#include <hubstore/mountgroup/hubstore_service_mount_group.h>

#include <hubstore/foundations/framework/exception.h>
#include <hubstore/foundations/framework/ferrolink.h>

namespace Controller {

namespace {

using Group = HubstoreServiceMountGroup;

// Entries are immutable: declaring one again may only repeat its values.
void requireUnchanged(const char* collection, const Vex::Name& key, const char* attribute, Vex::AttributeId id,
                      const Vex::String& given, const Vex::String& held) {
  if (given == held) return;
  Vex::throwMutatorReinstantiating(collection + ("[" + key + "]"), attribute, id, given, held);
}

}  // namespace

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
      perSwitchPublishMountFactory(hubstorePath, remotePath, vexcType);
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
  Vex::Ptr<PerSwitchPublishMountSm> machine = perSwitchPublishMountSmFactory(key, mount, this);
  perSwitchPublishMountSm_.newMember(key, machine);
  machine->hasNotificationActiveIs(hasNotificationActive());
  return machine;
}

void Group::perSwitchPublishMountSmDel(const Vex::String& key) { perSwitchPublishMountSm_.deleteMember(key); }

void Group::perSwitchPublishMountSmDelAll() { perSwitchPublishMountSm_.deleteAll(); }

}  // namespace Controller
