#pragma once

#include <optional>

#include "platform/calendar.h"

namespace zt {

// The policy for skipped and repeated wall times: which instant a schedule fires at. firstInstantAt() decides it.

/// A minute of the wall clock: the instant at which it starts, and what the clock shows then.
struct Minute {
  Instant start;
  LocalTime local;

  bool operator==(const Minute&) const = default;
};

/// The minute that contains `instant`. In a repeated hour it belongs to the same pass through that hour as `instant`.
Minute minuteOf(Instant instant, const Calendar& calendar);

/// The first instant, not before the start of `from`, at which the wall clock shows `local`: the first of a repeated
/// time, or the second if the first is over. nullopt for a skipped time, which the clock never shows, and for a
/// past time that it does not show again.
std::optional<Instant> firstInstantAt(LocalTime local, const Minute& from, const Calendar& calendar);

}  // namespace zt
