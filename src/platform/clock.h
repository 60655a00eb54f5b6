#pragma once

#include <chrono>

#include "platform/instant.h"

namespace zt::platform {

/// The machine's wall clock.
class Clock {
 public:
  virtual ~Clock() = default;

  /// The current instant, rounded down to the second.
  virtual Instant now() const = 0;

  /// How long the machine has been awake since a moment that stays the same while this process runs. A change of the
  /// wall clock does not matter.
  virtual std::chrono::milliseconds awakeTime() const = 0;

  /// Blocks for the whole `duration`, whatever signals arrive. Time in which the machine is suspended counts. If the wall
  /// clock is set, or the machine is suspended, it can return then: what is to be done may be another thing at once. Zero
  /// or less returns at once.
  virtual void sleep(std::chrono::seconds duration) = 0;
};

}  // namespace zt::platform
