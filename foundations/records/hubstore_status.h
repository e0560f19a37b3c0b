#pragma once
/// \class Hubstore::Status
/// The controller database's own status, found at "controller/status". The
/// library copies its leader generation id into the service configuration
/// records.

#include <hubstore/foundations/records/record.h>

namespace Hubstore {

class Status : public Vex::Entity {
 public:
  /// The attribute ids.
  struct Attr {
    /// The leader generation id.
    static constexpr Vex::AttributeId leaderGenId = Vex::firstRecordAttribute;
  };
  /// A new status named `name`, with an empty leader generation id.
  static Vex::Ptr<Status> StatusIs(const Vex::Name& name) { return Vex::make<Status>(name); }
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The generation id of the controller database's current leader; "" until
  /// written.
  const Vex::String& leaderGenId() const { return leaderGenId_; }
  /// Sets the id; watchers are told only of a change.
  void leaderGenIdIs(const Vex::String& id);

 protected:
  /// Made only by Vex::make.
  ///@{
  explicit Status(const Vex::Name& name) : Vex::Entity(name) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Vex::String leaderGenId_{""};
};

}  // namespace Hubstore
