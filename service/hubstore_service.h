#pragma once
/// \class Controller::HubstoreService
/// The root object an agent creates once per service. It finds the service's
/// records by path under the hosting agent's name, stamps the configuration
/// records with the service name and the leader generation id, and owns the
/// service's mount groups, allow-lists and mount status machine.
///
///     Controller::globalAgent = agent.get();            // before any service
///     auto service = Controller::HubstoreService::HubstoreServiceIs("svcA", em, em);
///     auto versions = service->versionWhiteListIs("v");
///     versions->allowedVersionIs(1, true);
///     auto group = service->serviceMountGroupIs("g1", mounter);
///     group->controllerMountIs("/remote/a", "/db/a", "T", "F");
///     group->versionWhiteListIs(versions);
///     group->closedIs(true);
///     service->closedIs(true);    // stale configuration of earlier runs goes
///
/// This header brings the whole public API: the types its operations return.
///
/// Missing records are invariant failures (the process aborts with the
/// asserted expression); creating a group again with another mounter raises
/// Vex::MutatorReinstantiatingException and changes nothing.
///
/// Handles may outlive the service. When the service goes, whatever it owned
/// that is still alive (held by the agent, or by a dispatch that a hook used to
/// release the service) is orphaned at once, in the order the destructor
/// releases its members: the status machine, the groups, the switch lists,
/// the version lists. An orphan withdraws its configuration then, just as it
/// would had it died with the service, and goes quiet; see each class for what
/// its handle still does afterwards.

#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/foundations/platform/agent.h>
#include <hubstore/foundations/framework/collection.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/foundations/records/hubstore_status.h>
#include <hubstore/foundations/framework/owner_link.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/records/service_mount_config.h>
#include <hubstore/foundations/records/service_mount_status.h>
#include <hubstore/foundations/records/service_publish_config.h>
#include <hubstore/foundations/records/service_publish_status.h>
#include <hubstore/foundations/framework/string.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/service/hook_statistics.h>
#include <hubstore/service/hubstore_service_mounter.h>
#include <hubstore/service/service_report.h>
#include <hubstore/status/service_mount_status_sm.h>
#include <hubstore/foundations/framework/indexed_collection.h>

namespace Controller {

/// The hosting agent; set by the agent before it creates any service.
extern Mirra::Agent* globalAgent;

class HubstoreService : public Vex::PtrInterface {
 public:
  /// A counted reference to an entity manager (a state database).
  using EntityManagerPtr = Vex::Ptr<Mirra::EntityManager>;

  /// Creates and initializes the service, then turns its notifications on.
  static Vex::Ptr<HubstoreService> HubstoreServiceIs(Vex::String serviceName,
                                                     const EntityManagerPtr& hubstoreEntityManager,
                                                     const EntityManagerPtr& mirraEntityManager);
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The service's name, fixed at creation; written into its configuration
  /// records.
  const Vex::String& serviceName() const { return serviceName_; }
  /// The controller database, where the mount machinery keeps mounted state.
  const EntityManagerPtr& hubstoreEntityManager() const { return hubstoreEntityManager_; }
  /// The agent's own state database, where the service finds its records.
  const EntityManagerPtr& mirraEntityManager() const { return mirraEntityManager_; }

  /// The service's records, found in the agent's state database when the service
  /// is initialized (under controller/ and the hosting agent's name) and held by
  /// counted reference; the setters replace the reference only.
  ///@{
  const Vex::Ptr<const Hubstore::Status>& hubstoreStatus() const { return hubstoreStatus_; }
  void hubstoreStatusIs(const Vex::Ptr<const Hubstore::Status>& status);
  const Vex::Ptr<ServiceMountConfig>& serviceMountConfig() const { return serviceMountConfig_; }
  void serviceMountConfigIs(const Vex::Ptr<ServiceMountConfig>& config);
  const Vex::Ptr<const ServiceMountStatus>& serviceMountStatus() const { return serviceMountStatus_; }
  void serviceMountStatusIs(const Vex::Ptr<const ServiceMountStatus>& status);
  const Vex::Ptr<ServicePublishConfig>& servicePublishConfig() const { return servicePublishConfig_; }
  void servicePublishConfigIs(const Vex::Ptr<ServicePublishConfig>& config);
  const Vex::Ptr<const ServicePublishStatus>& servicePublishStatus() const { return servicePublishStatus_; }
  void servicePublishStatusIs(const Vex::Ptr<const ServicePublishStatus>& status);
  ///@}

  /// Removal of configuration no live group or allow-list declares; run by
  /// handleClosed in the order mount state, switch lists, version lists.
  ///@{
  void cleanupOldVersionWhiteLists();
  void cleanupOldSwitchWhiteLists();
  void cleanupOldMountState();
  ///@}
  /// Runs the close: see closedIs(). Does nothing while the service is open.
  void handleClosed();
  /// Marks the publish configuration ready: see publishMountsSynchronizedIs().
  void handlePublishMountsSynchronized();

  /// The machine that follows the service mount status and runs the mounters'
  /// hooks; null before the service is initialized.
  const Vex::Ptr<ServiceMountStatusSm>& mountStatusSm() const { return mountStatusSm_; }
  /// Returns the current machine when it already watches `status`; otherwise
  /// replaces it by a new one.
  Vex::Ptr<ServiceMountStatusSm> mountStatusSmIs(const Vex::Ptr<const ServiceMountStatus>& status);
  /// Clears the machine, turns its notifications off, and returns it.
  Vex::Ptr<ServiceMountStatusSm> mountStatusSmDel();

  /// The declared mount group named `groupName`, or null.
  Vex::Ptr<HubstoreServiceMountGroup> serviceMountGroup(const Vex::String& groupName) const;
  /// Lookup without taking a reference, for per-event paths.
  HubstoreServiceMountGroup* serviceMountGroupRaw(const Vex::String& groupName) const;
  /// Every declared group, by name.
  const Vex::Collection<Vex::String, HubstoreServiceMountGroup>& serviceMountGroupMembers() const {
    return serviceMountGroup_.ordered();
  }
  /// Declares the group `groupName`, its hooks run on `mounter`, and turns its
  /// notifications on; declaring it again with the same mounter returns it,
  /// with another raises Vex::MutatorReinstantiatingException. The service owns
  /// the group; the returned reference may outlive it (see the class).
  Vex::Ptr<HubstoreServiceMountGroup> serviceMountGroupIs(const Vex::String& groupName,
                                                          const Vex::Ptr<HubstoreServiceMounter>& mounter);
  /// Takes the group off the service and returns it (null when unknown); its
  /// configurations are withdrawn when the last reference goes.
  Vex::Ptr<HubstoreServiceMountGroup> serviceMountGroupDel(const Vex::String& groupName);
  /// Takes every group off the service.
  void serviceMountGroupDelAll();

  /// Switch allow-lists by name: lookup (null when unknown), every list,
  /// creation (an existing list of that name is returned) and removal (the
  /// removed list, or null). The service owns them; a list creates its filters
  /// in both configurations and withdraws them when it goes.
  ///@{
  Vex::Ptr<SwitchWhiteList> switchWhiteList(const Vex::String& name) const;
  const Vex::Collection<Vex::String, SwitchWhiteList>& switchWhiteListMembers() const { return switchWhiteList_; }
  Vex::Ptr<SwitchWhiteList> switchWhiteListIs(const Vex::String& name);
  Vex::Ptr<SwitchWhiteList> switchWhiteListDel(const Vex::String& name);
  void switchWhiteListDelAll();
  ///@}

  /// Version allow-lists by name, under the same rules as the switch lists.
  ///@{
  Vex::Ptr<VersionWhiteList> versionWhiteList(const Vex::String& name) const;
  const Vex::Collection<Vex::String, VersionWhiteList>& versionWhiteListMembers() const { return versionWhiteList_; }
  Vex::Ptr<VersionWhiteList> versionWhiteListIs(const Vex::String& name);
  Vex::Ptr<VersionWhiteList> versionWhiteListDel(const Vex::String& name);
  void versionWhiteListDelAll();
  ///@}

  /// Whether the agent has synchronized its publish mounts once.
  bool publishMountsSynchronized() const { return publishMountsSynchronized_; }
  /// Any change, to true or back to false, marks the publish configuration ready.
  void publishMountsSynchronizedIs(bool synchronized);
  /// Whether the service is closed: every group and allow-list is declared.
  bool closed() const { return closed_; }
  /// true: removes stale configuration and marks the mount configuration warm.
  void closedIs(bool closed);
  /// Traces the cleanup; the service's configuration is withdrawn by its groups
  /// and lists as they go.
  void doCleanup();
  /// Whether the owner has finished setting the service up; the service itself
  /// does not read it.
  ///@{
  bool initialized() const { return initialized_; }
  void initializedIs(bool initialized) { initialized_ = initialized; }
  ///@}
  /// Finds the service's records under the hosting agent's name, stamps the
  /// configurations with the service name and the leader generation id, and
  /// creates the mount status machine. Run once, by HubstoreServiceIs; a missing
  /// record is an invariant failure.
  void handleInitialized();

  /// Calls doHandleControllerMountState again for every group status the
  /// mount status holds whose group is declared now, switches and groups in
  /// key order. A group declared after the switches reported hears nothing of
  /// their states until a state changes: an agent that starts over a live
  /// fleet calls this once its groups are declared. Group statuses of groups
  /// not declared are passed over silently; a switch whose name is not an
  /// Ethernet address is traced at level 5 and reaches no hook. A hook may
  /// release anything: the report stops when the service goes, and passes
  /// over what left (a switch, a group); what a hook throws leaves this call.
  void reportMountStates();

  /// Each group's completion, and the fleet's mount states; reads only (see
  /// ServiceReport).
  ServiceReport completionReport(std::size_t listLimit = MountGroupReport::defaultListLimit) const;

  /// How often the library called its mounters' hooks, and for how long (see
  /// HookStatistics); kept under the service's name.
  HookStatistics& hookStatistics() const { return *hookStatistics_; }
  /// Its groups, its switches and its hooks in the Prometheus text format, for
  /// an agent to serve to its monitoring (see ServiceMetrics): costs about one
  /// sweep of the fleet.
  std::string metricsText() const;

  /// Passes the flag to the status machine, the groups and the allow-lists.
  void hasNotificationActiveIs(bool active) override;
  /// Marks the service itself as being destroyed (or, with false, no longer);
  /// what it owns is orphaned as the service goes.
  void vexDoZombieReactors(bool zombie) override;

 protected:
  /// Made only by Vex::make, through HubstoreServiceIs.
  ///@{
  HubstoreService(Vex::String serviceName, const EntityManagerPtr& hubstoreEntityManager,
                  const EntityManagerPtr& mirraEntityManager);
  ~HubstoreService() override;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  // Members link their back pointers here (Vex::OwnerLink).
  friend class ServiceMountStatusSm;
  friend class HubstoreServiceMountGroup;
  friend class SwitchWhiteList;
  friend class VersionWhiteList;

  Vex::String serviceName_;
  HookStatistics* hookStatistics_;
  EntityManagerPtr hubstoreEntityManager_;
  EntityManagerPtr mirraEntityManager_;
  Vex::Ptr<const Hubstore::Status> hubstoreStatus_;
  Vex::Ptr<ServiceMountConfig> serviceMountConfig_;
  Vex::Ptr<const ServiceMountStatus> serviceMountStatus_;
  Vex::Ptr<ServicePublishConfig> servicePublishConfig_;
  Vex::Ptr<const ServicePublishStatus> servicePublishStatus_;
  Vex::Ptr<ServiceMountStatusSm> mountStatusSm_;
  // Declared groups first so that the version lists are destroyed first.
  // Hashed: every mount state event looks its group up by name.
  Vex::IndexedCollection<Vex::String, HubstoreServiceMountGroup> serviceMountGroup_;
  Vex::Collection<Vex::String, SwitchWhiteList> switchWhiteList_;
  Vex::Collection<Vex::String, VersionWhiteList> versionWhiteList_;
  bool publishMountsSynchronized_ = false;
  bool closed_ = false;
  bool initialized_ = false;
  Vex::OwnerLinks mountStatusSmLinks_;
  Vex::OwnerLinks groupLinks_;
  Vex::OwnerLinks switchListLinks_;
  Vex::OwnerLinks versionListLinks_;
};

/// The factory of HubstoreServiceIs.
Vex::Ptr<HubstoreService> hubstoreServiceFactory(Vex::String serviceName,
                                                 const HubstoreService::EntityManagerPtr& hubstoreEntityManager,
                                                 const HubstoreService::EntityManagerPtr& mirraEntityManager);

}  // namespace Controller
