#include <hubstore/mountgroup/per_switch_publish_mount.h>

namespace Controller {

const Vex::TypeDescriptor& PerSwitchPublishMount::staticType() {
  static const Vex::TypeDescriptor type("Controller::PerSwitchPublishMount",
                                        {{"hubstorePath", Vex::AttributeKind::attribute, Attr::hubstorePath},
                                         {"remotePath", Vex::AttributeKind::attribute, Attr::remotePath},
                                         {"vexcType", Vex::AttributeKind::attribute, Attr::vexcType},
                                         {"publishActive", Vex::AttributeKind::attribute, Attr::publishActive}});
  return type;
}

void PerSwitchPublishMount::publishActiveIs(bool active) {
  if (assignIfChanged(publishActive_, active)) notify(Attr::publishActive);
}

Vex::Ptr<PerSwitchPublishMount> perSwitchPublishMountFactory(const Vex::Name& hubstorePath,
                                                             const Vex::String& remotePath,
                                                             const Vex::String& vexcType) {
  return PerSwitchPublishMount::PerSwitchPublishMountIs(hubstorePath, remotePath, vexcType);
}

}  // namespace Controller
