#include <hubstore/foundations/records/service_mount_config.h>

namespace Controller {

const Vex::TypeDescriptor& ServiceMountConfig::staticType() {
  static const Vex::TypeDescriptor type("Controller::ServiceMountConfig",
                                        {{"serviceName", Vex::AttributeKind::attribute, Attr::serviceName},
                                         {"leaderGenId", Vex::AttributeKind::attribute, Attr::leaderGenId},
                                         {"warm", Vex::AttributeKind::attribute, Attr::warm},
                                         {"mountGroupConfig", Vex::AttributeKind::collection, Attr::mountGroupConfig},
                                         {"systemFilter", Vex::AttributeKind::collection, Attr::systemFilter},
                                         {"versionFilter", Vex::AttributeKind::collection, Attr::versionFilter}});
  return type;
}

void ServiceMountConfig::serviceNameIs(const Vex::String& name) {
  if (assignIfChanged(serviceName_, name)) notify(Attr::serviceName);
}

void ServiceMountConfig::leaderGenIdIs(const Vex::String& id) {
  if (assignIfChanged(leaderGenId_, id)) notify(Attr::leaderGenId);
}

void ServiceMountConfig::warmIs(bool warm) {
  if (assignIfChanged(warm_, warm)) notify(Attr::warm);
}

Vex::Ptr<ServiceMountGroupConfig> ServiceMountConfig::mountGroupConfigIs(const Vex::Name& name) {
  return memberIs(mountGroupConfig_, name, Attr::mountGroupConfig, &ServiceMountGroupConfig::ServiceMountGroupConfigIs);
}

void ServiceMountConfig::mountGroupConfigDel(Vex::Name name) {
  memberDel(mountGroupConfig_, name, Attr::mountGroupConfig);
}

Vex::Ptr<MountFilterSystem> ServiceMountConfig::systemFilterIs(const Vex::Name& name) {
  return memberIs(systemFilter_, name, Attr::systemFilter, &MountFilterSystem::MountFilterSystemIs);
}

void ServiceMountConfig::systemFilterDel(Vex::Name name) { memberDel(systemFilter_, name, Attr::systemFilter); }

Vex::Ptr<MountFilterServiceVersion> ServiceMountConfig::versionFilterIs(const Vex::Name& name) {
  return memberIs(versionFilter_, name, Attr::versionFilter, &MountFilterServiceVersion::MountFilterServiceVersionIs);
}

void ServiceMountConfig::versionFilterDel(Vex::Name name) { memberDel(versionFilter_, name, Attr::versionFilter); }

}  // namespace Controller
