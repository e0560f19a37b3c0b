#pragma once
/// \class Controller::MountFilterSystem
/// A named set of switches (by the text form of their system id) that the mount
/// machinery applies to a group. Owned by a switch allow-list of the same name.

#include <hubstore/foundations/records/record.h>
#include <hubstore/foundations/framework/flat_value_map.h>

namespace Controller {

class MountFilterSystem : public Vex::Entity {
 public:
  /// The attribute ids.
  struct Attr {
    /// The included switches.
    static constexpr Vex::AttributeId includedSystem = Vex::firstRecordAttribute + 1;
  };
  /// A new, empty filter named `name`.
  static Vex::Ptr<MountFilterSystem> MountFilterSystemIs(const Vex::Name& name) {
    return Vex::make<MountFilterSystem>(name);
  }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// Whether the switch named `system` (the address's text form) is included;
  /// an absent entry reads as false.
  bool includedSystem(const Vex::String& system) const {
    const bool* value = includedSystem_.value(system);
    return value && *value;
  }
  /// Every entry, by switch name.
  const Vex::FlatValueMap<Vex::String, bool>& includedSystemMembers() const { return includedSystem_; }
  /// Sets the switch's entry; watchers are told only of a change.
  void includedSystemIs(const Vex::String& system, bool included);
  /// Removes the switch's entry, if any.
  void includedSystemDel(Vex::String system);

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit MountFilterSystem(const Vex::Name& name) : Vex::Entity(name) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  // Built once, read, and mostly dropped whole at a service's close.
  Vex::FlatValueMap<Vex::String, bool> includedSystem_;
};

}  // namespace Controller
