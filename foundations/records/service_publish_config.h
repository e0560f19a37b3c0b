#pragma once
// Controller::ServicePublishConfig: the service's publish configuration, read
// by the mount machinery: the groups whose paths the controller publishes to
// the switches and the filters they may point at. It outlives an agent
// restart.

#include <hubstore/foundations/records/mount_filter_service_version.h>
#include <hubstore/foundations/records/mount_filter_system.h>
#include <hubstore/foundations/records/record.h>
#include <hubstore/foundations/records/service_publish_group_config.h>

namespace Controller {

class ServicePublishConfig : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId serviceName = Vex::firstRecordAttribute;
    static constexpr Vex::AttributeId leaderGenId = Vex::firstRecordAttribute + 1;
    static constexpr Vex::AttributeId ready = Vex::firstRecordAttribute + 2;
    static constexpr Vex::AttributeId publishGroupConfig = Vex::firstRecordAttribute + 3;
    static constexpr Vex::AttributeId systemFilter = Vex::firstRecordAttribute + 4;
    static constexpr Vex::AttributeId versionFilter = Vex::firstRecordAttribute + 5;
  };
  static Vex::Ptr<ServicePublishConfig> ServicePublishConfigIs(const Vex::Name& name) {
    return Vex::make<ServicePublishConfig>(name);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::String& serviceName() const { return serviceName_; }
  void serviceNameIs(const Vex::String& name);
  const Vex::String& leaderGenId() const { return leaderGenId_; }
  void leaderGenIdIs(const Vex::String& id);
  bool ready() const { return ready_; }
  void readyIs(bool ready);

  Vex::Ptr<ServicePublishGroupConfig> publishGroupConfig(const Vex::Name& name) const {
    return publishGroupConfig_.member(name);
  }
  const Vex::Collection<Vex::Name, ServicePublishGroupConfig>& publishGroupConfigMembers() const {
    return publishGroupConfig_;
  }
  Vex::Ptr<ServicePublishGroupConfig> publishGroupConfigIs(const Vex::Name& name);
  void publishGroupConfigDel(Vex::Name name);

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
  explicit ServicePublishConfig(const Vex::Name& name)
      : Vex::Entity(name),
        publishGroupConfig_(this, "publishGroupConfig"),
        systemFilter_(this, "systemFilter"),
        versionFilter_(this, "versionFilter") {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::String serviceName_{""};
  Vex::String leaderGenId_{""};
  bool ready_ = false;
  Vex::Collection<Vex::Name, ServicePublishGroupConfig> publishGroupConfig_;
  Vex::Collection<Vex::Name, MountFilterSystem> systemFilter_;
  Vex::Collection<Vex::Name, MountFilterServiceVersion> versionFilter_;
};

}  // namespace Controller
