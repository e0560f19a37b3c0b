// HubstoreServiceMountGroup: the completion check, and the publish statuses
// that feed it. The rule itself is in mount_group_completion.h.

#include <hubstore/mountgroup/hubstore_service_mount_group.h>

#include <hubstore/foundations/framework/assert.h>
#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/mountgroup/mount_group_completion.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/status/service_mount_status_sm.h>

namespace Controller {

namespace {

using Group = HubstoreServiceMountGroup;
using completion::Gap;
using completion::SideGap;

// The rule's questions, answered from the group's live records. The sides
// are the group's own doCheck*Complete, so each traces as it is judged.
class LiveCompletionFacts {
 public:
  explicit LiveCompletionFacts(Group& group) : group_(group) {}

  const Vex::Ptr<ServiceMountGroupConfig>& mountGroupConfig() const { return group_.mountGroupConfig(); }
  const Vex::Ptr<ServicePublishGroupConfig>& publishGroupConfig() const { return group_.publishGroupConfig(); }
  Vex::Ptr<const ServiceMountStatus> mountStatus() const { return group_.mountStatus(); }

  bool hasMountGroupConfig() const { return static_cast<bool>(mountGroupConfig()); }
  bool hasPublishGroupConfig() const { return static_cast<bool>(publishGroupConfig()); }
  bool mountSideComplete() { return group_.doCheckMountStatusComplete(); }
  bool publishSideComplete() { return group_.doCheckPublishStatusComplete(); }

  bool closed() const { return group_.closed(); }
  void requireMountGroupConfig() const { VEX_ASSERT(mountGroupConfig()); }
  void requirePublishGroupConfig() const { VEX_ASSERT(publishGroupConfig()); }

  bool pathPrefixMissing() {
    const auto& mounts = mountGroupConfig()->mountConfigMembers();
    if (mounts.empty()) return false;
    // A closed group with mounts needs the mount status.
    VEX_ASSERT(mountStatus());
    mountStatus_ = mountStatus();
    // One walk of both collections, in key order: nothing runs during it.
    missing_ = Vex::firstMissingKey(mounts, mountStatus_->mountedPathPrefixMembers());
    return missing_ != nullptr;
  }

  bool publishStatusWatched() {
    publishStatus_ = group_.publishStatus();
    return static_cast<bool>(publishStatus_);
  }
  // The group status is looked up by name each time, not through the reactor.
  bool hasPublishGroupStatus() {
    groupStatus_ = publishStatus_->publishGroupStatus(group_.groupName());
    return static_cast<bool>(groupStatus_);
  }
  bool publishedPathMissing() {
    missing_ = Vex::firstMissingKey(publishGroupConfig()->publishConfigMembers(), groupStatus_->publishStatusMembers());
    return missing_ != nullptr;
  }

  // The first key found missing.
  const Vex::Name& missing() const { return *missing_; }

 private:
  Group& group_;
  Vex::Ptr<const ServiceMountStatus> mountStatus_;
  Vex::Ptr<const ServicePublishStatus> publishStatus_;
  Vex::Ptr<const ServicePublishGroupStatus> groupStatus_;
  const Vex::Name* missing_ = nullptr;
};

}  // namespace

bool Group::doCheckMountStatusComplete() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "doCheckMountStatusComplete";
  LiveCompletionFacts facts(*this);
  switch (completion::mountSideGap(facts)) {
    case SideGap::none:
      return true;
    case SideGap::notClosed:
      HUBSTORE_TRACE(8) << "doCheckMountStatusComplete" << " not closed";
      return false;
    default:
      HUBSTORE_TRACE(5) << "doCheckMountStatusComplete" << " : no path prefix for " << facts.missing();
      return false;
  }
}

bool Group::doCheckPublishStatusComplete() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "doCheckPublishStatusComplete" << " " << groupName_;
  LiveCompletionFacts facts(*this);
  switch (completion::publishSideGap(facts)) {
    case SideGap::none:
      return true;
    case SideGap::notClosed:
      HUBSTORE_TRACE(5) << "doCheckPublishStatusComplete" << " not closed";
      return false;
    case SideGap::publishStatus:
      HUBSTORE_TRACE(5) << "doCheckPublishStatusComplete" << " publish status not mounted";
      return false;
    case SideGap::publishGroupStatus:
      HUBSTORE_TRACE(5) << "doCheckPublishStatusComplete" << " no groupStatus for " << groupName_;
      return false;
    default:
      HUBSTORE_TRACE(5) << "doCheckPublishStatusComplete" << " : no publish status for " << facts.missing();
      return false;
  }
}

void Group::doCheckMountAndPublishStatus() {
  // The hook may release the group (serviceMountGroupDel); it dies after the
  // report is complete.
  Vex::Ptr<Group> self(this);
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup:" << "doCheckMountAndPublishStatus" << " " << groupName_;
  if (vexMarkedForDeletion()) return;  // torn down: nothing left to check
  LiveCompletionFacts facts(*this);
  switch (completion::groupGap(facts)) {
    case Gap::none:
      break;
    case Gap::groupConfig:
      HUBSTORE_TRACE(5) << "doCheckMountAndPublishStatus" << " no mountGroupConfig() || publishGroupConfig() ";
      return;
    case Gap::mountSide:
      HUBSTORE_TRACE(5) << "doCheckMountAndPublishStatus" << " " << mountGroupConfig_->name() << " not complete";
      return;
    case Gap::publishSide:
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
  {
    const HookCall call(service_->hookStatistics(), HookStatistics::mountsComplete);
    mounter->doMountsComplete(groupName_, hubstoreEntityManager_);
  }
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

void Group::handlePublishStatus(const Vex::String& key) {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePublishStatus" << " " << key;
  handlePublishStatus();
}

void Group::handlePublishStatus() {
  HUBSTORE_TRACE(8) << "HubstoreServiceMountGroup::" << "handlePublishStatus";
  doCheckMountAndPublishStatus();
}

MountGroupReport Group::completionReport(std::size_t listLimit) const { return MountGroupReport::of(*this, listLimit); }

}  // namespace Controller
