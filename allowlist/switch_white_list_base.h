#pragma once
// Controller::SwitchWhiteListBase: a named set of allowed switches, mirrored
// into two MountFilterSystem records (one for mounting, one for publishing)
// whose includedSystem sets always equal the switches whose entry is true.
//
// The base knows no service: SwitchWhiteList binds the two filters to the
// service's configuration records. Both filters must be set before an entry
// changes; the base does not check.

#include <hubstore/foundations/records/mount_filter_system.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/records/system_id.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/foundations/framework/value_map.h>

namespace Controller {

class SwitchWhiteListBase : public Vex::PtrInterface {
 public:
  static Vex::Ptr<SwitchWhiteListBase> SwitchWhiteListBaseIs(const Vex::String& name);
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::String& name() const { return name_; }
  const Vex::Ptr<MountFilterSystem>& mountSystemFilter() const { return mountSystemFilter_; }
  void mountSystemFilterIs(const Vex::Ptr<MountFilterSystem>& filter) { mountSystemFilter_ = filter; }
  const Vex::Ptr<MountFilterSystem>& publishSystemFilter() const { return publishSystemFilter_; }
  void publishSystemFilterIs(const Vex::Ptr<MountFilterSystem>& filter) { publishSystemFilter_ = filter; }

  // Absent reads as false.
  bool allowedSwitch(const SystemId& switchId) const;
  const Vex::ValueMap<SystemId, bool>& allowedSwitchMembers() const { return allowedSwitch_; }
  // Stores the entry; an unchanged value does nothing at all. Storing false
  // still runs the handler, which takes the switch out of both filters.
  void allowedSwitchIs(const SystemId& switchId, bool allowed);
  void allowedSwitchDel(SystemId switchId);
  void allowedSwitchDelAll();
  // Brings both filters (publish first) in line with one entry, or all.
  void handleAllowedSwitch(const SystemId& switchId);
  void handleAllowedSwitch();

  bool initialized() const { return initialized_; }
  void initializedIs(bool initialized) { initialized_ = initialized; }

 protected:
  explicit SwitchWhiteListBase(const Vex::String& name) : name_(name) {}
  ~SwitchWhiteListBase() override = default;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::String name_;
  Vex::Ptr<MountFilterSystem> mountSystemFilter_;
  Vex::Ptr<MountFilterSystem> publishSystemFilter_;
  Vex::ValueMap<SystemId, bool> allowedSwitch_;
  bool initialized_ = false;
};

Vex::Ptr<SwitchWhiteListBase> switchWhiteListBaseFactory(const Vex::String& name);

}  // namespace Controller
