#pragma once

#include <chrono>

#include "platform/instant.h"

namespace zt {

/// A wall-clock reading: Gregorian date and time of day in the user's time zone, to the second.
using LocalTime = std::chrono::local_seconds;

/// The instants that a wall-clock reading can stand for.
struct LocalTimeLookup {
  enum class Kind {
    unique,    ///< one instant: `earlier` and `later` are the same
    skipped,   ///< none, the clocks jump over it: the reading taken with the UTC offset after the
               ///< change (`earlier`) and with the one before it (`later`)
    repeated,  ///< two, because the clocks are set back: the first and the second time round
  };
  Kind kind;
  Instant earlier;
  Instant later;
};

/// The user's calendar, in the time zone that `date` uses. It tells what is so and chooses
/// nothing: which instant of a repeated or skipped reading is meant is for the caller to say.
class Calendar {
 public:
  virtual ~Calendar() = default;

  /// Takes in a change of the machine's time zone since the last call.
  virtual void update() = 0;

  /// The wall-clock reading at an instant.
  virtual LocalTime localTime(Instant instant) const = 0;

  /// The instants at which the wall clock shows a reading.
  virtual LocalTimeLookup instants(LocalTime local) const = 0;
};

}  // namespace zt
