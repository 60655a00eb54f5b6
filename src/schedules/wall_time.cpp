#include "schedules/wall_time.h"

namespace zt {

using namespace std::chrono_literals;

namespace {

/// Whether the clock can show a past time again: it has to be set back by at least the time that has passed since. This
/// is cheaper than a look at the instants of `local`.
bool canComeAgain(LocalTime local, const Minute& from, const Calendar& calendar) {
  const auto passed = from.local - local;
  const auto isSetBackWithin = [&](std::chrono::hours period) {
    return passed <= from.local + period - calendar.localTime(from.start + period);
  };
  // Zone rules set clocks back by 3 hours at most, for 3 hours at least; a move across the date line does it by a day.
  return isSetBackWithin(24h) || (passed <= 3h && isSetBackWithin(3h));
}

}  // namespace

Minute minuteOf(Instant instant, const Calendar& calendar) {
  const LocalTime exact = calendar.localTime(instant);
  const LocalTime local = std::chrono::floor<std::chrono::minutes>(exact);
  return {.start = instant - (exact - local), .local = local};
}

std::optional<Instant> firstInstantAt(LocalTime local, const Minute& from, const Calendar& calendar) {
  const bool isOver = local < from.local;
  if (isOver && !canComeAgain(local, from, calendar)) return std::nullopt;
  for (const Instant instant : calendar.instants(local)) {
    if (instant >= from.start) return instant;
  }
  return std::nullopt;
}

}  // namespace zt
