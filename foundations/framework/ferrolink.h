#pragma once
// The library's trace facility, "Ferrolink", and the shorthand its code uses:
//   HUBSTORE_TRACE(8) << "HubstoreService::" << "doCleanup";

#include <hubstore/foundations/framework/trace.h>

namespace Controller {
extern Vex::TraceHandle ferrolink;
}

#define HUBSTORE_TRACE(level) VEX_TRACE(::Controller::ferrolink, level)
