#pragma once
// Controller::VersionWhiteList: a version allow-list owned by a service. Its
// constructor creates (or finds) the filters named after it in the service's
// publish and mount configurations and binds them; its destructor removes
// them, mount configuration first.

#include "allowlist/version_white_list_base.h"

namespace Controller {

class HubstoreService;

class VersionWhiteList : public VersionWhiteListBase {
 public:
  static Vex::Ptr<VersionWhiteList> VersionWhiteListIs(const Vex::String& name, HubstoreService* service);
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  HubstoreService* service() const { return service_; }
  void handleInitialized();
  void doCleanup();

 protected:
  VersionWhiteList(const Vex::String& name, HubstoreService* service);
  ~VersionWhiteList() override;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  HubstoreService* service_;
};

Vex::Ptr<VersionWhiteList> versionWhiteListFactory(const Vex::String& name, HubstoreService* service);

}  // namespace Controller
