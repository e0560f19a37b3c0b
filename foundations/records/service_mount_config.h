#pragma once
/// \class Controller::ServiceMountConfig
/// The service's mount configuration: the groups to mount from every switch and
/// the filters they may point at. Its flag `warm` says the service's
/// declarations are closed. The record is ServiceConfigRecord's; this class
/// gives it its mount names.

#include <hubstore/foundations/records/service_config_record.h>

namespace Controller {

class ServiceMountConfig : public ServiceConfigRecord<ServiceMountConfigKind> {
 public:
  /// The base record's attribute ids, and its flag and group configurations
  /// under their mount names.
  struct Attr : ServiceConfigRecord::Attr {
    /// The `warm` flag's id.
    static constexpr Vex::AttributeId warm = flag;
    /// The group configurations' id.
    static constexpr Vex::AttributeId mountGroupConfig = groupConfig;
  };
  /// A new, empty mount configuration named `name`.
  static Vex::Ptr<ServiceMountConfig> ServiceMountConfigIs(const Vex::Name& name) {
    return Vex::make<ServiceMountConfig>(name);
  }

  /// Whether the service's declarations are closed (the service sets it once
  /// closed); set with warmIs().
  ///@{
  bool warm() const { return flag(); }
  void warmIs(bool warm) { flagIs(warm); }
  ///@}

  /// The mount group configurations: the base record's group configuration
  /// calls under their mount names (ServiceConfigRecord::groupConfig and the
  /// calls after it).
  ///@{
  Vex::Ptr<ServiceMountGroupConfig> mountGroupConfig(const Vex::Name& name) const { return groupConfig(name); }
  const Vex::Collection<Vex::Name, ServiceMountGroupConfig>& mountGroupConfigMembers() const {
    return groupConfigMembers();
  }
  Vex::Ptr<ServiceMountGroupConfig> mountGroupConfigIs(const Vex::Name& name) { return groupConfigIs(name); }
  void mountGroupConfigDel(Vex::Name name) { groupConfigDel(std::move(name)); }
  ///@}

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit ServiceMountConfig(const Vex::Name& name) : ServiceConfigRecord(name) {}
  ~ServiceMountConfig() override = default;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}
};

}  // namespace Controller
