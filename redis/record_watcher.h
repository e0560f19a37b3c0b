#pragma once
/// \class hubstore::redis::RecordWatcher
/// Watches one record that the store writes
/// through to Redis, and tells its owner of each change with the record's key
/// (and, for a record held in a field of its holder's hash, that field). The
/// store keeps one per record and record member of the sides it owns.

#include <string>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/notifiee_const.h>
#include <hubstore/foundations/framework/type_descriptor.h>

namespace hubstore::redis {

class RecordWatcher : public Vex::NotifieeConstOf<Vex::Entity> {
 public:
  /// What a watcher tells of its record's changes: the store, which keeps
  /// its watchers (a watcher does not own its owner).
  class Owner {
   public:
    /// A change of the record `watcher` watches: the attribute's id and, for a
    /// collection member, a pointer to the member's key (else null).
    virtual void recordChanged(const RecordWatcher& watcher, Vex::AttributeId attribute, const void* key) = 0;

   protected:
    /// Not destroyed through this interface.
    ~Owner() = default;
  };

  /// Registered and active: the next change of `record` reaches `owner`.
  static Vex::Ptr<RecordWatcher> RecordWatcherIs(Owner* owner, std::string key, const Vex::Entity* record,
                                                 std::string field = {});
  /// The type's descriptor, as Vex::make needs.
  ///@{
  static const Vex::TypeDescriptor& staticType();
  const Vex::TypeDescriptor& fwkType() const override { return staticType(); }
  ///@}

  /// The Redis key of the record's hash.
  const std::string& key() const { return key_; }
  /// The field of the holder's hash that holds the record; empty for a record
  /// that is a key of its own.
  const std::string& field() const { return field_; }
  /// Passes the change on to the owner.
  void onAttribute(Vex::AttributeId attribute, const void* key) override;

 protected:
  /// Made only by Vex::make, through RecordWatcherIs.
  ///@{
  RecordWatcher(Owner* owner, std::string key, std::string field)
      : owner_(owner), key_(std::move(key)), field_(std::move(field)) {}
  template <class T, class... Args>
  friend Vex::Ptr<T> Vex::make(Args&&...);
  ///@}

 private:
  Owner* owner_;
  std::string key_;
  std::string field_;
};

}  // namespace hubstore::redis
