#pragma once

#include <array>
#include <string_view>

#include "schedules/crontab_line.h"

namespace zt {

/// Whether `line` fires in the minute that contains `time`:
/// - day of week is "*" or has the digit of the weekday (0 for Sunday to 6) anywhere in it, so that
///   "1-5" means Monday and Friday, and "7" no day;
/// - and day of month is "*" or has the range of days for the weekday's ordinal in the month anywhere
///   in it: "1-7", "8-14", "15-21", or "22-31" for the fourth and fifth, so that "15" means no day;
/// - and minute and hour are single numbers equal to those of `time`.
bool runsAt(const CrontabLine& line, Instant time, const Calendar& calendar);

/// The texts that day of month is searched for: those for the first to the fifth of a weekday in its month. The last
/// two are the same.
inline constexpr std::array<std::string_view, 5> dayRanges = {"1-7", "8-14", "15-21", "22-31", "22-31"};

/// Whether day of week accepts a weekday.
bool acceptsWeekday(const CrontabLine& line, std::chrono::weekday weekday);

/// Whether day of month accepts the days of one of the dayRanges.
bool acceptsRange(const CrontabLine& line, std::string_view range);

/// Whether day of week and day of month both accept a local day.
bool acceptsDay(const CrontabLine& line, std::chrono::local_days day);

/// The time of day at which `line` fires, on the days that it accepts. nullopt where there is no minute at which it can
/// fire.
std::optional<std::chrono::minutes> firingTime(const CrontabLine& line);

}  // namespace zt
