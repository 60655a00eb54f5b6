#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "schedules/crontab_line.h"

namespace zt {

/// When a line of six fields fires, such as "3rd Monday of the month at 09:30"; "never" where there is no minute at
/// which it can.
std::string scheduleInWords(const CrontabLine& line);

/// "a", "a and b", "a, b and c". There has to be one text at least.
std::string listed(const std::vector<std::string>& texts);

/// "Monday".
std::string nameOf(std::chrono::weekday day);

/// The weekdays that a line accepts, from Monday on.
std::vector<std::chrono::weekday> acceptedWeekdays(const CrontabLine& line);

/// The dayRanges that a line accepts, each once.
std::vector<std::string> acceptedRanges(const CrontabLine& line);

}  // namespace zt
