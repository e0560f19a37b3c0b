#include <hubstore/foundations/records/service_publish_config.h>

namespace Controller {

const Vex::TypeDescriptor& ServicePublishConfig::staticType() {
  static const Vex::TypeDescriptor type(
      "Controller::ServicePublishConfig",
      {{"serviceName", Vex::AttributeKind::attribute, Attr::serviceName},
       {"leaderGenId", Vex::AttributeKind::attribute, Attr::leaderGenId},
       {"ready", Vex::AttributeKind::attribute, Attr::ready},
       {"publishGroupConfig", Vex::AttributeKind::collection, Attr::publishGroupConfig},
       {"systemFilter", Vex::AttributeKind::collection, Attr::systemFilter},
       {"versionFilter", Vex::AttributeKind::collection, Attr::versionFilter}});
  return type;
}

void ServicePublishConfig::serviceNameIs(const Vex::String& name) {
  if (assignIfChanged(serviceName_, name)) notify(Attr::serviceName);
}

void ServicePublishConfig::leaderGenIdIs(const Vex::String& id) {
  if (assignIfChanged(leaderGenId_, id)) notify(Attr::leaderGenId);
}

void ServicePublishConfig::readyIs(bool ready) {
  if (assignIfChanged(ready_, ready)) notify(Attr::ready);
}

Vex::Ptr<ServicePublishGroupConfig> ServicePublishConfig::publishGroupConfigIs(const Vex::Name& name) {
  return memberIs(publishGroupConfig_, name, Attr::publishGroupConfig,
                  &ServicePublishGroupConfig::ServicePublishGroupConfigIs);
}

void ServicePublishConfig::publishGroupConfigDel(Vex::Name name) {
  memberDel(publishGroupConfig_, name, Attr::publishGroupConfig);
}

Vex::Ptr<MountFilterSystem> ServicePublishConfig::systemFilterIs(const Vex::Name& name) {
  return memberIs(systemFilter_, name, Attr::systemFilter, &MountFilterSystem::MountFilterSystemIs);
}

void ServicePublishConfig::systemFilterDel(Vex::Name name) { memberDel(systemFilter_, name, Attr::systemFilter); }

Vex::Ptr<MountFilterServiceVersion> ServicePublishConfig::versionFilterIs(const Vex::Name& name) {
  return memberIs(versionFilter_, name, Attr::versionFilter, &MountFilterServiceVersion::MountFilterServiceVersionIs);
}

void ServicePublishConfig::versionFilterDel(Vex::Name name) { memberDel(versionFilter_, name, Attr::versionFilter); }

}  // namespace Controller
