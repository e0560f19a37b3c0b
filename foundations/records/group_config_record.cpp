#include <hubstore/foundations/records/group_config_record.h>

namespace Controller {

std::vector<Vex::AttributeDescriptor> GroupConfigRecord::attributes(Vex::AttributeDescriptor first,
                                                                    Vex::AttributeDescriptor second) {
  return {{"name", Vex::AttributeKind::attribute, Attr::name},
          std::move(first),
          std::move(second),
          {"systemFilter", Vex::AttributeKind::attribute, Attr::systemFilter},
          {"versionFilter", Vex::AttributeKind::attribute, Attr::versionFilter}};
}

void GroupConfigRecord::systemFilterIs(const Vex::Ptr<MountFilterSystem>& filter) {
  if (assignIfChanged(systemFilter_, filter)) notify(Attr::systemFilter);
}

void GroupConfigRecord::versionFilterIs(const Vex::Ptr<MountFilterServiceVersion>& filter) {
  if (assignIfChanged(versionFilter_, filter)) notify(Attr::versionFilter);
}

}  // namespace Controller
