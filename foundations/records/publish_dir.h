#pragma once
// Controller::PublishDir: a controller database directory published to each
// switch separately, with the path it lands at and whether it is ready.

#include <hubstore/foundations/records/record.h>

namespace Controller {

class PublishDir : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId vexcType = Vex::firstRecordAttribute + 1;
    static constexpr Vex::AttributeId remoteTargetPath = Vex::firstRecordAttribute + 2;
    static constexpr Vex::AttributeId readyToPublish = Vex::firstRecordAttribute + 3;
  };
  static Vex::Ptr<PublishDir> PublishDirIs(const Vex::Name& name, const Vex::String& vexcType) {
    return Vex::make<PublishDir>(name, vexcType);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::String& vexcType() const { return vexcType_; }
  void vexcTypeIs(const Vex::String& vexcType);
  const Vex::String& remoteTargetPath() const { return remoteTargetPath_; }
  void remoteTargetPathIs(const Vex::String& path);
  bool readyToPublish() const { return readyToPublish_; }
  void readyToPublishIs(bool ready);

 protected:
  PublishDir(const Vex::Name& name, const Vex::String& vexcType) : Vex::Entity(name), vexcType_(vexcType) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::String vexcType_;
  Vex::String remoteTargetPath_{""};
  bool readyToPublish_ = false;
};

}  // namespace Controller
