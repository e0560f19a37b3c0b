#pragma once
// Controller::ServicePublishStatus: the mount machinery's report on what it
// has published for one service, one group status per group.

#include <hubstore/foundations/records/record.h>
#include <hubstore/foundations/records/service_publish_group_status.h>

namespace Controller {

class ServicePublishStatus : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId publishGroupStatus = Vex::firstRecordAttribute + 1;
  };
  static Vex::Ptr<ServicePublishStatus> ServicePublishStatusIs(const Vex::Name& name) {
    return Vex::make<ServicePublishStatus>(name);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  Vex::Ptr<const ServicePublishGroupStatus> publishGroupStatus(const Vex::Name& group) const {
    return publishGroupStatus_.member(group);
  }
  const Vex::Collection<Vex::Name, ServicePublishGroupStatus>& publishGroupStatusMembers() const {
    return publishGroupStatus_;
  }
  Vex::Ptr<ServicePublishGroupStatus> publishGroupStatusIs(const Vex::Name& group);
  void publishGroupStatusDel(Vex::Name group);

 protected:
  explicit ServicePublishStatus(const Vex::Name& name)
      : Vex::Entity(name), publishGroupStatus_(this, "publishGroupStatus") {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::Collection<Vex::Name, ServicePublishGroupStatus> publishGroupStatus_;
};

}  // namespace Controller
