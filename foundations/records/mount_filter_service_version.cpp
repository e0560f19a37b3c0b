#include <hubstore/foundations/records/mount_filter_service_version.h>

namespace Controller {

const Vex::TypeDescriptor& MountFilterServiceVersion::staticType() {
  static const Vex::TypeDescriptor type(
      "Controller::MountFilterServiceVersion",
      {{"name", Vex::AttributeKind::attribute, Vex::firstRecordAttribute},
       {"includedServiceVersion", Vex::AttributeKind::collection, Attr::includedServiceVersion}});
  return type;
}

void MountFilterServiceVersion::includedServiceVersionIs(std::uint32_t version, bool included) {
  if (includedServiceVersion_.valueIs(version, included)) notify(Attr::includedServiceVersion, &version);
}

void MountFilterServiceVersion::includedServiceVersionDel(std::uint32_t version) {
  if (includedServiceVersion_.valueDel(version)) notify(Attr::includedServiceVersion, &version);
}

}  // namespace Controller
