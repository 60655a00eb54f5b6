#pragma once

#include <string>

#include "platform/calendar.h"

namespace zt {

/// A reading of the wall clock in a format of strftime(3), in English. The format may not ask for the zone, which a
/// reading does not have, and may make 63 characters at most.
std::string formatted(LocalTime local, const char* format);

}  // namespace zt
