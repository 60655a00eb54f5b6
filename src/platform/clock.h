#pragma once

#include <chrono>

#include "platform/instant.h"

namespace zt::platform {

/// The machine's wall clock, and how long it has been up.
class Clock {
 public:
  virtual ~Clock() = default;

  /// The current instant, rounded down to the second.
  virtual Instant now() const = 0;

  /// How long the machine has been up since a moment that stays the same while this process runs, and how much of that
  /// it was awake and not suspended. Setting the wall clock changes neither.
  struct Uptime {
    std::chrono::milliseconds total, awake;
  };
  virtual Uptime uptime() const = 0;

  /// Blocks for `duration`. Signals do not shorten it, and time in which the machine is suspended counts. Can return
  /// early when the wall clock is set forward, since the time for which the caller waits may have come. Zero or less
  /// returns at once. Returns whether the duration is over.
  virtual bool sleep(std::chrono::seconds duration) = 0;
};

}  // namespace zt::platform
