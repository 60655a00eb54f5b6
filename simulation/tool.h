#pragma once

#include "machine.h"
#include "platform/calendar.h"

namespace zt::simulation {

/// Thrown out of a run that goes on and on.
struct RunWithoutEnd {};

/// One run of the tool, its driver and engine as they are shipped, on the machine. `calendar` is in the zone of TZ.
void runTool(Machine& machine, Judge& judge, Calendar& calendar);

}  // namespace zt::simulation
