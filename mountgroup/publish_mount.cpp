#include <hubstore/mountgroup/publish_mount.h>

namespace Controller {

const Vex::TypeDescriptor& PublishMount::staticType() {
  static const Vex::TypeDescriptor type("Controller::PublishMount",
                                        {{"hubstorePath", Vex::AttributeKind::attribute, Attr::hubstorePath},
                                         {"remotePath", Vex::AttributeKind::attribute, Attr::remotePath},
                                         {"vexcType", Vex::AttributeKind::attribute, Attr::vexcType}});
  return type;
}

}  // namespace Controller
