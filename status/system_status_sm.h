#pragma once
/// \class Controller::SystemStatusSm
/// Follows one switch's status record and tells the group's mounter
/// (doHandleControllerMountState) whenever the switch's mount state for a group
/// is set or changes. Created and owned by the service's ServiceMountStatusSm,
/// one per switch.
///
/// Its first report (handleInitialized, which its owner runs once the machine
/// is listed) covers every group status the record holds, once. A group
/// status added later is reported from its first mountState change; removing
/// one reports nothing. The machine remembers nothing of what it reported: a
/// new sweep reports every group again.
///
/// The switch's name is parsed once, at creation: a name that is not an
/// Ethernet address raises Lanx::InvalidEthAddrException there. A machine that
/// outlives its owner is orphaned when the owner goes: it stops following the
/// record and reports nothing more.

#include <hubstore/foundations/framework/collection.h>
#include <hubstore/foundations/framework/owner_link.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/reactor.h>
#include <hubstore/foundations/records/system_id.h>
#include <hubstore/foundations/records/system_status.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/foundations/framework/flat_collection.h>

namespace Controller {

class HubstoreServiceMountGroup;
class ServiceMountStatusSm;

class SystemStatusSm : public Vex::PtrInterface {
 public:
  /// A new machine following `systemStatus` for `serviceMountStatusSm`, not yet
  /// initialized: its owner lists it, then runs handleInitialized(). Raises
  /// Lanx::InvalidEthAddrException when the record's name is not an Ethernet
  /// address.
  static Vex::Ptr<SystemStatusSm> SystemStatusSmIs(const Vex::Ptr<const SystemStatus>& systemStatus,
                                                   ServiceMountStatusSm* serviceMountStatusSm);
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The followed switch record; null after systemStatusDel().
  Vex::Ptr<const SystemStatus> systemStatus() const;
  /// The record's name: the switch's Ethernet address in text form.
  Vex::Name systemName() const;
  /// The address that name spells (all zero without a record).
  const SystemId& systemId() const { return systemId_; }
  /// The owner; null once orphaned.
  ServiceMountStatusSm* serviceMountStatusSm() const { return serviceMountStatusSm_.get(); }

  /// Reports every group status the switch record holds, in key order; stops
  /// when a hook removes the switch or releases the service. Nothing before the
  /// machine is initialized.
  void handleMountState();
  /// Reports the group status named `groupName`, if the switch record holds it.
  void handleMountState(const Vex::Name& groupName);
  /// The same for a group status already in hand (no lookup by name); it
  /// reports only while the switch record holds it.
  void handleMountState(const ServiceMountGroupStatus& groupStatus);
  /// Reports again, in key order, each group status of the switch record
  /// whose group the service declares; the others are passed over silently.
  /// Stops when a hook removes the switch or releases the service.
  void reportDeclaredMountStates();

 private:
  // Keeps one VexServiceMountGroupStatus per group status of `record`, just
  // bound: one for each it holds, none for a group it does not.
  void followGroupStatuses(const SystemStatus& record);
  // The same for one group status of the switch record, added or removed.
  void followGroupStatus(const Vex::Name& groupName);
  // handleMountState(groupStatus) for the machine's own reactors.
  void handleMountStateOf(const ServiceMountGroupStatus& groupStatus);

 public:
  /// Watches the switch record's group-status collection.
  using VexSystemStatus =
      Vex::Reactor<"VexSystemStatus", SystemStatusSm, SystemStatus, &SystemStatusSm::followGroupStatuses,
                   Vex::onKey(SystemStatus::Attr::serviceMountGroupStatus, &SystemStatusSm::followGroupStatus)>;
  /// Watches one group status's mountState. Created bound quietly: a new one
  /// reports nothing until the state changes; re-pointed to another record,
  /// it reports that record's state at once.
  using VexServiceMountGroupStatus =
      Vex::Reactor<"VexServiceMountGroupStatus", SystemStatusSm, ServiceMountGroupStatus,
                   Vex::ofRecord<ServiceMountGroupStatus>(&SystemStatusSm::handleMountState),
                   Vex::onRecord(ServiceMountGroupStatus::Attr::mountState, &SystemStatusSm::handleMountStateOf)>;

  /// The reactor watching the group status named `groupName`, or null.
  Vex::Ptr<VexServiceMountGroupStatus> serviceMountGroupStatus(const Vex::Name& groupName) const {
    return serviceMountGroupStatus_.member(groupName);
  }
  /// Every group status reactor, by group name.
  const Vex::FlatCollection<Vex::Name, VexServiceMountGroupStatus>& serviceMountGroupStatusMembers() const {
    return serviceMountGroupStatus_;
  }
  /// The reactor watching `status`, created (bound quietly, reporting nothing
  /// until the state changes) unless one already watches that record; a
  /// reactor watching another record of that name is replaced. A null `status`
  /// raises the null-pointer error.
  Vex::Ptr<VexServiceMountGroupStatus> serviceMountGroupStatusIs(const Vex::Ptr<const ServiceMountGroupStatus>& status);
  /// Retires the reactor of the group named `groupName`, if any.
  void serviceMountGroupStatusDel(Vex::Name groupName);
  /// Retires every group status reactor.
  void serviceMountGroupStatusDelAll();

  /// Whether handleInitialized() has run; the handlers do nothing before.
  ///@{
  bool initialized() const { return initialized_; }
  void initializedIs(bool initialized) { initialized_ = initialized; }
  ///@}
  /// The first report: every group status the switch record holds. Runs once.
  void handleInitialized();
  /// Drops the switch record and its reactor.
  void systemStatusDel();

  /// Turns notifications on or off for the machine and its reactors together.
  void hasNotificationActiveIs(bool active) override;
  /// Marks the machine and its reactors as being destroyed, so that they react to
  /// nothing more.
  void vexDoZombieReactors(bool zombie) override;

 protected:
  /// Made only by Vex::make, through SystemStatusSmIs.
  ///@{
  SystemStatusSm(const Vex::Ptr<const SystemStatus>& systemStatus, ServiceMountStatusSm* serviceMountStatusSm);
  ~SystemStatusSm() override;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  // The destructor's work; also run when the owner goes first.
  void tearDown();
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

/// The factory the status machine creates its switch machines with
/// (SystemStatusSmIs).
Vex::Ptr<SystemStatusSm> systemStatusSmFactory(const Vex::Ptr<const SystemStatus>& systemStatus,
                                               ServiceMountStatusSm* serviceMountStatusSm);

}  // namespace Controller
