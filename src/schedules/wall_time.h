#pragma once

#include <optional>

#include "platform/calendar.h"

namespace zt {

// What is meant where the clocks change: every decision about skipped and repeated wall times that
// the schedules need stands here.

/// The start of the minute that the wall clock shows at `instant`. It stays within that minute, so
/// in a repeated hour it is of the same time round.
Instant startOfMinute(Instant instant, const Calendar& calendar);

/// The first instant, not before `notBefore`, at which the wall clock shows `local`: the first time
/// round of a repeated reading, or the second where the first is over. nullopt for a skipped
/// reading, which the clock never shows, and for one that is over.
std::optional<Instant> firstInstantAt(LocalTime local, Instant notBefore, const Calendar& calendar);

}  // namespace zt
