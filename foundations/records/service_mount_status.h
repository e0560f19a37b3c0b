#pragma once
// Controller::ServiceMountStatus: the mount machinery's report on one service:
// a status per switch, which groups have finished their initial switch mounts,
// and the controller database prefix under which each remote path is mounted.

#include <hubstore/foundations/records/record.h>
#include <hubstore/foundations/records/system_status.h>

namespace Controller {

class ServiceMountStatus : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId systemStatus = Vex::firstRecordAttribute + 1;
    static constexpr Vex::AttributeId initialMountsComplete = Vex::firstRecordAttribute + 2;
    static constexpr Vex::AttributeId mountedPathPrefix = Vex::firstRecordAttribute + 3;
  };
  static Vex::Ptr<ServiceMountStatus> ServiceMountStatusIs(const Vex::Name& name) {
    return Vex::make<ServiceMountStatus>(name);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  Vex::Ptr<const SystemStatus> systemStatus(const Vex::Name& system) const { return systemStatus_.member(system); }
  const SystemStatus* systemStatusRaw(const Vex::Name& system) const { return systemStatus_.memberRaw(system); }
  const Vex::Collection<Vex::Name, SystemStatus>& systemStatusMembers() const { return systemStatus_; }
  // Creates an empty switch status, or returns the existing one.
  Vex::Ptr<SystemStatus> systemStatusIs(const Vex::Name& system);
  // Adds a switch status built beforehand (so it arrives already holding its
  // group statuses); returns the existing one when it is the same record, and
  // raises the reinstantiation error for another record under the same name.
  Vex::Ptr<SystemStatus> systemStatusIs(const Vex::Ptr<SystemStatus>& status);
  void systemStatusDel(Vex::Name system);

  // An absent entry reads as false.
  bool initialMountsComplete(const Vex::String& group) const {
    const bool* value = initialMountsComplete_.value(group);
    return value && *value;
  }
  const Vex::ValueMap<Vex::String, bool>& initialMountsCompleteMembers() const { return initialMountsComplete_; }
  void initialMountsCompleteIs(const Vex::String& group, bool complete);
  void initialMountsCompleteDel(Vex::String group);

  const Vex::String* mountedPathPrefix(const Vex::Name& remotePath) const {
    return mountedPathPrefix_.value(remotePath);
  }
  const Vex::ValueMap<Vex::Name, Vex::String>& mountedPathPrefixMembers() const { return mountedPathPrefix_; }
  void mountedPathPrefixIs(const Vex::Name& remotePath, const Vex::String& prefix);
  void mountedPathPrefixDel(Vex::Name remotePath);

 protected:
  explicit ServiceMountStatus(const Vex::Name& name) : Vex::Entity(name), systemStatus_(this, "systemStatus") {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::Collection<Vex::Name, SystemStatus> systemStatus_;
  Vex::ValueMap<Vex::String, bool> initialMountsComplete_;
  Vex::ValueMap<Vex::Name, Vex::String> mountedPathPrefix_;
};

}  // namespace Controller
