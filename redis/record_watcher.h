#pragma once
// hubstore::redis::RecordWatcher: watches one record that the store writes
// through to Redis, and tells its owner of each change with the record's key.
// The store keeps one per record and record member of the sides it owns.

#include <string>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/notifiee_const.h>
#include <hubstore/foundations/framework/type_descriptor.h>

namespace hubstore::redis {

class RecordWatcher : public Vex::NotifieeConstOf<Vex::Entity> {
 public:
  class Owner {
   public:
    virtual void recordChanged(const RecordWatcher& watcher, Vex::AttributeId attribute, const void* key) = 0;

   protected:
    ~Owner() = default;
  };

  // Registered and active: the next change of `record` reaches `owner`.
  static Vex::Ptr<RecordWatcher> RecordWatcherIs(Owner* owner, std::string key, const Vex::Entity* record);
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const std::string& key() const { return key_; }
  void onAttribute(Vex::AttributeId attribute, const void* key) override;

 protected:
  RecordWatcher(Owner* owner, std::string key) : owner_(owner), key_(std::move(key)) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Owner* owner_;
  std::string key_;
};

}  // namespace hubstore::redis
