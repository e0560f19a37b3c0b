#pragma once
// Controller::MountFilterServiceVersion: a named set of service versions that
// the mount machinery applies to a group. Owned by a version allow-list of the
// same name.

#include <cstdint>

#include <hubstore/foundations/records/record.h>

namespace Controller {

class MountFilterServiceVersion : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId includedServiceVersion = Vex::firstRecordAttribute + 1;
  };
  static Vex::Ptr<MountFilterServiceVersion> MountFilterServiceVersionIs(const Vex::Name& name) {
    return Vex::make<MountFilterServiceVersion>(name);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  bool includedServiceVersion(std::uint32_t version) const {
    const bool* value = includedServiceVersion_.value(version);
    return value && *value;
  }
  const Vex::ValueMap<std::uint32_t, bool>& includedServiceVersionMembers() const { return includedServiceVersion_; }
  void includedServiceVersionIs(std::uint32_t version, bool included);
  void includedServiceVersionDel(std::uint32_t version);

 protected:
  explicit MountFilterServiceVersion(const Vex::Name& name) : Vex::Entity(name) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::ValueMap<std::uint32_t, bool> includedServiceVersion_;
};

}  // namespace Controller
