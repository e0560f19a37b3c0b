#pragma once
// Shared shape of the state records: an entity created through Vex::make and
// described by a static type descriptor. Record attribute ids start at 258 and
// follow each record's declaration order.

#include <hubstore/foundations/framework/collection.h>
#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/string.h>
#include <hubstore/foundations/framework/type_descriptor.h>
#include <hubstore/foundations/framework/value_map.h>

namespace Vex {
inline constexpr AttributeId firstRecordAttribute = 258;
}
