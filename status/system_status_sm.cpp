#include <hubstore/status/system_status_sm.h>

#include <utility>

#include <hubstore/foundations/framework/exception.h>
#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/service/hubstore_service_mounter.h>
#include <hubstore/status/service_mount_status_sm.h>

namespace Controller {

// --- SystemStatusSm ----------------------------------------------------------

const Vex::TypeDescriptor& SystemStatusSm::staticType() {
  using K = Vex::AttributeKind;
  // Attribute ids follow the declaration order.
  static const Vex::TypeDescriptor type("Controller::SystemStatusSm",
                                        {{"systemStatus", K::attribute, Vex::firstRecordAttribute},
                                         {"systemName", K::attribute, Vex::firstRecordAttribute + 1},
                                         {"handleMountState", K::handler, Vex::firstRecordAttribute + 2},
                                         {"serviceMountGroupStatus", K::collection, Vex::firstRecordAttribute + 3},
                                         {"initialized", K::attribute, Vex::firstRecordAttribute + 4},
                                         {"handleInitialized", K::handler, Vex::firstRecordAttribute + 5},
                                         {"serviceMountStatusSm", K::attribute, Vex::firstRecordAttribute + 6}});
  return type;
}

Vex::Ptr<SystemStatusSm> SystemStatusSm::SystemStatusSmIs(const Vex::Ptr<const SystemStatus>& systemStatus,
                                                          ServiceMountStatusSm* serviceMountStatusSm) {
  return Vex::make<SystemStatusSm>(systemStatus, serviceMountStatusSm);
}

Vex::Ptr<SystemStatusSm> systemStatusSmFactory(const Vex::Ptr<const SystemStatus>& systemStatus,
                                               ServiceMountStatusSm* serviceMountStatusSm) {
  return SystemStatusSm::SystemStatusSmIs(systemStatus, serviceMountStatusSm);
}

// Parsed first, so a name that is no address leaves nothing behind.
SystemStatusSm::SystemStatusSm(const Vex::Ptr<const SystemStatus>& systemStatus,
                               ServiceMountStatusSm* serviceMountStatusSm)
    : systemId_(systemStatus ? SystemId::fromString(systemStatus->name().view()) : SystemId()),
      serviceMountStatusSm_(serviceMountStatusSm,
                            serviceMountStatusSm ? &serviceMountStatusSm->systemStatusSmLinks_ : nullptr, this,
                            &SystemStatusSm::tearDown) {
  if (systemStatus) {
    // Binding creates a silent reactor for every group status already there.
    // All stay off until the owner turns the machine on.
    systemStatusReactor_ = Vex::make<VexSystemStatus>(this);
    systemStatusReactor_->notifierIs(systemStatus);
  }
}

SystemStatusSm::~SystemStatusSm() { tearDown(); }

void SystemStatusSm::tearDown() {
  vexDoZombieReactors(true);
  serviceMountGroupStatusDelAll();
  if (const Vex::Ptr<VexSystemStatus> reactor = std::move(systemStatusReactor_)) reactor->retire();
}

Vex::Ptr<const SystemStatus> SystemStatusSm::systemStatus() const {
  return systemStatusReactor_ ? systemStatusReactor_->notifierPtr() : Vex::Ptr<const SystemStatus>();
}

Vex::Name SystemStatusSm::systemName() const {
  const SystemStatus* status = systemStatusReactor_ ? systemStatusReactor_->notifier() : nullptr;
  return status ? status->name() : Vex::Name();
}

void SystemStatusSm::handleInitialized() {
  if (initialized_) return;
  initializedIs(true);
  handleMountState();
}

void SystemStatusSm::handleMountState() {
  HUBSTORE_TRACE(8) << "SystemStatusSm::" << "handleMountState";
  if (!initialized_) return;
  const SystemStatus* status = systemStatusReactor_ ? systemStatusReactor_->notifier() : nullptr;
  if (!status) return;
  // A hook may remove this switch (or release the service) mid-sweep; the
  // machine is then marked and the sweep stops.
  const Vex::Ptr<SystemStatusSm> self(this);
  const Vex::Ptr<const SystemStatus> record(status);
  for (auto entry = record->serviceMountGroupStatusMembers().begin(); entry != nullptr; ++entry) {
    if (vexMarkedForDeletion()) return;
    handleMountState(**entry);
  }
}

void SystemStatusSm::handleMountState(const Vex::Name& groupName) {
  HUBSTORE_TRACE(8) << "SystemStatusSm::" << "handleMountState" << ": " << groupName;
  if (!initialized_ || vexMarkedForDeletion()) return;
  const SystemStatus* status = systemStatusReactor_ ? systemStatusReactor_->notifier() : nullptr;
  if (!status) return;
  if (const ServiceMountGroupStatus* groupStatus = status->serviceMountGroupStatusRaw(groupName)) {
    reportMountState(*groupStatus);
  }
}

void SystemStatusSm::handleMountState(const ServiceMountGroupStatus& groupStatus) {
  HUBSTORE_TRACE(8) << "SystemStatusSm::" << "handleMountState" << ": " << groupStatus.name();
  if (!initialized_ || vexMarkedForDeletion()) return;
  // The record in hand is the switch's while the switch record holds it.
  const SystemStatus* status = systemStatusReactor_ ? systemStatusReactor_->notifier() : nullptr;
  if (!status || groupStatus.parent() != status) return;
  reportMountState(groupStatus);
}

// A reactor the machine still holds watches a group status of the machine's
// own switch record: binding to another record replaces every reactor whose
// record differs, and a group status only ever belongs to the switch record
// that created it. So while the record holds it (it has a parent) it is the
// switch's, and the switch record itself need not be read.
void SystemStatusSm::handleMountStateOf(const ServiceMountGroupStatus& groupStatus) {
  HUBSTORE_TRACE(8) << "SystemStatusSm::" << "handleMountState" << ": " << groupStatus.name();
  if (!initialized_ || vexMarkedForDeletion() || !groupStatus.parent()) return;
  reportMountState(groupStatus);
}

void SystemStatusSm::reportDeclaredMountStates() {
  if (!initialized_ || vexMarkedForDeletion()) return;
  const SystemStatus* status = systemStatusReactor_ ? systemStatusReactor_->notifier() : nullptr;
  if (!status) return;
  // As in handleMountState(): a hook may remove this switch or release the
  // service; the machine is then marked and the report stops.
  const Vex::Ptr<SystemStatusSm> self(this);
  const Vex::Ptr<const SystemStatus> record(status);
  for (auto entry = record->serviceMountGroupStatusMembers().begin(); entry != nullptr; ++entry) {
    if (vexMarkedForDeletion()) return;
    const ServiceMountGroupStatus& groupStatus = **entry;
    if (const HubstoreServiceMountGroup* group = declaredGroup(groupStatus.name())) tellMounter(*group, groupStatus);
  }
}

void SystemStatusSm::reportMountState(const ServiceMountGroupStatus& groupStatus) {
  // Runs on every mount state event: raw lookups only, nothing allocated.
  const HubstoreServiceMountGroup* group = declaredGroup(groupStatus.name());
  if (!group) {
    HUBSTORE_TRACE(5) << "handleMountState" << ": mount group " << groupStatus.name() << " does not exist.";
    return;
  }
  tellMounter(*group, groupStatus);
}

HubstoreServiceMountGroup* SystemStatusSm::declaredGroup(const Vex::Name& groupName) const {
  HubstoreService* service = serviceMountStatusSm_ ? serviceMountStatusSm_->hubstoreService() : nullptr;
  return service ? service->serviceMountGroupRaw(groupName) : nullptr;
}

void SystemStatusSm::tellMounter(const HubstoreServiceMountGroup& group, const ServiceMountGroupStatus& groupStatus) {
  // Held here: the hook may delete the group, and with it these references,
  // or remove this switch, whose machine owns the systemId the hook is given.
  const Vex::Ptr<HubstoreServiceMounter> mounter = group.mounter();
  const Vex::Ptr<Mirra::EntityManager> entityManager = group.hubstoreEntityManager();
  const Vex::Ptr<SystemStatusSm> self(this);
  if (!mounter) return;
  // The group is declared: its service is there to count the call.
  const HookCall call(serviceMountStatusSm_->hubstoreService()->hookStatistics(),
                      HookStatistics::handleControllerMountState);
  mounter->doHandleControllerMountState(systemId_, groupStatus.name(), groupStatus.mountState(), entityManager);
}

void SystemStatusSm::followGroupStatuses(const SystemStatus& record) {
  serviceMountGroupStatus_.reserve(record.serviceMountGroupStatusMembers().count());
  for (auto entry = record.serviceMountGroupStatusMembers().begin(); entry != nullptr; ++entry) {
    serviceMountGroupStatusIs(*entry);
  }
  // Every group status has its reactor now: equal counts leave none over.
  if (serviceMountGroupStatus_.count() != record.serviceMountGroupStatusMembers().count()) {
    for (auto reactor = serviceMountGroupStatus_.begin(); reactor != nullptr; ++reactor) {
      if (!record.serviceMountGroupStatusRaw(reactor.key())) serviceMountGroupStatusDel(reactor.key());
    }
  }
}

void SystemStatusSm::followGroupStatus(const Vex::Name& groupName) {
  const SystemStatus* status = systemStatusReactor_ ? systemStatusReactor_->notifier() : nullptr;
  if (!status) return;
  if (Vex::Ptr<const ServiceMountGroupStatus> entry = status->serviceMountGroupStatus(groupName)) {
    serviceMountGroupStatusIs(entry);
  } else {
    serviceMountGroupStatusDel(groupName);
  }
}

Vex::Ptr<SystemStatusSm::VexServiceMountGroupStatus> SystemStatusSm::serviceMountGroupStatusIs(
    const Vex::Ptr<const ServiceMountGroupStatus>& status) {
  if (!status) Vex::throwMutatorArgNullPointerException("serviceMountGroupStatus");
  const Vex::Name key = status->name();
  Vex::Ptr<VexServiceMountGroupStatus> existing = serviceMountGroupStatus_.member(key);
  if (existing && existing->notifier() == status.get()) return existing;
  Vex::Ptr<VexServiceMountGroupStatus> reactor = Vex::make<VexServiceMountGroupStatus>(this);
  reactor->bindQuietly(status);
  reactor->hasNotificationActiveIs(hasNotificationActive());
  serviceMountGroupStatus_.newMember(key, reactor);
  if (existing) existing->retire();
  return reactor;
}

void SystemStatusSm::serviceMountGroupStatusDel(Vex::Name groupName) {
  if (Vex::Ptr<VexServiceMountGroupStatus> removed = serviceMountGroupStatus_.deleteMember(groupName)) {
    removed->retire();
  }
}

// Last group first, so that no reactor moves.
void SystemStatusSm::serviceMountGroupStatusDelAll() {
  while (!serviceMountGroupStatus_.empty()) {
    serviceMountGroupStatusDel(Vex::Name(serviceMountGroupStatus_.members().back().first));
  }
}

void SystemStatusSm::systemStatusDel() {
  if (const Vex::Ptr<VexSystemStatus> reactor = std::move(systemStatusReactor_)) reactor->retire();
  // Without a record there are no group statuses to follow.
  serviceMountGroupStatusDelAll();
}

// Reactors always carry the machine's flag, so an unchanged flag has nothing
// to pass on. Setting flags calls nobody: the members are walked directly.
void SystemStatusSm::hasNotificationActiveIs(bool active) {
  if (hasNotificationActive() == active) return;
  PtrInterface::hasNotificationActiveIs(active);
  if (systemStatusReactor_) systemStatusReactor_->hasNotificationActiveIs(active);
  for (const auto& [groupName, reactor] : serviceMountGroupStatus_.members()) reactor->hasNotificationActiveIs(active);
}

void SystemStatusSm::vexDoZombieReactors(bool zombie) {
  PtrInterface::vexDoZombieReactors(zombie);
  if (systemStatusReactor_) systemStatusReactor_->vexDoZombieReactors(zombie);
  // Marking calls nobody: the reactors are walked directly.
  for (const auto& [groupName, reactor] : serviceMountGroupStatus_.members()) reactor->vexDoZombieReactors(zombie);
}

}  // namespace Controller
