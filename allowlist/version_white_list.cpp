#include <hubstore/allowlist/version_white_list.h>

#include <hubstore/service/hubstore_service.h>

namespace Controller {

Vex::Ptr<VersionWhiteList> VersionWhiteList::VersionWhiteListIs(const Vex::String& name, HubstoreService* service) {
  return Vex::make<VersionWhiteList>(name, service);
}

Vex::Ptr<VersionWhiteList> versionWhiteListFactory(const Vex::String& name, HubstoreService* service) {
  return VersionWhiteList::VersionWhiteListIs(name, service);
}

VersionWhiteList::VersionWhiteList(const Vex::String& name, HubstoreService* service)
    : ServiceWhiteList(name, service, &service->versionListLinks_) {}

}  // namespace Controller
