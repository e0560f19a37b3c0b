#pragma once
/// \file
/// The record types as the Redis codec (record_codec.h) lays them out: which
/// collections each type has and how they are held (record_layout.cpp), and
/// the small readers and writers of field text that encoding and applying
/// share. Internal to the codec.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/records/config_schema.h>
#include <hubstore/redis/fields.h>
#include <hubstore/redis/record_codec.h>

namespace hubstore::redis::layout {

/// The codec's description of one collection attribute.
using Collection = RecordCodec::Collection;

/// The collections of each record type, in declaration order.
///@{
extern const Collection kMountConfigMembers[];
extern const Collection kPublishConfigMembers[];
extern const Collection kMountGroupConfigMembers[];
extern const Collection kPublishGroupConfigMembers[];
extern const Collection kSystemFilterMembers[];
extern const Collection kVersionFilterMembers[];
extern const Collection kMountStatusMembers[];
extern const Collection kSystemStatusMembers[];
extern const Collection kPublishStatusMembers[];
extern const Collection kPublishGroupStatusMembers[];
///@}

/// The collections of one record type, as a range.
struct Members {
  /// The first collection, and one past the last.
  ///@{
  const Collection* begin_ = nullptr;
  const Collection* end_ = nullptr;
  ///@}
  /// The range's ends, for range-for.
  ///@{
  const Collection* begin() const { return begin_; }
  const Collection* end() const { return end_; }
  ///@}
};

/// The collections of the entity's record type; empty for a type the codec
/// does not lay out.
Members collectionsOf(const Vex::Entity& e);

/// The record types are told apart by their type descriptors: one virtual
/// call each, where a dynamic_cast walks the class hierarchy.
///@{
template <class T>
const T* as(const Vex::Entity& entity) {
  return &entity.fwkType() == &T::staticType() ? static_cast<const T*>(&entity) : nullptr;
}
template <class T>
T* as(Vex::Entity& entity) {
  return &entity.fwkType() == &T::staticType() ? static_cast<T*>(&entity) : nullptr;
}
///@}

/// A value's text: "true"/"false", or the string as it is.
///@{
std::string text(bool value);
std::string text(const Vex::String& value);
///@}
/// A member's key written as it is, not quoted: most are (a group, a switch).
bool isPlainKey(std::string_view key);
/// The configuration schema's node of `e` when it is a service's or a
/// group's configuration, whose own fields the schema describes; null for
/// any other record. The type is asked before the schema is walked, so that
/// a status record, written and read per event, never walks it.
const Controller::SchemaNode* configRecordNode(const Vex::Entity& e);
/// The value of the field `name`, or null when absent.
const std::string* field(const Fields& fields, std::string_view name);
/// The value of the field `name`, or "" when absent.
Vex::String stringField(const Fields& fields, const char* name);
/// A collection key read as an unsigned 32-bit number; nullopt when it is not
/// one.
std::optional<std::uint32_t> numberKey(std::string_view key);
/// The fields of a bool value member: "value" and its text.
Fields boolValue(bool value);

/// Visits the members of one collection: (key text, record or null, value fields).
using MemberVisitor = std::function<void(const std::string& key, const Vex::Entity* record, const Fields* fields)>;
/// Visits the members of the collection `c` of `e`, in key order.
void visitMembers(const Vex::Entity& e, const Collection& c, const MemberVisitor& visit);

}  // namespace hubstore::redis::layout
