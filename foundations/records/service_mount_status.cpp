#include <hubstore/foundations/records/service_mount_status.h>

#include <hubstore/foundations/framework/exception.h>

namespace Controller {

const Vex::TypeDescriptor& ServiceMountStatus::staticType() {
  static const Vex::TypeDescriptor type(
      "Controller::ServiceMountStatus",
      {{"name", Vex::AttributeKind::attribute, Vex::firstRecordAttribute},
       {"systemStatus", Vex::AttributeKind::collection, Attr::systemStatus},
       {"initialMountsComplete", Vex::AttributeKind::collection, Attr::initialMountsComplete},
       {"mountedPathPrefix", Vex::AttributeKind::collection, Attr::mountedPathPrefix}});
  return type;
}

Vex::Ptr<SystemStatus> ServiceMountStatus::systemStatusIs(const Vex::Name& system) {
  return memberIs(systemStatus_, system, Attr::systemStatus, &SystemStatus::SystemStatusIs);
}

Vex::Ptr<SystemStatus> ServiceMountStatus::systemStatusIs(const Vex::Ptr<SystemStatus>& status) {
  if (!status) Vex::throwMutatorArgNullPointerException("systemStatus");
  Vex::Name key = status->name();
  if (Vex::Ptr<SystemStatus> existing = systemStatus_.member(key)) {
    if (existing == status) return existing;
    Vex::throwMutatorReinstantiating("systemStatus[" + key + "]", "systemStatus", Attr::systemStatus,
                                     Vex::describe(status.get()), Vex::describe(existing.get()));
  }
  systemStatus_.newMember(key, status);
  notify(Attr::systemStatus, &key);
  return status;
}

void ServiceMountStatus::systemStatusDel(Vex::Name system) { memberDel(systemStatus_, system, Attr::systemStatus); }

void ServiceMountStatus::initialMountsCompleteIs(const Vex::String& group, bool complete) {
  if (initialMountsComplete_.valueIs(group, complete)) notify(Attr::initialMountsComplete, &group);
}

void ServiceMountStatus::initialMountsCompleteDel(Vex::String group) {
  if (initialMountsComplete_.valueDel(group)) notify(Attr::initialMountsComplete, &group);
}

void ServiceMountStatus::mountedPathPrefixIs(const Vex::Name& remotePath, const Vex::String& prefix) {
  if (mountedPathPrefix_.valueIs(remotePath, prefix)) notify(Attr::mountedPathPrefix, &remotePath);
}

void ServiceMountStatus::mountedPathPrefixDel(Vex::Name remotePath) {
  if (mountedPathPrefix_.valueDel(remotePath)) notify(Attr::mountedPathPrefix, &remotePath);
}

}  // namespace Controller
