#include <hubstore/foundations/records/service_mount_group_config.h>

namespace Controller {

const Vex::TypeDescriptor& ServiceMountGroupConfig::staticType() {
  static const Vex::TypeDescriptor type(
      "Controller::ServiceMountGroupConfig",
      attributes({"mountConfig", Vex::AttributeKind::collection, Attr::mountConfig},
                 {"preserveMountsOnDisconnect", Vex::AttributeKind::attribute, Attr::preserveMountsOnDisconnect}));
  return type;
}

void ServiceMountGroupConfig::mountConfigIs(const Vex::Name& remotePath, const Vex::String& vexcType,
                                            const Vex::String& vexcFlags, const Vex::String& hubstorePath) {
  if (mountConfig_.valueIs(remotePath, MountConfig{vexcType, vexcFlags, hubstorePath})) {
    notify(Attr::mountConfig, &remotePath);
  }
}

void ServiceMountGroupConfig::mountConfigDel(Vex::Name remotePath) {
  if (mountConfig_.valueDel(remotePath)) notify(Attr::mountConfig, &remotePath);
}

void ServiceMountGroupConfig::preserveMountsOnDisconnectIs(bool preserve) {
  if (assignIfChanged(preserveMountsOnDisconnect_, preserve)) notify(Attr::preserveMountsOnDisconnect);
}

}  // namespace Controller
