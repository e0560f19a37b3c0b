#include <hubstore/mountgroup/controller_mount.h>

namespace Controller {

const Vex::TypeDescriptor& ControllerMount::staticType() {
  static const Vex::TypeDescriptor type("Controller::ControllerMount",
                                        {{"remotePath", Vex::AttributeKind::attribute, Attr::remotePath},
                                         {"hubstorePath", Vex::AttributeKind::attribute, Attr::hubstorePath},
                                         {"vexcType", Vex::AttributeKind::attribute, Attr::vexcType},
                                         {"vexcFlags", Vex::AttributeKind::attribute, Attr::vexcFlags}});
  return type;
}

}  // namespace Controller
