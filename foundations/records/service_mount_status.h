#pragma once
/// \class Controller::ServiceMountStatus
/// The mount machinery's report on one service: a status per switch, which
/// groups have finished their initial switch mounts, and the controller
/// database prefix under which each remote path is mounted.

#include <hubstore/foundations/records/record.h>
#include <hubstore/foundations/records/system_status.h>

namespace Controller {

class ServiceMountStatus : public Vex::Entity {
 public:
  /// The attribute ids.
  struct Attr {
    /// The switch statuses, by switch name.
    static constexpr Vex::AttributeId systemStatus = Vex::firstRecordAttribute + 1;
    /// The groups' initial switch mounts flags, by group name.
    static constexpr Vex::AttributeId initialMountsComplete = Vex::firstRecordAttribute + 2;
    /// The mounted path prefixes, by remote path.
    static constexpr Vex::AttributeId mountedPathPrefix = Vex::firstRecordAttribute + 3;
  };
  /// A new, empty status named `name`.
  static Vex::Ptr<ServiceMountStatus> ServiceMountStatusIs(const Vex::Name& name) {
    return Vex::make<ServiceMountStatus>(name);
  }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The status of the switch named `system`, or null: a counted reference, or
  /// a plain pointer for the per-event path.
  ///@{
  Vex::Ptr<const SystemStatus> systemStatus(const Vex::Name& system) const { return systemStatus_.member(system); }
  const SystemStatus* systemStatusRaw(const Vex::Name& system) const { return systemStatus_.memberRaw(system); }
  ///@}
  /// Every switch status, by switch name.
  const Vex::Collection<Vex::Name, SystemStatus>& systemStatusMembers() const { return systemStatus_; }
  /// Creates an empty switch status, or returns the existing one.
  Vex::Ptr<SystemStatus> systemStatusIs(const Vex::Name& system);
  /// Adds a switch status built beforehand (so it arrives already holding its
  /// group statuses); returns the existing one when it is the same record, and
  /// raises the reinstantiation error for another record under the same name.
  Vex::Ptr<SystemStatus> systemStatusIs(const Vex::Ptr<SystemStatus>& status);
  /// Removes the status of the switch named `system`, if any.
  void systemStatusDel(Vex::Name system);

  /// Whether the group's initial switch mounts are complete; an absent entry
  /// reads as false.
  bool initialMountsComplete(const Vex::String& group) const {
    const bool* value = initialMountsComplete_.value(group);
    return value && *value;
  }
  /// Every group's flag, by group name.
  const Vex::ValueMap<Vex::String, bool>& initialMountsCompleteMembers() const { return initialMountsComplete_; }
  /// Sets the group's flag; watchers are told only of a change.
  void initialMountsCompleteIs(const Vex::String& group, bool complete);
  /// Removes the group's flag, if any.
  void initialMountsCompleteDel(Vex::String group);

  /// The controller database prefix under which `remotePath` is mounted, or
  /// null when it is not.
  const Vex::String* mountedPathPrefix(const Vex::Name& remotePath) const {
    return mountedPathPrefix_.value(remotePath);
  }
  /// Every mounted path prefix, by remote path.
  const Vex::ValueMap<Vex::Name, Vex::String>& mountedPathPrefixMembers() const { return mountedPathPrefix_; }
  /// Sets the prefix of `remotePath`; watchers are told only of a change.
  void mountedPathPrefixIs(const Vex::Name& remotePath, const Vex::String& prefix);
  /// Removes the prefix of `remotePath`, if any.
  void mountedPathPrefixDel(Vex::Name remotePath);

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit ServiceMountStatus(const Vex::Name& name) : Vex::Entity(name), systemStatus_(this, "systemStatus") {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Vex::Collection<Vex::Name, SystemStatus> systemStatus_;
  Vex::ValueMap<Vex::String, bool> initialMountsComplete_;
  Vex::ValueMap<Vex::Name, Vex::String> mountedPathPrefix_;
};

}  // namespace Controller
