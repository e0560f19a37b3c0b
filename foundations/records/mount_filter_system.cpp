#include <hubstore/foundations/records/mount_filter_system.h>

namespace Controller {

const Vex::TypeDescriptor& MountFilterSystem::staticType() {
  static const Vex::TypeDescriptor type("Controller::MountFilterSystem",
                                        {{"name", Vex::AttributeKind::attribute, Vex::firstRecordAttribute},
                                         {"includedSystem", Vex::AttributeKind::collection, Attr::includedSystem}});
  return type;
}

void MountFilterSystem::includedSystemIs(const Vex::String& system, bool included) {
  if (includedSystem_.valueIs(system, included)) notify(Attr::includedSystem, &system);
}

void MountFilterSystem::includedSystemDel(Vex::String system) {
  if (includedSystem_.valueDel(system)) notify(Attr::includedSystem, &system);
}

}  // namespace Controller
