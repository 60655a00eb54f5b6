#pragma once

#include <optional>
#include <span>

#include "schedules/crontab_line.h"

namespace zt {

/// The earliest nextRunDate() of the lines; nullopt when none of them ever fires.
std::optional<Instant> nextEventDate(std::span<const CrontabLine> lines, Instant reference, const Calendar& calendar);

/// The earliest of the dates; nullopt when there are none.
std::optional<Instant> earliestDate(std::span<const Instant> dates);

}  // namespace zt
