#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "platform/instant.h"

namespace zt::platform {

/// What the wall clock shows: Gregorian date and time of day in the user's time zone, to the second.
using LocalTime = std::chrono::local_seconds;

/// The user's calendar, in the time zone that `date` uses. Reports facts; the caller picks the policy for skipped and
/// repeated times.
class Calendar {
 public:
  virtual ~Calendar() = default;

  /// Picks up a change of the machine's time zone since the last call.
  virtual void update() = 0;

  /// What the wall clock shows at an instant.
  virtual LocalTime localTime(Instant instant) const = 0;

  /// The abbreviation of the zone at an instant, such as "CEST", as `date +%Z` prints it.
  virtual std::string zoneAbbreviation(Instant instant) const = 0;

  /// The instants at which the wall clock shows a local time, in order: one; none if the clocks skip it; two if they
  /// are set back and repeat it.
  virtual std::vector<Instant> instants(LocalTime local) const = 0;
};

}  // namespace zt::platform

namespace zt {
using platform::Calendar;
using platform::LocalTime;
}  // namespace zt
