#pragma once
// Shared shape of the state records: an entity created through Vex::make and
// described by a static type descriptor. Record attribute ids start at 258 and
// follow each record's declaration order.

#include "foundations/collection.h"
#include "foundations/entity.h"
#include "foundations/ptr.h"
#include "foundations/string.h"
#include "foundations/type_descriptor.h"
#include "foundations/value_map.h"

namespace Vex {
inline constexpr AttributeId firstRecordAttribute = 258;
}
