#pragma once
// Controller::ServiceMountGroupStatus: one switch's mount state for one group,
// written by the mount machinery.

#include <hubstore/foundations/records/mount_state.h>
#include <hubstore/foundations/records/record.h>

namespace Controller {

class ServiceMountGroupStatus : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId mountState = Vex::firstRecordAttribute + 1;
  };
  static Vex::Ptr<ServiceMountGroupStatus> ServiceMountGroupStatusIs(const Vex::Name& name,
                                                                     MountState state = mountStateUnknown) {
    return Vex::make<ServiceMountGroupStatus>(name, state);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  MountState mountState() const { return mountState_; }
  void mountStateIs(MountState state);

 protected:
  ServiceMountGroupStatus(const Vex::Name& name, MountState state) : Vex::Entity(name), mountState_(state) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  MountState mountState_;
};

}  // namespace Controller
