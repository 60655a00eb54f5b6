#include "schedules/wall_time.h"

namespace zt {

Instant startOfMinute(Instant instant, const Calendar& calendar) {
  const LocalTime local = calendar.localTime(instant);
  return instant - (local - std::chrono::floor<std::chrono::minutes>(local));
}

std::optional<Instant> firstInstantAt(LocalTime local, Instant notBefore, const Calendar& calendar) {
  for (const Instant instant : calendar.instants(local)) {
    if (instant >= notBefore) return instant;
  }
  return std::nullopt;
}

}  // namespace zt
