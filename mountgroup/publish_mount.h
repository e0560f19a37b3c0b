#pragma once
// Controller::PublishMount: a controller database path published to the
// switches. Immutable once declared; keyed by hubstorePath.

#include <hubstore/foundations/records/record.h>

namespace Controller {

class PublishMount : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId hubstorePath = Vex::firstRecordAttribute;
    static constexpr Vex::AttributeId remotePath = Vex::firstRecordAttribute + 1;
    static constexpr Vex::AttributeId vexcType = Vex::firstRecordAttribute + 2;
  };
  static Vex::Ptr<PublishMount> PublishMountIs(const Vex::Name& hubstorePath, const Vex::String& remotePath,
                                               const Vex::String& vexcType) {
    return Vex::make<PublishMount>(hubstorePath, remotePath, vexcType);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::Name& hubstorePath() const { return name(); }
  const Vex::String& remotePath() const { return remotePath_; }
  const Vex::String& vexcType() const { return vexcType_; }

 protected:
  PublishMount(const Vex::Name& hubstorePath, const Vex::String& remotePath, const Vex::String& vexcType)
      : Vex::Entity(hubstorePath), remotePath_(remotePath), vexcType_(vexcType) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::String remotePath_;
  Vex::String vexcType_;
};

}  // namespace Controller
