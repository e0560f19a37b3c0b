#include <hubstore/foundations/records/service_publish_group_status.h>

namespace Controller {

const Vex::TypeDescriptor& ServicePublishGroupStatus::staticType() {
  static const Vex::TypeDescriptor type("Controller::ServicePublishGroupStatus",
                                        {{"name", Vex::AttributeKind::attribute, Vex::firstRecordAttribute},
                                         {"publishStatus", Vex::AttributeKind::collection, Attr::publishStatus}});
  return type;
}

void ServicePublishGroupStatus::publishStatusIs(const Vex::Name& hubstorePath) {
  if (publishStatus_.valueIs(hubstorePath, true)) notify(Attr::publishStatus, &hubstorePath);
}

void ServicePublishGroupStatus::publishStatusDel(Vex::Name hubstorePath) {
  if (publishStatus_.valueDel(hubstorePath)) notify(Attr::publishStatus, &hubstorePath);
}

}  // namespace Controller
