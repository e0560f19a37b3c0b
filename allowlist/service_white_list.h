#pragma once
/// \class Controller::ServiceWhiteList
/// An allow-list owned by a service; Base is SwitchWhiteListBase or
/// VersionWhiteListBase, and SwitchWhiteList and VersionWhiteList are this
/// class under their own names. Its constructor creates (or finds) the filters
/// named after it in the service's publish and mount configurations and binds
/// them; its destructor removes them, in the order its kind gives
/// (white_list_kinds.h).
///
/// A list may outlive its service (the agent or a group holds it). When the
/// service goes, the list is orphaned: its filters leave both configurations
/// then, as they would had it died with the service, and service() reads null.
/// The orphan keeps its name and entries; later entry changes reach only its
/// own filter records, which no configuration holds any more, and its own
/// destruction withdraws nothing further.

#include <hubstore/foundations/framework/owner_link.h>
#include <hubstore/foundations/framework/type_descriptor.h>

namespace Controller {

class HubstoreService;

template <class Base>
class ServiceWhiteList : public Base {
 public:
  /// The list's kind, SwitchWhiteListKind or VersionWhiteListKind.
  using Kind = typename Base::Kind;

  /// The type's descriptor, as Vex::make needs.
  static const Vex::TypeDescriptor& staticType();
  /// The descriptor of the object's own type (staticType()).
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  /// The owning service, or null once the list is orphaned.
  HubstoreService* service() const { return service_.get(); }
  /// Binds the list to the filters named after it in the service's publish and
  /// mount configurations, creating them when absent (a filter left by an earlier
  /// run is taken over as it stands), and marks the list initialized. The
  /// constructor calls it; the service must still be there.
  void handleInitialized();
  /// Withdraws the filters from the service's configurations; an orphan has
  /// none to withdraw, and a list the service has since replaced by another of
  /// its name leaves them to that list.
  void doCleanup();

 protected:
  /// Made by the derived list; `links` is the service's register of the lists of
  /// this kind, through which the service orphans them when it goes.
  ServiceWhiteList(const Vex::String& name, HubstoreService* service, Vex::OwnerLinks* links);
  ~ServiceWhiteList() override;

 private:
  void handleServiceGone();

  Vex::OwnerLink<HubstoreService, ServiceWhiteList> service_;
};

}  // namespace Controller
