#pragma once
/// \class Controller::SystemStatus
/// One switch's status within a service, named by the text form of the switch's
/// Ethernet address; it holds the switch's mount state for each group, in a
/// sorted array: a fleet holds one per switch and group, and a switch has tens
/// of groups.

#include <hubstore/foundations/framework/flat_collection.h>
#include <hubstore/foundations/records/record.h>
#include <hubstore/foundations/records/service_mount_group_status.h>

namespace Controller {

class SystemStatus : public Vex::Entity {
 public:
  /// The attribute ids.
  struct Attr {
    /// The group statuses, by group name.
    static constexpr Vex::AttributeId serviceMountGroupStatus = Vex::firstRecordAttribute + 1;
  };
  /// A new switch status named `name` (the address's text form), holding no
  /// group status.
  static Vex::Ptr<SystemStatus> SystemStatusIs(const Vex::Name& name) { return Vex::make<SystemStatus>(name); }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The switch's status for the group named `group`, or null.
  Vex::Ptr<const ServiceMountGroupStatus> serviceMountGroupStatus(const Vex::Name& group) const {
    return serviceMountGroupStatus_.member(group);
  }
  /// The same as a plain pointer, for the per-event path that takes no
  /// reference.
  const ServiceMountGroupStatus* serviceMountGroupStatusRaw(const Vex::Name& group) const {
    return serviceMountGroupStatus_.memberRaw(group);
  }
  /// Every group status, by group name.
  const Vex::FlatCollection<Vex::Name, ServiceMountGroupStatus>& serviceMountGroupStatusMembers() const {
    return serviceMountGroupStatus_;
  }
  /// Creates the group status with `state`, or returns the existing one as it is.
  Vex::Ptr<ServiceMountGroupStatus> serviceMountGroupStatusIs(const Vex::Name& group,
                                                              MountState state = mountStateUnknown);
  /// Removes the group status named `group`, if any.
  void serviceMountGroupStatusDel(Vex::Name group);
  /// Reserves room for `count` group statuses: a switch read whole knows how many.
  void serviceMountGroupStatusReserve(std::size_t count) { serviceMountGroupStatus_.reserve(count); }

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit SystemStatus(const Vex::Name& name)
      : Vex::Entity(name), serviceMountGroupStatus_(this, "serviceMountGroupStatus") {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Vex::FlatCollection<Vex::Name, ServiceMountGroupStatus> serviceMountGroupStatus_;
};

}  // namespace Controller
