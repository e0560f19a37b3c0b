#pragma once
// Controller::VersionWhiteListBase: a named set of supported service versions,
// mirrored into two MountFilterServiceVersion records (mount and publish)
// whose includedServiceVersion sets always equal the versions whose entry is
// true. The version-list twin of SwitchWhiteListBase.

#include <cstdint>

#include <hubstore/foundations/records/mount_filter_service_version.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/foundations/framework/value_map.h>

namespace Controller {

class VersionWhiteListBase : public Vex::PtrInterface {
 public:
  static Vex::Ptr<VersionWhiteListBase> VersionWhiteListBaseIs(const Vex::String& name);
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::String& name() const { return name_; }
  const Vex::Ptr<MountFilterServiceVersion>& mountVersionFilter() const { return mountVersionFilter_; }
  void mountVersionFilterIs(const Vex::Ptr<MountFilterServiceVersion>& filter) { mountVersionFilter_ = filter; }
  const Vex::Ptr<MountFilterServiceVersion>& publishVersionFilter() const { return publishVersionFilter_; }
  void publishVersionFilterIs(const Vex::Ptr<MountFilterServiceVersion>& filter) { publishVersionFilter_ = filter; }

  // Absent reads as false.
  bool allowedVersion(std::uint32_t version) const;
  const Vex::ValueMap<std::uint32_t, bool>& allowedVersionMembers() const { return allowedVersion_; }
  void allowedVersionIs(std::uint32_t version, bool supported);
  void allowedVersionDel(std::uint32_t version);
  void allowedVersionDelAll();
  // Brings both filters (publish first) in line with one entry, or all.
  void handleAllowedVersion(std::uint32_t version);
  void handleAllowedVersion();

  bool initialized() const { return initialized_; }
  void initializedIs(bool initialized) { initialized_ = initialized; }

 protected:
  explicit VersionWhiteListBase(const Vex::String& name) : name_(name) {}
  ~VersionWhiteListBase() override = default;
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::String name_;
  Vex::Ptr<MountFilterServiceVersion> mountVersionFilter_;
  Vex::Ptr<MountFilterServiceVersion> publishVersionFilter_;
  Vex::ValueMap<std::uint32_t, bool> allowedVersion_;
  bool initialized_ = false;
};

Vex::Ptr<VersionWhiteListBase> versionWhiteListBaseFactory(const Vex::String& name);

}  // namespace Controller
