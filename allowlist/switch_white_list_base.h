#pragma once
/// \class Controller::SwitchWhiteListBase
/// A named set of allowed switches, mirrored into two MountFilterSystem records
/// (one for mounting, one for publishing) whose includedSystem sets always
/// equal the switches whose entry is true. The filters hold a switch by its
/// text form.
///
/// The base knows no service: SwitchWhiteList binds the two filters to the
/// service's configuration records. Both filters must be set before an entry
/// changes; the base does not check. The set and its filters are
/// WhiteListCore's; this class gives them their switch names.

#include <hubstore/allowlist/white_list_core.h>

namespace Controller {

class SwitchWhiteListBase : public WhiteListCore<SwitchWhiteListKind> {
 public:
  /// A new, empty list named `name`, with no filters yet.
  static Vex::Ptr<SwitchWhiteListBase> SwitchWhiteListBaseIs(const Vex::String& name) {
    return Vex::make<SwitchWhiteListBase>(name);
  }

  /// The core's two filters under their switch names (WhiteListCore::mountFilter
  /// and WhiteListCore::publishFilter).
  ///@{
  const Vex::Ptr<MountFilterSystem>& mountSystemFilter() const { return mountFilter(); }
  void mountSystemFilterIs(const Vex::Ptr<MountFilterSystem>& filter) { mountFilterIs(filter); }
  const Vex::Ptr<MountFilterSystem>& publishSystemFilter() const { return publishFilter(); }
  void publishSystemFilterIs(const Vex::Ptr<MountFilterSystem>& filter) { publishFilterIs(filter); }
  ///@}

  /// The core's entry calls under their switch names, keyed by switch: see
  /// WhiteListCore::allowed, allowedMembers, allowedIs, allowedDel, allowedDelAll
  /// and handleAllowed.
  ///@{
  bool allowedSwitch(const SystemId& switchId) const { return allowed(switchId); }
  const Vex::ValueMap<SystemId, bool>& allowedSwitchMembers() const { return allowedMembers(); }
  void allowedSwitchIs(const SystemId& switchId, bool allowed) { allowedIs(switchId, allowed); }
  void allowedSwitchDel(SystemId switchId) { allowedDel(switchId); }
  void allowedSwitchDelAll() { allowedDelAll(); }
  void handleAllowedSwitch(const SystemId& switchId) { handleAllowed(switchId); }
  void handleAllowedSwitch() { handleAllowed(); }
  ///@}

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit SwitchWhiteListBase(const Vex::String& name) : WhiteListCore(name) {}
  ~SwitchWhiteListBase() override = default;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}
};

/// The factory of a list bound to no service (SwitchWhiteListBaseIs).
inline Vex::Ptr<SwitchWhiteListBase> switchWhiteListBaseFactory(const Vex::String& name) {
  return SwitchWhiteListBase::SwitchWhiteListBaseIs(name);
}

}  // namespace Controller
