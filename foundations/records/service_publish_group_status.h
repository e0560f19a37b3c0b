#pragma once
/// \class Controller::ServicePublishGroupStatus
/// Which of one group's published paths the mount machinery has published. Only
/// the keys carry meaning.

#include <hubstore/foundations/records/record.h>

namespace Controller {

class ServicePublishGroupStatus : public Vex::Entity {
 public:
  /// The attribute ids.
  struct Attr {
    /// The published paths.
    static constexpr Vex::AttributeId publishStatus = Vex::firstRecordAttribute + 2;
  };
  /// A new, empty status named after its group.
  static Vex::Ptr<ServicePublishGroupStatus> ServicePublishGroupStatusIs(const Vex::Name& name) {
    return Vex::make<ServicePublishGroupStatus>(name);
  }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// Whether `hubstorePath` has been published.
  bool publishStatus(const Vex::Name& hubstorePath) const { return publishStatus_.contains(hubstorePath); }
  /// Every published path; the values carry no meaning.
  const Vex::ValueMap<Vex::Name, bool>& publishStatusMembers() const { return publishStatus_; }
  /// Marks `hubstorePath` published; watchers are told only when it is new.
  void publishStatusIs(const Vex::Name& hubstorePath);
  /// Removes `hubstorePath`'s mark, if any.
  void publishStatusDel(Vex::Name hubstorePath);

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit ServicePublishGroupStatus(const Vex::Name& name) : Vex::Entity(name) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Vex::ValueMap<Vex::Name, bool> publishStatus_;
};

}  // namespace Controller
