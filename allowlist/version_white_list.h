#pragma once
/// \class Controller::VersionWhiteList
/// A version allow-list owned by a service, the form the service creates. Its
/// constructor creates (or finds) the filters named after it in the service's
/// publish and mount configurations and binds them; its destructor removes
/// them, mount configuration first. The binding and the orphaning rule are
/// ServiceWhiteList's.

#include <hubstore/allowlist/service_white_list.h>
#include <hubstore/allowlist/version_white_list_base.h>

namespace Controller {

class VersionWhiteList : public ServiceWhiteList<VersionWhiteListBase> {
 public:
  /// A new list named `name`, bound to `service`'s configurations; the caller
  /// holds the only reference.
  static Vex::Ptr<VersionWhiteList> VersionWhiteListIs(const Vex::String& name, HubstoreService* service);

 protected:
  /// Made only by Vex::make.
  ///@{
  VersionWhiteList(const Vex::String& name, HubstoreService* service);
  ~VersionWhiteList() override = default;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}
};

/// The factory the service creates its version lists with (VersionWhiteListIs).
Vex::Ptr<VersionWhiteList> versionWhiteListFactory(const Vex::String& name, HubstoreService* service);

}  // namespace Controller
