#pragma once
/// \class Controller::VersionWhiteListBase
/// A named set of supported service versions, mirrored into two
/// MountFilterServiceVersion records (mount and publish) whose
/// includedServiceVersion sets always equal the versions whose entry is true.
/// The filters hold a version by its number. The version-list twin of
/// SwitchWhiteListBase: the set and its filters are WhiteListCore's, and this
/// class gives them their version names.

#include <hubstore/allowlist/white_list_core.h>

namespace Controller {

class VersionWhiteListBase : public WhiteListCore<VersionWhiteListKind> {
 public:
  /// A new, empty list named `name`, with no filters yet.
  static Vex::Ptr<VersionWhiteListBase> VersionWhiteListBaseIs(const Vex::String& name) {
    return Vex::make<VersionWhiteListBase>(name);
  }

  /// The core's two filters under their version names (WhiteListCore::mountFilter
  /// and WhiteListCore::publishFilter).
  ///@{
  const Vex::Ptr<MountFilterServiceVersion>& mountVersionFilter() const { return mountFilter(); }
  void mountVersionFilterIs(const Vex::Ptr<MountFilterServiceVersion>& filter) { mountFilterIs(filter); }
  const Vex::Ptr<MountFilterServiceVersion>& publishVersionFilter() const { return publishFilter(); }
  void publishVersionFilterIs(const Vex::Ptr<MountFilterServiceVersion>& filter) { publishFilterIs(filter); }
  ///@}

  /// The core's entry calls under their version names, keyed by service version:
  /// see WhiteListCore::allowed, allowedMembers, allowedIs, allowedDel,
  /// allowedDelAll and handleAllowed.
  ///@{
  bool allowedVersion(std::uint32_t version) const { return allowed(version); }
  const Vex::ValueMap<std::uint32_t, bool>& allowedVersionMembers() const { return allowedMembers(); }
  void allowedVersionIs(std::uint32_t version, bool supported) { allowedIs(version, supported); }
  void allowedVersionDel(std::uint32_t version) { allowedDel(version); }
  void allowedVersionDelAll() { allowedDelAll(); }
  void handleAllowedVersion(std::uint32_t version) { handleAllowed(version); }
  void handleAllowedVersion() { handleAllowed(); }
  ///@}

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit VersionWhiteListBase(const Vex::String& name) : WhiteListCore(name) {}
  ~VersionWhiteListBase() override = default;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}
};

/// The factory of a list bound to no service (VersionWhiteListBaseIs).
inline Vex::Ptr<VersionWhiteListBase> versionWhiteListBaseFactory(const Vex::String& name) {
  return VersionWhiteListBase::VersionWhiteListBaseIs(name);
}

}  // namespace Controller
