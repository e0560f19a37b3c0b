#include <hubstore/foundations/records/service_publish_status.h>

namespace Controller {

const Vex::TypeDescriptor& ServicePublishStatus::staticType() {
  static const Vex::TypeDescriptor type(
      "Controller::ServicePublishStatus",
      {{"name", Vex::AttributeKind::attribute, Vex::firstRecordAttribute},
       {"publishGroupStatus", Vex::AttributeKind::collection, Attr::publishGroupStatus}});
  return type;
}

Vex::Ptr<ServicePublishGroupStatus> ServicePublishStatus::publishGroupStatusIs(const Vex::Name& group) {
  return memberIs(publishGroupStatus_, group, Attr::publishGroupStatus,
                  &ServicePublishGroupStatus::ServicePublishGroupStatusIs);
}

void ServicePublishStatus::publishGroupStatusDel(Vex::Name group) {
  memberDel(publishGroupStatus_, group, Attr::publishGroupStatus);
}

}  // namespace Controller
