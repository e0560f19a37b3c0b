#pragma once
// Controller::ServiceConfigRecord<Kind>: the shape of a service's mount and
// publish configurations, read by the mount machinery: the service's name and
// the leader generation it was written under, one flag the service raises
// when its declarations stand, the groups' configurations, and the switch and
// version filters the groups may point at. Both outlive an agent restart.
//
// ServiceMountConfig and ServicePublishConfig are this record under their
// own names; the kinds below hold what differs between them, side by side.

#include <hubstore/foundations/records/mount_filter_service_version.h>
#include <hubstore/foundations/records/mount_filter_system.h>
#include <hubstore/foundations/records/record.h>
#include <hubstore/foundations/records/service_mount_group_config.h>
#include <hubstore/foundations/records/service_publish_group_config.h>

namespace Controller {

struct ServiceMountConfigKind {
  using GroupConfig = ServiceMountGroupConfig;
  static constexpr auto groupConfigIs = &ServiceMountGroupConfig::ServiceMountGroupConfigIs;
  static constexpr const char* typeName = "Controller::ServiceMountConfig";
  static constexpr const char* flagAttribute = "warm";  // the declarations are closed
  static constexpr const char* groupConfigAttribute = "mountGroupConfig";
};

struct ServicePublishConfigKind {
  using GroupConfig = ServicePublishGroupConfig;
  static constexpr auto groupConfigIs = &ServicePublishGroupConfig::ServicePublishGroupConfigIs;
  static constexpr const char* typeName = "Controller::ServicePublishConfig";
  static constexpr const char* flagAttribute = "ready";  // the publish mounts are synchronized
  static constexpr const char* groupConfigAttribute = "publishGroupConfig";
};

template <class Kind>
class ServiceConfigRecord : public Vex::Entity {
 public:
  using GroupConfig = typename Kind::GroupConfig;
  struct Attr {
    static constexpr Vex::AttributeId serviceName = Vex::firstRecordAttribute;
    static constexpr Vex::AttributeId leaderGenId = Vex::firstRecordAttribute + 1;
    static constexpr Vex::AttributeId flag = Vex::firstRecordAttribute + 2;
    static constexpr Vex::AttributeId groupConfig = Vex::firstRecordAttribute + 3;
    static constexpr Vex::AttributeId systemFilter = Vex::firstRecordAttribute + 4;
    static constexpr Vex::AttributeId versionFilter = Vex::firstRecordAttribute + 5;
  };
  static const Vex::TypeDescriptor& staticType() {
    static const Vex::TypeDescriptor type(
        Kind::typeName, {{"serviceName", Vex::AttributeKind::attribute, Attr::serviceName},
                         {"leaderGenId", Vex::AttributeKind::attribute, Attr::leaderGenId},
                         {Kind::flagAttribute, Vex::AttributeKind::attribute, Attr::flag},
                         {Kind::groupConfigAttribute, Vex::AttributeKind::collection, Attr::groupConfig},
                         {"systemFilter", Vex::AttributeKind::collection, Attr::systemFilter},
                         {"versionFilter", Vex::AttributeKind::collection, Attr::versionFilter}});
    return type;
  }
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::String& serviceName() const { return serviceName_; }
  void serviceNameIs(const Vex::String& name) {
    if (assignIfChanged(serviceName_, name)) notify(Attr::serviceName);
  }
  const Vex::String& leaderGenId() const { return leaderGenId_; }
  void leaderGenIdIs(const Vex::String& id) {
    if (assignIfChanged(leaderGenId_, id)) notify(Attr::leaderGenId);
  }

  Vex::Ptr<MountFilterSystem> systemFilter(const Vex::Name& name) const { return systemFilter_.member(name); }
  const Vex::Collection<Vex::Name, MountFilterSystem>& systemFilterMembers() const { return systemFilter_; }
  Vex::Ptr<MountFilterSystem> systemFilterIs(const Vex::Name& name) {
    return memberIs(systemFilter_, name, Attr::systemFilter, &MountFilterSystem::MountFilterSystemIs);
  }
  void systemFilterDel(Vex::Name name) { memberDel(systemFilter_, name, Attr::systemFilter); }

  Vex::Ptr<MountFilterServiceVersion> versionFilter(const Vex::Name& name) const {
    return versionFilter_.member(name);
  }
  const Vex::Collection<Vex::Name, MountFilterServiceVersion>& versionFilterMembers() const {
    return versionFilter_;
  }
  Vex::Ptr<MountFilterServiceVersion> versionFilterIs(const Vex::Name& name) {
    return memberIs(versionFilter_, name, Attr::versionFilter, &MountFilterServiceVersion::MountFilterServiceVersionIs);
  }
  void versionFilterDel(Vex::Name name) { memberDel(versionFilter_, name, Attr::versionFilter); }

 protected:
  explicit ServiceConfigRecord(const Vex::Name& name)
      : Vex::Entity(name),
        groupConfig_(this, Kind::groupConfigAttribute),
        systemFilter_(this, "systemFilter"),
        versionFilter_(this, "versionFilter") {}
  ~ServiceConfigRecord() override = default;

  // The derived classes offer these under their kind's names.
  bool flag() const { return flag_; }
  void flagIs(bool flag) {
    if (assignIfChanged(flag_, flag)) notify(Attr::flag);
  }
  Vex::Ptr<GroupConfig> groupConfig(const Vex::Name& name) const { return groupConfig_.member(name); }
  const Vex::Collection<Vex::Name, GroupConfig>& groupConfigMembers() const { return groupConfig_; }
  Vex::Ptr<GroupConfig> groupConfigIs(const Vex::Name& name) {
    return memberIs(groupConfig_, name, Attr::groupConfig, Kind::groupConfigIs);
  }
  void groupConfigDel(Vex::Name name) { memberDel(groupConfig_, name, Attr::groupConfig); }

 private:
  Vex::String serviceName_{""};
  Vex::String leaderGenId_{""};
  bool flag_ = false;
  Vex::Collection<Vex::Name, GroupConfig> groupConfig_;
  Vex::Collection<Vex::Name, MountFilterSystem> systemFilter_;
  Vex::Collection<Vex::Name, MountFilterServiceVersion> versionFilter_;
};

}  // namespace Controller
