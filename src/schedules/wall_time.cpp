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
  // By more than three hours they are set back for a day and longer, which shows a day later.
  return std::min(minute.local - 3h, calendar.localTime(minute.start + 24h) - 24h);
}

std::optional<Instant> firstInstantAt(LocalTime local, Instant notBefore, const Calendar& calendar) {
  for (const Instant instant : calendar.instants(local)) {
    if (instant >= notBefore) return instant;
  }
  return std::nullopt;
}

}  // namespace zt
