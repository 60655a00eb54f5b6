#pragma once

#include "platform/clock.h"

namespace zt::platform {

/// CLOCK_REALTIME. Sleeps are measured by CLOCK_BOOTTIME: suspended time counts. They end when the wall clock is set
/// forward.
class SystemClock final : public Clock {
 public:
  Instant now() const override;
  Uptime uptime() const override;
  void sleep(std::chrono::seconds duration) override;
};

}  // namespace zt::platform
