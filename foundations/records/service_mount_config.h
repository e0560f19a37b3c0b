#pragma once
// Controller::ServiceMountConfig: the service's mount configuration: the
// groups to mount from every switch and the filters they may point at. Its
// flag `warm` says the service's declarations are closed. The record is
// ServiceConfigRecord's; this class gives it its mount names.

#include <hubstore/foundations/records/service_config_record.h>

namespace Controller {

class ServiceMountConfig : public ServiceConfigRecord<ServiceMountConfigKind> {
 public:
  struct Attr : ServiceConfigRecord::Attr {
    static constexpr Vex::AttributeId warm = flag;
    static constexpr Vex::AttributeId mountGroupConfig = groupConfig;
  };
  static Vex::Ptr<ServiceMountConfig> ServiceMountConfigIs(const Vex::Name& name) {
    return Vex::make<ServiceMountConfig>(name);
  }

  bool warm() const { return flag(); }
  void warmIs(bool warm) { flagIs(warm); }

  Vex::Ptr<ServiceMountGroupConfig> mountGroupConfig(const Vex::Name& name) const { return groupConfig(name); }
  const Vex::Collection<Vex::Name, ServiceMountGroupConfig>& mountGroupConfigMembers() const {
    return groupConfigMembers();
  }
  Vex::Ptr<ServiceMountGroupConfig> mountGroupConfigIs(const Vex::Name& name) { return groupConfigIs(name); }
  void mountGroupConfigDel(Vex::Name name) { groupConfigDel(std::move(name)); }

 protected:
  explicit ServiceMountConfig(const Vex::Name& name) : ServiceConfigRecord(name) {}
  ~ServiceMountConfig() override = default;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
};

}  // namespace Controller
