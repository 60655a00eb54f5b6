#pragma once

#include "platform/clock.h"

namespace zt::platform {

/// CLOCK_REALTIME, with sleeps measured by CLOCK_BOOTTIME: suspended time counts, and setting the
/// wall clock neither stretches nor cuts a sleep.
class SystemClock final : public Clock {
 public:
  Instant now() const override;
  void sleep(std::chrono::seconds duration) override;
};

}  // namespace zt::platform
