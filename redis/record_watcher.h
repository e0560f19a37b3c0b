#pragma once
// hubstore::redis::RecordWatcher: watches one record that the store writes
// through to Redis, and tells its owner of each change with the record's key
// (and, for a record held in a field of its holder's hash, that field). The
// store keeps one per record and record member of the sides it owns.

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
  static Vex::Ptr<RecordWatcher> RecordWatcherIs(Owner* owner, std::string key, const Vex::Entity* record,
                                                 std::string field = {});
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }

  const std::string& key() const { return key_; }
  // Empty for a record that is a key of its own.
  const std::string& field() const { return field_; }
  void onAttribute(Vex::AttributeId attribute, const void* key) override;

 protected:
  RecordWatcher(Owner* owner, std::string key, std::string field)
      : owner_(owner), key_(std::move(key)), field_(std::move(field)) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);

 private:
  Owner* owner_;
  std::string key_;
  std::string field_;
};

}  // namespace hubstore::redis
