#pragma once
/// \file
/// Shared shape of the state records: an entity created through Vex::make and
/// described by a static type descriptor. Record attribute ids start at 258 and
/// follow each record's declaration order.
///
/// Every record has the same members, documented here once:
/// - `Attr` holds its attribute ids; watchers are told of a change under them
///   (and, for a collection, the key that changed).
/// - `RecordIs(name, ...)` creates one through Vex::make; the caller holds the
///   only reference. `staticType()` and `fwkType()` describe its type.
/// - A getter reads an attribute, or one member of a collection (null, or
///   false for a flag, when absent); `...Members()` gives the whole
///   collection in key order.
/// - A setter `...Is` stores, and tells the watchers only when the value
///   changed; `...Del` removes, and tells them only when there was something
///   to remove. A collection member that is a record is created by `...Is`
///   when absent and returned as it is otherwise.

#include <hubstore/foundations/framework/collection.h>
#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/string.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/foundations/framework/value_map.h>

namespace Vex {
/// The id of a record's first own attribute; the ids below are the entity's.
inline constexpr AttributeId firstRecordAttribute = 258;
}
