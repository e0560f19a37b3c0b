#pragma once
/// \class hubstore::redis::RecordCodec
/// What the five records and their members look like as Redis hashes, and how a
/// hash read back is written into the records.
///
/// Each record and each collection member is one key (RedisKeySchema); its
/// hash holds the member's own values as text: "name" for every record, and
/// then its scalar attributes ("warm", ...), or for a value member its value
/// ("value", or the fields of a mount or publish entry). The collections that
/// grow with the fleet, or are written together, are fields of their holder's
/// hash instead, one "[KEY]" field a member holding its one value: a switch's
/// group states, a filter's switches or versions, a publish group's statuses.
/// So a switch is one key, written and read whole. Other nested collections
/// are keys of their own.
///
///     RecordCodec::flatten(*mountConfig, "agentB:mountConfig", [](auto& key, auto& fields) {...});
///     RecordCodec::applyMember(*filter, *filterCollection, "00:1c:73:00:00:01", &fields, context);
///
/// Writes go through the records' own setters, so the library's handlers run
/// and a value that does not change notifies no one.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/redis/fields.h>
#include <hubstore/redis/redis_key_schema.h>

namespace hubstore::redis {


class RecordCodec {
 public:
  /// A collection attribute of a record type.
  struct Collection {
    /// The attribute's name in its type's descriptor.
    const char* name;
    /// The attribute's id in its type's descriptor.
    Vex::AttributeId id;
    bool holdsRecords;  ///< members are records (keys of their own, with members), else values
    bool numericKey;    ///< keyed by an unsigned 32-bit number
    bool inFields;      ///< members are "[KEY]" fields of the holder's hash, not keys
  };
  /// Names read again and again (a fleet's group names, one per switch),
  /// shared rather than made once per switch.
  class Names {
   public:
    /// The shared name of `text`; a holder's names asked in the same order as the
    /// last holder's are found without hashing.
    const Vex::Name& operator()(std::string_view text);
    /// The next names are another holder's.
    void restart() { next_ = 0; }

   private:
    struct Hash {
      using is_transparent = void;
      std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
    static constexpr std::size_t kMaxNames = 4096;
    std::unordered_map<std::string, Vex::Name, Hash, std::equal_to<>> names_;
    // The names asked for since restart(), in order, to be asked again.
    std::vector<const Vex::Name*> sequence_;
    std::size_t next_ = 0;
  };
  /// What applying needs besides the key: the root records, to resolve the
  /// filters a group configuration points at ("mountConfig.systemFilter[L]"),
  /// and where to say what could not be read. What cannot be read is left out
  /// and changes nothing: a value keeps its last good one, a member that
  /// cannot be read is not created.
  struct Context {
    /// The root record in each slot (none when unset).
    std::function<Vex::Entity*(RecordSlot)> roots;
    /// Where problems are appended, one line each (dropped when null).
    std::vector<std::string>* problems = nullptr;
    /// The shared names, or null to make each name anew.
    Names* names = nullptr;
    /// The root record in `slot`, or null.
    Vex::Entity* root(RecordSlot slot) const { return roots ? roots(slot) : nullptr; }
    /// The name of `text`, shared when `names` is set.
    Vex::Name name(std::string_view text) const { return names ? (*names)(text) : Vex::Name(text); }
    /// Appends `what` to `problems`, if set.
    void problem(std::string what) const {
      if (problems) problems->push_back(std::move(what));
    }
  };
  /// The longest field name or value read; a longer one is a problem.
  static constexpr std::size_t kMaxValueBytes = 64 * 1024;
  /// Receives each key and its fields.
  using Visitor = std::function<void(const std::string& key, const Fields& fields)>;

  /// A new, empty record of the type the slot holds, named `name`.
  static Vex::Ptr<Vex::Entity> newRecord(RecordSlot slot, const Vex::Name& name);
  /// Whether `entity` is of the type the slot holds.
  static bool holds(RecordSlot slot, const Vex::Entity& entity);

  /// The fields of the entity's own key: its own values and its members held
  /// in fields.
  static Fields fields(const Vex::Entity& entity);
  /// Its own values alone ("name" and the scalar attributes).
  static Fields ownFields(const Vex::Entity& entity);
  /// Visits the key of `entity` (named `key`) and of everything below it,
  /// each record before its members.
  static void flatten(const Vex::Entity& entity, const std::string& key, const Visitor& visit);
  /// The fields of the key at `steps` below `record`, or nullopt when the
  /// records hold no such key.
  static std::optional<Fields> fieldsAt(const Vex::Entity& record, const std::vector<RedisKeySchema::Step>& steps);
  /// The same keys, without their fields.
  static void forEachKey(const Vex::Entity& entity, const std::string& key,
                         const std::function<void(const std::string& key)>& visit);

  /// The collection attribute of the entity's type with that id or name, or
  /// null.
  ///@{
  static const Collection* collection(const Vex::Entity& entity, Vex::AttributeId id);
  static const Collection* collection(const Vex::Entity& entity, std::string_view name);
  ///@}
  /// The text of the key that a change notification of `collection` points at.
  static std::string keyText(const Collection& collection, const void* key);
  /// A record member, or null.
  static Vex::Entity* recordMember(const Vex::Entity& entity, const Collection& collection, const std::string& key);
  /// The fields of a value member, or nullopt when absent.
  static std::optional<Fields> valueMember(const Vex::Entity& entity, const Collection& collection,
                                           const std::string& key);
  /// The value of a member held in a field (a state, "true", "false"), or
  /// nullopt when absent.
  static std::optional<std::string> fieldMember(const Vex::Entity& entity, const Collection& collection,
                                                const std::string& key);
  /// The value a record held in a field stands for: a group status's state.
  static std::string fieldValue(const Vex::Entity& member);
  /// "[KEY]", quoted as keys are; and back (nullopt for an own field).
  ///@{
  static std::string memberField(std::string_view key);
  static std::optional<std::string> fieldKey(std::string_view field);
  ///@}
  /// Whether the field is of the "[KEY]" form.
  static bool isMemberField(std::string_view field);
  /// A key naming a member that is now a field: the layout of hubstore 0.2,
  /// where every member was a key of its own.
  static bool isFieldMemberKey(const RedisKeySchema::Path& path);

  /// Writes the entity's own fields and brings its members held in fields in
  /// line with `fields`: a member Redis no longer holds is deleted. A group
  /// status new to a switch is added "unknown" and then set to its state, so
  /// that its state is reported as a change: another process's addition and a
  /// quick change after it cannot be told apart once read. Fields it does not
  /// know are ignored.
  static void applyFields(Vex::Entity& entity, const Fields& fields, const Context& context);
  /// Writes a member: creates or updates it with `fields`, or deletes it when
  /// `fields` is null. Returns the record member when there is one afterwards.
  /// A new switch status is built whole before it joins its collection, so it
  /// arrives holding its group statuses, as the mount machinery creates it.
  static Vex::Entity* applyMember(Vex::Entity& entity, const Collection& collection, const std::string& key,
                                  const Fields* fields, const Context& context);
  /// Visits the record members of `entity` (not the value members), those
  /// held in fields too.
  static void forEachRecordMember(
      const Vex::Entity& entity,
      const std::function<void(const Collection& collection, const std::string& key, const Vex::Entity& member)>& visit);
  /// Writes the key at `steps` below `record` (its own fields when `steps` is
  /// empty): creates or updates it with `fields`, or deletes it when `fields`
  /// is null. A member read before the record that holds it creates that
  /// holder, whose own fields come when its key is read.
  static void applyPath(Vex::Entity& record, const std::vector<RedisKeySchema::Step>& steps, const Fields* fields,
                        const Context& context);
  /// Creates or updates the member `key` held in a field with its `value`;
  /// false when the value or the key cannot be read.
  static bool applyFieldMember(Vex::Entity& entity, const Collection& collection, std::string_view key,
                               std::string_view value, const Context& context);
  /// Brings the members of `collection` held in fields in line with `fields`.
  static void applyFieldMembers(Vex::Entity& entity, const Collection& collection, const Fields& fields,
                                const Context& context);
  /// Whether the fields of a value member (a mount, a publication, a value)
  /// can be read: every field it holds, none it does not know, none too long.
  static bool readableValue(const Vex::Entity& entity, const Collection& collection, const Fields& fields,
                            const Context& context);
  /// How many members the entity holds in fields.
  static std::size_t fieldMemberCount(const Vex::Entity& entity);
  /// Deletes every member of every collection of `entity`.
  static void clear(Vex::Entity& entity);
};

}  // namespace hubstore::redis
