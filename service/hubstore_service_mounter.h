#pragma once
/// \class Controller::HubstoreServiceMounter
/// The hook object through which the library tells the agent what happened to a
/// mount group. The agent derives from it, overrides the hooks it cares about,
/// and passes an instance to HubstoreService::serviceMountGroupIs:
///
///     class MyMounter : public Controller::HubstoreServiceMounter {
///       void doMountsComplete(Vex::String group, const Vex::Ptr<Mirra::EntityManager>& em) override;
///     };
///     service->serviceMountGroupIs("g1", Vex::make<MyMounter>());
///
/// Hooks are called on the agent's event loop, again each time a condition is
/// re-checked while it holds: they must tolerate repeated calls. An exception
/// a hook throws passes to whoever triggered the check.

#include <hubstore/foundations/platform/entity_manager.h>
#include <hubstore/foundations/records/mount_state.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/string.h>
#include <hubstore/foundations/records/system_id.h>
#include <hubstore/foundations/framework/type_descriptor.h>

namespace Controller {

class HubstoreServiceMounter : public Vex::PtrInterface {
 public:
  /// A mounter whose hooks keep their defaults.
  HubstoreServiceMounter() = default;
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}
  ~HubstoreServiceMounter() override = default;

  /// A group's mounts and publications are complete. The default throws
  /// Vex::InternalException: an agent whose groups can complete must override it.
  virtual void doMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>& em);
  /// One switch's mount state for one group was reported. The default traces.
  virtual void doHandleControllerMountState(const SystemId& systemId, Vex::String groupName, MountState mountState,
                                            const Vex::Ptr<Mirra::EntityManager>& em);
  /// The switches' initial mounts for a closed group are done. The default traces.
  virtual void doInitialSwitchMountsComplete(Vex::String groupName, const Vex::Ptr<Mirra::EntityManager>& em);
};

}  // namespace Controller
