#include <hubstore/allowlist/version_white_list_base.h>

namespace Controller {

Vex::Ptr<VersionWhiteListBase> VersionWhiteListBase::VersionWhiteListBaseIs(const Vex::String& name) {
  return Vex::make<VersionWhiteListBase>(name);
}

Vex::Ptr<VersionWhiteListBase> versionWhiteListBaseFactory(const Vex::String& name) {
  return VersionWhiteListBase::VersionWhiteListBaseIs(name);
}

}  // namespace Controller
