#pragma once
// Controller::ServiceMountGroupConfig: one mount group's part of the service
// mount configuration: the remote paths mounted from every switch, whether the
// switches keep them while disconnected, and the group's filters (the pair
// is GroupConfigRecord's).

#include <hubstore/foundations/records/group_config_record.h>

namespace Controller {

// One mounted remote path.
struct MountConfig {
  Vex::String vexcType;
  Vex::String vexcFlags;
  Vex::String hubstorePath;
  friend bool operator==(const MountConfig&, const MountConfig&) = default;
};

class ServiceMountGroupConfig : public GroupConfigRecord {
 public:
  struct Attr : GroupConfigRecord::Attr {
    static constexpr Vex::AttributeId mountConfig = Vex::firstRecordAttribute + 1;
    static constexpr Vex::AttributeId preserveMountsOnDisconnect = Vex::firstRecordAttribute + 2;
  };
  static Vex::Ptr<ServiceMountGroupConfig> ServiceMountGroupConfigIs(const Vex::Name& name) {
    return Vex::make<ServiceMountGroupConfig>(name);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const MountConfig* mountConfig(const Vex::Name& remotePath) const { return mountConfig_.value(remotePath); }
  const Vex::ValueMap<Vex::Name, MountConfig>& mountConfigMembers() const { return mountConfig_; }
  void mountConfigIs(const Vex::Name& remotePath, const Vex::String& vexcType, const Vex::String& vexcFlags,
                     const Vex::String& hubstorePath);
  void mountConfigDel(Vex::Name remotePath);

  bool preserveMountsOnDisconnect() const { return preserveMountsOnDisconnect_; }
  void preserveMountsOnDisconnectIs(bool preserve);

 protected:
  explicit ServiceMountGroupConfig(const Vex::Name& name) : GroupConfigRecord(name) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::ValueMap<Vex::Name, MountConfig> mountConfig_;
  bool preserveMountsOnDisconnect_ = false;
};

}  // namespace Controller
