#pragma once
// hubstore::redis::RecordCodec: what the five records and their members look
// like as Redis hashes, and how a hash read back is written into the records.
//
// Each record and each collection member is one key (RedisKeySchema); its
// hash holds the member's own values as text: "name" for every record, and
// then its scalar attributes ("warm", "mountState", ...), or for a value
// member its value ("value", or the fields of a mount or publish entry).
// Nested collections are keys of their own, never fields.
//
//   RecordCodec::flatten(*mountConfig, "agentB:mountConfig", [](auto& key, auto& fields) {...});
//   RecordCodec::applyMember(*filter, *filterCollection, "00:1c:73:00:00:01", &fields, roots);
//
// Writes go through the records' own setters, so the library's handlers run
// and a value that does not change notifies no one.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/redis/redis_key_schema.h>

namespace hubstore::redis {

using Fields = std::map<std::string, std::string>;

class RecordCodec {
 public:
  // A collection attribute of a record type.
  struct Collection {
    const char* name;
    Vex::AttributeId id;
    bool holdsRecords;  // members are records (keys of their own, with members), else values
    bool numericKey;    // keyed by an unsigned 32-bit number
  };
  // Finds the root records, to resolve the filters a group configuration
  // points at ("mountConfig.systemFilter[L]").
  using Roots = std::function<Vex::Entity*(RecordSlot)>;
  using Visitor = std::function<void(const std::string& key, const Fields& fields)>;

  static Vex::Ptr<Vex::Entity> newRecord(RecordSlot slot, const Vex::Name& name);
  // Whether `entity` is of the type the slot holds.
  static bool holds(RecordSlot slot, const Vex::Entity& entity);

  // The fields of the entity's own key.
  static Fields fields(const Vex::Entity& entity);
  // Visits the key of `entity` (named `key`) and of everything below it,
  // each record before its members.
  static void flatten(const Vex::Entity& entity, const std::string& key, const Visitor& visit);

  static const Collection* collection(const Vex::Entity& entity, Vex::AttributeId id);
  static const Collection* collection(const Vex::Entity& entity, std::string_view name);
  // The text of the key that a change notification of `collection` points at.
  static std::string keyText(const Collection& collection, const void* key);
  // A record member, or null.
  static Vex::Entity* recordMember(const Vex::Entity& entity, const Collection& collection, const std::string& key);
  // The fields of a value member, or nullopt when absent.
  static std::optional<Fields> valueMember(const Vex::Entity& entity, const Collection& collection,
                                           const std::string& key);

  // Writes the entity's own fields; fields it does not know are ignored.
  static void applyFields(Vex::Entity& entity, const Fields& fields, const Roots& roots);
  // Writes a member: creates or updates it with `fields`, or deletes it when
  // `fields` is null. Returns the record member when there is one afterwards.
  static Vex::Entity* applyMember(Vex::Entity& entity, const Collection& collection, const std::string& key,
                                  const Fields* fields, const Roots& roots);
  // Visits the record members of `entity` (not the value members).
  static void forEachRecordMember(
      const Vex::Entity& entity,
      const std::function<void(const Collection& collection, const std::string& key, const Vex::Entity& member)>& visit);
  // Writes the key at `steps` below `record` (its own fields when `steps` is
  // empty): creates or updates it with `fields`, or deletes it when `fields`
  // is null. A member read before the record that holds it creates that
  // holder, whose own fields come when its key is read.
  static void applyPath(Vex::Entity& record, const std::vector<RedisKeySchema::Step>& steps, const Fields* fields,
                        const Roots& roots);
  // Deletes every member of every collection of `entity`.
  static void clear(Vex::Entity& entity);
};

}  // namespace hubstore::redis
