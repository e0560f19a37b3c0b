#pragma once
/// \class Controller::ControllerMount
/// A path on every managed switch that is mounted into the controller database.
/// Immutable once declared; keyed by remotePath.

#include <hubstore/foundations/records/record.h>

namespace Controller {

class ControllerMount : public Vex::Entity {
 public:
  /// The attribute ids.
  struct Attr {
    /// One per attribute, in declaration order.
    ///@{
    static constexpr Vex::AttributeId remotePath = Vex::firstRecordAttribute;
    static constexpr Vex::AttributeId hubstorePath = Vex::firstRecordAttribute + 1;
    static constexpr Vex::AttributeId vexcType = Vex::firstRecordAttribute + 2;
    static constexpr Vex::AttributeId vexcFlags = Vex::firstRecordAttribute + 3;
    ///@}
  };
  /// A new entry: `remotePath` on every switch, mounted at `hubstorePath` in
  /// the controller database with the mount type and flags given.
  static Vex::Ptr<ControllerMount> ControllerMountIs(const Vex::Name& remotePath, const Vex::String& hubstorePath,
                                                     const Vex::String& vexcType, const Vex::String& vexcFlags) {
    return Vex::make<ControllerMount>(remotePath, hubstorePath, vexcType, vexcFlags);
  }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The path on every switch that is mounted; the entry's key.
  const Vex::Name& remotePath() const { return name(); }
  /// Where in the controller database it is mounted.
  const Vex::String& hubstorePath() const { return hubstorePath_; }
  /// The mount type and flags the switches are given, as declared.
  ///@{
  const Vex::String& vexcType() const { return vexcType_; }
  const Vex::String& vexcFlags() const { return vexcFlags_; }
  ///@}

 protected:
  /// Made only by Vex::make.
  ///@{
  ControllerMount(const Vex::Name& remotePath, const Vex::String& hubstorePath, const Vex::String& vexcType,
                  const Vex::String& vexcFlags)
      : Vex::Entity(remotePath), hubstorePath_(hubstorePath), vexcType_(vexcType), vexcFlags_(vexcFlags) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Vex::String hubstorePath_;
  Vex::String vexcType_;
  Vex::String vexcFlags_;
};

}  // namespace Controller
