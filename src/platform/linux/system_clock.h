#pragma once

#include "platform/clock.h"

namespace zt::platform {

/// The wall clock is CLOCK_REALTIME, the uptime is counted from the start of the machine. Sleeps are measured by
/// CLOCK_BOOTTIME, and end when the wall clock is set forward by more than a tenth of a second.
class SystemClock final : public Clock {
 public:
  Instant now() const override;
  Uptime uptime() const override;
  bool sleep(std::chrono::seconds duration) override;
};

}  // namespace zt::platform
