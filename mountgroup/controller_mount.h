#pragma once
// Controller::ControllerMount: a path on every managed switch that is mounted
// into the controller database. Immutable once declared; keyed by remotePath.

#include <hubstore/foundations/records/record.h>

namespace Controller {

class ControllerMount : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId remotePath = Vex::firstRecordAttribute;
    static constexpr Vex::AttributeId hubstorePath = Vex::firstRecordAttribute + 1;
    static constexpr Vex::AttributeId vexcType = Vex::firstRecordAttribute + 2;
    static constexpr Vex::AttributeId vexcFlags = Vex::firstRecordAttribute + 3;
  };
  static Vex::Ptr<ControllerMount> ControllerMountIs(const Vex::Name& remotePath, const Vex::String& hubstorePath,
                                                     const Vex::String& vexcType, const Vex::String& vexcFlags) {
    return Vex::make<ControllerMount>(remotePath, hubstorePath, vexcType, vexcFlags);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::Name& remotePath() const { return name(); }
  const Vex::String& hubstorePath() const { return hubstorePath_; }
  const Vex::String& vexcType() const { return vexcType_; }
  const Vex::String& vexcFlags() const { return vexcFlags_; }

 protected:
  ControllerMount(const Vex::Name& remotePath, const Vex::String& hubstorePath, const Vex::String& vexcType,
                  const Vex::String& vexcFlags)
      : Vex::Entity(remotePath), hubstorePath_(hubstorePath), vexcType_(vexcType), vexcFlags_(vexcFlags) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::String hubstorePath_;
  Vex::String vexcType_;
  Vex::String vexcFlags_;
};

}  // namespace Controller
