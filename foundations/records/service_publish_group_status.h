#pragma once
// Controller::ServicePublishGroupStatus: which of one group's published paths
// the mount machinery has published. Only the keys carry meaning.

#include <hubstore/foundations/records/record.h>

namespace Controller {

class ServicePublishGroupStatus : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId publishStatus = Vex::firstRecordAttribute + 2;
  };
  static Vex::Ptr<ServicePublishGroupStatus> ServicePublishGroupStatusIs(const Vex::Name& name) {
    return Vex::make<ServicePublishGroupStatus>(name);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  bool publishStatus(const Vex::Name& hubstorePath) const { return publishStatus_.contains(hubstorePath); }
  const Vex::ValueMap<Vex::Name, bool>& publishStatusMembers() const { return publishStatus_; }
  void publishStatusIs(const Vex::Name& hubstorePath);
  void publishStatusDel(Vex::Name hubstorePath);

 protected:
  explicit ServicePublishGroupStatus(const Vex::Name& name) : Vex::Entity(name) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::ValueMap<Vex::Name, bool> publishStatus_;
};

}  // namespace Controller
