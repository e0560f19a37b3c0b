#pragma once
/// \class Controller::ServiceMountGroupStatus
/// One switch's mount state for one group, written by the mount machinery.

#include <hubstore/foundations/records/mount_state.h>
#include <hubstore/foundations/records/record.h>

namespace Controller {

class ServiceMountGroupStatus : public Vex::Entity {
 public:
  /// The attribute ids.
  struct Attr {
    /// The mount state.
    static constexpr Vex::AttributeId mountState = Vex::firstRecordAttribute + 1;
  };
  /// A new status named after its group, in `state`.
  static Vex::Ptr<ServiceMountGroupStatus> ServiceMountGroupStatusIs(const Vex::Name& name,
                                                                     MountState state = mountStateUnknown) {
    return Vex::make<ServiceMountGroupStatus>(name, state);
  }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The switch's mount state for the group.
  MountState mountState() const { return mountState_; }
  /// Sets the mount state; watchers are told only of a change.
  void mountStateIs(MountState state);

 protected:
  /// Made only by Vex::make.
  ///@{
  ServiceMountGroupStatus(const Vex::Name& name, MountState state) : Vex::Entity(name), mountState_(state) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  MountState mountState_;
};

}  // namespace Controller
