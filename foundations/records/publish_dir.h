#pragma once
/// \class Controller::PublishDir
/// A controller database directory published to each switch separately, with
/// the path it lands at and whether it is ready.

#include <hubstore/foundations/records/record.h>

namespace Controller {

class PublishDir : public Vex::Entity {
 public:
  /// The attribute ids.
  struct Attr {
    /// The publish type.
    static constexpr Vex::AttributeId vexcType = Vex::firstRecordAttribute + 1;
    /// The target path on the switches.
    static constexpr Vex::AttributeId remoteTargetPath = Vex::firstRecordAttribute + 2;
    /// The ready flag.
    static constexpr Vex::AttributeId readyToPublish = Vex::firstRecordAttribute + 3;
  };
  /// A new directory named `name` (its controller database path), of type
  /// `vexcType`, with no target path and not ready.
  static Vex::Ptr<PublishDir> PublishDirIs(const Vex::Name& name, const Vex::String& vexcType) {
    return Vex::make<PublishDir>(name, vexcType);
  }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The publish type the switches are given, as declared.
  const Vex::String& vexcType() const { return vexcType_; }
  /// Sets the type; watchers are told only of a change.
  void vexcTypeIs(const Vex::String& vexcType);
  /// The path the directory lands at on each switch; "" until the per-switch
  /// machine writes it.
  const Vex::String& remoteTargetPath() const { return remoteTargetPath_; }
  /// Sets the target path; watchers are told only of a change.
  void remoteTargetPathIs(const Vex::String& path);
  /// Whether the directory may be published; written by the per-switch machine.
  bool readyToPublish() const { return readyToPublish_; }
  /// Sets the flag; watchers are told only of a change.
  void readyToPublishIs(bool ready);

 protected:
  /// Made only by Vex::make.
  ///@{
  PublishDir(const Vex::Name& name, const Vex::String& vexcType) : Vex::Entity(name), vexcType_(vexcType) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Vex::String vexcType_;
  Vex::String remoteTargetPath_{""};
  bool readyToPublish_ = false;
};

}  // namespace Controller
