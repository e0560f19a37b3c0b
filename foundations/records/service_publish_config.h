#pragma once
/// \class Controller::ServicePublishConfig
/// The service's publish configuration: the groups whose paths the controller
/// publishes to the switches and the filters they may point at. Its flag
/// `ready` says the publish mounts are synchronized. The record is
/// ServiceConfigRecord's; this class gives it its publish names.

#include <hubstore/foundations/records/service_config_record.h>

namespace Controller {

class ServicePublishConfig : public ServiceConfigRecord<ServicePublishConfigKind> {
 public:
  /// The base record's attribute ids, and its flag and group configurations
  /// under their publish names.
  struct Attr : ServiceConfigRecord::Attr {
    /// The `ready` flag's id.
    static constexpr Vex::AttributeId ready = flag;
    /// The group configurations' id.
    static constexpr Vex::AttributeId publishGroupConfig = groupConfig;
  };
  /// A new, empty publish configuration named `name`.
  static Vex::Ptr<ServicePublishConfig> ServicePublishConfigIs(const Vex::Name& name) {
    return Vex::make<ServicePublishConfig>(name);
  }

  /// Whether the agent has synchronized its publish mounts once; set with
  /// readyIs().
  ///@{
  bool ready() const { return flag(); }
  void readyIs(bool ready) { flagIs(ready); }
  ///@}

  /// The publish group configurations: the base record's group configuration
  /// calls under their publish names (ServiceConfigRecord::groupConfig and the
  /// calls after it).
  ///@{
  Vex::Ptr<ServicePublishGroupConfig> publishGroupConfig(const Vex::Name& name) const { return groupConfig(name); }
  const Vex::Collection<Vex::Name, ServicePublishGroupConfig>& publishGroupConfigMembers() const {
    return groupConfigMembers();
  }
  Vex::Ptr<ServicePublishGroupConfig> publishGroupConfigIs(const Vex::Name& name) { return groupConfigIs(name); }
  void publishGroupConfigDel(Vex::Name name) { groupConfigDel(std::move(name)); }
  ///@}

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit ServicePublishConfig(const Vex::Name& name) : ServiceConfigRecord(name) {}
  ~ServicePublishConfig() override = default;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}
};

}  // namespace Controller
