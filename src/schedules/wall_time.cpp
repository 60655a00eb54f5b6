#include "schedules/wall_time.h"

namespace zt {

Instant startOfMinute(Instant instant, const Calendar& calendar) {
  const LocalTime local = calendar.localTime(instant);
  return instant - (local - std::chrono::floor<std::chrono::minutes>(local));
}

std::optional<Instant> firstInstantAt(LocalTime local, Instant notBefore, const Calendar& calendar) {
  const auto found = calendar.instants(local);
  if (found.kind == LocalTimeLookup::Kind::skipped) return std::nullopt;
  if (found.earlier >= notBefore) return found.earlier;
  if (found.later >= notBefore) return found.later;
  return std::nullopt;
}

}  // namespace zt
