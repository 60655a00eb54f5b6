#pragma once

#include <optional>
#include <span>

#include "schedules/crontab_line.h"
#include "schedules/schedule.h"

namespace zt {

/// The start of the first minute, at or after the start of the minute of `reference`, at which the schedule fires;
/// nullopt if it can never fire.
std::optional<Instant> nextRunDate(const Schedule& schedule, Instant reference, const Calendar& calendar);

/// The earliest nextRunDate() of the lines; nullopt if none of them can ever fire.
std::optional<Instant> nextEventDate(std::span<const CrontabLine> lines, Instant reference, const Calendar& calendar);

/// The earliest of the dates; nullopt if there are none.
std::optional<Instant> earliestDate(std::span<const Instant> dates);

}  // namespace zt
