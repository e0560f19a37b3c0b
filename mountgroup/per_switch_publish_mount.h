#pragma once
/// \class Controller::PerSwitchPublishMount
/// A controller database directory published to each switch separately. Keyed
/// by hubstorePath; its only mutable attribute, publishActive, is the event
/// that re-runs the entry's PerSwitchPublishMountSm.

#include <hubstore/foundations/records/record.h>

namespace Controller {

class PerSwitchPublishMount : public Vex::Entity {
 public:
  /// The attribute ids.
  struct Attr {
    /// One per attribute, in declaration order.
    ///@{
    static constexpr Vex::AttributeId hubstorePath = Vex::firstRecordAttribute;
    static constexpr Vex::AttributeId remotePath = Vex::firstRecordAttribute + 1;
    static constexpr Vex::AttributeId vexcType = Vex::firstRecordAttribute + 2;
    static constexpr Vex::AttributeId publishActive = Vex::firstRecordAttribute + 3;
    ///@}
  };
  /// A new entry: the directory `hubstorePath` published to each switch at
  /// `remotePath`, with the publish type given; publishActive false.
  static Vex::Ptr<PerSwitchPublishMount> PerSwitchPublishMountIs(const Vex::Name& hubstorePath,
                                                                 const Vex::String& remotePath,
                                                                 const Vex::String& vexcType) {
    return Vex::make<PerSwitchPublishMount>(hubstorePath, remotePath, vexcType);
  }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The controller database directory published; the entry's key.
  const Vex::Name& hubstorePath() const { return name(); }
  /// Where it lands on each switch.
  const Vex::String& remotePath() const { return remotePath_; }
  /// The publish type the switches are given, as declared.
  const Vex::String& vexcType() const { return vexcType_; }
  /// The agent's flag whose every change re-runs the entry's machine.
  bool publishActive() const { return publishActive_; }
  /// Sets the flag; watchers (the machine) are told only of a change.
  void publishActiveIs(bool active);

 protected:
  /// Made only by Vex::make.
  ///@{
  PerSwitchPublishMount(const Vex::Name& hubstorePath, const Vex::String& remotePath, const Vex::String& vexcType)
      : Vex::Entity(hubstorePath), remotePath_(remotePath), vexcType_(vexcType) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Vex::String remotePath_;
  Vex::String vexcType_;
  bool publishActive_ = false;
};

/// The factory the group creates its per-switch entries with
/// (PerSwitchPublishMountIs).
Vex::Ptr<PerSwitchPublishMount> perSwitchPublishMountFactory(const Vex::Name& hubstorePath,
                                                             const Vex::String& remotePath,
                                                             const Vex::String& vexcType);

}  // namespace Controller
