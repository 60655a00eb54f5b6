#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "platform/instant.h"

namespace zt {

/// A wall-clock reading: Gregorian date and time of day in the user's time zone, to the second.
using LocalTime = std::chrono::local_seconds;

/// The user's calendar, in the time zone that `date` uses. It tells what is so and chooses nothing: which
/// instant of a repeated reading is meant, and what becomes of a skipped one, is for the caller to say.
class Calendar {
 public:
  virtual ~Calendar() = default;

  /// Takes in a change of the machine's time zone since the last call.
  virtual void update() = 0;

  /// The wall-clock reading at an instant.
  virtual LocalTime localTime(Instant instant) const = 0;

  /// What the zone's time is called at an instant, such as "CEST". `date +%Z` prints it.
  virtual std::string zoneAbbreviation(Instant instant) const = 0;

  /// The instants at which the wall clock shows a reading, in order: one; none where the clocks skip it;
  /// two where they are set back and repeat it.
  virtual std::vector<Instant> instants(LocalTime local) const = 0;
};

}  // namespace zt
