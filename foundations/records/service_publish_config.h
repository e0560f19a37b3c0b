#pragma once
// Controller::ServicePublishConfig: the service's publish configuration: the
// groups whose paths the controller publishes to the switches and the filters
// they may point at. Its flag `ready` says the publish mounts are
// synchronized. The record is ServiceConfigRecord's; this class gives it its
// publish names.

#include <hubstore/foundations/records/service_config_record.h>

namespace Controller {

class ServicePublishConfig : public ServiceConfigRecord<ServicePublishConfigKind> {
 public:
  struct Attr : ServiceConfigRecord::Attr {
    static constexpr Vex::AttributeId ready = flag;
    static constexpr Vex::AttributeId publishGroupConfig = groupConfig;
  };
  static Vex::Ptr<ServicePublishConfig> ServicePublishConfigIs(const Vex::Name& name) {
    return Vex::make<ServicePublishConfig>(name);
  }

  bool ready() const { return flag(); }
  void readyIs(bool ready) { flagIs(ready); }

  Vex::Ptr<ServicePublishGroupConfig> publishGroupConfig(const Vex::Name& name) const { return groupConfig(name); }
  const Vex::Collection<Vex::Name, ServicePublishGroupConfig>& publishGroupConfigMembers() const {
    return groupConfigMembers();
  }
  Vex::Ptr<ServicePublishGroupConfig> publishGroupConfigIs(const Vex::Name& name) { return groupConfigIs(name); }
  void publishGroupConfigDel(Vex::Name name) { groupConfigDel(std::move(name)); }

 protected:
  explicit ServicePublishConfig(const Vex::Name& name) : ServiceConfigRecord(name) {}
  ~ServicePublishConfig() override = default;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
};

}  // namespace Controller
