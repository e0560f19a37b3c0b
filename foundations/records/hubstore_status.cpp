#include <hubstore/foundations/records/hubstore_status.h>

namespace Hubstore {

const Vex::TypeDescriptor& Status::staticType() {
  static const Vex::TypeDescriptor type("Hubstore::Status",
                                        {{"leaderGenId", Vex::AttributeKind::attribute, Attr::leaderGenId}});
  return type;
}

void Status::leaderGenIdIs(const Vex::String& id) {
  if (assignIfChanged(leaderGenId_, id)) notify(Attr::leaderGenId);
}

}  // namespace Hubstore
