#include <hubstore/allowlist/version_white_list.h>

#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/service/hubstore_service.h>

namespace Controller {

Vex::Ptr<VersionWhiteList> VersionWhiteList::VersionWhiteListIs(const Vex::String& name, HubstoreService* service) {
  return Vex::make<VersionWhiteList>(name, service);
}

Vex::Ptr<VersionWhiteList> versionWhiteListFactory(const Vex::String& name, HubstoreService* service) {
  return VersionWhiteList::VersionWhiteListIs(name, service);
}

// Attribute ids follow the declaration order, from 258.
const Vex::TypeDescriptor& VersionWhiteList::staticType() {
  static const Vex::TypeDescriptor type("Controller::VersionWhiteList",
                                        {{"name", Vex::AttributeKind::attribute, 258},
                                         {"mountVersionFilter", Vex::AttributeKind::attribute, 259},
                                         {"publishVersionFilter", Vex::AttributeKind::attribute, 260},
                                         {"allowedVersion", Vex::AttributeKind::collection, 261},
                                         {"handleAllowedVersion", Vex::AttributeKind::handler, 262},
                                         {"initialized", Vex::AttributeKind::attribute, 263},
                                         {"handleInitialized", Vex::AttributeKind::handler, 264},
                                         {"doCleanup", Vex::AttributeKind::operation, 265},
                                         {"service", Vex::AttributeKind::attribute, 266}});
  return type;
}

// The filters exist and are bound before the constructor returns, so the
// base's handler can rely on them for every entry change.
VersionWhiteList::VersionWhiteList(const Vex::String& name, HubstoreService* service)
    : VersionWhiteListBase(name),
      service_(service, service ? &service->versionListLinks_ : nullptr, this, &VersionWhiteList::handleServiceGone) {
  handleInitialized();
}

VersionWhiteList::~VersionWhiteList() {
  if (service_) doCleanup();
  vexDoZombieReactors(true);
  // The base then drops the entries without running the handler: the filter
  // records have already left the configs with everything they held.
}

void VersionWhiteList::handleInitialized() {
  HUBSTORE_TRACE(8) << "VersionWhiteList::" << "handleInitialized" << " " << name();
  // A fresh list starts empty, so nothing is replayed into the filters; a
  // filter left by an earlier run is taken over as it stands.
  publishVersionFilterIs(service_->servicePublishConfig()->versionFilterIs(name()));
  mountVersionFilterIs(service_->serviceMountConfig()->versionFilterIs(name()));
  initializedIs(true);
}

void VersionWhiteList::doCleanup() {
  HUBSTORE_TRACE(8) << "VersionWhiteList::" << "doCleanup" << " " << name();
  if (!service_) return;
  // A list the service has let go of and then declared again took over these
  // very filter records: they are the new list's now.
  const Vex::Ptr<VersionWhiteList> current = service_->versionWhiteList(name());
  if (current && current.get() != this) return;
  // Mount config first, then publish config: the opposite of the switch
  // list, and deliberately so. Our own pointers keep the removed records
  // until the base goes.
  service_->serviceMountConfig()->versionFilterDel(name());
  service_->servicePublishConfig()->versionFilterDel(name());
}

// The service is still whole here: the filters go now, as they would have
// gone had the list died with it.
void VersionWhiteList::handleServiceGone() {
  doCleanup();
  vexDoZombieReactors(true);
}

}  // namespace Controller
