#include "schedules/wall_time.h"

namespace zt {

using namespace std::chrono_literals;

namespace {

/// Whether clocks that are set back show a reading again that was over at the start of `from`. If they are set back by
/// three hours at most, they still are three hours from now; if by more, as at the date line, a day from now.
bool comesAgain(LocalTime local, const Minute& from, const Calendar& calendar) {
  const auto isShownAfter = [&](std::chrono::hours time) {
    return calendar.localTime(from.start + time) - time <= local;
  };
  return isShownAfter(24h) || (local >= from.local - 3h && isShownAfter(3h));
}

}  // namespace

Minute minuteOf(Instant instant, const Calendar& calendar) {
  const LocalTime reading = calendar.localTime(instant);
  const LocalTime local = std::chrono::floor<std::chrono::minutes>(reading);
  return {.start = instant - (reading - local), .local = local};
}

std::optional<Instant> firstInstantAt(LocalTime local, const Minute& from, const Calendar& calendar) {
  if (local < from.local && !comesAgain(local, from, calendar)) return std::nullopt;
  for (const Instant instant : calendar.instants(local)) {
    if (instant >= from.start) return instant;
  }
  return std::nullopt;
}

}  // namespace zt
