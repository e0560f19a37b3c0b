#include <hubstore/foundations/framework/ferrolink.h>

namespace Controller {
Vex::TraceHandle ferrolink("Ferrolink");
}
