#include <hubstore/foundations/platform/agent.h>

namespace Mirra {

const Vex::TypeDescriptor& Agent::staticType() {
  static const Vex::TypeDescriptor type("Mirra::Agent", {{"name", Vex::AttributeKind::attribute, 258}});
  return type;
}

}  // namespace Mirra
