#pragma once
/// \class Controller::ServiceMountStatusSm
/// Follows the service's mount status record. It keeps one SystemStatusSm per
/// switch entry, and calls a closed group's mounter
/// (doInitialSwitchMountsComplete) when the record says the group's initial
/// switch mounts are done. The service owns exactly one.
///
/// Built fully initialized: when the constructor returns, every switch already
/// in the record has its machine and every closed group already marked
/// complete has been told.
///
/// A switch is listed before its first report runs, so a hook that throws
/// during that report leaves the switch's machine in place (later changes
/// reach the hook), and a hook that removes the switch leaves none. A switch
/// whose name is not an Ethernet address gets no machine: it is traced at
/// level 5 and reaches no hook.
///
/// The machine may outlive its service (a dispatch or the agent holds it).
/// When the service goes it is orphaned: it drops its switch machines, goes
/// quiet, and hubstoreService() reads null.

#include <hubstore/foundations/framework/collection.h>
#include <hubstore/foundations/framework/owner_link.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/reactor.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/status/system_status_sm.h>

namespace Controller {

class HubstoreService;

class ServiceMountStatusSm : public Vex::PtrInterface {
 public:
  /// A new machine following `status` for `hubstoreService`, fully initialized
  /// (see the class) and with its notifications on.
  static Vex::Ptr<ServiceMountStatusSm> ServiceMountStatusSmIs(const Vex::Ptr<const ServiceMountStatus>& status,
                                                               HubstoreService* hubstoreService);
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The followed record; null after serviceMountStatusDel().
  Vex::Ptr<const ServiceMountStatus> serviceMountStatus() const;
  /// The record's name; null without a record.
  Vex::Name serviceName() const;
  /// The owning service; null once orphaned.
  HubstoreService* hubstoreService() const { return hubstoreService_.get(); }

  /// The machine of the switch named `systemName`, or null.
  Vex::Ptr<SystemStatusSm> systemStatusSm(const Vex::Name& systemName) const {
    return systemStatusSm_.member(systemName);
  }
  /// Every switch machine, by switch name.
  const Vex::Collection<Vex::Name, SystemStatusSm>& systemStatusSmMembers() const { return systemStatusSm_; }
  /// Returns the machine for this record's name when it watches the same
  /// record; raises the null-pointer error for a null record, the
  /// reinstantiation error for another record under a used name, and
  /// Lanx::InvalidEthAddrException for a name that is not an address. A new
  /// machine is listed, then makes its first report (whatever that report
  /// raises passes on, the machine stays listed).
  Vex::Ptr<SystemStatusSm> systemStatusSmIs(const Vex::Ptr<const SystemStatus>& systemStatus);
  /// Drops the machine of the switch named `systemName`, if any; it is marked
  /// first, so that a report it is running stops there.
  void systemStatusSmDel(Vex::Name systemName);
  /// Drops every switch machine.
  void systemStatusSmDelAll();

  /// Brings the switch machines in line with the record: one for every switch
  /// entry, created (and reporting) when new, dropped when the entry went.
  /// Nothing before the machine is initialized.
  void handleSystemStatus();
  /// The same for the switch named `systemName`.
  void handleSystemStatus(const Vex::Name& systemName);
  /// Every switch's machine reports again the group statuses of the groups
  /// the service declares (SystemStatusSm::reportDeclaredMountStates),
  /// switches in key order; a switch whose name is not an Ethernet address is
  /// traced at level 5. Stops when a hook releases the service.
  void reportMountStates();
  /// Runs handleInitialMountsComplete(groupName) for every group the record
  /// marks complete.
  void handleInitialMountsComplete();
  /// Tells the mounter of the group named `groupName` that its initial switch
  /// mounts are done, when the service declares the group, the group is closed
  /// and the record marks it complete; otherwise traces why not. Also called by
  /// a mount group, with its own name, when it is created and whenever it finds
  /// itself complete.
  void handleInitialMountsComplete(const Vex::String& groupName);

  /// Watches the record's systemStatus and initialMountsComplete collections.
  using VexServiceMountStatus =
      Vex::Reactor<"VexServiceMountStatus", ServiceMountStatusSm, ServiceMountStatus, nullptr,
                   Vex::onKey(ServiceMountStatus::Attr::systemStatus, &ServiceMountStatusSm::handleSystemStatus),
                   Vex::onKey(ServiceMountStatus::Attr::initialMountsComplete,
                              &ServiceMountStatusSm::handleInitialMountsComplete)>;

  /// Whether handleInitialized() has run; the handlers do nothing before.
  ///@{
  bool initialized() const { return initialized_; }
  void initializedIs(bool initialized) { initialized_ = initialized; }
  ///@}
  /// The first sweep: every switch entry and every group already complete. Runs
  /// once, when the machine is made.
  void handleInitialized();
  /// Drops the record and its reactor.
  void serviceMountStatusDel();

  /// Turns notifications on or off for the machine, its reactor and its switch
  /// machines together.
  void hasNotificationActiveIs(bool active) override;
  /// Marks the machine and its reactor as being destroyed, so that they react to
  /// nothing more.
  void vexDoZombieReactors(bool zombie) override;

 protected:
  /// Made only by Vex::make, through ServiceMountStatusSmIs.
  ///@{
  ServiceMountStatusSm(const Vex::Ptr<const ServiceMountStatus>& status, HubstoreService* hubstoreService);
  ~ServiceMountStatusSm() override;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  // Switch machines link their back pointers here (Vex::OwnerLink).
  friend class SystemStatusSm;

  // The destructor's work; also run when the service goes first.
  void tearDown();

  Vex::Ptr<VexServiceMountStatus> serviceMountStatusReactor_;
  Vex::Collection<Vex::Name, SystemStatusSm> systemStatusSm_;
  bool initialized_ = false;
  Vex::OwnerLink<HubstoreService, ServiceMountStatusSm> hubstoreService_;
  Vex::OwnerLinks systemStatusSmLinks_;
};

/// The factory the service creates its machine with (ServiceMountStatusSmIs).
Vex::Ptr<ServiceMountStatusSm> serviceMountStatusSmFactory(const Vex::Ptr<const ServiceMountStatus>& status,
                                                           HubstoreService* hubstoreService);

}  // namespace Controller
