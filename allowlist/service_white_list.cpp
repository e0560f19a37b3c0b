#include <hubstore/allowlist/service_white_list.h>

#include <hubstore/allowlist/switch_white_list.h>
#include <hubstore/allowlist/version_white_list.h>
#include <hubstore/foundations/framework/ferrolink.h>
#include <hubstore/service/hubstore_service.h>

namespace Controller {

// The core's attributes, then this class's, in declaration order.
template <class Base>
const Vex::TypeDescriptor& ServiceWhiteList<Base>::staticType() {
  static const Vex::TypeDescriptor type(Kind::typeName, [] {
    std::vector<Vex::AttributeDescriptor> attributes = Base::staticType().attributes();
    attributes.push_back({"handleInitialized", Vex::AttributeKind::handler, 264});
    attributes.push_back({"doCleanup", Vex::AttributeKind::operation, 265});
    attributes.push_back({"service", Vex::AttributeKind::attribute, 266});
    return attributes;
  }());
  return type;
}

// The filters exist and are bound before the constructor returns, so the
// core's handler can rely on them for every entry change.
template <class Base>
ServiceWhiteList<Base>::ServiceWhiteList(const Vex::String& name, HubstoreService* service, Vex::OwnerLinks* links)
    : Base(name), service_(service, links, this, &ServiceWhiteList::handleServiceGone) {
  handleInitialized();
}

template <class Base>
ServiceWhiteList<Base>::~ServiceWhiteList() {
  if (service_) doCleanup();
  this->vexDoZombieReactors(true);
  // The core then drops the entries without running the handler: the filter
  // records have already left the configs with everything they held.
}

template <class Base>
void ServiceWhiteList<Base>::handleInitialized() {
  HUBSTORE_TRACE(8) << Kind::serviceTraceClass << "handleInitialized" << " " << this->name();
  // A fresh list starts empty, so nothing is replayed into the filters; a
  // filter left by an earlier run is taken over as it stands.
  this->publishFilterIs(Kind::configFilterIs(*service_->servicePublishConfig(), this->name()));
  this->mountFilterIs(Kind::configFilterIs(*service_->serviceMountConfig(), this->name()));
  this->initializedIs(true);
}

template <class Base>
void ServiceWhiteList<Base>::doCleanup() {
  HUBSTORE_TRACE(8) << Kind::serviceTraceClass << "doCleanup" << " " << this->name();
  if (!service_) return;
  // A list the service has let go of and then declared again took over these
  // very filter records: they are the new list's now.
  const auto current = Kind::serviceList(*service_.get(), this->name());
  if (current && current.get() != this) return;
  // Our own pointers keep the removed records until the core goes.
  ServicePublishConfig& publish = *service_->servicePublishConfig();
  ServiceMountConfig& mount = *service_->serviceMountConfig();
  if constexpr (Kind::cleanupOrder == FilterCleanupOrder::publishFirst) {
    Kind::configFilterDel(publish, this->name());
    Kind::configFilterDel(mount, this->name());
  } else {
    Kind::configFilterDel(mount, this->name());
    Kind::configFilterDel(publish, this->name());
  }
}

// The service is still whole here: the filters go now, as they would have
// gone had the list died with it.
template <class Base>
void ServiceWhiteList<Base>::handleServiceGone() {
  doCleanup();
  this->vexDoZombieReactors(true);
}

template class ServiceWhiteList<SwitchWhiteListBase>;
template class ServiceWhiteList<VersionWhiteListBase>;

}  // namespace Controller
