#include <hubstore/foundations/records/service_mount_group_status.h>

namespace Controller {

const Vex::TypeDescriptor& ServiceMountGroupStatus::staticType() {
  static const Vex::TypeDescriptor type("Controller::ServiceMountGroupStatus",
                                        {{"name", Vex::AttributeKind::attribute, Vex::firstRecordAttribute},
                                         {"mountState", Vex::AttributeKind::attribute, Attr::mountState}});
  return type;
}

void ServiceMountGroupStatus::mountStateIs(MountState state) {
  if (assignIfChanged(mountState_, state)) notify(Attr::mountState);
}

}  // namespace Controller
