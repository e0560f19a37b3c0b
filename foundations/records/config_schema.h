#pragma once
/// \file
/// The two configuration records (ServiceMountConfig, ServicePublishConfig) as
/// one tree of places: one node per attribute, from the two roots
/// (mountConfig, publishConfig) down, members in declaration order. Each node
/// carries the records' own getters and setters for its place, so that code
/// that reads or writes the configuration as text (the simulator's `set` and
/// `dump`, the Redis codec) walks this tree rather than spelling the records.
///
///     mountConfig.mountGroupConfig[G].mountConfig[REMOTE] = vexcType=TYPE vexcFlags=FLAGS hubstorePath=PATH
///
/// is configRoots()[0] -> member "mountGroupConfig" (key G) -> member
/// "mountConfig" (key REMOTE, a Fields value with three fields).

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/string.h>

namespace Controller {

/// What the value of a place is: a record (named by its type), one word, a
/// bool, a pointer to a filter record, or a line of named fields.
enum class ConfigValueKind { RecordType, Scalar, Bool, Filter, Fields };

/// How a collection place is keyed: not at all (an attribute), by a name, or
/// by an unsigned 32-bit number.
enum class KeyKind { None, Name, U32 };

/// One field of a Fields value.
struct FieldShape {
  /// The field's name.
  std::string_view name;
  /// How dump writes the field's value where it is unknown.
  std::string_view placeholder;
};

/// A value as text: one word for a Scalar or a Bool ("true"/"false"), one per
/// field, in the node's order, for Fields.
using ConfigTexts = std::vector<std::string>;

/// One place of the configuration tree: an attribute, or a collection and
/// its members. The function pointers give access to the place in `holder`,
/// a record of the type whose member this node is; `key` is the member's key
/// text, empty for an attribute (a U32 key is read as a number, already
/// checked). Only those of the node's kind are set; the others are null.
struct SchemaNode {
  /// The attribute's name in its record's type.
  std::string_view attribute{};
  /// How the place is keyed.
  KeyKind key = KeyKind::None;
  std::string_view keyName{};  ///< as dump writes it: G, REMOTE, SYS, N, ...
  /// What the place holds.
  ConfigValueKind kind = ConfigValueKind::Scalar;
  /// RecordType: the member's type; Filter: the type it points at.
  std::string_view typeName{};
  /// The places within a record member, in declaration order.
  std::span<const SchemaNode> members{};
  std::span<const FieldShape> fields{};  ///< Fields: in the order dump prints them

  /// Scalar, Bool, Fields: the value, nullopt for an absent member.
  std::optional<ConfigTexts> (*read)(const Vex::Entity& holder, std::string_view key) = nullptr;
  /// Scalar, Bool, Fields: writes the value; RecordType: creates the member
  /// (or keeps it) and returns it.
  Vex::Entity* (*write)(Vex::Entity& holder, std::string_view key, const ConfigTexts& value) = nullptr;
  /// Collections: the keys in key order.
  std::vector<std::string> (*keys)(const Vex::Entity& holder) = nullptr;
  /// Collections: the record member under `key`, or null.
  Vex::Entity* (*member)(const Vex::Entity& holder, std::string_view key) = nullptr;
  /// Collections: deletes the member under `key`.
  void (*remove)(Vex::Entity& holder, std::string_view key) = nullptr;
  /// Filter: the record pointed at, or null.
  Vex::Entity* (*bound)(const Vex::Entity& holder) = nullptr;
  /// Filter: points at `filter` (null clears).
  void (*bind)(Vex::Entity& holder, Vex::Entity* filter) = nullptr;
  /// A root, or a Filter: a new record of typeName in no collection.
  Vex::Ptr<Vex::Entity> (*make)(const Vex::Name& name) = nullptr;
  /// RecordType: whether `entity` is of typeName.
  bool (*isType)(const Vex::Entity& entity) = nullptr;
};

/// The two roots: mountConfig and publishConfig.
std::span<const SchemaNode> configRoots();

/// The node of the record type of `record`, a configuration record or one of
/// its record members; null for any other record.
const SchemaNode* configNodeOf(const Vex::Entity& record);

}  // namespace Controller
