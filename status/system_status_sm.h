#pragma once
// Controller::SystemStatusSm: follows one switch's status record and tells the
// group's mounter (doHandleControllerMountState) whenever the switch's mount
// state for a group is set or changes. Created and owned by the service's
// ServiceMountStatusSm, one per switch.
//
// Its first report (handleInitialized, which its owner runs once the machine
// is listed) covers every group status the record holds, once. A group
// status added later is reported from its first mountState change; removing
// one reports nothing. The machine remembers nothing of what it reported: a
// new sweep reports every group again.
//
// The switch's name is parsed once, at creation: a name that is not an
// Ethernet address raises Lanx::InvalidEthAddrException there. A machine that
// outlives its owner is orphaned when the owner goes: it stops following the
// record and reports nothing more.

#include <hubstore/foundations/framework/collection.h>
#include <hubstore/foundations/framework/notifiee_const.h>
#include <hubstore/foundations/framework/owner_link.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/records/system_id.h>
#include <hubstore/foundations/records/system_status.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/foundations/framework/flat_collection.h>

namespace Controller {

class HubstoreServiceMountGroup;
class ServiceMountStatusSm;

class SystemStatusSm : public Vex::PtrInterface {
 public:
  // Watches the switch record's group-status collection and keeps one
  // VexServiceMountGroupStatus per group status in line with it.
  class VexSystemStatus : public Vex::NotifieeConstOf<SystemStatus> {
   public:
    static const Vex::TypeDescriptor& staticType();
    const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
    void notifierIs(const Vex::Ptr<const Vex::PtrInterface>& notifier) override;
    void onAttribute(Vex::AttributeId attribute, const void* key) override;
    void ownerIs(SystemStatusSm* owner) { owner_ = owner; }
    VexSystemStatus(const Vex::Ptr<const SystemStatus>& status, SystemStatusSm* owner);

   private:
    SystemStatusSm* owner_;
  };

  // Watches one group status's mountState.
  class VexServiceMountGroupStatus : public Vex::NotifieeConstOf<ServiceMountGroupStatus> {
   public:
    static const Vex::TypeDescriptor& staticType();
    const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
    // Re-pointing to another record reports that record's state at once.
    void notifierIs(const Vex::Ptr<const Vex::PtrInterface>& notifier) override;
    void onAttribute(Vex::AttributeId attribute, const void* key) override;
    void ownerIs(SystemStatusSm* owner) { owner_ = owner; }
    // Registers on `status` without reporting anything.
    VexServiceMountGroupStatus(const Vex::Ptr<const ServiceMountGroupStatus>& status, SystemStatusSm* owner);

   private:
    SystemStatusSm* owner_;
  };

  static Vex::Ptr<SystemStatusSm> SystemStatusSmIs(const Vex::Ptr<const SystemStatus>& systemStatus,
                                                   ServiceMountStatusSm* serviceMountStatusSm);
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  Vex::Ptr<const SystemStatus> systemStatus() const;
  // The record's name: the switch's Ethernet address in text form.
  Vex::Name systemName() const;
  // The address that name spells (all zero without a record).
  const SystemId& systemId() const { return systemId_; }
  // The owner; null once orphaned.
  ServiceMountStatusSm* serviceMountStatusSm() const { return serviceMountStatusSm_.get(); }

  void handleMountState();
  void handleMountState(const Vex::Name& groupName);
  // The same for a group status already in hand (no lookup by name); it
  // reports only while the switch record holds it.
  void handleMountState(const ServiceMountGroupStatus& groupStatus);
  // Reports again, in key order, each group status of the switch record
  // whose group the service declares; the others are passed over silently.
  // Stops when a hook removes the switch or releases the service.
  void reportDeclaredMountStates();

  Vex::Ptr<VexServiceMountGroupStatus> serviceMountGroupStatus(const Vex::Name& groupName) const {
    return serviceMountGroupStatus_.member(groupName);
  }
  const Vex::FlatCollection<Vex::Name, VexServiceMountGroupStatus>& serviceMountGroupStatusMembers() const {
    return serviceMountGroupStatus_;
  }
  Vex::Ptr<VexServiceMountGroupStatus> serviceMountGroupStatusIs(const Vex::Ptr<const ServiceMountGroupStatus>& status);
  void serviceMountGroupStatusDel(Vex::Name groupName);
  void serviceMountGroupStatusDelAll();

  bool initialized() const { return initialized_; }
  void initializedIs(bool initialized) { initialized_ = initialized; }
  void handleInitialized();
  // Drops the switch record and its reactor.
  void systemStatusDel();

  void hasNotificationActiveIs(bool active) override;
  void vexDoZombieReactors(bool zombie) override;

 protected:
  SystemStatusSm(const Vex::Ptr<const SystemStatus>& systemStatus, ServiceMountStatusSm* serviceMountStatusSm);
  ~SystemStatusSm() override;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  // The destructor's work; also run when the owner goes first.
  void tearDown();
  // handleMountState(groupStatus) for the machine's own reactors.
  void handleMountStateOf(const ServiceMountGroupStatus& groupStatus);
  // Tells the group's mounter the state of `groupStatus`, a member of the
  // switch record.
  void reportMountState(const ServiceMountGroupStatus& groupStatus);
  // The group of that name that the owning service declares; null when there
  // is none, or no service any more.
  HubstoreServiceMountGroup* declaredGroup(const Vex::Name& groupName) const;
  void tellMounter(const HubstoreServiceMountGroup& group, const ServiceMountGroupStatus& groupStatus);

  // What every mount state event reads comes first, within two cache lines.
  SystemId systemId_;
  bool initialized_ = false;
  Vex::OwnerLink<ServiceMountStatusSm, SystemStatusSm> serviceMountStatusSm_;
  Vex::Ptr<VexSystemStatus> systemStatusReactor_;
  // One reactor per group of the switch: tens, in one array.
  Vex::FlatCollection<Vex::Name, VexServiceMountGroupStatus> serviceMountGroupStatus_;
};

Vex::Ptr<SystemStatusSm> systemStatusSmFactory(const Vex::Ptr<const SystemStatus>& systemStatus,
                                               ServiceMountStatusSm* serviceMountStatusSm);

}  // namespace Controller
