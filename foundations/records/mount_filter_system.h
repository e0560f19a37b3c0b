#pragma once
// Controller::MountFilterSystem: a named set of switches (by the text form of
// their system id) that the mount machinery applies to a group. Owned by a
// switch allow-list of the same name.

#include <hubstore/foundations/records/record.h>
#include <hubstore/foundations/framework/flat_value_map.h>

namespace Controller {

class MountFilterSystem : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId includedSystem = Vex::firstRecordAttribute + 1;
  };
  static Vex::Ptr<MountFilterSystem> MountFilterSystemIs(const Vex::Name& name) {
    return Vex::make<MountFilterSystem>(name);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  bool includedSystem(const Vex::String& system) const {
    const bool* value = includedSystem_.value(system);
    return value && *value;
  }
  const Vex::FlatValueMap<Vex::String, bool>& includedSystemMembers() const { return includedSystem_; }
  void includedSystemIs(const Vex::String& system, bool included);
  void includedSystemDel(Vex::String system);

 protected:
  explicit MountFilterSystem(const Vex::Name& name) : Vex::Entity(name) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  // Built once, read, and mostly dropped whole at a service's close.
  Vex::FlatValueMap<Vex::String, bool> includedSystem_;
};

}  // namespace Controller
