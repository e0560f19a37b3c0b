#include <hubstore/foundations/records/system_status.h>

namespace Controller {

const Vex::TypeDescriptor& SystemStatus::staticType() {
  static const Vex::TypeDescriptor type(
      "Controller::SystemStatus",
      {{"name", Vex::AttributeKind::attribute, Vex::firstRecordAttribute},
       {"serviceMountGroupStatus", Vex::AttributeKind::collection, Attr::serviceMountGroupStatus}});
  return type;
}

Vex::Ptr<ServiceMountGroupStatus> SystemStatus::serviceMountGroupStatusIs(const Vex::Name& group,
                                                                          MountState state) {
  return memberIs(serviceMountGroupStatus_, group, Attr::serviceMountGroupStatus, [state](const Vex::Name& key) {
    return ServiceMountGroupStatus::ServiceMountGroupStatusIs(key, state);
  });
}

void SystemStatus::serviceMountGroupStatusDel(Vex::Name group) {
  memberDel(serviceMountGroupStatus_, group, Attr::serviceMountGroupStatus);
}

}  // namespace Controller
