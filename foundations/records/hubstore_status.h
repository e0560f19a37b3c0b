#pragma once
// Hubstore::Status: the controller database's own status, found at
// "controller/status". The library copies its leader generation id into the
// service configuration records.

#include <hubstore/foundations/records/record.h>

namespace Hubstore {

class Status : public Vex::Entity {
 public:
  struct Attr {
    static constexpr Vex::AttributeId leaderGenId = Vex::firstRecordAttribute;
  };
  static Vex::Ptr<Status> StatusIs(const Vex::Name& name) { return Vex::make<Status>(name); }
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const Vex::String& leaderGenId() const { return leaderGenId_; }
  void leaderGenIdIs(const Vex::String& id);

 protected:
  explicit Status(const Vex::Name& name) : Vex::Entity(name) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Vex::String leaderGenId_{""};
};

}  // namespace Hubstore
