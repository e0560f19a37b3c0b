#pragma once
/// \class Controller::HubstoreServiceMountGroup
/// One declared mount group of a service. Created by
/// HubstoreService::serviceMountGroupIs, which owns it.
///
/// The group creates its ServicePublishGroupConfig and ServiceMountGroupConfig
/// (publish side first) under its name, mirrors its entries into them, binds
/// its allow-lists' filters, and watches three records through inner reactors:
///
///     VexMountStatus        the service mount status (mounted path prefixes)
///     VexPublishStatus      the service publish status (one status per group)
///     VexPublishGroupStatus this group's publish status (published paths)
///
/// (each a Vex::Reactor, declared below the handlers it routes to).
/// Each change re-runs the completion check: once the group is closed, every
/// controller mount has a mounted path prefix and every publish mount a
/// publish status, the mounter's doMountsComplete runs, then the service
/// status machine's handleInitialMountsComplete. Nothing remembers a report:
/// every re-run while complete reports again.
///
/// Closing (closedIs(true)) prunes publish configuration an earlier run left,
/// requires a version allow-list (an invariant: the process aborts without
/// one) and runs the check. Destroying the group withdraws both group configs.
///
/// Lifetime. The service owns the group; the agent may hold it longer.
///  - A group its service no longer holds (deleted by name, still alive in a
///    handle or in a dispatch in progress) reports no completion: hooks name
///    only groups the service has.
///  - When the service goes while the group lives on, the group is orphaned:
///    it is torn down at once, exactly as its destructor would (configs
///    withdrawn, reactors released, entries and per-switch machines dropped),
///    and service() reads null. The orphan is an inert shell: it reacts to no
///    record, reports nothing, and its calls write only to its own group
///    config records, which no service configuration holds any more. Its
///    destruction later does nothing further.
///  - Per-switch machines that outlive the group are orphaned the same way.

#include <hubstore/foundations/framework/collection.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/foundations/records/hubstore_status.h>
#include <hubstore/foundations/framework/owner_link.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/reactor.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include <hubstore/foundations/records/service_publish_status.h>
#include <hubstore/foundations/framework/string.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/mountgroup/controller_mount.h>
#include <hubstore/mountgroup/mount_group_report.h>
#include <hubstore/mountgroup/per_switch_publish_mount.h>
#include <hubstore/mountgroup/per_switch_publish_mount_sm.h>
#include <hubstore/mountgroup/publish_mount.h>
#include <hubstore/service/hubstore_service_mounter.h>

namespace Controller {

class HubstoreService;
class SwitchWhiteListBase;
class VersionWhiteListBase;

class HubstoreServiceMountGroup : public Vex::PtrInterface {
 public:
  // ---- The agent's API -----------------------------------------------------

  /// Creates and initializes the group, then turns its notifications on.
  static Vex::Ptr<HubstoreServiceMountGroup> HubstoreServiceMountGroupIs(
      const Vex::String& groupName, const Vex::Ptr<HubstoreServiceMounter>& mounter, HubstoreService* service);
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The group's name, fixed at creation; it names the group's configuration
  /// records and its completion reports.
  const Vex::String& groupName() const { return groupName_; }
  /// groupName() under the name the completion and close code give it.
  const Vex::String& name() const { return groupName_; }
  /// The name of the owning service, copied from it when the group is initialized.
  ///@{
  const Vex::String& serviceName() const { return serviceName_; }
  void serviceNameIs(const Vex::String& name) { serviceName_ = name; }
  ///@}
  /// The owning service; null once the group is orphaned.
  HubstoreService* service() const { return service_.get(); }
  /// The mounter whose hooks hear of this group, fixed at creation; the group
  /// holds a counted reference.
  const Vex::Ptr<HubstoreServiceMounter>& mounter() const { return mounter_; }

  /// The service's records the group writes into and reads, set by
  /// handleInitialized() from the service (each null before). The group holds a
  /// counted reference to each; setting one does not re-run a handler.
  ///@{
  const Vex::Ptr<ServiceMountConfig>& mountConfig() const { return mountConfig_; }
  void mountConfigIs(const Vex::Ptr<ServiceMountConfig>& config) { mountConfig_ = config; }
  const Vex::Ptr<ServicePublishConfig>& publishConfig() const { return publishConfig_; }
  void publishConfigIs(const Vex::Ptr<ServicePublishConfig>& config) { publishConfig_ = config; }
  const Vex::Ptr<Mirra::EntityManager>& hubstoreEntityManager() const { return hubstoreEntityManager_; }
  void hubstoreEntityManagerIs(const Vex::Ptr<Mirra::EntityManager>& em) { hubstoreEntityManager_ = em; }
  const Vex::Ptr<ServiceMountGroupConfig>& mountGroupConfig() const { return mountGroupConfig_; }
  void mountGroupConfigIs(const Vex::Ptr<ServiceMountGroupConfig>& config) { mountGroupConfig_ = config; }
  const Vex::Ptr<ServicePublishGroupConfig>& publishGroupConfig() const { return publishGroupConfig_; }
  void publishGroupConfigIs(const Vex::Ptr<ServicePublishGroupConfig>& config) { publishGroupConfig_ = config; }
  const Vex::Ptr<const Hubstore::Status>& hubstoreStatus() const { return hubstoreStatus_; }
  void hubstoreStatusIs(const Vex::Ptr<const Hubstore::Status>& status) { hubstoreStatus_ = status; }
  ///@}

  /// The watched records (null when not watched). Setting one creates,
  /// re-points or retires its inner reactor; removing returns what was watched.
  ///@{
  Vex::Ptr<const ServiceMountStatus> mountStatus() const;
  void mountStatusIs(const Vex::Ptr<const ServiceMountStatus>& status);
  Vex::Ptr<const ServiceMountStatus> mountStatusDel();
  Vex::Ptr<const ServicePublishStatus> publishStatus() const;
  void publishStatusIs(const Vex::Ptr<const ServicePublishStatus>& status);
  Vex::Ptr<const ServicePublishStatus> publishStatusDel();
  Vex::Ptr<const ServicePublishGroupStatus> publishGroupStatus() const;
  void publishGroupStatusIs(const Vex::Ptr<const ServicePublishGroupStatus>& status);
  Vex::Ptr<const ServicePublishGroupStatus> publishGroupStatusDel();
  ///@}

  /// Controller mounts: paths on every switch mounted into the controller
  /// database, keyed by remote path; each is mirrored into the mount group
  /// configuration. Creating an existing entry with equal values returns it;
  /// with another value raises Vex::MutatorReinstantiatingException and changes
  /// nothing. Deleting an unknown entry returns null.
  ///@{
  Vex::Ptr<ControllerMount> controllerMount(const Vex::Name& remotePath) const;
  const Vex::Collection<Vex::Name, ControllerMount>& controllerMountMembers() const { return controllerMount_; }
  Vex::Ptr<ControllerMount> controllerMountIs(const Vex::Name& remotePath, const Vex::String& hubstorePath,
                                              const Vex::String& vexcType, const Vex::String& vexcFlags);
  Vex::Ptr<ControllerMount> controllerMountDel(const Vex::Name& remotePath);
  void controllerMountDelAll();
  ///@}

  /// Publish mounts: controller database paths published to the switches, keyed
  /// by controller database path and mirrored into the publish group
  /// configuration. Same rules as the controller mounts.
  ///@{
  Vex::Ptr<PublishMount> publishMount(const Vex::Name& hubstorePath) const;
  const Vex::Collection<Vex::Name, PublishMount>& publishMountMembers() const { return publishMount_; }
  Vex::Ptr<PublishMount> publishMountIs(const Vex::Name& hubstorePath, const Vex::String& remotePath,
                                        const Vex::String& vexcType);
  Vex::Ptr<PublishMount> publishMountDel(const Vex::Name& hubstorePath);
  void publishMountDelAll();
  ///@}

  /// Per-switch publish mounts: directories published to each switch
  /// separately, keyed by controller database path; each is mirrored into a
  /// publish directory of the publish group configuration and gets a
  /// PerSwitchPublishMountSm. Same rules as the controller mounts.
  ///@{
  Vex::Ptr<PerSwitchPublishMount> perSwitchPublishMount(const Vex::Name& hubstorePath) const;
  const Vex::Collection<Vex::Name, PerSwitchPublishMount>& perSwitchPublishMountMembers() const {
    return perSwitchPublishMount_;
  }
  Vex::Ptr<PerSwitchPublishMount> perSwitchPublishMountIs(const Vex::Name& hubstorePath,
                                                          const Vex::String& remotePath, const Vex::String& vexcType);
  Vex::Ptr<PerSwitchPublishMount> perSwitchPublishMountDel(const Vex::Name& hubstorePath);
  void perSwitchPublishMountDelAll();
  ///@}

  /// The per-switch machines, one per per-switch publish mount, by its key
  /// (null when none). The group owns them.
  ///@{
  Vex::Ptr<PerSwitchPublishMountSm> perSwitchPublishMountSm(const Vex::String& key) const;
  const Vex::Collection<Vex::String, PerSwitchPublishMountSm>& perSwitchPublishMountSmMembers() const {
    return perSwitchPublishMountSm_;
  }
  ///@}
  /// Returns the machine held for `key`, or creates one (which runs at once).
  Vex::Ptr<PerSwitchPublishMountSm> perSwitchPublishMountSmIs(const Vex::String& key,
                                                              const Vex::Ptr<const PerSwitchPublishMount>& mount);
  /// Drops the machine held for `key`, if any.
  void perSwitchPublishMountSmDel(const Vex::String& key);
  /// Drops every machine.
  void perSwitchPublishMountSmDelAll();

  /// Whether the group is closed: all its entries are declared. Closing prunes
  /// the publish configuration an earlier run left, requires a version allow-list
  /// (the process aborts without one) and runs the completion check; setting the
  /// same value again does nothing.
  ///@{
  bool closed() const { return closed_; }
  void closedIs(bool closed);
  ///@}

  /// The allow-lists whose filters the group configurations point at (null for
  /// none); setting one binds its filters at once, and null unbinds them. The
  /// group holds a counted reference.
  ///@{
  const Vex::Ptr<SwitchWhiteListBase>& switchWhiteList() const { return switchWhiteList_; }
  void switchWhiteListIs(const Vex::Ptr<SwitchWhiteListBase>& list);
  const Vex::Ptr<VersionWhiteListBase>& versionWhiteList() const { return versionWhiteList_; }
  void versionWhiteListIs(const Vex::Ptr<VersionWhiteListBase>& list);
  ///@}

  /// Whether the switches keep this group's mounts while disconnected from the
  /// controller; mirrored into the mount group configuration. Set true when the
  /// group is initialized.
  ///@{
  bool preserveMountsOnDisconnect() const { return preserveMountsOnDisconnect_; }
  void preserveMountsOnDisconnectIs(bool preserve);
  ///@}

  /// Whether the owner has finished setting the group up; the group itself does
  /// not read it.
  ///@{
  bool initialized() const { return initialized_; }
  void initializedIs(bool initialized) { initialized_ = initialized; }
  ///@}

  /// The controller database prefix under which `remotePath` is mounted; the
  /// prefix must exist (an invariant).
  Vex::String mountsDir(const Vex::String& remotePath) noexcept;

  /// What the completion check would find, and what else the group waits for;
  /// reads only (see MountGroupReport).
  MountGroupReport completionReport(std::size_t listLimit = MountGroupReport::defaultListLimit) const;

  // ---- Handlers ------------------------------------------------------------
  // Run by the setters above, the inner reactors and the service; an agent
  // may call them to re-run one (each is safe to repeat).

  /// Points the group at the service's records (configurations, statuses,
  /// controller database), creates its two group configurations, publish side
  /// first, and runs the completion check. Run once, by HubstoreServiceMountGroupIs;
  /// the service must be there.
  void handleInitialized();
  /// Mirrors one controller mount entry into the mount group configuration
  /// (written when present, removed when not).
  void handleControllerMount(const Vex::String& key);
  /// Runs the one-key handler for every entry of the collection.
  void handleControllerMount();
  /// Mirrors one publish mount entry into the publish group configuration, or
  /// every entry.
  ///@{
  void handlePublishMount(const Vex::String& key);
  void handlePublishMount();
  ///@}
  /// Mirrors one per-switch publish mount into a publish directory and its
  /// machine (both created when present, removed when not), or every entry.
  ///@{
  void handlePerSwitchPublishMount(const Vex::String& key);
  void handlePerSwitchPublishMount();
  ///@}
  /// Runs the close: see closedIs(). Does nothing while the group is open.
  void handleClosed();
  /// Points both group configurations at the switch allow-list's filters, or
  /// at none.
  void handleSwitchWhiteList();
  /// Points both group configurations at the version allow-list's filters, or
  /// at none.
  void handleVersionWhiteList();
  /// Writes preserveMountsOnDisconnect() into the mount group configuration.
  void handlePreserveMountsOnDisconnect();
  /// A mounted path prefix came or went: re-runs the completion check.
  ///@{
  void handlePathPrefix(const Vex::String& key);
  void handlePathPrefix();
  ///@}
  /// Deliberately drops the key: completion does not depend on which prefix came.
  void vex_handleMountStatus_mountedPathPrefix(const Vex::Name& key);
  /// The service publish status changed: the group takes (or drops) its own
  /// group status, named `groupName`, which re-runs the completion check.
  ///@{
  void handlePublishGroupStatus(const Vex::Name& groupName);
  void handlePublishGroupStatus();
  ///@}

  /// The two halves of the completion rule (mount_group_completion.h): every
  /// controller mount has a mounted path prefix; every publish mount has a
  /// publish status.
  ///@{
  bool doCheckMountStatusComplete();
  bool doCheckPublishStatusComplete();
  ///@}
  /// Runs the completion check; when the group is closed and complete, calls the
  /// mounter's doMountsComplete, then the service status machine's
  /// handleInitialMountsComplete.
  void doCheckMountAndPublishStatus();

  /// Withdraws both group configurations from the service's configurations.
  void doCleanup();
  /// Turns notifications on or off for the group, its inner reactors and its
  /// per-switch machines together.
  void hasNotificationActiveIs(bool active) override;
  /// Marks the group and its inner reactors as being destroyed, so that they
  /// react to nothing more.
  void vexDoZombieReactors(bool zombie) override;

 private:
  // Run by VexPublishGroupStatus: re-run the completion check.
  void handlePublishStatus(const Vex::String& key);
  void handlePublishStatus();

 public:
  // ---- Inner reactors --------------------------------------------------------

  /// The service mount status: a mounted path prefix re-runs the check.
  using VexMountStatus =
      Vex::Reactor<"VexMountStatus", HubstoreServiceMountGroup, ServiceMountStatus,
                   Vex::whole(&HubstoreServiceMountGroup::handlePathPrefix),
                   Vex::onKey(ServiceMountStatus::Attr::mountedPathPrefix,
                              &HubstoreServiceMountGroup::vex_handleMountStatus_mountedPathPrefix)>;
  /// The service publish status: each group takes its own group status.
  using VexPublishStatus =
      Vex::Reactor<"VexPublishStatus", HubstoreServiceMountGroup, ServicePublishStatus,
                   Vex::whole(&HubstoreServiceMountGroup::handlePublishGroupStatus),
                   Vex::onKey(ServicePublishStatus::Attr::publishGroupStatus,
                              &HubstoreServiceMountGroup::handlePublishGroupStatus)>;
  /// This group's publish status: a published path re-runs the check.
  class VexPublishGroupStatus
      : public Vex::Reactor<"VexPublishGroupStatus", HubstoreServiceMountGroup, ServicePublishGroupStatus,
                            Vex::whole(&HubstoreServiceMountGroup::handlePublishStatus),
                            Vex::onKey(ServicePublishGroupStatus::Attr::publishStatus,
                                       &HubstoreServiceMountGroup::handlePublishStatus)> {
   public:
    using Reactor::Reactor;
    /// Runs the owner's handlePublishStatus (which only the reactor reaches),
    /// if the owner is still there.
    ///@{
    void handlePublishStatus(const Vex::String& key) {
      if (owner()) owner()->handlePublishStatus(key);
    }
    void handlePublishStatus() {
      if (owner()) owner()->handlePublishStatus();
    }
    ///@}
  };
  /// The reactor watching this group's publish status, or null when none is
  /// watched; the group holds it.
  const Vex::Ptr<VexPublishGroupStatus>& publishGroupStatusReactor() const { return publishGroupStatusReactor_; }

 protected:
  /// Made only by Vex::make, through HubstoreServiceMountGroupIs.
  ///@{
  HubstoreServiceMountGroup(const Vex::String& groupName, const Vex::Ptr<HubstoreServiceMounter>& mounter,
                            HubstoreService* service);
  ~HubstoreServiceMountGroup() override;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  // Machines link their back pointers here (Vex::OwnerLink).
  friend class PerSwitchPublishMountSm;

  // The destructor's work; also run when the service goes first.
  void tearDown();
  void handleServiceGone();

  Vex::String groupName_;
  Vex::String serviceName_;
  Vex::Ptr<ServiceMountConfig> mountConfig_;
  Vex::Ptr<VexMountStatus> mountStatusReactor_;
  Vex::Ptr<ServicePublishConfig> publishConfig_;
  Vex::Ptr<VexPublishStatus> publishStatusReactor_;
  Vex::Ptr<Mirra::EntityManager> hubstoreEntityManager_;
  Vex::Ptr<ServiceMountGroupConfig> mountGroupConfig_;
  Vex::Ptr<ServicePublishGroupConfig> publishGroupConfig_;
  Vex::Ptr<VexPublishGroupStatus> publishGroupStatusReactor_;
  Vex::Ptr<const Hubstore::Status> hubstoreStatus_;
  Vex::Ptr<HubstoreServiceMounter> mounter_;
  Vex::Collection<Vex::Name, ControllerMount> controllerMount_;
  Vex::Collection<Vex::Name, PublishMount> publishMount_;
  Vex::Collection<Vex::Name, PerSwitchPublishMount> perSwitchPublishMount_;
  bool closed_ = false;
  Vex::Ptr<SwitchWhiteListBase> switchWhiteList_;
  Vex::Ptr<VersionWhiteListBase> versionWhiteList_;
  bool preserveMountsOnDisconnect_ = false;
  Vex::Collection<Vex::String, PerSwitchPublishMountSm> perSwitchPublishMountSm_;
  bool initialized_ = false;
  Vex::OwnerLink<HubstoreService, HubstoreServiceMountGroup> service_;
  Vex::OwnerLinks perSwitchMachineLinks_;
};

/// The factory the service creates its groups with (HubstoreServiceMountGroupIs).
Vex::Ptr<HubstoreServiceMountGroup> hubstoreServiceMountGroupFactory(const Vex::String& groupName,
                                                                     const Vex::Ptr<HubstoreServiceMounter>& mounter,
                                                                     HubstoreService* service);

}  // namespace Controller
