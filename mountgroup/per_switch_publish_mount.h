#pragma once
// Controller::PerSwitchPublishMount: a controller database directory published
// to each switch separately. Keyed by hubstorePath; its only mutable
// attribute, publishActive, is the event that re-runs the entry's
// PerSwitchPublishMountSm.

#include <hubstore/foundations/records/record.h>

namespace Controller {

class PerSwitchPublishMount : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId hubstorePath = Vex::firstRecordAttribute;
    static constexpr Vex::AttributeId remotePath = Vex::firstRecordAttribute + 1;
    static constexpr Vex::AttributeId vexcType = Vex::firstRecordAttribute + 2;
    static constexpr Vex::AttributeId publishActive = Vex::firstRecordAttribute + 3;
  };
  static Vex::Ptr<PerSwitchPublishMount> PerSwitchPublishMountIs(const Vex::Name& hubstorePath,
                                                                 const Vex::String& remotePath,
                                                                 const Vex::String& vexcType) {
    return Vex::make<PerSwitchPublishMount>(hubstorePath, remotePath, vexcType);
  }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::Name& hubstorePath() const { return name(); }
  const Vex::String& remotePath() const { return remotePath_; }
  const Vex::String& vexcType() const { return vexcType_; }
  bool publishActive() const { return publishActive_; }
  void publishActiveIs(bool active);

 protected:
  PerSwitchPublishMount(const Vex::Name& hubstorePath, const Vex::String& remotePath, const Vex::String& vexcType)
      : Vex::Entity(hubstorePath), remotePath_(remotePath), vexcType_(vexcType) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::String remotePath_;
  Vex::String vexcType_;
  bool publishActive_ = false;
};

Vex::Ptr<PerSwitchPublishMount> perSwitchPublishMountFactory(const Vex::Name& hubstorePath,
                                                             const Vex::String& remotePath,
                                                             const Vex::String& vexcType);

}  // namespace Controller
