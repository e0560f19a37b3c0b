// HubstoreServiceMountGroup: the allow-lists' filters bound into the group
// configurations.

#include <hubstore/mountgroup/hubstore_service_mount_group.h>

#include <hubstore/allowlist/switch_white_list_base.h>
#include <hubstore/allowlist/version_white_list_base.h>
#include <hubstore/foundations/framework/ferrolink.h>

namespace Controller {

using Group = HubstoreServiceMountGroup;

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
