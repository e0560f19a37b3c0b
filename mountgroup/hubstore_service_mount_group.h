#pragma once
// Controller::HubstoreServiceMountGroup: one declared mount group of a
// service. Created by HubstoreService::serviceMountGroupIs, which owns it.
//
// The group creates its ServicePublishGroupConfig and ServiceMountGroupConfig
// (publish side first) under its name, mirrors its entries into them, binds
// its allow-lists' filters, and watches three records through inner reactors:
//   VexMountStatus        the service mount status (mounted path prefixes)
//   VexPublishStatus      the service publish status (one status per group)
//   VexPublishGroupStatus this group's publish status (published paths)
// Each change re-runs the completion check: once the group is closed, every
// controller mount has a mounted path prefix and every publish mount a
// publish status, the mounter's doMountsComplete runs, then the service
// status machine's handleInitialMountsComplete. Nothing remembers a report:
// every re-run while complete reports again.
//
// Closing (closedIs(true)) prunes publish configuration an earlier run left,
// requires a version allow-list (an invariant: the process aborts without
// one) and runs the check. Destroying the group withdraws both group configs.
//
// Lifetime. The service owns the group; the agent may hold it longer.
//  - A group its service no longer holds (deleted by name, still alive in a
//    handle or in a dispatch in progress) reports no completion: hooks name
//    only groups the service has.
//  - When the service goes while the group lives on, the group is orphaned:
//    it is torn down at once, exactly as its destructor would (configs
//    withdrawn, reactors released, entries and per-switch machines dropped),
//    and service() reads null. The orphan is an inert shell: it reacts to no
//    record, reports nothing, and its calls write only to its own group
//    config records, which no service configuration holds any more. Its
//    destruction later does nothing further.
//  - Per-switch machines that outlive the group are orphaned the same way.

#include <hubstore/foundations/framework/collection.h>
#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/foundations/records/hubstore_status.h>
#include <hubstore/foundations/framework/notifiee_const.h>
#include <hubstore/foundations/framework/owner_link.h>
#include <hubstore/foundations/framework/ptr.h>
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
  // Reacts to mountedPathPrefix changes of the service mount status.
  class VexMountStatus : public Vex::NotifieeConstOf<ServiceMountStatus> {
   public:
    static const Vex::TypeDescriptor& staticType();
    const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
    // Re-pointing to another status runs the group's handlePathPrefix() once.
    void notifierIs(const Vex::Ptr<const Vex::PtrInterface>& notifier) override;
    void onAttribute(Vex::AttributeId attribute, const void* key) override;
    void ownerIs(HubstoreServiceMountGroup* owner) { owner_ = owner; }
    explicit VexMountStatus(HubstoreServiceMountGroup* owner) : owner_(owner) {}

   private:
    HubstoreServiceMountGroup* owner_;
  };

  // Reacts to publishGroupStatus changes of the service publish status.
  class VexPublishStatus : public Vex::NotifieeConstOf<ServicePublishStatus> {
   public:
    static const Vex::TypeDescriptor& staticType();
    const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
    void notifierIs(const Vex::Ptr<const Vex::PtrInterface>& notifier) override;
    void onAttribute(Vex::AttributeId attribute, const void* key) override;
    void ownerIs(HubstoreServiceMountGroup* owner) { owner_ = owner; }
    explicit VexPublishStatus(HubstoreServiceMountGroup* owner) : owner_(owner) {}

   private:
    HubstoreServiceMountGroup* owner_;
  };

  // Reacts to publishStatus changes of this group's publish status.
  class VexPublishGroupStatus : public Vex::NotifieeConstOf<ServicePublishGroupStatus> {
   public:
    static const Vex::TypeDescriptor& staticType();
    const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
    void notifierIs(const Vex::Ptr<const Vex::PtrInterface>& notifier) override;
    void onAttribute(Vex::AttributeId attribute, const void* key) override;
    void handlePublishStatus(const Vex::String& key);
    void handlePublishStatus();
    void ownerIs(HubstoreServiceMountGroup* owner) { owner_ = owner; }
    explicit VexPublishGroupStatus(HubstoreServiceMountGroup* owner) : owner_(owner) {}

   private:
    HubstoreServiceMountGroup* owner_;
  };

  // Creates and initializes the group, then turns its notifications on.
  static Vex::Ptr<HubstoreServiceMountGroup> HubstoreServiceMountGroupIs(
      const Vex::String& groupName, const Vex::Ptr<HubstoreServiceMounter>& mounter, HubstoreService* service);
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::String& groupName() const { return groupName_; }
  const Vex::String& name() const { return groupName_; }
  const Vex::String& serviceName() const { return serviceName_; }
  void serviceNameIs(const Vex::String& name) { serviceName_ = name; }
  // The owning service; null once the group is orphaned.
  HubstoreService* service() const { return service_.get(); }
  const Vex::Ptr<HubstoreServiceMounter>& mounter() const { return mounter_; }

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

  // The watched records (null when not watched). Setting one creates,
  // re-points or drops its inner reactor; removing returns what was watched.
  Vex::Ptr<const ServiceMountStatus> mountStatus() const;
  void mountStatusIs(const Vex::Ptr<const ServiceMountStatus>& status);
  Vex::Ptr<const ServiceMountStatus> mountStatusDel();
  Vex::Ptr<const ServicePublishStatus> publishStatus() const;
  void publishStatusIs(const Vex::Ptr<const ServicePublishStatus>& status);
  Vex::Ptr<const ServicePublishStatus> publishStatusDel();
  Vex::Ptr<const ServicePublishGroupStatus> publishGroupStatus() const;
  void publishGroupStatusIs(const Vex::Ptr<const ServicePublishGroupStatus>& status);
  Vex::Ptr<const ServicePublishGroupStatus> publishGroupStatusDel();
  const Vex::Ptr<VexPublishGroupStatus>& publishGroupStatusReactor() const { return publishGroupStatusReactor_; }

  // Entries. Creating an existing entry with equal values returns it; with
  // another value raises Vex::MutatorReinstantiatingException and changes
  // nothing. Deleting an unknown entry returns null.
  Vex::Ptr<ControllerMount> controllerMount(const Vex::Name& remotePath) const;
  const Vex::Collection<Vex::Name, ControllerMount>& controllerMountMembers() const { return controllerMount_; }
  Vex::Ptr<ControllerMount> controllerMountIs(const Vex::Name& remotePath, const Vex::String& hubstorePath,
                                              const Vex::String& vexcType, const Vex::String& vexcFlags);
  Vex::Ptr<ControllerMount> controllerMountDel(const Vex::Name& remotePath);
  void controllerMountDelAll();
  void handleControllerMount(const Vex::String& key);
  void handleControllerMount();

  Vex::Ptr<PublishMount> publishMount(const Vex::Name& hubstorePath) const;
  const Vex::Collection<Vex::Name, PublishMount>& publishMountMembers() const { return publishMount_; }
  Vex::Ptr<PublishMount> publishMountIs(const Vex::Name& hubstorePath, const Vex::String& remotePath,
                                        const Vex::String& vexcType);
  Vex::Ptr<PublishMount> publishMountDel(const Vex::Name& hubstorePath);
  void publishMountDelAll();
  void handlePublishMount(const Vex::String& key);
  void handlePublishMount();

  Vex::Ptr<PerSwitchPublishMount> perSwitchPublishMount(const Vex::Name& hubstorePath) const;
  const Vex::Collection<Vex::Name, PerSwitchPublishMount>& perSwitchPublishMountMembers() const {
    return perSwitchPublishMount_;
  }
  Vex::Ptr<PerSwitchPublishMount> perSwitchPublishMountIs(const Vex::Name& hubstorePath,
                                                          const Vex::String& remotePath, const Vex::String& vexcType);
  Vex::Ptr<PerSwitchPublishMount> perSwitchPublishMountDel(const Vex::Name& hubstorePath);
  void perSwitchPublishMountDelAll();
  void handlePerSwitchPublishMount(const Vex::String& key);
  void handlePerSwitchPublishMount();

  Vex::Ptr<PerSwitchPublishMountSm> perSwitchPublishMountSm(const Vex::String& key) const;
  const Vex::Collection<Vex::String, PerSwitchPublishMountSm>& perSwitchPublishMountSmMembers() const {
    return perSwitchPublishMountSm_;
  }
  // Returns the machine held for `key`, or creates one (which runs at once).
  Vex::Ptr<PerSwitchPublishMountSm> perSwitchPublishMountSmIs(const Vex::String& key,
                                                              const Vex::Ptr<const PerSwitchPublishMount>& mount);
  void perSwitchPublishMountSmDel(const Vex::String& key);
  void perSwitchPublishMountSmDelAll();

  bool closed() const { return closed_; }
  void closedIs(bool closed);
  void handleClosed();

  const Vex::Ptr<SwitchWhiteListBase>& switchWhiteList() const { return switchWhiteList_; }
  void switchWhiteListIs(const Vex::Ptr<SwitchWhiteListBase>& list);
  void handleSwitchWhiteList();
  const Vex::Ptr<VersionWhiteListBase>& versionWhiteList() const { return versionWhiteList_; }
  void versionWhiteListIs(const Vex::Ptr<VersionWhiteListBase>& list);
  void handleVersionWhiteList();

  bool preserveMountsOnDisconnect() const { return preserveMountsOnDisconnect_; }
  void preserveMountsOnDisconnectIs(bool preserve);
  void handlePreserveMountsOnDisconnect();

  bool initialized() const { return initialized_; }
  void initializedIs(bool initialized) { initialized_ = initialized; }
  void handleInitialized();

  // The controller database prefix under which `remotePath` is mounted; the
  // prefix must exist (an invariant).
  Vex::String mountsDir(const Vex::String& remotePath) noexcept;
  void handlePathPrefix(const Vex::String& key);
  void handlePathPrefix();
  // Deliberately drops the key: completion does not depend on which prefix came.
  void vex_handleMountStatus_mountedPathPrefix(const Vex::Name& key);

  bool doCheckMountStatusComplete();
  bool doCheckPublishStatusComplete();
  void doCheckMountAndPublishStatus();
  void handlePublishGroupStatus(const Vex::Name& groupName);
  void handlePublishGroupStatus();
  // What the completion check would find, and what else the group waits for;
  // reads only (see MountGroupReport).
  MountGroupReport completionReport(std::size_t listLimit = MountGroupReport::defaultListLimit) const;

  void doCleanup();
  void hasNotificationActiveIs(bool active) override;
  void vexDoZombieReactors(bool zombie) override;

 protected:
  HubstoreServiceMountGroup(const Vex::String& groupName, const Vex::Ptr<HubstoreServiceMounter>& mounter,
                            HubstoreService* service);
  ~HubstoreServiceMountGroup() override;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

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

Vex::Ptr<HubstoreServiceMountGroup> hubstoreServiceMountGroupFactory(const Vex::String& groupName,
                                                                     const Vex::Ptr<HubstoreServiceMounter>& mounter,
                                                                     HubstoreService* service);

}  // namespace Controller
