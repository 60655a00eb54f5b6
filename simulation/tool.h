#pragma once

#include "machine.h"
#include "platform/calendar.h"

namespace zt::simulation {

/// One run of the tool, with its driver and engine as they are shipped. `calendar` is in the time zone of TZ. Throws a
/// std::exception if the run would not end.
void runTool(Machine& machine, Judge& judge, Calendar& calendar);

}  // namespace zt::simulation
