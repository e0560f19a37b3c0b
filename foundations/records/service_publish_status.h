#pragma once
/// \class Controller::ServicePublishStatus
/// The mount machinery's report on what it has published for one service, one
/// group status per group.

#include <hubstore/foundations/records/record.h>
#include <hubstore/foundations/records/service_publish_group_status.h>

namespace Controller {

class ServicePublishStatus : public Vex::Entity {
 public:
  /// The attribute ids.
  struct Attr {
    /// The group statuses.
    static constexpr Vex::AttributeId publishGroupStatus = Vex::firstRecordAttribute + 1;
  };
  /// A new, empty status named `name`.
  static Vex::Ptr<ServicePublishStatus> ServicePublishStatusIs(const Vex::Name& name) {
    return Vex::make<ServicePublishStatus>(name);
  }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The status of the group named `group`, or null.
  Vex::Ptr<const ServicePublishGroupStatus> publishGroupStatus(const Vex::Name& group) const {
    return publishGroupStatus_.member(group);
  }
  /// Every group status, by group name.
  const Vex::Collection<Vex::Name, ServicePublishGroupStatus>& publishGroupStatusMembers() const {
    return publishGroupStatus_;
  }
  /// The status of the group named `group`, created (and notified) when absent.
  Vex::Ptr<ServicePublishGroupStatus> publishGroupStatusIs(const Vex::Name& group);
  /// Removes the status of the group named `group`, if any.
  void publishGroupStatusDel(Vex::Name group);

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit ServicePublishStatus(const Vex::Name& name)
      : Vex::Entity(name), publishGroupStatus_(this, "publishGroupStatus") {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Vex::Collection<Vex::Name, ServicePublishGroupStatus> publishGroupStatus_;
};

}  // namespace Controller
