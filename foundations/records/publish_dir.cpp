#include <hubstore/foundations/records/publish_dir.h>

namespace Controller {

const Vex::TypeDescriptor& PublishDir::staticType() {
  static const Vex::TypeDescriptor type("Controller::PublishDir",
                                        {{"name", Vex::AttributeKind::attribute, Vex::firstRecordAttribute},
                                         {"vexcType", Vex::AttributeKind::attribute, Attr::vexcType},
                                         {"remoteTargetPath", Vex::AttributeKind::attribute, Attr::remoteTargetPath},
                                         {"readyToPublish", Vex::AttributeKind::attribute, Attr::readyToPublish}});
  return type;
}

void PublishDir::vexcTypeIs(const Vex::String& vexcType) {
  if (assignIfChanged(vexcType_, vexcType)) notify(Attr::vexcType);
}

void PublishDir::remoteTargetPathIs(const Vex::String& path) {
  if (assignIfChanged(remoteTargetPath_, path)) notify(Attr::remoteTargetPath);
}

void PublishDir::readyToPublishIs(bool ready) {
  if (assignIfChanged(readyToPublish_, ready)) notify(Attr::readyToPublish);
}

}  // namespace Controller
