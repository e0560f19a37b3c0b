#pragma once
/// \class Controller::SwitchWhiteList
/// A switch allow-list owned by a service, the form the service creates. Its
/// constructor creates (or finds) the filters named after it in the service's
/// publish and mount configurations and binds them; its destructor removes
/// them, publish configuration first. The binding and the orphaning rule are
/// ServiceWhiteList's.

#include <hubstore/allowlist/service_white_list.h>
#include <hubstore/allowlist/switch_white_list_base.h>

namespace Controller {

class SwitchWhiteList : public ServiceWhiteList<SwitchWhiteListBase> {
 public:
  /// A new list named `name`, bound to `service`'s configurations; the caller
  /// holds the only reference.
  static Vex::Ptr<SwitchWhiteList> SwitchWhiteListIs(const Vex::String& name, HubstoreService* service);

 protected:
  /// Made only by Vex::make.
  ///@{
  SwitchWhiteList(const Vex::String& name, HubstoreService* service);
  ~SwitchWhiteList() override = default;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}
};

/// The factory the service creates its switch lists with (SwitchWhiteListIs).
Vex::Ptr<SwitchWhiteList> switchWhiteListFactory(const Vex::String& name, HubstoreService* service);

}  // namespace Controller
