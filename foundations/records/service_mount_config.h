#pragma once
// Controller::ServiceMountConfig: the service's mount configuration, read by
// the mount machinery: the groups to mount and the switch and version filters
// they may point at. It outlives an agent restart.

#include <hubstore/foundations/records/mount_filter_service_version.h>
#include <hubstore/foundations/records/mount_filter_system.h>
#include <hubstore/foundations/records/record.h>
#include <hubstore/foundations/records/service_mount_group_config.h>

namespace Controller {

class ServiceMountConfig : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId serviceName = Vex::firstRecordAttribute;
    static constexpr Vex::AttributeId leaderGenId = Vex::firstRecordAttribute + 1;
    static constexpr Vex::AttributeId warm = Vex::firstRecordAttribute + 2;
    static constexpr Vex::AttributeId mountGroupConfig = Vex::firstRecordAttribute + 3;
    static constexpr Vex::AttributeId systemFilter = Vex::firstRecordAttribute + 4;
    static constexpr Vex::AttributeId versionFilter = Vex::firstRecordAttribute + 5;
  };
  static Vex::Ptr<ServiceMountConfig> ServiceMountConfigIs(const Vex::Name& name) {
    return Vex::make<ServiceMountConfig>(name);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::String& serviceName() const { return serviceName_; }
  void serviceNameIs(const Vex::String& name);
  const Vex::String& leaderGenId() const { return leaderGenId_; }
  void leaderGenIdIs(const Vex::String& id);
  bool warm() const { return warm_; }
  void warmIs(bool warm);

  Vex::Ptr<ServiceMountGroupConfig> mountGroupConfig(const Vex::Name& name) const {
    return mountGroupConfig_.member(name);
  }
  const Vex::Collection<Vex::Name, ServiceMountGroupConfig>& mountGroupConfigMembers() const {
    return mountGroupConfig_;
  }
  Vex::Ptr<ServiceMountGroupConfig> mountGroupConfigIs(const Vex::Name& name);
  void mountGroupConfigDel(Vex::Name name);

  Vex::Ptr<MountFilterSystem> systemFilter(const Vex::Name& name) const { return systemFilter_.member(name); }
  const Vex::Collection<Vex::Name, MountFilterSystem>& systemFilterMembers() const { return systemFilter_; }
  Vex::Ptr<MountFilterSystem> systemFilterIs(const Vex::Name& name);
  void systemFilterDel(Vex::Name name);

  Vex::Ptr<MountFilterServiceVersion> versionFilter(const Vex::Name& name) const {
    return versionFilter_.member(name);
  }
  const Vex::Collection<Vex::Name, MountFilterServiceVersion>& versionFilterMembers() const {
    return versionFilter_;
  }
  Vex::Ptr<MountFilterServiceVersion> versionFilterIs(const Vex::Name& name);
  void versionFilterDel(Vex::Name name);

 protected:
  explicit ServiceMountConfig(const Vex::Name& name)
      : Vex::Entity(name),
        mountGroupConfig_(this, "mountGroupConfig"),
        systemFilter_(this, "systemFilter"),
        versionFilter_(this, "versionFilter") {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::String serviceName_{""};
  Vex::String leaderGenId_{""};
  bool warm_ = false;
  Vex::Collection<Vex::Name, ServiceMountGroupConfig> mountGroupConfig_;
  Vex::Collection<Vex::Name, MountFilterSystem> systemFilter_;
  Vex::Collection<Vex::Name, MountFilterServiceVersion> versionFilter_;
};

}  // namespace Controller
