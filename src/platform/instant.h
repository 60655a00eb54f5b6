#pragma once

#include <chrono>

namespace zt::platform {

/// A point in time, in whole seconds of UTC since 1970, leap seconds not counted (POSIX time).
using Instant = std::chrono::sys_seconds;

}  // namespace zt::platform

namespace zt {
using platform::Instant;  // every module speaks of instants
}  // namespace zt
