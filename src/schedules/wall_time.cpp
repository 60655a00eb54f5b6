#include "schedules/wall_time.h"

#include <algorithm>

namespace zt {

using namespace std::chrono_literals;

Minute minuteOf(Instant instant, const Calendar& calendar) {
  const LocalTime reading = calendar.localTime(instant);
  const LocalTime local = std::chrono::floor<std::chrono::minutes>(reading);
  return {.start = instant - (reading - local), .local = local};
}

LocalTime earliestToCome(const Minute& minute, const Calendar& calendar) {
  // Clocks are set back by three hours at most, or by up to a day for longer, as at the date line: a day from now they
  // are still there.
  return std::min(minute.local - 3h, calendar.localTime(minute.start + 24h) - 24h);
}

std::optional<Instant> firstInstantAt(LocalTime local, Instant notBefore, const Calendar& calendar) {
  for (const Instant instant : calendar.instants(local)) {
    if (instant >= notBefore) return instant;
  }
  return std::nullopt;
}

}  // namespace zt
