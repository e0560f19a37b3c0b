#pragma once
/// \class Controller::PublishMount
/// A controller database path published to the switches. Immutable once
/// declared; keyed by hubstorePath.

#include <hubstore/foundations/records/record.h>

namespace Controller {

class PublishMount : public Vex::Entity {
 public:
  /// The attribute ids.
  struct Attr {
    /// One per attribute, in declaration order.
    ///@{
    static constexpr Vex::AttributeId hubstorePath = Vex::firstRecordAttribute;
    static constexpr Vex::AttributeId remotePath = Vex::firstRecordAttribute + 1;
    static constexpr Vex::AttributeId vexcType = Vex::firstRecordAttribute + 2;
    ///@}
  };
  /// A new entry: `hubstorePath` published to the switches at `remotePath`,
  /// with the publish type given.
  static Vex::Ptr<PublishMount> PublishMountIs(const Vex::Name& hubstorePath, const Vex::String& remotePath,
                                               const Vex::String& vexcType) {
    return Vex::make<PublishMount>(hubstorePath, remotePath, vexcType);
  }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The controller database path published; the entry's key.
  const Vex::Name& hubstorePath() const { return name(); }
  /// Where it lands on the switches.
  const Vex::String& remotePath() const { return remotePath_; }
  /// The publish type the switches are given, as declared.
  const Vex::String& vexcType() const { return vexcType_; }

 protected:
  /// Made only by Vex::make.
  ///@{
  PublishMount(const Vex::Name& hubstorePath, const Vex::String& remotePath, const Vex::String& vexcType)
      : Vex::Entity(hubstorePath), remotePath_(remotePath), vexcType_(vexcType) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Vex::String remotePath_;
  Vex::String vexcType_;
};

}  // namespace Controller
