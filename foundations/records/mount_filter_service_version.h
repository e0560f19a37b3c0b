#pragma once
/// \class Controller::MountFilterServiceVersion
/// A named set of service versions that the mount machinery applies to a group.
/// Owned by a version allow-list of the same name.

#include <cstdint>

#include <hubstore/foundations/records/record.h>

namespace Controller {

class MountFilterServiceVersion : public Vex::Entity {
 public:
  /// The attribute ids.
  struct Attr {
    /// The included versions.
    static constexpr Vex::AttributeId includedServiceVersion = Vex::firstRecordAttribute + 1;
  };
  /// A new, empty filter named `name`.
  static Vex::Ptr<MountFilterServiceVersion> MountFilterServiceVersionIs(const Vex::Name& name) {
    return Vex::make<MountFilterServiceVersion>(name);
  }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// Whether `version` is included; an absent entry reads as false.
  bool includedServiceVersion(std::uint32_t version) const {
    const bool* value = includedServiceVersion_.value(version);
    return value && *value;
  }
  /// Every entry, by version.
  const Vex::ValueMap<std::uint32_t, bool>& includedServiceVersionMembers() const { return includedServiceVersion_; }
  /// Sets `version`'s entry; watchers are told only of a change.
  void includedServiceVersionIs(std::uint32_t version, bool included);
  /// Removes `version`'s entry, if any.
  void includedServiceVersionDel(std::uint32_t version);

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit MountFilterServiceVersion(const Vex::Name& name) : Vex::Entity(name) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Vex::ValueMap<std::uint32_t, bool> includedServiceVersion_;
};

}  // namespace Controller
