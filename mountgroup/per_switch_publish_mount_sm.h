#pragma once
/// \class Controller::PerSwitchPublishMountSm
/// Keeps the publish directory of one per-switch publish mount in line with the
/// mount. While the mount is a member of its group the directory exists,
/// carries the mount's remote path and is ready to publish; once the mount is
/// gone, a directory still there is marked not ready (never deleted). Runs once
/// when created and again on every change of the mount's publishActive (whose
/// value it does not read).
///
/// The group owns the machine; the agent may hold it longer. A machine that
/// outlives its group is orphaned when the group goes: it stops following the
/// mount, group() reads null, and its handler does nothing.

#include <hubstore/foundations/framework/owner_link.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/reactor.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/mountgroup/per_switch_publish_mount.h>

namespace Controller {

class HubstoreServiceMountGroup;

class PerSwitchPublishMountSm : public Vex::PtrInterface {
 public:
  /// A new machine named `name` for `mount` in `group`, which runs at once.
  static Vex::Ptr<PerSwitchPublishMountSm> PerSwitchPublishMountSmIs(
      const Vex::String& name, const Vex::Ptr<const PerSwitchPublishMount>& mount, HubstoreServiceMountGroup* group);
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The machine's name: its mount's key in the group.
  const Vex::String& name() const { return name_; }
  /// The followed mount; null once orphaned.
  Vex::Ptr<const PerSwitchPublishMount> perSwitchPublishMount() const;
  /// The owning group; null once orphaned.
  HubstoreServiceMountGroup* group() const { return group_.get(); }
  /// Brings the publish directory in line with the mount (see the class); does
  /// nothing once orphaned.
  void handlePerSwitchPublishMountActive();

  /// Runs the handler when bound and on every change of publishActive.
  using VexPerSwitchPublishMount =
      Vex::Reactor<"VexPerSwitchPublishMount", PerSwitchPublishMountSm, PerSwitchPublishMount,
                   &PerSwitchPublishMountSm::handlePerSwitchPublishMountActive,
                   Vex::on(PerSwitchPublishMount::Attr::publishActive,
                           &PerSwitchPublishMountSm::handlePerSwitchPublishMountActive)>;

  /// Turns notifications on or off for the machine and its reactor together.
  void hasNotificationActiveIs(bool active) override;
  /// Marks the machine and its reactor as being destroyed, so that they react
  /// to nothing more.
  void vexDoZombieReactors(bool zombie) override;

 protected:
  /// Made only by Vex::make, through PerSwitchPublishMountSmIs.
  ///@{
  PerSwitchPublishMountSm(const Vex::String& name, const Vex::Ptr<const PerSwitchPublishMount>& mount,
                          HubstoreServiceMountGroup* group);
  ~PerSwitchPublishMountSm() override;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  // Unbinds the reactor: no late change of the mount reaches this machine.
  void mountReactorDel();

  Vex::String name_;
  Vex::Ptr<VexPerSwitchPublishMount> mountReactor_;
  Vex::OwnerLink<HubstoreServiceMountGroup, PerSwitchPublishMountSm> group_;
};

/// The factory the group creates its machines with (PerSwitchPublishMountSmIs).
Vex::Ptr<PerSwitchPublishMountSm> perSwitchPublishMountSmFactory(const Vex::String& name,
                                                                 const Vex::Ptr<const PerSwitchPublishMount>& mount,
                                                                 HubstoreServiceMountGroup* group);

}  // namespace Controller
