#include <hubstore/foundations/records/service_mount_group_config.h>

namespace Controller {

const Vex::TypeDescriptor& ServiceMountGroupConfig::staticType() {
  static const Vex::TypeDescriptor type(
      "Controller::ServiceMountGroupConfig",
      {{"name", Vex::AttributeKind::attribute, Vex::firstRecordAttribute},
       {"mountConfig", Vex::AttributeKind::collection, Attr::mountConfig},
       {"preserveMountsOnDisconnect", Vex::AttributeKind::attribute, Attr::preserveMountsOnDisconnect},
       {"systemFilter", Vex::AttributeKind::attribute, Attr::systemFilter},
       {"versionFilter", Vex::AttributeKind::attribute, Attr::versionFilter}});
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

void ServiceMountGroupConfig::systemFilterIs(const Vex::Ptr<MountFilterSystem>& filter) {
  if (assignIfChanged(systemFilter_, filter)) notify(Attr::systemFilter);
}

void ServiceMountGroupConfig::versionFilterIs(const Vex::Ptr<MountFilterServiceVersion>& filter) {
  if (assignIfChanged(versionFilter_, filter)) notify(Attr::versionFilter);
}

}  // namespace Controller
