#include <hubstore/status/service_mount_status_sm.h>

#include <utility>

#include <hubstore/foundations/framework/exception.h>
#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/foundations/records/system_id.h>
#include <hubstore/mountgroup/hubstore_service_mount_group.h>
#include <hubstore/service/hubstore_service.h>
#include <hubstore/service/hubstore_service_mounter.h>

namespace Controller {

namespace {
// The id of SystemStatusSm's systemStatus, the value a reinstantiation differs in.
constexpr Vex::AttributeId systemStatusSmSystemStatusAttr = Vex::firstRecordAttribute;
}  // namespace

// --- ServiceMountStatusSm ----------------------------------------------------

const Vex::TypeDescriptor& ServiceMountStatusSm::staticType() {
  using K = Vex::AttributeKind;
  // Attribute ids follow the declaration order.
  static const Vex::TypeDescriptor type("Controller::ServiceMountStatusSm",
                                        {{"serviceMountStatus", K::attribute, Vex::firstRecordAttribute},
                                         {"serviceName", K::attribute, Vex::firstRecordAttribute + 1},
                                         {"systemStatusSm", K::collection, Vex::firstRecordAttribute + 2},
                                         {"handleSystemStatus", K::handler, Vex::firstRecordAttribute + 3},
                                         {"handleInitialMountsComplete", K::handler, Vex::firstRecordAttribute + 4},
                                         {"initialized", K::attribute, Vex::firstRecordAttribute + 5},
                                         {"handleInitialized", K::handler, Vex::firstRecordAttribute + 6},
                                         {"hubstoreService", K::attribute, Vex::firstRecordAttribute + 7}});
  return type;
}

Vex::Ptr<ServiceMountStatusSm> ServiceMountStatusSm::ServiceMountStatusSmIs(
    const Vex::Ptr<const ServiceMountStatus>& status, HubstoreService* hubstoreService) {
  Vex::Ptr<ServiceMountStatusSm> machine = Vex::make<ServiceMountStatusSm>(status, hubstoreService);
  machine->hasNotificationActiveIs(true);
  return machine;
}

Vex::Ptr<ServiceMountStatusSm> serviceMountStatusSmFactory(const Vex::Ptr<const ServiceMountStatus>& status,
                                                           HubstoreService* hubstoreService) {
  return ServiceMountStatusSm::ServiceMountStatusSmIs(status, hubstoreService);
}

ServiceMountStatusSm::ServiceMountStatusSm(const Vex::Ptr<const ServiceMountStatus>& status,
                                           HubstoreService* hubstoreService)
    : hubstoreService_(hubstoreService, hubstoreService ? &hubstoreService->mountStatusSmLinks_ : nullptr, this,
                       &ServiceMountStatusSm::tearDown) {
  if (status) {
    serviceMountStatusReactor_ = Vex::make<VexServiceMountStatus>(this);
    serviceMountStatusReactor_->bindQuietly(status);
    serviceMountStatusReactor_->hasNotificationActiveIs(true);
  }
  handleInitialized();
}

ServiceMountStatusSm::~ServiceMountStatusSm() { tearDown(); }

void ServiceMountStatusSm::tearDown() {
  vexDoZombieReactors(true);
  systemStatusSmDelAll();
  systemStatusSmLinks_.ownerGone();
  if (const Vex::Ptr<VexServiceMountStatus> reactor = std::move(serviceMountStatusReactor_)) reactor->retire();
}

Vex::Ptr<const ServiceMountStatus> ServiceMountStatusSm::serviceMountStatus() const {
  return serviceMountStatusReactor_ ? serviceMountStatusReactor_->notifierPtr() : Vex::Ptr<const ServiceMountStatus>();
}

Vex::Name ServiceMountStatusSm::serviceName() const {
  const ServiceMountStatus* status = serviceMountStatusReactor_ ? serviceMountStatusReactor_->notifier() : nullptr;
  return status ? status->name() : Vex::Name();
}

void ServiceMountStatusSm::handleInitialized() {
  HUBSTORE_TRACE(8) << "ServiceMountStatusSm::" << "handleInitialized";
  if (initialized_) return;
  initializedIs(true);
  handleSystemStatus();
  handleInitialMountsComplete();
}

void ServiceMountStatusSm::handleSystemStatus() {
  HUBSTORE_TRACE(8) << "ServiceMountStatusSm::" << "handleSystemStatus";
  if (!initialized_) return;
  const Vex::Ptr<const ServiceMountStatus> status = serviceMountStatus();
  if (!status) return;
  // Each new machine reports at once, and a hook may change the collection.
  const Vex::Ptr<ServiceMountStatusSm> self(this);
  for (auto entry = status->systemStatusMembers().begin(); entry != nullptr; ++entry) {
    if (vexMarkedForDeletion()) return;
    handleSystemStatus(entry.key());
  }
}

void ServiceMountStatusSm::handleSystemStatus(const Vex::Name& systemName) {
  HUBSTORE_TRACE(8) << "ServiceMountStatusSm::" << "handleSystemStatus" << ": " << systemName;
  if (!initialized_ || vexMarkedForDeletion()) return;
  const ServiceMountStatus* status = serviceMountStatusReactor_ ? serviceMountStatusReactor_->notifier() : nullptr;
  if (!status) return;
  Vex::Ptr<const SystemStatus> entry = status->systemStatus(systemName);
  if (!entry) {
    HUBSTORE_TRACE(7) << "Deleting ServiceMountStatusSm for " << systemName;
    systemStatusSmDel(systemName);
    return;
  }
  // The mount machinery's fault, not the agent's: this switch is left out.
  if (!SystemId::parse(systemName.view())) {
    HUBSTORE_TRACE(5) << "handleSystemStatus" << ": system " << systemName << " is not an Ethernet address.";
    return;
  }
  HUBSTORE_TRACE(7) << "Creating ServiceMountStatusSm for " << systemName;
  const Vex::Ptr<ServiceMountStatusSm> self(this);
  systemStatusSmIs(entry);
}

void ServiceMountStatusSm::reportMountStates() {
  if (!initialized_ || vexMarkedForDeletion()) return;
  const Vex::Ptr<const ServiceMountStatus> status = serviceMountStatus();
  if (!status) return;
  // A hook may release the service, which orphans this machine (marked).
  const Vex::Ptr<ServiceMountStatusSm> self(this);
  for (auto entry = status->systemStatusMembers().begin(); entry != nullptr; ++entry) {
    if (vexMarkedForDeletion()) return;
    if (const Vex::Ptr<SystemStatusSm> machine = systemStatusSm_.member(entry.key())) {
      machine->reportDeclaredMountStates();
    } else if (!SystemId::parse(entry.key().view())) {
      HUBSTORE_TRACE(5) << "reportMountStates" << ": system " << entry.key() << " is not an Ethernet address.";
    }
  }
}

Vex::Ptr<SystemStatusSm> ServiceMountStatusSm::systemStatusSmIs(const Vex::Ptr<const SystemStatus>& systemStatus) {
  if (!systemStatus) Vex::throwMutatorArgNullPointerException("systemStatus");
  const Vex::Name key = systemStatus->name();
  if (Vex::Ptr<SystemStatusSm> existing = systemStatusSm_.member(key)) {
    const Vex::Ptr<const SystemStatus> watched = existing->systemStatus();
    if (watched == systemStatus) return existing;
    Vex::throwMutatorReinstantiating("systemStatusSm[" + key + "]", "systemStatus", systemStatusSmSystemStatusAttr,
                                     Vex::describe(systemStatus.get()), Vex::describe(watched.get()));
  }
  Vex::Ptr<SystemStatusSm> machine = systemStatusSmFactory(systemStatus, this);
  systemStatusSm_.newMember(key, machine);
  machine->hasNotificationActiveIs(true);
  // Listed before it reports: a hook that removes the switch again takes the
  // machine with it, and one that throws leaves it in place.
  machine->handleInitialized();
  return machine;
}

void ServiceMountStatusSm::systemStatusSmDel(Vex::Name systemName) {
  // Marked before release: a machine still held by its own running sweep
  // stops there instead of reaching back into this owner.
  if (Vex::Ptr<SystemStatusSm> removed = systemStatusSm_.deleteMember(systemName)) removed->vexDoZombieReactors(true);
}

void ServiceMountStatusSm::systemStatusSmDelAll() {
  for (auto machine = systemStatusSm_.begin(); machine != nullptr; ++machine) systemStatusSmDel(machine.key());
}

void ServiceMountStatusSm::handleInitialMountsComplete() {
  HUBSTORE_TRACE(8) << "ServiceMountStatusSm::" << "handleInitialMountsComplete";
  const Vex::Ptr<const ServiceMountStatus> status = serviceMountStatus();
  if (!status) return;
  const Vex::Ptr<ServiceMountStatusSm> self(this);
  for (auto entry = status->initialMountsCompleteMembers().begin(); entry != nullptr; ++entry) {
    if (vexMarkedForDeletion()) return;
    handleInitialMountsComplete(entry->key);
  }
}

void ServiceMountStatusSm::handleInitialMountsComplete(const Vex::String& groupName) {
  HUBSTORE_TRACE(8) << "ServiceMountStatusSm::" << "handleInitialMountsComplete" << " " << groupName;
  // The hook may release the service, and this machine with it.
  const Vex::Ptr<ServiceMountStatusSm> self(this);
  HubstoreServiceMountGroup* group = hubstoreService_ ? hubstoreService_->serviceMountGroupRaw(groupName) : nullptr;
  if (!group) {
    HUBSTORE_TRACE(5) << "handleInitialMountsComplete" << ": no CSMG for group " << groupName;
    return;
  }
  if (!group->closed()) {
    HUBSTORE_TRACE(5) << "handleInitialMountsComplete" << ": not closed";
    return;
  }
  const ServiceMountStatus* status = serviceMountStatusReactor_ ? serviceMountStatusReactor_->notifier() : nullptr;
  if (!status || !status->initialMountsComplete(groupName)) {
    HUBSTORE_TRACE(5) << "handleInitialMountsComplete" << ": mounts for MG " << groupName << " not complete.";
    return;
  }
  // Held here: the hook may delete the group, and with it these references.
  const Vex::Ptr<HubstoreServiceMounter> mounter = group->mounter();
  const Vex::Ptr<Mirra::EntityManager> entityManager = group->hubstoreEntityManager();
  if (!mounter) return;
  const HookCall call(hubstoreService_->hookStatistics(), HookStatistics::initialSwitchMountsComplete);
  mounter->doInitialSwitchMountsComplete(groupName, entityManager);
}

void ServiceMountStatusSm::serviceMountStatusDel() {
  if (const Vex::Ptr<VexServiceMountStatus> reactor = std::move(serviceMountStatusReactor_)) reactor->retire();
}

// Setting flags calls nobody, so the machines are walked directly; each one
// passes its flag on only when it changes.
void ServiceMountStatusSm::hasNotificationActiveIs(bool active) {
  if (hasNotificationActive() == active) return;
  PtrInterface::hasNotificationActiveIs(active);
  if (serviceMountStatusReactor_) serviceMountStatusReactor_->hasNotificationActiveIs(active);
  for (const auto& [systemName, machine] : systemStatusSm_.members()) machine->hasNotificationActiveIs(active);
}

void ServiceMountStatusSm::vexDoZombieReactors(bool zombie) {
  PtrInterface::vexDoZombieReactors(zombie);
  if (serviceMountStatusReactor_) serviceMountStatusReactor_->vexDoZombieReactors(zombie);
}

}  // namespace Controller
