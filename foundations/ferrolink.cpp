#include "foundations/ferrolink.h"

namespace Controller {
Vex::TraceHandle ferrolink("Ferrolink");
}
