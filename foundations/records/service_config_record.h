#pragma once
/// \class Controller::ServiceConfigRecord
/// The shape of a service's mount and publish configurations, read by the mount
/// machinery: the service's name and the leader generation it was written
/// under, one flag the service raises when its declarations stand, the groups'
/// configurations, and the switch and version filters the groups may point at.
/// Both outlive an agent restart.
///
/// ServiceMountConfig and ServicePublishConfig are this record under their
/// own names; the kinds below hold what differs between them, side by side.

#include <hubstore/foundations/records/mount_filter_service_version.h>
#include <hubstore/foundations/records/mount_filter_system.h>
#include <hubstore/foundations/records/record.h>
#include <hubstore/foundations/records/service_mount_group_config.h>
#include <hubstore/foundations/records/service_publish_group_config.h>

namespace Controller {

/// What the mount configuration names its own (ServiceMountConfig).
struct ServiceMountConfigKind {
  /// The type of its group configurations.
  using GroupConfig = ServiceMountGroupConfig;
  /// Creates one group configuration.
  static constexpr auto groupConfigIs = &ServiceMountGroupConfig::ServiceMountGroupConfigIs;
  /// The record's type name.
  static constexpr const char* typeName = "Controller::ServiceMountConfig";
  static constexpr const char* flagAttribute = "warm";  ///< the declarations are closed
  /// The name of the group configuration collection.
  static constexpr const char* groupConfigAttribute = "mountGroupConfig";
};

/// What the publish configuration names its own (ServicePublishConfig).
struct ServicePublishConfigKind {
  /// The type of its group configurations.
  using GroupConfig = ServicePublishGroupConfig;
  /// Creates one group configuration.
  static constexpr auto groupConfigIs = &ServicePublishGroupConfig::ServicePublishGroupConfigIs;
  /// The record's type name.
  static constexpr const char* typeName = "Controller::ServicePublishConfig";
  static constexpr const char* flagAttribute = "ready";  ///< the publish mounts are synchronized
  /// The name of the group configuration collection.
  static constexpr const char* groupConfigAttribute = "publishGroupConfig";
};

template <class Kind>
class ServiceConfigRecord : public Vex::Entity {
 public:
  /// The type of the record's group configurations.
  using GroupConfig = typename Kind::GroupConfig;
  /// The record's attribute ids, in declaration order from
  /// Vex::firstRecordAttribute; changes are notified under them.
  struct Attr {
    /// The service's name.
    static constexpr Vex::AttributeId serviceName = Vex::firstRecordAttribute;
    /// The leader generation id the record was written under.
    static constexpr Vex::AttributeId leaderGenId = Vex::firstRecordAttribute + 1;
    /// The kind's flag ("warm" or "ready").
    static constexpr Vex::AttributeId flag = Vex::firstRecordAttribute + 2;
    /// The group configurations, by group name.
    static constexpr Vex::AttributeId groupConfig = Vex::firstRecordAttribute + 3;
    /// The switch filters, by name.
    static constexpr Vex::AttributeId systemFilter = Vex::firstRecordAttribute + 4;
    /// The version filters, by name.
    static constexpr Vex::AttributeId versionFilter = Vex::firstRecordAttribute + 5;
  };
  /// The type's descriptor, as Vex::make needs.
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
  /// The descriptor of the record's own type (staticType()).
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  /// The name of the service that wrote the record; "" until written.
  const Vex::String& serviceName() const { return serviceName_; }
  /// Stores the service name; watchers are told only of a change.
  void serviceNameIs(const Vex::String& name) {
    if (assignIfChanged(serviceName_, name)) notify(Attr::serviceName);
  }
  /// The controller database's leader generation id the record was written
  /// under; "" until written.
  const Vex::String& leaderGenId() const { return leaderGenId_; }
  /// Stores the leader generation id; watchers are told only of a change.
  void leaderGenIdIs(const Vex::String& id) {
    if (assignIfChanged(leaderGenId_, id)) notify(Attr::leaderGenId);
  }

  /// The switch filter named `name`, or null.
  Vex::Ptr<MountFilterSystem> systemFilter(const Vex::Name& name) const { return systemFilter_.member(name); }
  /// Every switch filter, by name.
  const Vex::Collection<Vex::Name, MountFilterSystem>& systemFilterMembers() const { return systemFilter_; }
  /// The switch filter named `name`, created (and notified) when absent. The
  /// record holds it.
  Vex::Ptr<MountFilterSystem> systemFilterIs(const Vex::Name& name) {
    return memberIs(systemFilter_, name, Attr::systemFilter, &MountFilterSystem::MountFilterSystemIs);
  }
  /// Removes the switch filter named `name`; watchers are told only when there
  /// was one.
  void systemFilterDel(Vex::Name name) { memberDel(systemFilter_, name, Attr::systemFilter); }

  /// The version filter named `name`, or null.
  Vex::Ptr<MountFilterServiceVersion> versionFilter(const Vex::Name& name) const {
    return versionFilter_.member(name);
  }
  /// Every version filter, by name.
  const Vex::Collection<Vex::Name, MountFilterServiceVersion>& versionFilterMembers() const {
    return versionFilter_;
  }
  /// The version filter named `name`, created (and notified) when absent. The
  /// record holds it.
  Vex::Ptr<MountFilterServiceVersion> versionFilterIs(const Vex::Name& name) {
    return memberIs(versionFilter_, name, Attr::versionFilter, &MountFilterServiceVersion::MountFilterServiceVersionIs);
  }
  /// Removes the version filter named `name`; watchers are told only when there
  /// was one.
  void versionFilterDel(Vex::Name name) { memberDel(versionFilter_, name, Attr::versionFilter); }

 protected:
  /// An empty record named `name`; made by the derived class's factory.
  explicit ServiceConfigRecord(const Vex::Name& name)
      : Vex::Entity(name),
        groupConfig_(this, Kind::groupConfigAttribute),
        systemFilter_(this, "systemFilter"),
        versionFilter_(this, "versionFilter") {}
  ~ServiceConfigRecord() override = default;

  /// The kind's flag; the derived classes offer it and the group configuration
  /// calls below under their kind's names.
  bool flag() const { return flag_; }
  /// Stores the flag; watchers are told only of a change.
  void flagIs(bool flag) {
    if (assignIfChanged(flag_, flag)) notify(Attr::flag);
  }
  /// The group configuration named `name`, or null.
  Vex::Ptr<GroupConfig> groupConfig(const Vex::Name& name) const { return groupConfig_.member(name); }
  /// Every group configuration, by group name.
  const Vex::Collection<Vex::Name, GroupConfig>& groupConfigMembers() const { return groupConfig_; }
  /// The group configuration named `name`, created (and notified) when absent.
  Vex::Ptr<GroupConfig> groupConfigIs(const Vex::Name& name) {
    return memberIs(groupConfig_, name, Attr::groupConfig, Kind::groupConfigIs);
  }
  /// Removes the group configuration named `name`; watchers are told only when
  /// there was one.
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
