#pragma once
/// \class Controller::ServiceMountGroupConfig
/// One mount group's part of the service mount configuration: the remote paths
/// mounted from every switch, whether the switches keep them while
/// disconnected, and the group's filters (the pair is GroupConfigRecord's).

#include <hubstore/foundations/records/group_config_record.h>

namespace Controller {

/// One mounted remote path.
struct MountConfig {
  /// The mount type and flags the switches are given, as declared.
  ///@{
  Vex::String vexcType;
  Vex::String vexcFlags;
  ///@}
  /// Where in the controller database the path is mounted.
  Vex::String hubstorePath;
  /// Equal when every field is.
  friend bool operator==(const MountConfig&, const MountConfig&) = default;
};

class ServiceMountGroupConfig : public GroupConfigRecord {
 public:
  /// The base record's attribute ids, and the group's own.
  struct Attr : GroupConfigRecord::Attr {
    /// The mounted remote paths.
    static constexpr Vex::AttributeId mountConfig = Vex::firstRecordAttribute + 1;
    /// The preserve-on-disconnect flag.
    static constexpr Vex::AttributeId preserveMountsOnDisconnect = Vex::firstRecordAttribute + 2;
  };
  /// A new, empty configuration for the group named `name`.
  static Vex::Ptr<ServiceMountGroupConfig> ServiceMountGroupConfigIs(const Vex::Name& name) {
    return Vex::make<ServiceMountGroupConfig>(name);
  }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// How `remotePath` is mounted, or null when it is not.
  const MountConfig* mountConfig(const Vex::Name& remotePath) const { return mountConfig_.value(remotePath); }
  /// Every mounted remote path.
  const Vex::ValueMap<Vex::Name, MountConfig>& mountConfigMembers() const { return mountConfig_; }
  /// Mounts `remotePath` as given; watchers are told only of a change.
  void mountConfigIs(const Vex::Name& remotePath, const Vex::String& vexcType, const Vex::String& vexcFlags,
                     const Vex::String& hubstorePath);
  /// Removes `remotePath`, if mounted.
  void mountConfigDel(Vex::Name remotePath);

  /// Whether the switches keep the group's mounts while disconnected from the
  /// controller.
  bool preserveMountsOnDisconnect() const { return preserveMountsOnDisconnect_; }
  /// Sets the flag; watchers are told only of a change.
  void preserveMountsOnDisconnectIs(bool preserve);

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit ServiceMountGroupConfig(const Vex::Name& name) : GroupConfigRecord(name) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Vex::ValueMap<Vex::Name, MountConfig> mountConfig_;
  bool preserveMountsOnDisconnect_ = false;
};

}  // namespace Controller
