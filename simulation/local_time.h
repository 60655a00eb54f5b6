#pragma once

#include <time.h>

#include <chrono>
#include <string>

namespace zt::simulation {

using Moment = std::chrono::sys_time<std::chrono::milliseconds>;

/// What the wall clock shows in the zone of TZ.
tm localFields(Moment moment);

/// The same in a format of strftime(3).
std::string localTime(Moment moment, const char* format);

}  // namespace zt::simulation
