#include <hubstore/foundations/records/service_config_record.h>

namespace Controller {

template <class Kind>
const Vex::TypeDescriptor& ServiceConfigRecord<Kind>::staticType() {
  static const Vex::TypeDescriptor type(
      Kind::typeName, {{"serviceName", Vex::AttributeKind::attribute, Attr::serviceName},
                       {"leaderGenId", Vex::AttributeKind::attribute, Attr::leaderGenId},
                       {Kind::flagAttribute, Vex::AttributeKind::attribute, Attr::flag},
                       {Kind::groupConfigAttribute, Vex::AttributeKind::collection, Attr::groupConfig},
                       {"systemFilter", Vex::AttributeKind::collection, Attr::systemFilter},
                       {"versionFilter", Vex::AttributeKind::collection, Attr::versionFilter}});
  return type;
}

template <class Kind>
void ServiceConfigRecord<Kind>::serviceNameIs(const Vex::String& name) {
  if (assignIfChanged(serviceName_, name)) notify(Attr::serviceName);
}

template <class Kind>
void ServiceConfigRecord<Kind>::leaderGenIdIs(const Vex::String& id) {
  if (assignIfChanged(leaderGenId_, id)) notify(Attr::leaderGenId);
}

template <class Kind>
void ServiceConfigRecord<Kind>::flagIs(bool flag) {
  if (assignIfChanged(flag_, flag)) notify(Attr::flag);
}

template <class Kind>
auto ServiceConfigRecord<Kind>::groupConfigIs(const Vex::Name& name) -> Vex::Ptr<GroupConfig> {
  return memberIs(groupConfig_, name, Attr::groupConfig, Kind::groupConfigIs);
}

template <class Kind>
void ServiceConfigRecord<Kind>::groupConfigDel(Vex::Name name) {
  memberDel(groupConfig_, name, Attr::groupConfig);
}

template <class Kind>
Vex::Ptr<MountFilterSystem> ServiceConfigRecord<Kind>::systemFilterIs(const Vex::Name& name) {
  return memberIs(systemFilter_, name, Attr::systemFilter, &MountFilterSystem::MountFilterSystemIs);
}

template <class Kind>
void ServiceConfigRecord<Kind>::systemFilterDel(Vex::Name name) {
  memberDel(systemFilter_, name, Attr::systemFilter);
}

template <class Kind>
Vex::Ptr<MountFilterServiceVersion> ServiceConfigRecord<Kind>::versionFilterIs(const Vex::Name& name) {
  return memberIs(versionFilter_, name, Attr::versionFilter, &MountFilterServiceVersion::MountFilterServiceVersionIs);
}

template <class Kind>
void ServiceConfigRecord<Kind>::versionFilterDel(Vex::Name name) {
  memberDel(versionFilter_, name, Attr::versionFilter);
}

template class ServiceConfigRecord<ServiceMountConfigKind>;
template class ServiceConfigRecord<ServicePublishConfigKind>;

}  // namespace Controller
