#include <hubstore/mountgroup/per_switch_publish_mount_sm.h>

#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/foundations/records/service_publish_group_config.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>

namespace Controller {

Vex::Ptr<PerSwitchPublishMountSm> PerSwitchPublishMountSm::PerSwitchPublishMountSmIs(
    const Vex::String& name, const Vex::Ptr<const PerSwitchPublishMount>& mount, HubstoreServiceMountGroup* group) {
  return Vex::make<PerSwitchPublishMountSm>(name, mount, group);
}

const Vex::TypeDescriptor& PerSwitchPublishMountSm::staticType() {
  static const Vex::TypeDescriptor type(
      "Controller::PerSwitchPublishMountSm",
      {{"name", Vex::AttributeKind::attribute, Vex::firstRecordAttribute},
       {"perSwitchPublishMount", Vex::AttributeKind::attribute, Vex::firstRecordAttribute + 1},
       {"group", Vex::AttributeKind::attribute, Vex::firstRecordAttribute + 2},
       {"handlePerSwitchPublishMountActive", Vex::AttributeKind::handler}});
  return type;
}

PerSwitchPublishMountSm::PerSwitchPublishMountSm(const Vex::String& name,
                                                 const Vex::Ptr<const PerSwitchPublishMount>& mount,
                                                 HubstoreServiceMountGroup* group)
    : name_(name),
      group_(group, group ? &group->perSwitchMachineLinks_ : nullptr, this, &PerSwitchPublishMountSm::mountReactorDel) {
  mountReactor_ = Vex::make<VexPerSwitchPublishMount>(this);
  // Binding through the reactor runs the handler once, so a new machine
  // brings its directory in line at once.
  mountReactor_->notifierIs(mount);
}

PerSwitchPublishMountSm::~PerSwitchPublishMountSm() { mountReactorDel(); }

void PerSwitchPublishMountSm::mountReactorDel() {
  vexDoZombieReactors(true);
  if (Vex::Ptr<VexPerSwitchPublishMount> reactor = std::move(mountReactor_)) reactor->retire();
}

Vex::Ptr<const PerSwitchPublishMount> PerSwitchPublishMountSm::perSwitchPublishMount() const {
  return mountReactor_ ? mountReactor_->notifierPtr() : Vex::Ptr<const PerSwitchPublishMount>();
}

void PerSwitchPublishMountSm::handlePerSwitchPublishMountActive() {
  // A reactor of the directory may drop this machine while it is written.
  Vex::Ptr<PerSwitchPublishMountSm> self(this);
  HUBSTORE_TRACE(8) << "PerSwitchPublishMountSm::" << "handlePerSwitchPublishMountActive" << " path: " << name_;
  if (!group_) return;
  Vex::Ptr<PerSwitchPublishMount> mount = group_->perSwitchPublishMount(name_);
  Vex::Ptr<ServicePublishGroupConfig> config = group_->publishGroupConfig();
  if (mount) {
    HUBSTORE_TRACE(8) << "handlePerSwitchPublishMountActive" << " type:" << mount->vexcType();
    Vex::Ptr<PublishDir> dir = config->publishDir(name_);
    if (!dir) dir = config->publishDirIs(name_, mount->vexcType());
    dir->remoteTargetPathIs(mount->remotePath());
    dir->readyToPublishIs(true);
    return;
  }
  if (Vex::Ptr<PublishDir> dir = config->publishDir(name_)) {
    HUBSTORE_TRACE(8) << "handlePerSwitchPublishMountActive" << ": setting readyToPublish=false";
    dir->readyToPublishIs(false);
  }
}

void PerSwitchPublishMountSm::hasNotificationActiveIs(bool active) {
  Vex::PtrInterface::hasNotificationActiveIs(active);
  if (mountReactor_) mountReactor_->hasNotificationActiveIs(active);
}

void PerSwitchPublishMountSm::vexDoZombieReactors(bool zombie) {
  if (mountReactor_) mountReactor_->vexDoZombieReactors(zombie);
  Vex::PtrInterface::vexDoZombieReactors(zombie);
}

Vex::Ptr<PerSwitchPublishMountSm> perSwitchPublishMountSmFactory(const Vex::String& name,
                                                                 const Vex::Ptr<const PerSwitchPublishMount>& mount,
                                                                 HubstoreServiceMountGroup* group) {
  return PerSwitchPublishMountSm::PerSwitchPublishMountSmIs(name, mount, group);
}

}  // namespace Controller
