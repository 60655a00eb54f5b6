#pragma once

#include "schedules/crontab_line.h"

namespace zt {

/// Whether `line` fires in the minute that contains `time`:
/// - day of week is "*" or has the digit of the weekday (0 for Sunday to 6) anywhere in it, so that
///   "1-5" means Monday and Friday, and "7" no day;
/// - and day of month is "*" or has the range of days for the weekday's ordinal in the month anywhere
///   in it: "1-7", "8-14", "15-21", or "22-31" for the fourth and fifth, so that "15" means no day;
/// - and minute and hour are single numbers equal to those of `time`.
bool runsAt(const CrontabLine& line, Instant time, const Calendar& calendar);

/// Whether day of week and day of month both accept a local day.
bool acceptsDay(const CrontabLine& line, std::chrono::local_days day);

/// The time of day at which `line` fires, on the days that it accepts. nullopt where there is no minute at which it can
/// fire.
std::optional<std::chrono::minutes> firingTime(const CrontabLine& line);

}  // namespace zt
