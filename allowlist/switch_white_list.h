#pragma once
// Controller::SwitchWhiteList: a switch allow-list owned by a service. Its
// constructor creates (or finds) the filters named after it in the service's
// publish and mount configurations and binds them; its destructor removes
// them, publish configuration first.

#include "allowlist/switch_white_list_base.h"

namespace Controller {

class HubstoreService;

class SwitchWhiteList : public SwitchWhiteListBase {
 public:
  static Vex::Ptr<SwitchWhiteList> SwitchWhiteListIs(const Vex::String& name, HubstoreService* service);
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  HubstoreService* service() const { return service_; }
  void handleInitialized();
  void doCleanup();

 protected:
  SwitchWhiteList(const Vex::String& name, HubstoreService* service);
  ~SwitchWhiteList() override;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  HubstoreService* service_;
};

Vex::Ptr<SwitchWhiteList> switchWhiteListFactory(const Vex::String& name, HubstoreService* service);

}  // namespace Controller
