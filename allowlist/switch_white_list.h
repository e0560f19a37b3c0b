#pragma once
// Controller::SwitchWhiteList: a switch allow-list owned by a service. Its
// constructor creates (or finds) the filters named after it in the service's
// publish and mount configurations and binds them; its destructor removes
// them, publish configuration first.
//
// A list may outlive its service (the agent or a group holds it). When the
// service goes, the list is orphaned: its filters leave both configurations
// then, as they would had it died with the service, and service() reads null.
// The orphan keeps its name and entries; later entry changes reach only its
// own filter records, which no configuration holds any more, and its own
// destruction withdraws nothing further.

#include <hubstore/allowlist/switch_white_list_base.h>
#include <hubstore/foundations/framework/owner_link.h>

namespace Controller {

class HubstoreService;

class SwitchWhiteList : public SwitchWhiteListBase {
 public:
  static Vex::Ptr<SwitchWhiteList> SwitchWhiteListIs(const Vex::String& name, HubstoreService* service);
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  HubstoreService* service() const { return service_.get(); }
  void handleInitialized();
  // Withdraws the filters from the service's configurations; an orphan has
  // none to withdraw, and a list the service has since replaced by another of
  // its name leaves them to that list.
  void doCleanup();

 protected:
  SwitchWhiteList(const Vex::String& name, HubstoreService* service);
  ~SwitchWhiteList() override;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  void handleServiceGone();

  Vex::OwnerLink<HubstoreService, SwitchWhiteList> service_;
};

Vex::Ptr<SwitchWhiteList> switchWhiteListFactory(const Vex::String& name, HubstoreService* service);

}  // namespace Controller
