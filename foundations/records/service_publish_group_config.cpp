#include <hubstore/foundations/records/service_publish_group_config.h>

namespace Controller {

const Vex::TypeDescriptor& ServicePublishGroupConfig::staticType() {
  static const Vex::TypeDescriptor type(
      "Controller::ServicePublishGroupConfig",
      attributes({"publishConfig", Vex::AttributeKind::collection, Attr::publishConfig},
                 {"publishDir", Vex::AttributeKind::collection, Attr::publishDir}));
  return type;
}

void ServicePublishGroupConfig::publishConfigIs(const Vex::Name& hubstorePath, const Vex::String& remotePath,
                                                const Vex::String& vexcType) {
  if (publishConfig_.valueIs(hubstorePath, PublishConfig{remotePath, vexcType})) {
    notify(Attr::publishConfig, &hubstorePath);
  }
}

void ServicePublishGroupConfig::publishConfigDel(Vex::Name hubstorePath) {
  if (publishConfig_.valueDel(hubstorePath)) notify(Attr::publishConfig, &hubstorePath);
}

Vex::Ptr<PublishDir> ServicePublishGroupConfig::publishDirIs(const Vex::Name& name, const Vex::String& vexcType) {
  if (Vex::Ptr<PublishDir> existing = publishDir_.member(name)) {
    existing->vexcTypeIs(vexcType);
    return existing;
  }
  return memberIs(publishDir_, name, Attr::publishDir,
                  [&vexcType](const Vex::Name& key) { return PublishDir::PublishDirIs(key, vexcType); });
}

void ServicePublishGroupConfig::publishDirDel(Vex::Name name) { memberDel(publishDir_, name, Attr::publishDir); }

}  // namespace Controller
