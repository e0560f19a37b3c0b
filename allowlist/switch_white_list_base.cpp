#include <hubstore/allowlist/switch_white_list_base.h>

namespace Controller {

Vex::Ptr<SwitchWhiteListBase> SwitchWhiteListBase::SwitchWhiteListBaseIs(const Vex::String& name) {
  return Vex::make<SwitchWhiteListBase>(name);
}

Vex::Ptr<SwitchWhiteListBase> switchWhiteListBaseFactory(const Vex::String& name) {
  return SwitchWhiteListBase::SwitchWhiteListBaseIs(name);
}

}  // namespace Controller
