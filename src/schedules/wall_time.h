#pragma once

#include <optional>

#include "platform/calendar.h"

namespace zt {

// What is meant where the clocks change: every decision about skipped and repeated wall times that
// the schedules need stands here.

/// A minute of the wall clock: the instant at which it starts, and what the clock shows then.
struct Minute {
  Instant start;
  LocalTime local;
};

/// The minute that the wall clock shows at `instant`. In a repeated hour it is of the same time round.
Minute minuteOf(Instant instant, const Calendar& calendar);

/// The first instant, not before the start of `from`, at which the wall clock shows `local`: the first time
/// round of a repeated reading, or the second where the first is over. nullopt for a skipped
/// reading, which the clock never shows, and for one that is over.
std::optional<Instant> firstInstantAt(LocalTime local, const Minute& from, const Calendar& calendar);

}  // namespace zt
