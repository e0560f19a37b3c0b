#include <hubstore/allowlist/switch_white_list.h>

#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/service/hubstore_service.h>

namespace Controller {

Vex::Ptr<SwitchWhiteList> SwitchWhiteList::SwitchWhiteListIs(const Vex::String& name, HubstoreService* service) {
  return Vex::make<SwitchWhiteList>(name, service);
}

Vex::Ptr<SwitchWhiteList> switchWhiteListFactory(const Vex::String& name, HubstoreService* service) {
  return SwitchWhiteList::SwitchWhiteListIs(name, service);
}

// Attribute ids follow the declaration order, from 258.
const Vex::TypeDescriptor& SwitchWhiteList::staticType() {
  static const Vex::TypeDescriptor type("Controller::SwitchWhiteList",
                                        {{"name", Vex::AttributeKind::attribute, 258},
                                         {"mountSystemFilter", Vex::AttributeKind::attribute, 259},
                                         {"publishSystemFilter", Vex::AttributeKind::attribute, 260},
                                         {"allowedSwitch", Vex::AttributeKind::collection, 261},
                                         {"handleAllowedSwitch", Vex::AttributeKind::handler, 262},
                                         {"initialized", Vex::AttributeKind::attribute, 263},
                                         {"handleInitialized", Vex::AttributeKind::handler, 264},
                                         {"doCleanup", Vex::AttributeKind::operation, 265},
                                         {"service", Vex::AttributeKind::attribute, 266}});
  return type;
}

// The filters exist and are bound before the constructor returns, so the
// base's handler can rely on them for every entry change.
SwitchWhiteList::SwitchWhiteList(const Vex::String& name, HubstoreService* service)
    : SwitchWhiteListBase(name),
      service_(service, service ? &service->switchListLinks_ : nullptr, this, &SwitchWhiteList::handleServiceGone) {
  handleInitialized();
}

SwitchWhiteList::~SwitchWhiteList() {
  if (service_) doCleanup();
  vexDoZombieReactors(true);
  // The base then drops the entries without running the handler: the filter
  // records have already left the configs with everything they held.
}

void SwitchWhiteList::handleInitialized() {
  HUBSTORE_TRACE(8) << "SwitchWhiteList::" << "handleInitialized" << " " << name();
  // A fresh list starts empty, so nothing is replayed into the filters; a
  // filter left by an earlier run is taken over as it stands.
  publishSystemFilterIs(service_->servicePublishConfig()->systemFilterIs(name()));
  mountSystemFilterIs(service_->serviceMountConfig()->systemFilterIs(name()));
  initializedIs(true);
}

void SwitchWhiteList::doCleanup() {
  HUBSTORE_TRACE(8) << "SwitchWhiteList::" << "doCleanup" << " " << name();
  if (!service_) return;
  // A list the service has let go of and then declared again took over these
  // very filter records: they are the new list's now.
  const Vex::Ptr<SwitchWhiteList> current = service_->switchWhiteList(name());
  if (current && current.get() != this) return;
  // Publish config first, then mount config. Our own pointers keep the
  // removed records until the base goes.
  service_->servicePublishConfig()->systemFilterDel(name());
  service_->serviceMountConfig()->systemFilterDel(name());
}

// The service is still whole here: the filters go now, as they would have
// gone had the list died with it.
void SwitchWhiteList::handleServiceGone() {
  doCleanup();
  vexDoZombieReactors(true);
}

}  // namespace Controller
