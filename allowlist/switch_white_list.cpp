#include <hubstore/allowlist/switch_white_list.h>

#include <hubstore/service/hubstore_service.h>

namespace Controller {

Vex::Ptr<SwitchWhiteList> SwitchWhiteList::SwitchWhiteListIs(const Vex::String& name, HubstoreService* service) {
  return Vex::make<SwitchWhiteList>(name, service);
}

Vex::Ptr<SwitchWhiteList> switchWhiteListFactory(const Vex::String& name, HubstoreService* service) {
  return SwitchWhiteList::SwitchWhiteListIs(name, service);
}

SwitchWhiteList::SwitchWhiteList(const Vex::String& name, HubstoreService* service)
    : ServiceWhiteList(name, service, &service->switchListLinks_) {}

}  // namespace Controller
