#pragma once
/// \file
/// The library's trace facility, "Ferrolink", and the shorthand its code uses:
///
///     HUBSTORE_TRACE(8) << "HubstoreService::" << "doCleanup";

#include <hubstore/foundations/framework/trace.h>

namespace Controller {
/// The library's trace facility, "Ferrolink"; enable its levels with
/// `ferrolink.levelsIs(mask)` or `VEX_TRACE="Ferrolink/5,7-8"`.
extern Vex::TraceHandle ferrolink;
}

/// VEX_TRACE on the library's facility, Controller::ferrolink.
#define HUBSTORE_TRACE(level) VEX_TRACE(::Controller::ferrolink, level)
